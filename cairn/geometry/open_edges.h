#pragma once

#include "cairn/math/vector3.h"

#include <vector>

namespace cairn {

class CN_Mesh;
class CN_Polygon;

/// A stretch of a polygon's boundary along which its mesh is not closed.
struct CN_OpenEdge {
    const CN_Polygon* polygon;          ///< not owned: the one whose boundary it is
    M_Vector3Template<double> from, to; ///< in the mesh's space, along the boundary
    int partners;                       ///< edges of other polygons that run back along it: any number but 1
};

/// The stretches of edges along which not exactly one edge of another polygon runs back, in the order of the mesh's lists:
/// none for a closed mesh, also for one with T-junctions or with corners that polygons don't share by index. Corners within
/// `slack` of each other count as one, and so does a corner that lies within `slack` of an edge. Edges shorter than that
/// and those whose indices the mesh lacks are passed over; where all are that short the first one is open.
///
/// Cost: n log n for n edges. Where very many edges lie on each other, which is open in any case, whole edges are given in
/// place of stretches.
std::vector<CN_OpenEdge> CN_findOpenEdges(const CN_Mesh& mesh, double slack);

} // namespace cairn
