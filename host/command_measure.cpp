#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/geometry/validate.h"
#include "host/command_line.h"
#include "host/entity_lookup.h"
#include "host/entity_text.h"
#include "host/level_session.h"
#include "host/mesh_volume.h"
#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace cairn::host {

namespace {

struct MeasureOptions : CommonOptions {
    std::string file;
    std::string entity; ///< empty for the whole level
};

/// What there is to know of a mesh's shape.
struct Measures {
    int polygons = 0;
    std::size_t vertices = 0;     ///< those that edges name
    double area = 0;              ///< of all polygons, exits too
    std::optional<double> volume; ///< of a closed mesh
    E_BBox<double> box;           ///< of the vertices in use, in the world
};

Measures measure(const CN_Mesh& mesh) {
    Measures result;
    result.polygons = mesh.getPolygonList().count();
    std::vector<bool> used(static_cast<std::size_t>(mesh.getVertexList().count()));
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        result.area += CN_areaVector(polygon).length();
        for (const CN_Edge& edge : polygon.getEdgeList())
            for (const int end : {0, 1})
                used[static_cast<std::size_t>(edge.index(end))] = true;
    }
    std::size_t place = 0;
    for (const CN_Vertex& vertex : mesh.getVertexList())
        if (used[place++]) {
            ++result.vertices;
            result.box.expand(mesh.worldTransform(vertex.local));
        }
    result.volume = volumeOf(mesh);
    return result;
}

Json toJson(const CN_LevelEntity& entity, const Measures& measures) {
    const E_BBox<double>& box = measures.box;
    Json json;
    json["entity"] = qualifiedName(entity);
    json["polygons"] = measures.polygons;
    json["vertices"] = measures.vertices;
    json["closed"] = measures.volume.has_value();
    json["area"] = measures.area;
    json["volume"] = measures.volume ? Json(*measures.volume) : Json();
    // The sum makes a plain zero of a negative one.
    json["min"] = box.empty ? Json() : Json{box.minX + 0.0, box.minY + 0.0, box.minZ + 0.0};
    json["max"] = box.empty ? Json() : Json{box.maxX + 0.0, box.maxY + 0.0, box.maxZ + 0.0};
    return json;
}

std::string toText(const CN_LevelEntity& entity, const Measures& measures) {
    const E_BBox<double>& box = measures.box;
    std::string text =
        fmt::format("{}: {} polygons, {} vertices, {}, area {:g}", toShownText(qualifiedName(entity)),
                    measures.polygons, measures.vertices, measures.volume ? "closed" : "open", measures.area);
    if (measures.volume)
        text += fmt::format(", volume {:g}", *measures.volume);
    if (!box.empty)
        text += fmt::format(", from ({:g}, {:g}, {:g}) to ({:g}, {:g}, {:g})", box.minX + 0.0, box.minY + 0.0,
                            box.minZ + 0.0, box.maxX + 0.0, box.maxY + 0.0, box.maxZ + 0.0);
    return text;
}

ExitCode runMeasure(const MeasureOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, false);
    CN_LevelEntity* top = level.document->accessLevel();
    if (!options.entity.empty())
        top = &requireEntity(*top, options.entity, options.file);
    const Progress progress(console, options.file, "meshes");
    Json meshes = Json::array();
    const auto show = [&](const CN_LevelEntity& entity) {
        const auto* mesh = dynamic_cast<const CN_Mesh*>(&entity);
        if (!mesh)
            return;
        Progress::count();
        const Measures measures = measure(*mesh);
        if (options.json)
            meshes.push_back(toJson(entity, measures));
        else
            console.writeLine(toText(entity, measures));
    };
    show(*top);
    CN_PreIterator it = top->createIterator();
    for (it.begin(); !it.end(); ++it)
        show(**it);
    if (options.json)
        console.writeLine(toJsonText(Json{{"meshes", std::move(meshes)}}));
    return ExitCode::DONE;
}

} // namespace

void addMeasureCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<MeasureOptions>();
    CommandSyntax command =
        program.addCommand("measure", "Show each mesh's area, volume and box, and whether it is closed");
    addLevel(command, options->file);
    command.addOption("ENTITY", options->entity, "Qualified name or @NUMBER of the entity at the top of what is shown");
    options->addJson(command);
    options->addContent(command);
    options->addQuiet(command);
    command.setFooter(
        "Lengths are units of the level. Vertices are those in use; the area is that of all polygons, exits\n"
        "included; only a closed mesh has a volume, positive whichever way it faces; the box is the world's.");
    onChosen(command, options, runMeasure, chosen);
}

} // namespace cairn::host
