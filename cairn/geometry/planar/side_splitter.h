#pragma once

#include "cairn/math/vector2.h"

#include <vector>

namespace cairn {

/// A side of a contour on its way to becoming an edge.
struct CN_Side {
    int from, to; ///< places of its ends in the points
    int contour;  ///< number of the contour it belongs to

    bool operator==(const CN_Side&) const = default;
};

/// The sides, in order, each split at the points that lie on it: at the first of them by its place, and then the halves
/// again. A point lies on a side that is at least two tolerances long if it is nearer than two tolerances to its line and at
/// least one tolerance away from either end, measured along it. A point splits a side once. One that is not finite lies on
/// none.
///
/// Cost: n log n for the points and log n for each part, but for the points that stand in a part's range of x and in its
/// range of y without lying on it. So it is near linear for contours of short sides or of sides along the axes, and goes as
/// sides times points where the sides are long and slanted.
std::vector<CN_Side> CN_splitSides(const std::vector<M_Vector2Template<double>>& points,
                                   const std::vector<CN_Side>& sides, double tolerance);

} // namespace cairn
