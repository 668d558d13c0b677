#pragma once

#include "cairn/geometry/planar/side_splitter.h"
#include "tests/support/planar_shapes.h"

/// Steps of the planar engine as they are told: walks of everything that start anew after each change. What the library does
/// faster is held against them.
namespace cairn::test {

/// `CN_splitSides`.
inline std::vector<CN_Side> naiveSplitSides(const std::vector<PlanarPoint>& points, const std::vector<CN_Side>& sides,
                                            double tolerance) {
    std::vector<CN_Side> parts;
    for (const CN_Side& whole : sides) {
        std::vector<CN_Side> halves{whole};
        std::vector<bool> hasSplit(points.size());
        for (std::size_t i = 0; i < halves.size();) {
            const CN_Side side = halves[i];
            const PlanarPoint from = points[static_cast<std::size_t>(side.from)],
                              apart = points[static_cast<std::size_t>(side.to)] - from;
            const double length = apart.length();
            const PlanarPoint unit = apart * (1 / length);
            int at = -1;
            for (int p = 0; p < static_cast<int>(points.size()) && at < 0 && length >= 2 * tolerance; ++p) {
                const PlanarPoint d = points[static_cast<std::size_t>(p)] - from;
                if (p != side.from && p != side.to && !hasSplit[static_cast<std::size_t>(p)] &&
                    std::fabs(d.cross(unit)) < 2 * tolerance && d.dot(unit) >= tolerance &&
                    d.dot(unit) <= length - tolerance)
                    at = p;
            }
            if (at < 0) {
                ++i;
                continue;
            }
            hasSplit[static_cast<std::size_t>(at)] = true;
            halves[i].to = at;
            halves.insert(halves.begin() + static_cast<std::ptrdiff_t>(i) + 1, {at, side.to, side.contour});
        }
        parts.insert(parts.end(), halves.begin(), halves.end());
    }
    return parts;
}

/// `CN_2DPolygon::deleteRedundantVertices` of a loop, by its vertices, which has all edges of the polygon.
inline std::vector<int> naiveRedundantVertices(const std::vector<PlanarPoint>& points, std::vector<int> loop,
                                               double tolerance) {
    std::vector<int> degrees(points.size());
    for (const int vertex : loop)
        degrees[static_cast<std::size_t>(vertex)] += 2;
    for (std::size_t i = 0; i < loop.size() && loop.size() > 1;) {
        const std::size_t corner = (i + 1) % loop.size(), end = (i + 2) % loop.size();
        const PlanarPoint from = points[static_cast<std::size_t>(loop[i])],
                          at = points[static_cast<std::size_t>(loop[corner])],
                          merged = points[static_cast<std::size_t>(loop[end])] - from;
        if (loop[i] == loop[end]) {
            for (const int vertex : {loop[i], loop[corner], loop[corner], loop[end]})
                --degrees[static_cast<std::size_t>(vertex)];
            loop.erase(loop.begin() + static_cast<std::ptrdiff_t>(std::max(corner, end)));
            loop.erase(loop.begin() + static_cast<std::ptrdiff_t>(std::min(corner, end)));
            i = end < i || i == 0 ? 0 : i - 1;
        } else if (degrees[static_cast<std::size_t>(loop[corner])] == 2 &&
                   std::fabs((at - from).cross(merged)) < tolerance * merged.length()) {
            loop.erase(loop.begin() + static_cast<std::ptrdiff_t>(corner));
            if (corner < i)
                --i;
        } else {
            ++i;
        }
    }
    return loop.size() < 2 ? std::vector<int>() : loop;
}

} // namespace cairn::test
