#pragma once

#include "cairn/geometry/bsp/tree.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <list>
#include <memory>

/// A partition of space built as it is told: every piece is a candidate, and every piece is held against it. What the library
/// does faster is held against it.
namespace cairn::test {

struct NaiveBSPNode {
    CN_Ngon::Plane plane{{}, {}};
    std::unique_ptr<NaiveBSPNode> inside, outside;
};

inline bool naiveSplitPlaneOK(const CN_Ngon::Plane& plane, const std::list<CN_Ngon>& ngons) {
    return std::none_of(ngons.begin(), ngons.end(), [&](const CN_Ngon& ngon) {
        const double d = (ngon.getPlane().getPoint() - plane.getPoint()).dot(plane.getNormal());
        const double c = std::clamp(plane.getNormal().dot(ngon.getPlane().getNormal()), -1.0, 1.0);
        return snapToGrid(d, 0.001) == 0 && std::fabs(3.141592654 - std::acos(c)) < 0.017453292522222223;
    });
}

inline int naiveScore(const std::list<CN_Ngon>& ngons, const CN_Ngon::Plane& plane) {
    int front = 0, back = 0, spanning = 0, coplanar = 0;
    for (const CN_Ngon& ngon : ngons) {
        double min = std::numeric_limits<double>::max(), max = -min;
        for (const CN_Ngon::Vector& corner : ngon.getVertices()) {
            const double d = corner.dot(plane.getNormal()) - plane.getPoint().dot(plane.getNormal());
            min = std::min(min, d);
            max = std::max(max, d);
            if (min < 0 && max > 0)
                break;
        }
        ++(min > -0.001 && max < 0.001 ? coplanar
           : min >= 0 && max >= 0      ? front
           : min <= 0 && max <= 0      ? back
                                       : spanning);
    }
    return std::abs(front - back) + 4 * (spanning - coplanar);
}

/// False where a node finds no plane.
inline bool naiveBSP(std::list<CN_Ngon> ngons, NaiveBSPNode& node) {
    auto best = ngons.end();
    int bestScore = std::numeric_limits<int>::max();
    for (auto it = ngons.begin(); it != ngons.end(); ++it) {
        const CN_Ngon::Plane& plane = it->getPlane();
        if (it->linear(0.001) || !plane.getNormal().isFinite() || !plane.getPoint().isFinite() ||
            plane.getNormal() == CN_Ngon::Vector() || !naiveSplitPlaneOK(plane, ngons))
            continue;
        if (const int score = naiveScore(ngons, plane); score < bestScore) {
            bestScore = score;
            best = it;
        }
    }
    if (best == ngons.end())
        return false;
    node.plane = best->getPlane();
    const CN_BSPNode splitter(&*best);
    const CN_Polygon* const owner = best->getSourcePolygon();
    ngons.erase(best);
    std::list<CN_Ngon> inside, outside;
    for (const CN_Ngon& ngon : ngons) {
        if ((owner && ngon.getSourcePolygon() == owner) || ngon.linear(0.001) || splitter.contained(&ngon))
            continue;
        if (!splitter.intersects(&ngon)) {
            (splitter.isInside(&ngon) ? inside : outside).push_back(ngon);
            continue;
        }
        ngon.split(node.plane, inside.emplace_back(), outside.emplace_back());
        for (std::list<CN_Ngon>* const side : {&inside, &outside})
            if (side->back().linear(0.001))
                side->pop_back();
    }
    for (const auto& [side, child] : {std::pair(&inside, &node.inside), std::pair(&outside, &node.outside)}) {
        if (side->empty())
            continue;
        *child = std::make_unique<NaiveBSPNode>();
        if (!naiveBSP(std::move(*side), **child))
            return false;
    }
    return true;
}

/// True where both have the same nodes in the same places, the planes to the last bit.
inline bool isSameBSP(const CN_BSPNode* a, const NaiveBSPNode* b) {
    if (!a || !b)
        return !a && !b;
    const auto isSame = [](const CN_Ngon::Vector& v, const CN_Ngon::Vector& w) {
        return !std::memcmp(&v, &w, sizeof v);
    };
    return isSame(a->getPlane().getNormal(), b->plane.getNormal()) &&
           isSame(a->getPlane().getPoint(), b->plane.getPoint()) && isSameBSP(a->getInsideChild(), b->inside.get()) &&
           isSameBSP(a->getOutsideChild(), b->outside.get());
}

inline std::list<CN_Ngon> asPieces(const CN_BSPTree::NgonList& ngons) { return {ngons.begin(), ngons.end()}; }

} // namespace cairn::test
