#pragma once

#include "cairn/math/vector2.h"

#include <array>
#include <vector>

namespace cairn {

/// An edge of an outline, from a point to a point by their places.
using CN_Segment = std::array<int, 2>;

/// Covers the area to the right of the segments with triangles whose corners are the points, in threes by their places, each
/// running clockwise (x right, y up). Outlines run clockwise, holes counter-clockwise. The triangulation is the constrained
/// Delaunay one (Shewchuk's Triangle). A point on a segment splits it.
///
/// `triangles` is left empty where the segments enclose nothing, cross, or name a point that is not there; where fewer than
/// three points are given, two are the same or all lie on one line; and where a coordinate is not finite. Throws an
/// `F_Exception*` where memory runs out. Cost: n log n.
///
/// Not re-entrant: Triangle keeps its random seed and the error bounds of its predicates in global variables, so that one
/// call at a time may run in the process, whichever threads call.
void CN_triangulateOutlines(const std::vector<M_Vector2Template<double>>& points,
                            const std::vector<CN_Segment>& segments, std::vector<int>& triangles);

} // namespace cairn
