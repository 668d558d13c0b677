#include "cairn/entities/cairn_level.h"
#include "cairn/entities/portal.h"
#include "cairn/geometry/mesh/mesh.h"
#include "host/command_line.h"
#include "host/entity_lookup.h"
#include "host/entity_text.h"
#include "host/explain.h"
#include "host/level_session.h"
#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace cairn::host {

namespace {

struct ExplainOptions : CommonOptions {
    std::string file;
    std::string name;
};

/// What is wrong with what a word names: a mesh, a portal, or a polygon of a mesh, which may be an exit. Throws a `Failure`
/// where it names nothing of that.
std::vector<Reason> explain(CN_LevelEntity& root, const ExplainOptions& options) {
    if (!findEntity(root, options.name))
        if (CN_Polygon* const polygon = findPolygon(root, options.name))
            return isOpening(*polygon) ? explainExit(*polygon) : explainMesh(*polygon->getParent(), polygon);
    CN_LevelEntity& entity = requireEntity(root, options.name, options.file);
    if (auto* const mesh = dynamic_cast<CN_Mesh*>(&entity))
        return explainMesh(*mesh, nullptr);
    const auto* const portal = dynamic_cast<const CN_LevelEntityPortal*>(&entity);
    if (!portal)
        throw Failure(ExitCode::NO, options.file,
                      fmt::format("\"{}\" is neither an exit nor a mesh", toShownText(options.name)));
    CN_Polygon* const exit = portal->getPortalPolygon();
    if (exit && exit->isExitPolygon())
        return explainExit(*exit);
    return {{"portal-no-exit", "the portal stands on no exit", {}, {}}};
}

Json toJson(const Reason& reason) {
    Json json;
    json["kind"] = reason.kind;
    json["message"] = toUtf8(reason.message);
    json["points"] = Json::array();
    // The sum makes a plain zero of a negative one.
    for (const CN_LevelEntity::Vector& point : reason.points)
        json["points"].push_back(Json{point.x + 0.0, point.y + 0.0, point.z + 0.0});
    json["length"] = reason.length ? Json(*reason.length) : Json();
    return json;
}

std::string toText(const Reason& reason) {
    std::string text = fmt::format("  {}: {}", reason.kind, reason.message);
    const char* before = " at";
    for (const CN_LevelEntity::Vector& point : reason.points) {
        text += fmt::format("{} ({:g}, {:g}, {:g})", before, point.x + 0.0, point.y + 0.0, point.z + 0.0);
        before = " to";
    }
    return text;
}

ExitCode runExplain(const ExplainOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, false);
    const std::vector<Reason> reasons = explain(*level.document->accessLevel(), options);
    const ExitCode answer = reasons.empty() ? ExitCode::DONE : ExitCode::NO;
    if (options.json) {
        Json json;
        json["name"] = options.name;
        json["ok"] = reasons.empty();
        json["findings"] = Json::array();
        for (const Reason& reason : reasons)
            json["findings"].push_back(toJson(reason));
        console.writeLine(toJsonText(json));
        return answer;
    }
    if (reasons.empty())
        console.writeLine(fmt::format("{}: ok", toShownText(options.name)));
    else
        console.writeLine(fmt::format("{}:", toShownText(options.name)));
    for (const Reason& reason : reasons)
        console.writeLine(toText(reason));
    return answer;
}

} // namespace

void addExplainCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<ExplainOptions>();
    CommandSyntax command = program.addCommand("explain", "Say why an exit hangs or a mesh is open");
    command.setFooter(
        "NAME is a mesh, a portal, or a polygon as ENTITY#INDEX. Each finding has its place in the world.\n"
        "Of an exit: the stretches of its contour that lie on no polygon, the polygons that it touches, and how "
        "it and its\npartner differ. Of a mesh: the edges along which it is not closed, the nearest edge that "
        "might close each, and what\nis wrong with its exits. Of a polygon that is no exit: its open edges.\nExit "
        "code 1 where something is wrong.");
    addLevel(command, options->file);
    command.addOption("NAME", options->name, "A qualified name, @N as in tree --json, or ENTITY#INDEX").required();
    options->addJson(command);
    options->addContent(command);
    options->addQuiet(command);
    onChosen(command, options, runExplain, chosen);
}

} // namespace cairn::host
