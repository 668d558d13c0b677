#include "cairn/geometry/retriangulation.h"

#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace cairn {

namespace {

/// What a triangulation of a polygon changes.
class Saved {
  public:
    explicit Saved(CN_Polygon& polygon)
        : m_polygon(&polygon), m_ngons(polygon.getNgonList()), m_numVertices(polygon.numVertices()),
          m_firstEdge(polygon.getEdgeList().first()), m_isUVCalculated(polygon.isUVCalculated()) {
        for (CN_Edge& edge : polygon.accessEdgeList())
            if (edge.isHoleStart())
                m_holeStarts.push_back(&edge);
        for (CN_Vertex* const corner : polygon.getVertexBuffer())
            m_corners.push_back(corner);
        // Nothing throws from here on.
        m_triangles.swap(polygon.accessTriangleList());
        if (!m_corners.empty()) // edges will be made of them in place of these
            m_edges.swap(polygon.accessEdgeList());
    }

    void putBack() {
        if (!m_corners.empty()) {
            m_polygon->accessEdgeList().swap(m_edges);
            if (m_polygon->getVertexBuffer().empty())
                for (CN_Vertex* const corner : m_corners)
                    m_polygon->addVertex(corner);
            m_polygon->setNumVertices(m_numVertices);
        } else if (m_polygon->getEdgeList().first() != m_firstEdge) { // it ran the wrong way round
            m_polygon->flipVertexOrder();
            for (CN_Edge* const edge : m_holeStarts)
                edge->setHoleStart(true);
        }
        m_polygon->accessTriangleList().swap(m_triangles);
        if (!m_ngons.empty())
            m_polygon->accessNgonList().swap(m_ngons);
        m_polygon->setUVCalculated(m_isUVCalculated);
    }

  private:
    CN_Polygon* m_polygon; ///< not owned
    CN_Polygon::TriangleList m_triangles;
    CN_Polygon::NgonList m_ngons;
    CN_Polygon::EdgeList m_edges;       ///< of a polygon with collected corners
    std::vector<CN_Vertex*> m_corners;  ///< not owned: the collected ones
    std::vector<CN_Edge*> m_holeStarts; ///< not owned
    int m_numVertices;
    const CN_Edge* m_firstEdge; ///< not owned
    bool m_isUVCalculated;
};

/// False for a triangle or a quad whose corners all turn one way: it cannot cross itself.
bool mayCrossItself(const CN_Polygon& polygon) {
    const CN_Polygon::EdgeList& edges = polygon.getEdgeList();
    constexpr int QUAD = 4;
    if (edges.count() > QUAD || polygon.getNumHoles() > 0)
        return true;
    return std::any_of(edges.begin(), edges.end(), [&polygon, before = edges.last()](const CN_Edge& edge) mutable {
        const CN_Edge& last = *std::exchange(before, &edge);
        return !(last.dir().cross(edge.dir()).dot(polygon.getNormal()) > 0);
    });
}

} // namespace

bool CN_renewTriangulations(CN_Mesh& mesh) {
    std::vector<Saved> saved;
    std::vector<CN_Polygon*> current;
    const auto putBack = [&saved] {
        for (Saved& polygon : saved)
            polygon.putBack();
    };
    try {
        for (CN_Polygon& polygon : mesh.accessPolygonList()) {
            if (polygon.getEdgeList().empty() && polygon.getVertexBuffer().empty())
                continue;
            if (polygon.isTriangulationCurrent()) {
                current.push_back(&polygon);
                continue;
            }
            // Asked first: a triangulation that fails is told to the user.
            if (!polygon.getTriangleList().empty() && mayCrossItself(polygon) && !polygon.canTriangulize()) {
                putBack();
                return false;
            }
            saved.emplace_back(polygon);
            polygon.triangulize(true);
        }
    } catch (...) {
        putBack();
        throw;
    }
    for (CN_Polygon* const polygon : current)
        polygon->renewTriangulation();
    return true;
}

} // namespace cairn
