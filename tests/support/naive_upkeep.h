#pragma once

#include "cairn/geometry/mesh/mesh.h"

#include <vector>

/// The upkeep of polygons as it is told: walks of lists that start anew after each change. What the library does faster is
/// held against them.
namespace cairn::test {

/// The corners of the pieces that the triangulation merges into; nothing changes.
std::vector<std::vector<int>> naiveConvexPieces(const CN_Polygon& polygon);

/// `createVerticesInTJunctions` of a polygon and of a mesh.
void naiveTJunctions(CN_Polygon& polygon, double tolerance, bool useBoundingBoxes);
void naiveTJunctions(CN_Mesh& mesh, double tolerance);

/// The polygons that `CN_Polygon::createSharedEdgeList` finds, by their places in the mesh; nothing changes.
std::vector<int> naiveSharedEdgeList(const CN_Polygon& polygon);

} // namespace cairn::test
