#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/planar/point_merger.h"
#include "cairn/geometry/planar/polygon2d.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace cairn {

/// Makes the loops of a planar polygon from contours.
class CN_2DPolygon::Contours {
  public:
    explicit Contours(CN_2DPolygon& polygon) : m_polygon(polygon) {}

    void run(const gpc_polygon& contours) {
        mergePoints(contours);
        splitSides();
        for (const Side& side : m_sides)
            m_polygon.addEdge(side.from, side.to, nullptr)->setLassoID(side.contour);
        removeOpposites();
        walkLoops();
        m_polygon.removeRedundantVertices();
        m_polygon.hangHoles();
    }

  private:
    using Points = std::vector<Point>;

    /// An edge on its way to the polygon.
    struct Side {
        int from, to;
        int contour;
    };
    /// A contour, or several that were fused.
    struct Area {
        bool isHole;
        int fusedInto = -1; ///< the area that took this one in, -1 for none
    };

    /// Points nearer than the tolerance become one vertex, and sides between them go.
    void mergePoints(const gpc_polygon& contours) {
        std::size_t count = 0;
        for (int c = 0; c < contours.num_contours; ++c)
            count += static_cast<std::size_t>(contours.contour[c].num_vertices);
        CN_PointMerger merger(m_polygon.m_vertices, m_polygon.m_snapTolerance, count);
        for (int c = 0; c < contours.num_contours; ++c) {
            m_areas.push_back({contours.hole[c] != 0});
            std::vector<int> corners;
            const gpc_vertex_list& contour = contours.contour[c];
            for (int i = 0; i < contour.num_vertices; ++i)
                corners.push_back(merger.add({contour.vertex[i].x, contour.vertex[i].y}));
            for (std::size_t i = 0; i < corners.size(); ++i)
                if (const int next = corners[(i + 1) % corners.size()]; next != corners[i])
                    m_sides.push_back({corners[i], next, c});
        }
        m_polygon.m_numVertices = static_cast<int>(m_polygon.m_vertices.size());
        m_polygon.m_ref.assign(m_polygon.m_vertices.size(), -1);
    }

    /// Splits each side at the vertices that lie on it, and the halves again.
    void splitSides() {
        for (const bool byY : {false, true}) {
            std::vector<int>& order = m_order[byY];
            order.resize(m_polygon.m_vertices.size());
            std::iota(order.begin(), order.end(), 0);
            std::stable_sort(order.begin(), order.end(),
                             [&](int a, int b) { return coordinate(a, byY) < coordinate(b, byY); });
        }
        std::vector<Side> whole;
        whole.swap(m_sides);
        for (const Side& side : whole) {
            // A vertex splits a side once, or two that are near to one another would go on for ever.
            std::vector<int> taken;
            std::vector<Side> open{side};
            while (!open.empty()) {
                const Side next = open.back();
                open.pop_back();
                const int vertex = findVertexOn(next, taken);
                if (vertex < 0) {
                    m_sides.push_back(next);
                    continue;
                }
                taken.push_back(vertex);
                open.push_back({vertex, next.to, next.contour});
                open.push_back({next.from, vertex, next.contour});
            }
        }
    }

    double coordinate(int vertex, bool byY) const {
        const Point& point = m_polygon.m_vertices[static_cast<std::size_t>(vertex)];
        return byY ? point.y : point.x;
    }

    /// The first vertex that lies on the side and not at its ends; -1 for none.
    int findVertexOn(const Side& side, const std::vector<int>& taken) const {
        const double tolerance = m_polygon.m_snapTolerance;
        const Points& vertices = m_polygon.m_vertices;
        const Point &from = vertices[static_cast<std::size_t>(side.from)],
                    &to = vertices[static_cast<std::size_t>(side.to)];
        const double length = (to - from).length();
        if (!(length >= 2 * tolerance))
            return -1;
        const Point direction = (to - from) * (1 / length);
        // Candidates stand in the side's range of x or of y, whichever holds fewer.
        std::vector<int>::const_iterator begin[2], end[2];
        for (const bool byY : {false, true}) {
            const double a = coordinate(side.from, byY), b = coordinate(side.to, byY);
            const double low = std::min(a, b) - 2 * tolerance, high = std::max(a, b) + 2 * tolerance;
            begin[byY] = std::lower_bound(m_order[byY].begin(), m_order[byY].end(), low,
                                          [&](int v, double limit) { return coordinate(v, byY) < limit; });
            end[byY] = std::upper_bound(m_order[byY].begin(), m_order[byY].end(), high,
                                        [&](double limit, int v) { return limit < coordinate(v, byY); });
        }
        const bool byY = end[1] - begin[1] < end[0] - begin[0];
        int first = -1;
        for (auto it = begin[byY]; it < end[byY]; ++it) {
            const int v = *it;
            if (v == side.from || v == side.to || (first >= 0 && v > first))
                continue;
            const Point apart = vertices[static_cast<std::size_t>(v)] - from;
            const double along = apart.dot(direction);
            if (std::fabs(apart.cross(direction)) < 2 * tolerance && along >= tolerance &&
                along <= length - tolerance && std::find(taken.begin(), taken.end(), v) == taken.end())
                first = v;
        }
        return first;
    }

