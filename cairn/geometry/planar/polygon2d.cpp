#include "cairn/geometry/planar/polygon2d.h"

#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/ngon.h"
#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/planar/point_merger.h"

#include <unordered_map>
#include <utility>

namespace cairn {

namespace {

/// U and N of texture space 0 at unit length, V so that the plane is seen from behind: clockwise in it is counter-clockwise
/// seen from the side that N points to. Singular where the texture space is, but for rounding.
M_Matrix3Template<double> axesOf(const CN_Polygon& polygon) {
    using Vector = CN_2DPolygon::Vector;
    const M_Matrix3Template<double>& axes = polygon.getUVSpace(0).getMatrix();
    const Vector u = axes.row(0).normalized(), n = axes.row(2).normalized();
    Vector v = n.cross(u);
    if (u.cross(v).dot(n) > 0)
        v = -v;
    return {u, v, n};
}

} // namespace

CN_2DPolygon::CN_2DPolygon(CN_Polygon* polygon, double snapTolerance)
    : m_source(polygon), m_snapTolerance(snapTolerance) {
    if (!polygon->getNgonList().empty()) {
        uniteNgons();
        return;
    }
    const bool hasEdges = polygon->getVertexBuffer().empty() && !polygon->getEdgeList().empty();
    const Vector origin = hasEdges ? polygon->getEdgeList().first()->getLocal(0) : polygon->getPointOnPlane();
    const int corners = hasEdges ? polygon->getEdgeList().count() : polygon->getVertexBuffer().count();
    if (corners < 3) {
        // A polygon of nothing yet has a space, too, if there is one: its user may go on with `createFrom`.
        m_valid = 0;
        if (const M_Matrix3Template<double> axes = axesOf(*polygon); axes.determinant() != 0)
            m_space = PlanarSpace(axes, origin, {0, 0});
        return;
    }
    makeSpace(origin);
    if (hasEdges)
        layOutEdges();
    else
        layOutCorners();
    m_numVertices = static_cast<int>(m_vertices.size());
}

CN_2DPolygon::CN_2DPolygon(CN_Polygon* source, double snapTolerance, const PlanarSpace& space)
    : m_source(source), m_space(space), m_snapTolerance(snapTolerance) {}

CN_2DPolygon::CN_2DPolygon(const CN_2DPolygon& other) { copyFrom(other); }

CN_2DPolygon& CN_2DPolygon::operator=(const CN_2DPolygon& other) {
    if (this != &other)
        copyFrom(other);
    return *this;
}

void CN_2DPolygon::copyFrom(const CN_2DPolygon& other) {
    m_vertices = other.m_vertices;
    m_degrees = other.m_degrees;
    m_ref = other.m_ref;
    m_triangles = other.m_triangles;
    m_edges = other.m_edges;
    for (CN_2DEdge& edge : m_edges)
        edge.setParent(this);
    m_numEdges = other.m_numEdges;
    m_numVertices = other.m_numVertices;
    m_numTriangles = other.m_numTriangles;
    m_source = other.m_source;
    m_valid = other.m_valid;
    m_space = other.m_space;
    m_snapTolerance = other.m_snapTolerance;
    m_lassos = other.m_lassos;
    const auto mine = [&](const LassoContainer* theirs) {
        return theirs ? &m_lassos[other.m_lassos.indexOf(theirs)] : nullptr;
    };
    for (LassoContainer& lasso : m_lassos) {
        for (CN_2DEdge& edge : lasso.edges)
            edge.setParent(this);
        lasso.parent = mine(lasso.parent);
        for (LassoContainer*& hole : lasso.holes)
            hole = mine(hole);
    }
    m_holeCursor = mine(other.m_holeCursor);
    m_topLevelCursor = mine(other.m_topLevelCursor);
    copyLinks(other);
}

/// Once edges and loops are copied.
void CN_2DPolygon::copyLinks(const CN_2DPolygon& other) {
    m_links.clear();
    m_linksMade = other.m_linksMade;
    if (!m_linksMade)
        return;
    m_links = other.m_links;
    std::unordered_map<const CN_2DEdge*, CN_2DEdge*> mine;
    const auto pair = [&](const EdgeList& theirs, EdgeList& copies) {
        CN_2DEdge* copy = copies.first();
        for (const CN_2DEdge& edge : theirs) {
            mine.emplace(&edge, copy);
            copy = copies.next(copy);
        }
    };
    pair(other.m_edges, m_edges);
    const LassoContainer* lasso = other.m_lassos.first();
    for (LassoContainer& copy : m_lassos) {
        pair(lasso->edges, copy.edges);
        lasso = other.m_lassos.next(lasso);
    }
    for (Links& links : m_links)
        for (Link& link : links)
            if (const auto it = mine.find(link.edge); it != mine.end())
                link.edge = it->second;
}

void CN_2DPolygon::clear() {
    m_vertices.clear();
    m_links.clear();
    m_linksMade = false;
    m_degrees.clear();
    m_ref.clear();
    m_triangles.clear();
    m_edges.clear();
    m_lassos.clear();
    m_holeCursor = m_topLevelCursor = nullptr;
    m_numEdges = m_numVertices = m_numTriangles = 0;
    m_valid = 1;
}

void CN_2DPolygon::makeSpace(const Vector& origin) { m_space = PlanarSpace(axesOf(*m_source), origin, {0, 0}); }

CN_2DPolygon::Vector CN_2DPolygon::toLocal(const Point& point) const { return m_space.fromUV(point); }

void CN_2DPolygon::layOutEdges() {
    const CN_Polygon::EdgeList& edges = m_source->getEdgeList();
    CN_PointMerger merger(m_vertices, m_snapTolerance, static_cast<std::size_t>(edges.count()));
    const auto layOut = [&](const CN_Edge& edge, int end) {
        const int vertex = merger.add(m_space.toUV(edge.getLocal(end)));
        if (static_cast<std::size_t>(vertex) == m_ref.size())
            m_ref.push_back(edge.index(end));
        return vertex;
    };
    std::vector<int> starts;
    starts.reserve(static_cast<std::size_t>(edges.count()));
    for (const CN_Edge& edge : edges)
        starts.push_back(layOut(edge, 0));
    // An edge ends where the next one starts, or where its loop began.
    const CN_Edge* loopStart = edges.first();
    int loopVertex = starts[0];
    std::size_t i = 0;
    for (const CN_Edge* edge = edges.first(); edge; ++i) {
        const CN_Edge* const next = edges.next(edge);
        const bool goesOn = next && next->index(0) == edge->index(1);
        const int end = goesOn ? starts[i + 1] : edge->index(1) == loopStart->index(0) ? loopVertex : layOut(*edge, 1);
        if (starts[i] != end)
            addEdge(starts[i], end, nullptr);
        if (!goesOn && next) {
            loopStart = next;
            loopVertex = starts[i + 1];
        }
        edge = next;
    }
}

void CN_2DPolygon::layOutCorners() {
    const F_DLList<CN_Vertex*>& corners = m_source->getVertexBuffer();
    CN_PointMerger merger(m_vertices, m_snapTolerance, static_cast<std::size_t>(corners.count()));
    const CN_Mesh* const mesh = m_source->getParent();
    int before = -1;
    for (const CN_Vertex* const corner : corners) {
        const int vertex = merger.add(m_space.toUV(corner->local));
        if (static_cast<std::size_t>(vertex) == m_ref.size())
            m_ref.push_back(mesh ? mesh->getVertexList().indexOf(corner) : -1);
        if (before >= 0 && before != vertex)
            addEdge(before, vertex, nullptr);
        before = vertex;
    }
}

void CN_2DPolygon::uniteNgons() {
    const CN_Mesh* const mesh = m_source->getParent();
    // A piece in the world counts by its place in the mesh.
    const auto local = [&](const CN_Ngon& ngon, const Vector& corner) {
        return ngon.isLocal() || !mesh ? corner : mesh->worldToObject(corner);
    };
    const CN_Ngon& first = *m_source->getNgonList().first();
    makeSpace(first.size() > 0 ? local(first, first.getVertices()[0]) : m_source->getPointOnPlane());
    gpc_polygon united;
    for (const CN_Ngon& ngon : m_source->getNgonList()) {
        std::vector<gpc_vertex> corners;
        for (const Vector& corner : ngon.getVertices()) {
            const Point point = m_space.toUV(local(ngon, corner));
            corners.push_back({point.x, point.y});
        }
        gpc_polygon piece;
        const gpc_vertex_list contour{static_cast<int>(corners.size()), corners.data()};
        gpc_add_contour(&piece, &contour, 0);
        gpc_polygon_clip(GPC_UNION, &united, &piece, &united);
    }
    createFrom(&united);
}

} // namespace cairn
