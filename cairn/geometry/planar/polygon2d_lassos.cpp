#include "cairn/geometry/planar/polygon2d.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace cairn {

namespace {

using Point = CN_2DPolygon::Point;

/// A point on the inner side of an edge, so near to it that nothing else fits between.
Point besideMiddle(const CN_2DEdge& edge) {
    constexpr double SHARE = 1e-3; // of the edge, where it is short
    const double aside = std::min(edge.getParent()->getSnapTolerance(), SHARE * edge.length());
    return (edge.point(0) + edge.point(1)) * 0.5 + edge.getNormal() * aside;
}

/// True if a ray from the point to the right crosses the edge: each edge has its lower end and not its upper one, so that
/// the ends of two edges that meet count as one crossing or none.
bool isCrossed(const CN_2DEdge& edge, const Point& from) {
    const Point a = edge.point(0) - from, b = edge.point(1) - from;
    if ((a.y > 0) == (b.y > 0))
        return false;
    return (a.cross(b) > 0) == (b.y > a.y);
}

double areaOf(const LassoContainer& lasso) {
    double twice = 0;
    if (lasso.edges.empty())
        return 0;
    const Point origin = lasso.edges.first()->point(0);
    for (const CN_2DEdge& edge : lasso.edges)
        twice += (edge.point(0) - origin).cross(edge.point(1) - origin);
    return std::fabs(twice / 2);
}

LassoContainer* nextOf(CN_2DPolygon::LassoList& lassos, LassoContainer*& cursor, bool hole) {
    cursor = cursor ? lassos.next(cursor) : lassos.first();
    while (cursor && (cursor->isHole != 0) != hole)
        cursor = lassos.next(cursor);
    return cursor;
}

} // namespace

LassoContainer* CN_2DPolygon::getNextHole() { return nextOf(m_lassos, m_holeCursor, true); }

LassoContainer* CN_2DPolygon::getNextTopLevel() { return nextOf(m_lassos, m_topLevelCursor, false); }

int CN_2DPolygon::intersectAll(const CN_2DEdge& edge, int lassoId) const {
    const Point from = besideMiddle(edge);
    bool inside = false;
    for (const CN_2DEdge& other : m_edges)
        if (other.getLassoID() != lassoId && isCrossed(other, from))
            inside = !inside;
    return inside ? 1 : 0;
}

int CN_2DPolygon::intersectLasso(const CN_2DEdge& edge, const LassoContainer& lasso) {
    const Point from = besideMiddle(edge);
    bool inside = false;
    for (const CN_2DEdge& other : lasso.edges)
        if (isCrossed(other, from))
            inside = !inside;
    return inside ? 1 : 0;
}

bool CN_2DPolygon::findConnection(LassoContainer& a, LassoContainer& b, CN_2DEdge*& edgeA, CN_2DEdge*& edgeB) const {
    // By length, then by order in the loops.
    std::vector<std::tuple<double, int, int>> lines;
    int i = 0;
    for (const CN_2DEdge& one : a.edges) {
        int j = 0;
        for (const CN_2DEdge& other : b.edges)
            lines.emplace_back((other.point(0) - one.point(0)).length(), i, j++);
        ++i;
    }
    std::sort(lines.begin(), lines.end());
    for (const auto& [length, placeA, placeB] : lines) {
        CN_2DEdge &one = a.edges[placeA], &other = b.edges[placeB];
        if (one.index(0) == other.index(0) || intersects(one.index(0), other.index(0)))
            continue;
        edgeA = &one;
        edgeB = &other;
        return true;
    }
    return false;
}

void CN_2DPolygon::connectLassos2() {
    for (LassoContainer& lasso : m_lassos)
        lasso.isHole = lasso.edges.empty() ? 0 : intersectAll(*lasso.edges.first(), lasso.lassoId);
    removeRedundantVertices();
    hangHoles();
}

