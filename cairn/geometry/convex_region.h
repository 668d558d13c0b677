#pragma once

#include "cairn/math/vector2.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace cairn {

/// The box around points of a plane, to tell of all of them at once that they lie on one side of a line.
class CN_SideBox {
  public:
    using Point = M_Vector2Template<double>;

    void add(const Point& p) {
        m_isFinite &= std::isfinite(p.x) && std::isfinite(p.y);
        m_min = m_isEmpty ? p : Point(std::min(m_min.x, p.x), std::min(m_min.y, p.y));
        m_max = m_isEmpty ? p : Point(std::max(m_max.x, p.x), std::max(m_max.y, p.y));
        m_isEmpty = false;
    }
    /// True only if `(p - start).cross(along) >= 0` for every point p, as it is computed: each step of that rounds the
    /// larger number to one that is no smaller, so that no point can be worse than the worst corner of the box.
    bool isRightOf(const Point& start, const Point& along) const {
        const Point worst(along.y > 0 ? m_min.x : m_max.x, along.x > 0 ? m_max.y : m_min.y);
        return m_isFinite && (worst - start).cross(along) >= 0;
    }

  private:
    Point m_min, m_max;
    bool m_isEmpty = true, m_isFinite = true;
};

/// True if no corner of `other` lies beyond the line of an edge of `piece`, but for the edge that begins at its corner
/// `shared`; corners that the edge itself has lie on it. `pointOf(index)` gives the place of a vertex in the plane, in
/// which the inside lies to the right of the edges. The side is that of a product without a division, so that a corner which
/// lies on the line by its numbers is found there.
template <class PointOf>
bool CN_formsConvexRegion(const std::vector<int>& piece, const std::vector<int>& other, int shared, PointOf&& pointOf) {
    CN_SideBox box;
    for (const int corner : other)
        box.add(pointOf(corner));
    for (std::size_t i = 0; i < piece.size(); ++i) {
        if (static_cast<int>(i) == shared)
            continue;
        const int from = piece[i], to = piece[(i + 1) % piece.size()];
        const M_Vector2Template<double> start = pointOf(from), along = pointOf(to) - start;
        if (box.isRightOf(start, along))
            continue;
        for (const int corner : other)
            if (corner != from && corner != to && !((pointOf(corner) - start).cross(along) >= 0))
                return false;
    }
    return true;
}

/// A corner of one of two outlines.
struct CN_OutlinePlace {
    bool isOfFirst;
    std::size_t corner;
};

/// The outline of two pieces that share an edge: from the first corner of `a` that `b` lacks, along the pieces' corners,
/// changing over at every corner that both have, back to the start. `findInA(corner)` and `findInB(corner)` give a corner's
/// first place in the piece, or a negative number. Where all of `a`'s corners are in `b`, `isContained` is true and the last
/// one is the start.
template <class FindInA, class FindInB>
std::vector<CN_OutlinePlace> CN_uniteOutlines(const std::vector<int>& a, const std::vector<int>& b, FindInA&& findInA,
                                              FindInB&& findInB, bool& isContained) {
    std::vector<CN_OutlinePlace> outline;
    CN_OutlinePlace at{true, 0};
    while (at.corner < a.size() && findInB(a[at.corner]) >= 0)
        ++at.corner;
    isContained = at.corner == a.size();
    if (a.empty())
        return outline;
    if (isContained)
        --at.corner;
    const auto cornersOf = [&](const CN_OutlinePlace& place) -> const std::vector<int>& {
        return place.isOfFirst ? a : b;
    };
    const int start = a[at.corner];
    // Sound pieces come back to the start before each corner was seen.
    for (std::size_t steps = a.size() + b.size(); steps > 0; --steps) {
        const int corner = cornersOf(at)[at.corner];
        const int there = at.isOfFirst ? findInB(corner) : findInA(corner);
        if (there >= 0)
            at = {!at.isOfFirst, static_cast<std::size_t>(there)};
        outline.push_back(at);
        at.corner = (at.corner + 1) % cornersOf(at).size();
        if (cornersOf(at)[at.corner] == start)
            break;
    }
    return outline;
}

} // namespace cairn
