#include "cairn/entities/cairn_level.h"
#include "host/command_line.h"
#include "host/entity_text.h"
#include "host/level_session.h"
#include "host/mesh_volume.h"
#include "host/room_graph.h"
#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace cairn::host {

namespace {

struct RoomsOptions : CommonOptions {
    std::string file;
    bool dot = false;
};

Json toJson(const RoomGraph& graph) {
    Json rooms = Json::array(), exits = Json::array();
    for (const CN_LevelEntityMesh* const room : graph.rooms) {
        Progress::count();
        const std::optional<double> volume = volumeOf(*room);
        Json json;
        json["entity"] = qualifiedName(*room);
        json["volume"] = volume ? Json(*volume) : Json();
        rooms.push_back(std::move(json));
    }
    for (const RoomExit& exit : graph.exits) {
        Json json;
        json["name"] = exit.name;
        json["from"] = qualifiedName(*exit.from);
        json["to"] = qualifiedName(*exit.to);
        exits.push_back(std::move(json));
    }
    Json json;
    json["rooms"] = std::move(rooms);
    json["exits"] = std::move(exits);
    return json;
}

void writeText(const RoomGraph& graph, Console& console) {
    const auto writeExits = [&](const CN_Mesh& mesh, std::size_t& next) {
        for (; next < graph.exits.size() && graph.exits[next].from == &mesh; ++next)
            console.writeLine(fmt::format("  {} to {}", toShownText(graph.exits[next].name),
                                          toShownText(qualifiedName(*graph.exits[next].to))));
    };
    // Exits stand in the order of their meshes, so that those of one mesh are neighbours.
    std::size_t exit = 0;
    const auto writeOthers = [&](const CN_Mesh* room) {
        while (exit < graph.exits.size() && graph.exits[exit].from != room) {
            const CN_Mesh& mesh = *graph.exits[exit].from;
            console.writeLine(fmt::format("{}: no room", toShownText(qualifiedName(mesh))));
            writeExits(mesh, exit);
        }
    };
    for (const CN_LevelEntityMesh* const room : graph.rooms) {
        writeOthers(room);
        Progress::count();
        const std::optional<double> volume = volumeOf(*room);
        console.writeLine(fmt::format("{}: {}", toShownText(qualifiedName(*room)),
                                      volume ? fmt::format("volume {:g}", *volume) : std::string("open")));
        writeExits(*room, exit);
    }
    writeOthers(nullptr);
}

ExitCode runRooms(const RoomsOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, false);
    const Progress progress(console, options.file, "rooms");
    const RoomGraph graph = makeRoomGraph(*level.document->accessLevel());
    if (options.dot)
        console.write(drawRoomGraph(graph));
    else if (options.json)
        console.writeLine(toJsonText(toJson(graph)));
    else
        writeText(graph, console);
    if (graph.rooms.empty())
        console.note(options.file, "no mesh below the root leads to another: the level has no rooms");
    return ExitCode::DONE;
}

} // namespace

void addRoomsCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<RoomsOptions>();
    CommandSyntax command = program.addCommand("rooms", "Show the graph of rooms and exits");
    command.setFooter(
        "A room is a mesh below the root with an exit to another mesh. Each has its volume, where it is closed, and "
        "its\n"
        "exits with where they lead; a mesh that is no room is there for its exits. An exit without a portal is named\n"
        "ENTITY#INDEX. In the graph a line is a pair of exits that lead to each other; draw it with \"dot -Tsvg\".");
    addLevel(command, options->file);
    OptionSyntax dot = command.addFlag("--dot", options->dot, "A Graphviz graph instead of text");
    options->addJson(command).excludes(dot);
    options->addContent(command);
    options->addQuiet(command);
    onChosen(command, options, runRooms, chosen);
}

} // namespace cairn::host
