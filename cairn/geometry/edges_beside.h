#pragma once

#include "cairn/geometry/lines.h"
#include "cairn/geometry/point_tree.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace cairn {

/// How far an end of an edge that shares a stretch with another one may lie off its line, and the length that a stretch
/// exceeds.
inline constexpr double CN_SHARED_TOLERANCE = 0.001;

/// What lies so near to the edge from one place to another, of a polygon of that normal, that it may share a stretch with it: all
/// within `near` of the line from `from` to `to`.
struct CN_EdgeSurroundings {
    M_Vector3Template<double> from, to;
    double near;

    CN_EdgeSurroundings(const M_Vector3Template<double>& start, const M_Vector3Template<double>& end,
                        const M_Vector3Template<double>& normal)
        : near(CN_SHARED_TOLERANCE + CN_roundingAlong(start, end)) {
        const M_Vector3Template<double> along = (end - start).normalized();
        // Where the normal leans, what lies off the line is moved along it.
        constexpr double STEEPEST = 1e6;
        const double across = normal.cross(along).length();
        const double lean = across > 0 ? std::min(std::abs(normal.dot(along)) / across, STEEPEST) : 0;
        const M_Vector3Template<double> beyond = along * (2 * near * (1 + lean));
        from = start - beyond;
        to = end + beyond;
    }
};

/// Of two edges that share a stretch (`CN_Edge::sharesSpace`) one has an end beside the other. Appends the numbers of the ends
/// in the tree that lie so near to the edge from `from` to `to`, of a polygon of that normal, that theirs may share a stretch
/// with it; its own too.
inline void CN_findEndsBeside(const CN_PointTree& tree, const M_Vector3Template<double>& from,
                              const M_Vector3Template<double>& to, const M_Vector3Template<double>& normal,
                              std::vector<int>& found) {
    const CN_EdgeSurroundings around(from, to, normal);
    tree.visitNear(around.from, around.to, around.near,
                   [&found](const CN_PointTree::Entry& end, double) { found.push_back(end.number); });
}

} // namespace cairn
