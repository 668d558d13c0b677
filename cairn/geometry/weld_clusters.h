#pragma once

#include "cairn/math/vector3.h"

#include <cstddef>
#include <vector>

namespace cairn {

/// Points by clusters: each is strictly nearer than a radius to another one of its cluster, or alone. A point that is not
/// finite is in none.
struct CN_WeldClusters {
    std::vector<int> members;        ///< numbers of the points, cluster by cluster; the first of each is its smallest
    std::vector<std::size_t> begins; ///< where each cluster begins in `members`, and the end
    std::vector<unsigned int>
        records; ///< how many points lie near a point, itself with them, where that is a new maximum
};

/// The clusters in the order of their first points. A cluster is told from there: all that lies near the first point, then
/// for each of these, in their order, what lies near it and is not told yet; as soon as a point is told, what lies near that.
/// With a radius that is not above zero there are none. `largest` is the maximum up to now.
///
/// Cost: near linear in points and, while maxima are still met, in what lies within the radius.
CN_WeldClusters CN_findWeldClusters(const std::vector<M_Vector3Template<double>>& points, double radius,
                                    unsigned int largest);

} // namespace cairn
