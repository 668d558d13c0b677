#include "cairn/foundation/exception.h"
#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

namespace {

constexpr double SAME_CORNER = 1e-6;      // corners nearer than this are one vertex
constexpr double REDUNDANT_CORNER = 1e-4; // a corner nearer than this to its neighbours' line goes

/// True if the second edge runs straight back along the first.
bool runsBack(const CN_Edge& edge, const CN_Edge& next) {
    return next.index(1) == edge.index(0) && next.index(0) == edge.index(1);
}

} // namespace

void CN_Polygon::addVertex(CN_Vertex* vertex) {
    accessLists().vertexBuffer.add(vertex);
    ++m_numVertices;
}

void CN_Polygon::addVertex(const Vector& point) { addVertex(requireMesh().addVertex(point)); }

void CN_Polygon::addVertex() { addVertex(requireMesh().addVertex()); }

CN_Vertex* CN_Polygon::addVertexCheck(const Vector& point) {
    CN_Mesh& mesh = requireMesh();
    for (CN_Vertex& vertex : mesh.accessVertexList()) {
        if ((vertex.world - point).length() < SAME_CORNER) {
            addVertex(&vertex);
            return &vertex;
        }
    }
    CN_Vertex* const made = mesh.addVertex(point);
    addVertex(made);
    return made;
}

bool CN_Polygon::removeVertex() {
    if (m_numVertices < 1 || lists().vertexBuffer.empty())
        return false;
    accessLists().vertexBuffer.removeLast();
    --m_numVertices;
    return true;
}

void CN_Polygon::constructEdges() {
    std::vector<int> corners;
    corners.reserve(static_cast<std::size_t>(lists().vertexBuffer.count()));
    for (const CN_Vertex* const vertex : lists().vertexBuffer) {
        corners.push_back(requireMesh().getVertexList().indexOf(vertex));
        if (corners.back() < 0)
            throw new F_Exception(
                formatText("A corner of polygon %d is no vertex of its mesh", static_cast<int>(m_polygonIndex)));
    }
    m_edgeList.clear();
    m_uvCalculated = false;
    for (std::size_t i = 0; i < corners.size(); ++i)
        m_edgeList.emplace(corners[i], corners[(i + 1) % corners.size()]).setParent(this);
    if (m_lists)
        m_lists->vertexBuffer.clear();
}

CN_Edge* CN_Polygon::addEdge(int a, int b, bool holeStart) {
    if (a == b)
        return nullptr;
    CN_Edge& edge = m_edgeList.emplace(a, b);
    edge.setParent(this);
    edge.setHoleStart(holeStart);
    m_uvCalculated = false;
    return &edge;
}

CN_Edge* CN_Polygon::addEdge(const Vector& a, const Vector& b) {
    CN_Mesh& mesh = requireMesh();
    const CN_Vertex* const start = mesh.addVertexCheck(a, SAME_CORNER);
    const CN_Vertex* const end = mesh.addVertexCheck(b, SAME_CORNER);
    return addEdge(mesh.getVertexList().indexOf(start), mesh.getVertexList().indexOf(end), false);
}

void CN_Polygon::insertEdges(F_DLList<CN_Edge*>& list) {
    for (CN_Edge& edge : m_edgeList)
        list.add(&edge);
}

std::vector<CN_Polygon::Lasso> CN_Polygon::getLassos() {
    std::vector<Lasso> lassos;
    const CN_Edge* before = nullptr;
    for (CN_Edge& edge : m_edgeList) {
        if (!before || before->index(1) != edge.index(0))
            lassos.emplace_back();
        lassos.back().push_back(&edge);
        before = &edge;
    }
    return lassos;
}

void CN_Polygon::killNullEdges() {
    for (CN_Edge& edge : m_edgeList)
        if (edge.index(0) == edge.index(1))
            m_edgeList.remove(&edge);
    for (CN_Edge* edge = m_edgeList.first(); edge;) {
        CN_Edge* const next = m_edgeList.next(edge);
        CN_Edge* const successor = next ? next : m_edgeList.first();
        if (successor == edge || !runsBack(*edge, *successor)) {
            edge = next;
            continue;
        }
        CN_Edge* const after = next ? m_edgeList.next(next) : nullptr;
        m_edgeList.remove(edge);
        m_edgeList.remove(successor);
        edge = after;
    }
}

void CN_Polygon::optimizeRedundantVertices() {
    for (CN_Edge* edge = m_edgeList.first(); edge;) {
        CN_Edge* const next = m_edgeList.next(edge);
        CN_Edge* const successor = next ? next : m_edgeList.first();
        if (successor == edge)
            return;
        if (runsBack(*edge, *successor)) {
            CN_Edge* const after = next ? m_edgeList.next(next) : nullptr;
            m_edgeList.remove(edge);
            m_edgeList.remove(successor);
            edge = after;
        } else if (edge->index(1) == successor->index(0) &&
                   CN_lineDistance(edge->getLocal(1), edge->getLocal(0), successor->getLocal(1)) < REDUNDANT_CORNER) {
            // The long edge takes this one's place and is asked again, unless it was the pair at the end of the walk.
            edge->index(1) = successor->index(1);
            m_edgeList.remove(successor);
            if (!next)
                return;
        } else
            edge = next;
    }
}

} // namespace cairn
