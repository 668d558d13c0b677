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

/// A top-level loop that holes may lie in.
struct Outline {
    LassoContainer* lasso; ///< not owned
    double area;
    Point low, high; ///< its box

    explicit Outline(LassoContainer& loop) : lasso(&loop), area(areaOf(loop)) {
        for (const CN_2DEdge& edge : loop.edges) {
            const Point& corner = edge.point(0);
            low = &edge == loop.edges.first() ? corner : Point(std::min(low.x, corner.x), std::min(low.y, corner.y));
            high = &edge == loop.edges.first() ? corner : Point(std::max(high.x, corner.x), std::max(high.y, corner.y));
        }
    }
    /// False where it is plain without a look at the edges that the point is in no closed loop of them.
    bool mayHold(const Point& point) const {
        return point.x >= low.x && point.x <= high.x && point.y >= low.y && point.y <= high.y;
    }
};

/// Vertices in a ring that starts at one of them, any of which can be taken out.
class Ring {
  public:
    explicit Ring(const CN_2DPolygon::EdgeList& edges) {
        const auto count = static_cast<std::size_t>(edges.count());
        m_places.reserve(count);
        for (const CN_2DEdge& edge : edges) {
            const std::size_t place = m_places.size();
            m_places.push_back({edge.index(0), (place + 1) % count, (place + count - 1) % count});
        }
        m_size = count;
    }

    std::size_t size() const { return m_size; }
    std::size_t first() const { return m_first; }
    int vertex(std::size_t place) const { return m_places[place].vertex; }
    std::size_t next(std::size_t place) const { return m_places[place].next; }
    std::size_t prev(std::size_t place) const { return m_places[place].prev; }
    void remove(std::size_t place) {
        const Place& gone = m_places[place];
        m_places[gone.prev].next = gone.next;
        m_places[gone.next].prev = gone.prev;
        if (place == m_first)
            m_first = gone.next;
        --m_size;
    }

  private:
    struct Place {
        int vertex;
        std::size_t next, prev;
    };
    std::vector<Place> m_places;
    std::size_t m_first = 0; ///< where the ring starts
    std::size_t m_size;      ///< those not taken out
};

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

/// Whether the corner between two edges that make one is on the line of that one.
bool CN_2DPolygon::isStraight(int start, int corner, int end) const {
    const Point &from = m_vertices[static_cast<std::size_t>(start)], &at = m_vertices[static_cast<std::size_t>(corner)];
    const Point direction = m_vertices[static_cast<std::size_t>(end)] - from;
    return m_degrees[static_cast<std::size_t>(corner)] == 2 &&
           std::fabs((at - from).cross(direction)) < m_snapTolerance * direction.length();
}

/// With the degrees as they are, which it keeps.
void CN_2DPolygon::removeRedundantCorners(LassoContainer& lasso) {
    Ring ring(lasso.edges);
    const std::size_t count = ring.size();
    for (std::size_t at = ring.first(); ring.size() > 1;) {
        const std::size_t corner = ring.next(at), end = ring.next(corner);
        if (ring.vertex(at) == ring.vertex(end)) {
            // Out and back: both edges go, and what came before may run back along what follows now.
            for (const std::size_t place : {at, corner, corner, end})
                --m_degrees[static_cast<std::size_t>(ring.vertex(place))];
            const bool startsAnew = at == ring.first() || corner == ring.first() || end == ring.first();
            const std::size_t before = ring.prev(at);
            ring.remove(corner);
            ring.remove(end);
            at = startsAnew ? ring.first() : before;
        } else if (isStraight(ring.vertex(at), ring.vertex(corner), ring.vertex(end))) {
            ring.remove(corner);
        } else if (corner == ring.first()) {
            break;
        } else {
            at = corner;
        }
    }
    if (ring.size() == count)
        return;
    lasso.edges.clear();
    if (ring.size() < 2)
        return;
    std::size_t at = ring.first();
    do {
        const std::size_t next = ring.next(at);
        lasso.edges.emplace().set(ring.vertex(at), ring.vertex(next), this, -1);
        at = next;
    } while (at != ring.first());
}

void CN_2DPolygon::hangHoles() {
    std::vector<Outline> outlines; // by area
    for (LassoContainer& lasso : m_lassos) {
        lasso.parent = nullptr;
        lasso.holes.clear();
        if (!lasso.isHole && !lasso.edges.empty())
            outlines.emplace_back(lasso);
    }
    std::stable_sort(outlines.begin(), outlines.end(),
                     [](const Outline& a, const Outline& b) { return a.area < b.area; });
    for (LassoContainer& hole : m_lassos) {
        if (!hole.isHole || hole.edges.empty())
            continue;
        const CN_2DEdge& edge = *hole.edges.first();
        const Point inside = besideMiddle(edge);
        const auto around = std::find_if(outlines.begin(), outlines.end(), [&](const Outline& outline) {
            return outline.mayHold(inside) && intersectLasso(edge, *outline.lasso);
        });
        if (around == outlines.end())
            continue;
        hole.parent = around->lasso;
        around->lasso->holes.add(&hole);
    }
}

} // namespace cairn
