#pragma once

#include "cairn/math/vector2.h"

#include <vector>

namespace cairn {

/// True if no corner of `other` lies beyond the line of an edge of `piece`, but for the edge that begins at its corner
/// `shared`; corners that the edge itself has lie on it. `pointOf(index)` gives the place of a vertex in the plane, in
/// which the inside lies to the right of the edges. The side is that of a product without a division, so that a corner which
/// lies on the line by its numbers is found there.
template <class PointOf>
bool CN_formsConvexRegion(const std::vector<int>& piece, const std::vector<int>& other, int shared, PointOf&& pointOf) {
    for (std::size_t i = 0; i < piece.size(); ++i) {
        if (static_cast<int>(i) == shared)
            continue;
        const int from = piece[i], to = piece[(i + 1) % piece.size()];
        const M_Vector2Template<double> start = pointOf(from), along = pointOf(to) - start;
        for (const int corner : other)
            if (corner != from && corner != to && !((pointOf(corner) - start).cross(along) >= 0))
                return false;
    }
    return true;
}

} // namespace cairn
