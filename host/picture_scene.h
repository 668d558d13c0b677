#pragma once

#include "cairn/document/document.h"
#include "cairn/imaging/color.h"
#include "cairn/math/bbox.h"
#include "cairn/math/vector3.h"

#include <cstddef>
#include <string>
#include <vector>

namespace cairn::host {

/// A corner of a face's loop.
struct PictureCorner {
    M_Vector3Template<double> at;
    bool isEdge = true; ///< the line from here to the next corner is an edge of the polygon, and no cut
};
using PictureLoop = std::vector<PictureCorner>;

/// What a face is drawn as.
enum class PictureFaceKind {
    SURFACE,
    EXIT,    ///< an opening: its outline
    TRIGGER, ///< of a trigger: its outline
};

/// A face of the level: the area within an odd number of its loops.
struct PictureFace {
    std::vector<PictureLoop> loops;   ///< in the world
    M_Vector3Template<double> normal; ///< unit, on the side that it is seen from
    I_Color color;
    PictureFaceKind kind = PictureFaceKind::SURFACE;
    bool doubleSided = false;
    bool isSolid = false; ///< of a closed mesh whose faces look outward
    bool isRoof = false;  ///< left out of plans
};

/// A name at a place of the level.
struct PictureMark {
    enum Kind { ROOM, ENTITY, EXIT, LIGHT };
    M_Vector3Template<double> at; ///< in the world
    std::string name;             ///< as stored
    Kind kind = ENTITY;
    I_Color color;
};

/// A way from the middle of a room through a pair of exits, or one, to the middle of the room it leads to.
using PictureRoute = std::vector<M_Vector3Template<double>>; ///< in the world

/// What pictures show of a level.
struct PictureScene {
    std::vector<PictureFace> faces;   ///< in the order of the tree
    std::vector<PictureMark> marks;   ///< in the order of the tree
    std::vector<PictureRoute> routes; ///< in the order of the tree
    E_BBox<double> box;               ///< of all that is drawn on a plan; empty for none
    E_BBox<double> faceBox;           ///< of the faces alone; empty for none
    std::size_t hidden = 0;           ///< entities that the level hides, with all below them
    std::size_t flat = 0;             ///< faces without area
    std::size_t tooFar = 0;           ///< faces, marks and routes whose places are beyond numbers
};

/// Collects what is visible below the root: faces of meshes and triangle meshes in the average colours of their materials,
/// marks for rooms, exits with a portal, and all other entities that have a place, and routes between rooms. A room is a mesh
/// that leads to others or, where none does, a closed one below the root that faces inward. Exits that lead to each other
/// and have one place and one name share a mark. It does not refer to the level.
PictureScene makePictureScene(CN_LevelEntity& root);

} // namespace cairn::host
