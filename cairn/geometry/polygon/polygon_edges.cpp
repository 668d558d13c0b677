#include "cairn/foundation/exception.h"
#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

namespace {

constexpr double SAME_CORNER = 1e-6; // corners nearer than this are one vertex

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

} // namespace cairn
