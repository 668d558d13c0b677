#pragma once

#include "cairn/geometry/mesh/mesh.h"

#include <vector>

/// The upkeep of polygons as it is told: walks of lists that start anew after each change. What the library does faster is
/// held against them.
namespace cairn::test {

/// The corners of the pieces that the triangulation merges into; nothing changes.
std::vector<std::vector<int>> naiveConvexPieces(const CN_Polygon& polygon);

/// `CN_Mesh::createVerticesInTJunctions`.
void naiveTJunctions(CN_Mesh& mesh, double tolerance);

} // namespace cairn::test
