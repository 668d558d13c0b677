#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/planar/point_merger.h"
#include "cairn/geometry/planar/polygon2d.h"
#include "cairn/geometry/planar/side_splitter.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace cairn {

/// Makes the loops of a planar polygon from contours.
class CN_2DPolygon::Contours {
  public:
    explicit Contours(CN_2DPolygon& polygon) : m_polygon(polygon) {}

    /// True where the loops are the contours.
    bool run(const gpc_polygon& contours) {
        const bool areApart = mergePoints(contours);
        const std::vector<CN_Side> sides = CN_splitSides(m_polygon.m_vertices, m_sides, m_polygon.m_snapTolerance);
        for (const CN_Side& side : sides)
            m_polygon.addEdge(side.from, side.to, nullptr)->setLassoID(side.contour);
        const bool areContours = areApart && sides.size() == m_sides.size();
        if (areContours) {
            takeContours();
        } else {
            removeOpposites();
            walkLoops();
        }
        m_polygon.removeRedundantVertices();
        m_polygon.hangHoles();
        return areContours;
    }

  private:
    /// A contour, or several that were fused.
    struct Area {
        bool isHole;
        int fusedInto = -1; ///< the area that took this one in, -1 for none
    };

    /// Points nearer than the tolerance become one vertex, and sides between them go. False where there are such points, or
    /// contours of fewer than three.
    bool mergePoints(const gpc_polygon& contours) {
        std::size_t count = 0;
        bool areLoops = true;
        for (int c = 0; c < contours.num_contours; ++c)
            count += static_cast<std::size_t>(contours.contour[c].num_vertices);
        CN_PointMerger merger(m_polygon.m_vertices, m_polygon.m_snapTolerance, count);
        for (int c = 0; c < contours.num_contours; ++c) {
            m_areas.push_back({contours.hole[c] != 0});
            std::vector<int> corners;
            const gpc_vertex_list& contour = contours.contour[c];
            areLoops = areLoops && contour.num_vertices >= 3;
            for (int i = 0; i < contour.num_vertices; ++i)
                corners.push_back(merger.add({contour.vertex[i].x, contour.vertex[i].y}));
            for (std::size_t i = 0; i < corners.size(); ++i)
                if (const int next = corners[(i + 1) % corners.size()]; next != corners[i])
                    m_sides.push_back({corners[i], next, c});
        }
        m_polygon.m_numVertices = static_cast<int>(m_polygon.m_vertices.size());
        m_polygon.m_ref.assign(m_polygon.m_vertices.size(), -1);
        return areLoops && m_polygon.m_vertices.size() == count;
    }

    /// Makes a loop of each contour: the edges are theirs, one after the other.
    void takeContours() {
        LassoContainer* lasso = nullptr;
        int contour = -1;
        for (const CN_2DEdge& edge : m_polygon.m_edges) {
            if (edge.getLassoID() != contour) {
                contour = edge.getLassoID();
                lasso = &m_polygon.m_lassos.emplace();
                lasso->isHole = m_areas[static_cast<std::size_t>(contour)].isHole ? 1 : 0;
                lasso->lassoId = contour;
            }
            lasso->edges.emplace().set(edge.index(0), edge.index(1), &m_polygon, -1);
        }
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

    /// Where an area falls into several loops, its flag is that of the largest. One that runs the other way is cut out of
    /// it, or stands in it where it is a hole itself; one beside it, as of a contour that crosses itself at a corner, is of
    /// its kind and is turned to run as it does.
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
        const auto largest =
            static_cast<std::size_t>(std::max_element(areas.begin(), areas.end(),
                                                      [](double a, double b) { return std::fabs(a) < std::fabs(b); }) -
                                     areas.begin());
        for (std::size_t i = 0; i < loops.size(); ++i) {
            if ((areas[i] > 0) == (areas[largest] > 0))
                continue;
            if (intersectLasso(*loops[i]->edges.first(), *loops[largest]))
                loops[i]->isHole = loops[i]->isHole ? 0 : 1;
            else
                turn(*loops[i]);
        }
    }

    static void turn(LassoContainer& loop) {
        std::vector<CN_2DEdge> edges(loop.edges.begin(), loop.edges.end());
        std::reverse(edges.begin(), edges.end());
        loop.edges.clear();
        for (CN_2DEdge& edge : edges) {
            edge.swap();
            loop.edges.add(edge);
        }
    }

    CN_2DPolygon& m_polygon;
    std::vector<CN_Side> m_sides; ///< of the contours, whole
    std::vector<Area> m_areas;    ///< contours, then what was fused of them
};

bool CN_2DPolygon::createFrom(const gpc_polygon* polygon) {
    clear();
    return Contours(*this).run(*polygon);
}

} // namespace cairn