    int areaOf(const CN_2DEdge& edge) {
        int area = edge.getLassoID();
        while (m_areas[static_cast<std::size_t>(area)].fusedInto >= 0)
            area = m_areas[static_cast<std::size_t>(area)].fusedInto;
        // Shorten the way for the next time.
        for (int at = edge.getLassoID(); at != area;)
            at = std::exchange(m_areas[static_cast<std::size_t>(at)].fusedInto, area);
        return area;
    }

    /// Edges that run back along each other go. Where they belong to two areas these become one, a hole if both are.
    void removeOpposites() {
        m_polygon.requireLinks();
        for (CN_2DEdge& edge : m_polygon.m_edges) {
            if (edge.getUsed())
                continue;
            const Links& back = m_polygon.linksFrom(edge.index(1));
            const auto twin = std::find_if(back.begin(), back.end(), [&](const Link& link) {
                return link.to == edge.index(0) && !link.edge->getUsed();
            });
            if (twin == back.end())
                continue;
            const int mine = areaOf(edge), theirs = areaOf(*twin->edge);
            if (mine != theirs) {
                const int fused = static_cast<int>(m_areas.size());
                const bool isHole =
                    m_areas[static_cast<std::size_t>(mine)].isHole && m_areas[static_cast<std::size_t>(theirs)].isHole;
                m_areas[static_cast<std::size_t>(mine)].fusedInto = fused;
                m_areas[static_cast<std::size_t>(theirs)].fusedInto = fused;
                m_areas.push_back({isHole});
            }
            edge.setUsed(1);
            twin->edge->setUsed(1);
        }
        // In an order that keeps together what belongs together: loops by area, the fused ones last.
        std::vector<std::vector<CN_2DEdge>> byArea(m_areas.size());
        for (const CN_2DEdge& edge : m_polygon.m_edges)
            if (!edge.getUsed())
                byArea[static_cast<std::size_t>(areaOf(edge))].push_back(edge);
        m_polygon.m_edges.clear();
        m_polygon.m_numEdges = 0;
        m_polygon.m_linksMade = false;
        for (std::size_t area = 0; area < byArea.size(); ++area)
            for (const CN_2DEdge& edge : byArea[area])
                m_polygon.addEdge(edge.index(0), edge.index(1), nullptr)->setLassoID(static_cast<int>(area));
    }

    /// Makes loops of the edges of each area.
    void walkLoops() {
        int area = -1;
        std::vector<LassoContainer*> loops; // of that area
        for (CN_2DEdge& edge : m_polygon.m_edges) {
            if (edge.getUsed())
                continue;
            if (edge.getLassoID() != area) {
                tellHoles(loops);
                loops.clear();
                area = edge.getLassoID();
            }
            LassoContainer& lasso = m_polygon.m_lassos.emplace();
            lasso.isHole = m_areas[static_cast<std::size_t>(area)].isHole ? 1 : 0;
            lasso.lassoId = m_polygon.m_lassos.count() - 1;
            if (walkLoop(edge, lasso))
                loops.push_back(&lasso);
            else
                m_polygon.m_lassos.remove(&lasso);
        }
        tellHoles(loops);
    }

    /// Walks from an edge until the walk comes back to it. False where it ends before.
    bool walkLoop(CN_2DEdge& first, LassoContainer& lasso) {
        CN_2DEdge* edge = &first;
        do {
            lasso.edges.emplace().set(edge->index(0), edge->index(1), &m_polygon, -1);
            if (edge != &first)
                edge->setUsed(1);
            edge = m_polygon.findSuccessor(edge, nullptr);
        } while (edge && edge != &first);
        first.setUsed(1);
        return edge != nullptr;
    }

    /// Where an area falls into several loops, its flag is that of the largest; one that runs the other way is cut out of
    /// it, or stands in it where it is a hole itself.
    static void tellHoles(const std::vector<LassoContainer*>& loops) {
        if (loops.size() < 2)
            return;
        std::vector<double> areas;
        for (const LassoContainer* const loop : loops) {
            const Point origin = loop->edges.first()->point(0);
            double twice = 0;
            for (const CN_2DEdge& edge : loop->edges)
                twice += (edge.point(0) - origin).cross(edge.point(1) - origin);
            areas.push_back(twice);
        }
        const double largest = *std::max_element(areas.begin(), areas.end(),
                                                 [](double a, double b) { return std::fabs(a) < std::fabs(b); });
        for (std::size_t i = 0; i < loops.size(); ++i)
            if ((areas[i] > 0) != (largest > 0))
                loops[i]->isHole = loops[i]->isHole ? 0 : 1;
    }

    CN_2DPolygon& m_polygon;
    std::vector<Side> m_sides;
    std::vector<Area> m_areas;   ///< contours, then what was fused of them
    std::vector<int> m_order[2]; ///< vertices by x and by y
};

void CN_2DPolygon::createFrom(const gpc_polygon* polygon) {
    clear();
    Contours(*this).run(*polygon);
}

} // namespace cairn
