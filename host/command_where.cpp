#include "cairn/entities/cairn_level.h"
#include "cairn/entities/hierarchy_utils.h"
#include "host/command_line.h"
#include "host/entity_text.h"
#include "host/level_session.h"
#include "host/room_graph.h"
#include "host/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace cairn::host {

namespace {

struct WhereOptions : CommonOptions {
    std::string file;
    double x = 0, y = 0, z = 0; ///< in the world
};

Json toJson(const CN_LevelEntityMesh* room, const std::vector<RoomWay>& ways) {
    Json reach = Json::array();
    for (const RoomWay& way : ways) {
        Json exits = Json::array();
        for (const RoomExit* const exit : way.exits)
            exits.push_back(exit->name);
        Json json;
        json["room"] = qualifiedName(*way.room);
        json["exits"] = std::move(exits);
        reach.push_back(std::move(json));
    }
    Json json;
    json["room"] = room ? Json(qualifiedName(*room)) : Json();
    json["reach"] = std::move(reach);
    return json;
}

void writeText(const CN_LevelEntityMesh* room, const std::vector<RoomWay>& ways, Console& console) {
    console.writeLine(room ? toShownText(qualifiedName(*room)) : "in no room");
    for (const RoomWay& way : ways) {
        std::vector<std::string> names;
        for (const RoomExit* const exit : way.exits)
            names.push_back(toShownText(exit->name));
        console.writeLine(fmt::format("  {} by {}", toShownText(qualifiedName(*way.room)), fmt::join(names, ", ")));
    }
}

ExitCode runWhere(const WhereOptions& options, Console& console) {
    for (const double number : {options.x, options.y, options.z})
        if (!std::isfinite(number))
            throw Failure(ExitCode::COMMAND_LINE, "where", "a position must be three finite numbers");
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, false);
    const Progress progress(console, options.file);
    const CN_LevelEntity& root = *level.document->accessLevel();
    const CN_LevelEntityMesh* const room =
        CN_HierarchyUtils::getRoomContainingPosition({options.x, options.y, options.z}, &root);
    const RoomGraph graph = room ? makeRoomGraph(root) : RoomGraph();
    const std::vector<RoomWay> ways = room ? findWays(graph, *room) : std::vector<RoomWay>();
    if (options.json)
        console.writeLine(toJsonText(toJson(room, ways)));
    else
        writeText(room, ways, console);
    return room ? ExitCode::DONE : ExitCode::NO;
}

} // namespace

void addWhereCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<WhereOptions>();
    CommandSyntax command =
        program.addCommand("where", "Show the room that holds a position, and the ways to the others");
    command.setFooter("The first room in the order of the tree with the position inside, and each room that exits lead "
                      "to from there,\n"
                      "the nearest first, with the exits to pass. A room is a mesh below the root with an exit to "
                      "another mesh. Exit\n"
                      "code 1 where no room holds the position.");
    addLevel(command, options->file);
    command.addOption("X", options->x, "Position in the world").required();
    command.addOption("Y", options->y).required();
    command.addOption("Z", options->z).required();
    options->addJson(command);
    options->addContent(command);
    options->addQuiet(command);
    onChosen(command, options, runWhere, chosen);
}

} // namespace cairn::host
