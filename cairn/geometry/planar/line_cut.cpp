#include "cairn/geometry/planar/line_cut.h"

#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/planar/loop_sweep.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace cairn {

namespace {

using Point = M_Vector2Template<double>;
using Contour = std::vector<gpc_vertex>;

constexpr double ON_LINE = 1e-11;  // of the extent: a corner as near as this is where the line crosses
constexpr double NEAR_LINE = 1e-8; // one nearer than this is neither on the line nor beside it
constexpr double SAME = 1e-9;      // of the extent: as low, as far left

constexpr int RIGHT = 1, ON = 0, LEFT = -1;

/// The area's loops, and on which side of the line its corners lie.
class Sides {
  public:
    Sides(const Point& at, const Point& along) : m_at(at), m_along(along), m_right(along.y, -along.x) {}

    /// False for what only a clipper can sort out.
    bool take(const gpc_polygon& area) {
        Point low(HUGE_VAL, HUGE_VAL), high(-HUGE_VAL, -HUGE_VAL);
        m_loops.firsts.push_back(0);
        for (int c = 0; c < area.num_contours; ++c) {
            const gpc_vertex_list& contour = area.contour[c];
            if (contour.num_vertices < 3)
                return false;
            for (int i = 0; i < contour.num_vertices; ++i) {
                const Point corner(contour.vertex[i].x, contour.vertex[i].y);
                low = {std::min(low.x, corner.x), std::min(low.y, corner.y)};
                high = {std::max(high.x, corner.x), std::max(high.y, corner.y)};
                m_loops.corners.push_back(corner);
            }
            m_loops.firsts.push_back(static_cast<int>(m_loops.corners.size()));
        }
        m_extent = std::max(high.x - low.x, high.y - low.y);
        return m_extent > 0 && std::isfinite(m_extent) && CN_turnLoops(m_loops) && measure() && !isFlush();
    }
    const CN_PlanarLoops& loops() const { return m_loops; }
    double extent() const { return m_extent; }
    int side(int corner) const { return m_sides[static_cast<std::size_t>(corner)]; }
    double alongLine(const Point& point) const { return (point - m_at).dot(m_along); }
    /// Where the line crosses the side between two corners of which one is on the line, or one on either side of it. It is
    /// the same from both ends.
    Point crossing(int a, int b) const {
        if (side(a) == ON || side(b) == ON)
            return m_loops.at(side(a) == ON ? a : b);
        const int from = side(a) == RIGHT ? a : b, to = from == a ? b : a;
        const double inside = toRight(m_loops.at(from)), outside = toRight(m_loops.at(to));
        return m_loops.at(from) + (m_loops.at(to) - m_loops.at(from)) * (inside / (inside - outside));
    }

  private:
    double toRight(const Point& point) const { return (point - m_at).dot(m_right); }
    bool measure() {
        m_sides.reserve(m_loops.corners.size());
        for (const Point& corner : m_loops.corners) {
            const double right = toRight(corner), distance = std::fabs(right);
            if (!(distance <= ON_LINE * m_extent || distance > NEAR_LINE * m_extent))
                return false;
            m_sides.push_back(distance <= ON_LINE * m_extent ? ON : right > 0 ? RIGHT : LEFT);
        }
        return true;
    }

    /// True if a side runs along the line with the area on the one side of it and both its neighbours on the other: what is on
    /// that other side touches the line at both ends, and the clipper may join it there.
    bool isFlush() const {
        for (int loop = 0; loop < m_loops.count(); ++loop)
            for (int corner = m_loops.first(loop); corner < m_loops.first(loop + 1); ++corner) {
                const int before = side(m_loops.prev(loop, corner));
                if (side(corner) != ON || before == ON)
                    continue;
                int last = corner;
                while (side(m_loops.next(loop, last)) == ON)
                    last = m_loops.next(loop, last);
                const double along = alongLine(m_loops.at(last)) - alongLine(m_loops.at(corner));
                if (last != corner && side(m_loops.next(loop, last)) == before && (along > 0 ? RIGHT : LEFT) != before)
                    return true;
            }
        return false;
    }

    Point m_at, m_along, m_right; ///< a point of the line and unit directions
    CN_PlanarLoops m_loops;       ///< what they bound is to the right of their sides
    std::vector<int> m_sides;     ///< of the corners
    double m_extent = 0;
};

/// What lies on one side of the line: loops that do not come to the line are whole, others fall into chains of corners from
/// the line back to it, which are joined along the line.
class Part {
  public:
    Part(const Sides& sides, int side) : m_sides(sides), m_side(side) {}

    bool make(gpc_polygon& result) {
        gpc_free_polygon(&result);
        for (int loop = 0; loop < m_sides.loops().count(); ++loop)
            if (isWhole(loop))
                addLoop(loop, result);
            else
                addChains(loop);
        if (!joinEnds())
            return false;
        addJoined(result);
        gpc_arrange(&result, SAME * m_sides.extent());
        return true;
    }

