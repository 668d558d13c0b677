#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"
#include "cairn/document/camera.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/fsm/fsm.h"
#include "cairn/lighting/lightmap_pool_interface.h"
#include "host/command_line.h"
#include "host/entity_text.h"
#include "host/level_session.h"
#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <map>

namespace cairn::host {

namespace {

struct InfoOptions : CommonOptions {
    std::string file;
};

/// What a walk over the tree counts.
struct TreeCounts {
    std::size_t entities = 0, depth = 0, machines = 0, handlers = 0, messages = 0;
    std::size_t meshes = 0, triangleMeshes = 0, rooms = 0;
    std::size_t vertices = 0, polygons = 0, triangles = 0, exits = 0; ///< of editable meshes
    std::size_t keyframes = 0, animations = 0;
    std::map<int, std::size_t> kinds; ///< by type id

    std::size_t countOf(int kind) const { return kinds.contains(kind) ? kinds.at(kind) : 0; }

    /// Recursion is as deep as the tree, which a load bounds.
    void count(const CN_LevelEntity& entity, std::size_t level) {
        ++entities;
        ++kinds[entity.getEntityId()];
        depth = std::max(depth, level);
        if (const E_FSM* machine = entity.getFSM()) {
            ++machines;
            handlers += static_cast<std::size_t>(machine->getMessageHandlerCount());
            machine->forEachMessage([this](const E_FSM::Message&) { ++messages; });
        }
        if (const auto* mesh = dynamic_cast<const CN_LevelEntityMesh*>(&entity))
            count(*mesh);
        else if (dynamic_cast<const CN_LevelEntityTriMesh*>(&entity))
            ++triangleMeshes;
        if (const auto* animated = dynamic_cast<const CN_AnimationInterface*>(&entity))
            count(*animated);
        for (const CN_LevelEntity* child : entity.getChildren())
            count(*child, level + 1);
    }
    void count(const CN_LevelEntityMesh& mesh) {
        ++meshes;
        rooms += static_cast<std::size_t>(mesh.isRoom());
        vertices += static_cast<std::size_t>(mesh.getVertexList().count());
        polygons += static_cast<std::size_t>(mesh.getPolygonList().count());
        for (const CN_Polygon& polygon : mesh.getPolygonList()) {
            triangles += static_cast<std::size_t>(polygon.getTriangleList().count());
            exits += static_cast<std::size_t>(polygon.isExitPolygon());
        }
    }
    void count(const CN_AnimationInterface& animated) {
        if (const CN_Keyframes* held = animated.getKeyframes())
            keyframes += static_cast<std::size_t>(held->getCount());
        if (const CN_MeshAnimations* held = animated.getAnimations())
            animations += static_cast<std::size_t>(held->getCount());
    }
};

Json describe(const InfoOptions& options, const OpenedLevel& level) {
    const CN_Document& document = *level.document;
    TreeCounts counts;
    counts.count(*document.getLevel(), 0);
    Json kinds = Json::object();
    for (const auto& [id, number] : counts.kinds)
        kinds[kindName(id)] = number;
    Json groups = Json::array();
    for (const auto& [name, number] : document.getAICharacterGroups())
        groups.push_back(toString(name));
    const CN_Camera::Vector& eye = document.getCNCamera()->pos();

    Json info;
    info["file"] = options.file;
    info["bytes"] = level.bytes;
    info["sealed"] = level.sealed;
    info["format_version"] = CAIRN_CN_DOCUMENT_VERSION; // no other loads
    info["build"] = document.getInfoDocumentCreatedWithBuild();
    info["entities"] = counts.entities;
    info["kinds"] = std::move(kinds);
    info["depth"] = counts.depth;
    info["meshes"] = counts.meshes;
    info["triangle_meshes"] = counts.triangleMeshes;
    info["rooms"] = counts.rooms;
    info["vertices"] = counts.vertices;
    info["polygons"] = counts.polygons;
    info["triangles"] = counts.triangles;
    info["exits"] = counts.exits;
    info["portals"] = counts.countOf(CN_KIND_PORTAL);
    info["polygon_groups"] = counts.countOf(CN_KIND_POLYGON_GROUP);
    info["materials"] = document.getMaterials().numMaterials();
    info["categories"] = document.getMaterials().getCategories().count();
    info["textures"] = document.getTextures().list().count();
    info["texels"] = document.getTextures().totalTexels();
    info["lightmaps"] = document.getLightmaps()->getLightmapCount();
    info["fsms"] = counts.machines;
    info["handlers"] = counts.handlers;
    info["messages"] = counts.messages;
    info["keyframes"] = counts.keyframes;
    info["animations"] = counts.animations;
    info["selected"] = document.getSelection()->getCount();
    info["groups"] = std::move(groups);
    info["camera"] = {{"position", {eye.x, eye.y, eye.z}}};
    return info;
}

std::string toText(const Json& value) {
    return value.is_string() ? toShownText(value.get_ref<const std::string&>()) : toJsonText(value);
}

/// One line a key; what has parts gets a line for each.
void writeText(const Json& info, Console& console) {
    constexpr int WIDTH = 16;
    for (const auto& [key, value] : info.items()) {
        if (key == "kinds") {
            console.writeLine("kinds");
            for (const auto& [kind, number] : value.items())
                console.writeLine(fmt::format("  {:<24}{}", kind, toText(number)));
        } else if (key == "groups") {
            console.writeLine("groups");
            for (const Json& group : value)
                console.writeLine(fmt::format("  \"{}\"", toText(group)));
        } else if (key == "camera") {
            const Json& eye = value["position"];
            console.writeLine(
                fmt::format("{:<{}}at {}, {}, {}", key, WIDTH, toText(eye[0]), toText(eye[1]), toText(eye[2])));
        } else
            console.writeLine(fmt::format("{:<{}}{}", key, WIDTH, toText(value)));
    }
}

ExitCode runInfo(const InfoOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, options.force);
    const Json info = describe(options, level);
    if (options.json)
        console.writeLine(toJsonText(info));
    else
        writeText(info, console);
    session.warnOfFault(level, options.file, console);
    return level.isWhole() ? ExitCode::DONE : ExitCode::NO;
}

} // namespace

void addInfoCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<InfoOptions>();
    CommandSyntax command = program.addCommand("info", "Count what a level holds");
    addLevel(command, options->file);
    options->addJson(command);
    options->addContent(command);
    options->addForce(command);
    options->addQuiet(command);
    onChosen(command, options, runInfo, chosen);
}

} // namespace cairn::host
