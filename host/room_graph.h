#pragma once

#include "cairn/entities/mesh_entity.h"

#include <string>
#include <vector>

namespace cairn::host {

/// An exit polygon and where it leads.
struct RoomExit {
    const CN_Polygon* polygon; ///< not owned: of the level
    const CN_Mesh* from;       ///< not owned: the polygon's mesh
    const CN_Mesh* to;         ///< not owned: its partner's, which may be the same
    std::string name;          ///< of its portal; where it has none, the polygon as edits name it
};

/// The rooms of a level and all its exits. It refers to the level, which must stay as it is.
struct RoomGraph {
    std::vector<const CN_LevelEntityMesh*> rooms; ///< in the order of the tree
    std::vector<RoomExit> exits;                  ///< in the order of the tree and of each mesh's polygons
};

/// Collects the rooms below the root, and the exits of all meshes, rooms or not.
RoomGraph makeRoomGraph(const CN_LevelEntity& root);

/// Two exits that lead to each other, or one alone that nobody leads back through.
struct RoomDoor {
    const RoomExit* exit;
    const RoomExit* back; ///< null for none
    /// Both names, the first alone where they are the same.
    std::string name() const;
};
/// Each pair of exits once, at the place of its first one in the graph, whose exits it refers to.
std::vector<RoomDoor> findDoors(const RoomGraph& graph);

/// A room, and the exits to pass on a way to it.
struct RoomWay {
    const CN_LevelEntityMesh* room;
    std::vector<const RoomExit*> exits;
};
/// The other rooms that exits lead to from a mesh, in breadth-first order, each with one of the ways of the fewest exits: the
/// one found first where exits are tried in the graph's order. A way may lead through meshes that are no rooms. Cost: linear
/// in exits and in what comes back.
std::vector<RoomWay> findWays(const RoomGraph& graph, const CN_Mesh& from);

/// The graph in Graphviz's language: rooms are boxes, other meshes that have exits dashed ones; a line is a pair of exits that
/// lead to each other, an arrow an exit alone. Names that occur twice are told apart by the nodes' names.
std::string drawRoomGraph(const RoomGraph& graph);

} // namespace cairn::host
