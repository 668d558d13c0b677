#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>
#include <limits>

namespace cairn {

CN_Vertex* CN_Mesh::addVertex() { return &m_vertexList.emplace(); }

CN_Vertex* CN_Mesh::addVertex(const Vector& point) {
    CN_Vertex& vertex = m_vertexList.emplace(point);
    checkBoundingBox(point, m_boundingMin, m_boundingMax);
    return &vertex;
}

CN_Vertex* CN_Mesh::addVertexCheck(const Vector& point, double tolerance) {
    for (CN_Vertex& vertex : m_vertexList)
        if ((vertex.local - point).length() < tolerance)
            return &vertex;
    return addVertex(point);
}

CN_Vertex* CN_Mesh::addVertexCheckWorld(const Vector& point, double tolerance) {
    return addVertexCheck(worldToObject(point), tolerance);
}

void CN_Mesh::transform() {
    for (CN_Vertex& vertex : m_vertexList) {
        const Vector world = worldTransform(vertex.local);
        if (!(world == vertex.world))
            m_bspDirty = true; // also after a change that marks nothing
        vertex.world = world;
    }
}

void CN_Mesh::calculateBoundingBox() {
    const Vector least(CN_UNSET_BOUND, CN_UNSET_BOUND, CN_UNSET_BOUND);
    m_boundingMin = least;
    m_boundingMax = -least;
    m_boundingBox = E_BBox<double>(least, -least);
    transform();
    Vector sum;
    int corners = 0;
    double radius = 0;
    const auto widen = [&](const CN_Vertex& corner) {
        checkBoundingBox(corner.world, m_boundingMin, m_boundingMax);
        m_boundingBox.expand(corner.local);
        sum += corner.local;
        ++corners;
        radius = std::max(radius, corner.local.length());
    };
    for (const CN_Polygon& polygon : m_polygonList) {
        // A polygon under construction has its corners in the buffer.
        if (!polygon.getVertexBuffer().empty())
            for (const CN_Vertex* const corner : polygon.getVertexBuffer())
                widen(*corner);
        else
            for (const CN_Edge& edge : polygon.getEdgeList())
                widen(edge.getVertex(0));
    }
    m_centerOfArea = corners > 0 ? sum / static_cast<double>(corners) : Vector();
    // The radius counts in single precision; beyond its range it is the largest number.
    constexpr double LARGEST = std::numeric_limits<float>::max();
    m_boundingRadius = static_cast<double>(static_cast<float>(std::min(radius, LARGEST)));
}

} // namespace cairn
