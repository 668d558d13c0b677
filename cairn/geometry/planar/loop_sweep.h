#pragma once

#include "cairn/math/vector2.h"

#include <vector>

namespace cairn {

/// Closed loops in the plane, one after the other in one list of corners.
struct CN_PlanarLoops {
    using Point = M_Vector2Template<double>;

    std::vector<Point> corners;
    std::vector<int> firsts; ///< of each loop the place of its first corner, and the number of corners at the end

    int count() const { return static_cast<int>(firsts.size()) - 1; }
    const Point& at(int corner) const { return corners[static_cast<std::size_t>(corner)]; }
    int first(int loop) const { return firsts[static_cast<std::size_t>(loop)]; }
    int size(int loop) const { return first(loop + 1) - first(loop); }
    /// The corner after one of a loop.
    int next(int loop, int corner) const { return corner + 1 < first(loop + 1) ? corner + 1 : first(loop); }
    int prev(int loop, int corner) const { return corner > first(loop) ? corner - 1 : first(loop + 1) - 1; }
};

/// Turns each loop so that what it bounds lies to the right of its sides: a point is inside where it is within an odd number
/// of loops. So outlines run clockwise (x right, y up) and holes counter-clockwise. False, and the loops as they were, where
/// sides cross or touch but for the corners between them, as far as `double` tells, or where a loop has no area.
///
/// Cost: linear for one convex loop, else n log n for n corners: the sweep of Shamos and Hoey.
bool CN_turnLoops(CN_PlanarLoops& loops);

} // namespace cairn