/// Removes what is redundant from all loops, and loops without edges; the edges are those of the loops afterwards.
void CN_2DPolygon::removeRedundantVertices() {
    referenceVertices();
    for (LassoContainer& lasso : m_lassos)
        removeRedundantCorners(lasso);
    for (LassoContainer& lasso : m_lassos)
        if (lasso.edges.empty())
            m_lassos.remove(&lasso);
    m_holeCursor = m_topLevelCursor = nullptr;
    takeEdgesOfLassos();
}

void CN_2DPolygon::takeEdgesOfLassos() {
    m_edges.clear();
    m_links.clear();
    m_linksMade = false;
    m_numEdges = 0;
    for (const LassoContainer& lasso : m_lassos)
        for (const CN_2DEdge& edge : lasso.edges)
            addEdge(edge.index(0), edge.index(1), nullptr)->setLassoID(lasso.lassoId);
    referenceVertices();
}

void CN_2DPolygon::deleteRedundantVertices(LassoContainer& lasso) {
    referenceVertices();
    removeRedundantCorners(lasso);
}

/// With the degrees as they are, which it keeps.
void CN_2DPolygon::removeRedundantCorners(LassoContainer& lasso) {
    std::vector<int> loop; // where the edges start
    for (const CN_2DEdge& edge : lasso.edges)
        loop.push_back(edge.index(0));
    // Whether the corner between two edges that make one is on the line of that one.
    const auto isStraight = [&](int start, int corner, int end) {
        const Point &from = m_vertices[static_cast<std::size_t>(start)],
                    &at = m_vertices[static_cast<std::size_t>(corner)];
        const Point direction = m_vertices[static_cast<std::size_t>(end)] - from;
        return m_degrees[static_cast<std::size_t>(corner)] == 2 &&
               std::fabs((at - from).cross(direction)) < m_snapTolerance * direction.length();
    };
    bool changed = false;
    for (std::size_t i = 0; i < loop.size() && loop.size() > 1;) {
        const std::size_t corner = (i + 1) % loop.size(), end = (i + 2) % loop.size();
        if (loop[i] == loop[end]) {
            // Out and back: both edges go, and what came before may run back along what follows now.
            for (const int vertex : {loop[i], loop[corner], loop[corner], loop[end]})
                --m_degrees[static_cast<std::size_t>(vertex)];
            loop.erase(loop.begin() + static_cast<std::ptrdiff_t>(std::max(corner, end)));
            loop.erase(loop.begin() + static_cast<std::ptrdiff_t>(std::min(corner, end)));
            i = end < i || i == 0 ? 0 : i - 1;
        } else if (isStraight(loop[i], loop[corner], loop[end])) {
            loop.erase(loop.begin() + static_cast<std::ptrdiff_t>(corner));
            if (corner < i)
                --i;
        } else {
            ++i;
            continue;
        }
        changed = true;
    }
    if (!changed)
        return;
    lasso.edges.clear();
    if (loop.size() < 2)
        return;
    for (std::size_t i = 0; i < loop.size(); ++i)
        lasso.edges.emplace().set(loop[i], loop[(i + 1) % loop.size()], this, -1);
}

void CN_2DPolygon::hangHoles() {
    std::vector<std::pair<double, LassoContainer*>> outlines; // by area
    for (LassoContainer& lasso : m_lassos) {
        lasso.parent = nullptr;
        lasso.holes.clear();
        if (!lasso.isHole)
            outlines.emplace_back(areaOf(lasso), &lasso);
    }
    std::stable_sort(outlines.begin(), outlines.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (LassoContainer& hole : m_lassos) {
        if (!hole.isHole || hole.edges.empty())
            continue;
        for (const auto& [area, outline] : outlines) {
            if (!intersectLasso(*hole.edges.first(), *outline))
                continue;
            hole.parent = outline;
            outline->holes.add(&hole);
            break;
        }
    }
}

} // namespace cairn