  private:
    struct Chain {
        std::size_t first, last; ///< in the points
        int next = -1;           ///< the chain that starts where this one's way along the line ends
    };
    struct End {
        double along;
        int chain;
        bool isStart; ///< of its chain
        bool opens;   ///< the area borders on the line from here on, seen along the line; else it has up to here
    };

    bool isIn(int corner) const { return m_sides.side(corner) == m_side; }
    bool isWhole(int loop) const {
        const CN_PlanarLoops& loops = m_sides.loops();
        for (int corner = loops.first(loop); corner < loops.first(loop + 1); ++corner)
            if (!isIn(corner))
                return false;
        return true;
    }
    void addLoop(int loop, gpc_polygon& result) {
        const CN_PlanarLoops& loops = m_sides.loops();
        Contour corners;
        corners.reserve(static_cast<std::size_t>(loops.size(loop)));
        for (int corner = loops.first(loop); corner < loops.first(loop + 1); ++corner)
            corners.push_back({loops.at(corner).x, loops.at(corner).y});
        add(corners, result);
    }
    void addChains(int loop) {
        const CN_PlanarLoops& loops = m_sides.loops();
        int start = loops.first(loop);
        while (start < loops.first(loop + 1) && isIn(start))
            ++start;
        int corner = start;
        do {
            const int next = loops.next(loop, corner);
            if (!isIn(corner) && isIn(next)) {
                m_chains.push_back({m_points.size(), 0, -1});
                addEnd(m_sides.crossing(corner, next), true);
            }
            if (isIn(corner))
                m_points.push_back(loops.at(corner));
            if (isIn(corner) && !isIn(next)) {
                addEnd(m_sides.crossing(corner, next), false);
                m_chains.back().last = m_points.size();
            }
            corner = next;
        } while (corner != start);
    }
    // What is bounded lies to the right of a chain that leaves the line, and to its left as seen from there of one that comes
    // back.
    void addEnd(const Point& point, bool isStart) {
        m_ends.push_back(
            {m_sides.alongLine(point), static_cast<int>(m_chains.size()) - 1, isStart, isStart == (m_side == LEFT)});
        m_points.push_back(point);
    }
    /// Ends lie along the line in pairs, with what is bounded between them. False where they do not.
    bool joinEnds() {
        std::sort(m_ends.begin(), m_ends.end(), [](const End& a, const End& b) {
            return a.along < b.along || (a.along == b.along && a.chain < b.chain);
        });
        if (m_ends.size() % 2 != 0)
            return false;
        for (std::size_t i = 0; i < m_ends.size(); i += 2) {
            // A loop that touches the line with one corner starts and ends there.
            const bool isSwapped = m_ends[i + 1].opens && m_ends[i].along == m_ends[i + 1].along;
            const End &low = m_ends[i + (isSwapped ? 1 : 0)], &high = m_ends[i + (isSwapped ? 0 : 1)];
            if (!low.opens || high.opens)
                return false;
            const End &from = low.isStart ? high : low, &to = low.isStart ? low : high;
            m_chains[static_cast<std::size_t>(from.chain)].next = to.chain;
        }
        return true;
    }
    void addJoined(gpc_polygon& result) {
        for (Chain& first : m_chains) {
            Contour corners;
            for (Chain* chain = &first; chain->next >= 0;) {
                for (std::size_t i = chain->first; i < chain->last; ++i)
                    if (const Point& p = m_points[i]; corners.empty() || Point(corners.back().x, corners.back().y) != p)
                        corners.push_back({p.x, p.y});
                const int next = chain->next;
                chain->next = -1;
                chain = &m_chains[static_cast<std::size_t>(next)];
            }
            if (corners.empty())
                continue;
            if (corners.front().x == corners.back().x && corners.front().y == corners.back().y)
                corners.pop_back();
            add(corners, result);
        }
    }
    static void add(Contour& corners, gpc_polygon& result) {
        double twice = 0;
        const gpc_vertex& origin = corners.front();
        for (std::size_t i = 1; i + 1 < corners.size(); ++i)
            twice += Point(corners[i].x - origin.x, corners[i].y - origin.y)
                         .cross({corners[i + 1].x - origin.x, corners[i + 1].y - origin.y});
        const gpc_vertex_list contour{static_cast<int>(corners.size()), corners.data()};
        gpc_add_contour(&result, &contour, twice > 0 ? 1 : 0);
    }

    const Sides& m_sides;
    int m_side;
    std::vector<Point> m_points; ///< of the chains, with both ends
    std::vector<Chain> m_chains;
    std::vector<End> m_ends;
};

} // namespace

bool CN_cutByLine(const gpc_polygon& area, const Point& at, const Point& along, gpc_polygon& right, gpc_polygon& left) {
    Sides sides(at, along);
    return sides.take(area) && Part(sides, RIGHT).make(right) && Part(sides, LEFT).make(left);
}

} // namespace cairn
