#pragma once

#include "cairn/document/document.h"
#include "cairn/entities/mesh_entity.h"

#include <functional>
#include <string>
#include <vector>

/// Sample meshes that every test of geometry runs over. Coordinates are multiples of 1/8 where nothing else is told, room
/// faces look inward, and volumes are exact.
namespace cairn::test {

/// A document with its root and player and a default material.
struct ShelfDocument : CN_Document {
    ShelfDocument();
};

/// The corners of a closed loop, as places in the mesh's vertex list.
using Loop = std::vector<int>;

/// A new polygon of those loops, the outer one first: normals, point and first texture space follow from the loops, the
/// material is the document's default one. Outer loops run counter-clockwise seen from the side the normal points to.
CN_Polygon* fixturePolygon(CN_LevelEntityMesh& mesh, const std::vector<Loop>& loops);

/// Brings what derives from vertices and polygons up to date: world places, convex pieces with coordinates, boxes.
void finishFixture(CN_LevelEntityMesh& mesh);

/// A new mesh without vertices below the document's root, which owns it.
CN_LevelEntityMesh* addFixture(CN_Document& document, const CString& name);

/// @name Meshes: each is new below the document's root
/// @{
/// A square of side 1 with its normal along +Y.
CN_LevelEntityMesh* unitFloor(CN_Document& document);
/// 8 x 4 x 6 from the origin; polygons: floor, ceiling, then the walls that look along +X, -Z, -X and +Z.
CN_LevelEntityMesh* boxRoom(CN_Document& document);
/// 8 x 8, 4 high, without one quarter.
CN_LevelEntityMesh* lRoom(CN_Document& document);
/// 8 x 8, 4 high, with a pillar from floor to ceiling, which are polygons with a hole.
CN_LevelEntityMesh* pillarRoom(CN_Document& document);
/// The same with a block on the floor in place of the pillar.
CN_LevelEntityMesh* blockRoom(CN_Document& document);
/// `boxRoom` and a room beside it that lead into one another by the whole wall between them, with a portal each. Gives
/// the first one.
CN_LevelEntityMesh* twoRooms(CN_Document& document);
/// How the box room's halved wall meets floor and ceiling.
enum class Split { SHARED, T_JUNCTION, UNSHARED };
/// `boxRoom` with its wall x = 0 in two polygons. Floor and ceiling have its two new corners, do without them, or have
/// vertices of their own there.
CN_LevelEntityMesh* splitBox(CN_Document& document, Split split);
/// `boxRoom` with a floor that rises to 2.
CN_LevelEntityMesh* rampRoom(CN_Document& document);
/// `rampRoom` with a roof that rises both ways.
CN_LevelEntityMesh* tiltedRoof(CN_Document& document);
/// Three floors, two of which share an edge of the third.
CN_LevelEntityMesh* tPair(CN_Document& document);
/// `boxRoom` in which each face has corners of its own, none farther than 0.003 from its place.
CN_LevelEntityMesh* duplicatedBox(CN_Document& document);
/// `boxRoom` with a strip of 1/128 in its wall x = 0.
CN_LevelEntityMesh* sliverBox(CN_Document& document);
/// A base of 4 x 4 and an apex 3 above it.
CN_LevelEntityMesh* pyramid(CN_Document& document);
/// `boxRoom`, placed and turned about all axes.
CN_LevelEntityMesh* rotatedRoom(CN_Document& document);
CN_LevelEntityMesh* emptyMesh(CN_Document& document);
/// 5,000 polygons: 1,249 sections of 4 x 3 x 1, the ends in two triangles each.
CN_LevelEntityMesh* corridor(CN_Document& document);
/// @}

/// A mesh of the shelf and what is known about it.
struct ShelfMesh {
    std::string name;
    std::function<CN_LevelEntityMesh*(CN_Document&)> build;
    int vertices, edges, polygons; ///< edges count once for both directions, by index
    bool closed;
    double volume;           ///< inside of the closed ones
    double tolerance = 1e-9; ///< how exact corners lie in their planes
};

/// All of them.
const std::vector<ShelfMesh>& meshShelf();

} // namespace cairn::test
