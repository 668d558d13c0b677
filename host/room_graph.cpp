#include "host/room_graph.h"

#include "host/entity_text.h"
#include "host/machine_walk.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <unordered_map>
#include <unordered_set>

namespace cairn::host {

namespace {

std::string nameOf(const CN_Polygon& exit) {
    const istring name = exit.getExitName();
    if (!name.empty())
        return toString(name);
    const CN_Mesh& mesh = *exit.getParent();
    return fmt::format("{}#{}", qualifiedName(mesh), mesh.findPolygonIndex(&exit));
}

using ExitsOfMesh = std::unordered_map<const CN_Mesh*, std::vector<const RoomExit*>>; ///< looked up only

ExitsOfMesh sortByMesh(const RoomGraph& graph) {
    ExitsOfMesh exits;
    for (const RoomExit& exit : graph.exits)
        exits[exit.from].push_back(&exit);
    return exits;
}

/// The exits that lead to `mesh`, by the exits through which each mesh before it was first reached.
std::vector<const RoomExit*> traceBack(const std::unordered_map<const CN_Mesh*, const RoomExit*>& reachedBy,
                                       const CN_Mesh* mesh) {
    std::vector<const RoomExit*> way;
    for (const RoomExit* exit = reachedBy.at(mesh); exit; exit = reachedBy.at(exit->from))
        way.push_back(exit);
    std::reverse(way.begin(), way.end());
    return way;
}

} // namespace

RoomGraph makeRoomGraph(const CN_LevelEntity& root) {
    RoomGraph graph;
    forEachEntityOf(root, [&](const CN_LevelEntity& entity) {
        const auto* const mesh = dynamic_cast<const CN_LevelEntityMesh*>(&entity);
        if (!mesh)
            return;
        if (mesh->isRoom())
            graph.rooms.push_back(mesh);
        for (const CN_Polygon* const exit : mesh->getExitList())
            graph.exits.push_back({exit, mesh, exit->getExitDestinationMesh(), nameOf(*exit)});
    });
    return graph;
}

std::string RoomDoor::name() const {
    return back && back->name != exit->name ? exit->name + " / " + back->name : exit->name;
}

std::vector<RoomDoor> findDoors(const RoomGraph& graph) {
    std::unordered_map<const CN_Polygon*, const RoomExit*> exits; // looked up only
    for (const RoomExit& exit : graph.exits)
        exits.emplace(exit.polygon, &exit);
    std::vector<RoomDoor> doors;
    std::unordered_set<const RoomExit*> done;
    for (const RoomExit& exit : graph.exits) {
        if (done.contains(&exit))
            continue;
        const auto partner = exits.find(exit.polygon->getExitDestination());
        const bool isPair = partner != exits.end() && partner->second != &exit &&
                            partner->second->polygon->getExitDestination() == exit.polygon;
        doors.push_back({&exit, isPair ? partner->second : nullptr});
        if (isPair)
            done.insert(partner->second);
    }
    return doors;
}

std::vector<RoomWay> findWays(const RoomGraph& graph, const CN_Mesh& from) {
    const ExitsOfMesh exitsOf = sortByMesh(graph);
    std::unordered_map<const CN_Mesh*, const RoomExit*> reachedBy{{&from, nullptr}}; // looked up only
    std::vector<RoomWay> ways;
    std::deque<const CN_Mesh*> next{&from};
    for (; !next.empty(); next.pop_front()) {
        const auto exits = exitsOf.find(next.front());
        if (exits == exitsOf.end())
            continue;
        for (const RoomExit* const exit : exits->second) {
            if (!reachedBy.emplace(exit->to, exit).second)
                continue;
            next.push_back(exit->to);
            const auto* const room = dynamic_cast<const CN_LevelEntityMesh*>(exit->to);
            if (room && room->isRoom())
                ways.push_back({room, traceBack(reachedBy, room)});
        }
    }
    return ways;
}

std::string drawRoomGraph(const RoomGraph& graph) {
    std::string nodes, lines;
    std::unordered_map<const CN_Mesh*, std::string> names; // looked up only
    const auto addNode = [&](const CN_Mesh& mesh, const char* look) {
        const auto [place, isNew] = names.emplace(&mesh, fmt::format("m{}", names.size()));
        if (isNew)
            nodes +=
                fmt::format("  {} [label={} shape=box{}];\n", place->second, toDotString(qualifiedName(mesh)), look);
        return place->second;
    };
    for (const CN_LevelEntityMesh* const room : graph.rooms)
        addNode(*room, "");
    for (const RoomDoor& door : findDoors(graph)) {
        const std::string from = addNode(*door.exit->from, " style=dashed");
        const std::string to = addNode(*door.exit->to, " style=dashed");
        lines +=
            fmt::format("  {} -> {} [label={}{}];\n", from, to, toDotString(door.name()), door.back ? " dir=none" : "");
    }
    return "digraph rooms {\n" + nodes + lines + "}\n";
}

} // namespace cairn::host
