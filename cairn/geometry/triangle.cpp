#include "cairn/geometry/triangle.h"

#include "cairn/foundation/exception.h"
#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>

namespace cairn {

namespace {

const CN_Polygon& requireParent(const CN_Triangle& triangle) {
    if (!triangle.getParent() || !triangle.getParent()->getParent())
        throw new F_Exception("A triangle of no mesh has no corners");
    return *triangle.getParent();
}

const CN_Vertex& cornerOf(const CN_Triangle& triangle, int i) {
    const CN_Mesh& mesh = *requireParent(triangle).getParent();
    const std::vector<int>& corners = triangle.getVertices();
    if (i < 0 || static_cast<std::size_t>(i) >= corners.size())
        throw new F_Exception(formatText("A triangle of %zu corners has no corner %d", corners.size(), i));
    return mesh.getVertexList()[corners[static_cast<std::size_t>(i)]];
}

} // namespace

const CN_Triangle::Vector& CN_Triangle::getNormal() const { return requireParent(*this).getWorldNormal(); }

const CN_Triangle::Vector& CN_Triangle::getVertex(int i) const { return cornerOf(*this, i).world; }

const CN_Triangle::Vector& CN_Triangle::getVertexLocal(int i) const { return cornerOf(*this, i).local; }

int CN_Triangle::hasVertex(int index) const {
    const auto it = std::find(m_vertices.begin(), m_vertices.end(), index);
    return it == m_vertices.end() ? -1 : static_cast<int>(it - m_vertices.begin());
}

// Detail coordinates are made anew with the others and not turned.
void CN_Triangle::flip() {
    std::reverse(m_vertices.begin(), m_vertices.end());
    std::reverse(m_uv.begin(), m_uv.end());
    std::reverse(m_lightmapUV.begin(), m_lightmapUV.end());
}

bool CN_Triangle::sharesEdge(const CN_Triangle& other, int* a, int* b) const {
    const std::vector<int>& theirs = other.m_vertices;
    for (std::size_t i = 0; i < m_vertices.size(); ++i) {
        const std::size_t next = (i + 1) % m_vertices.size();
        for (std::size_t j = 0; j < theirs.size(); ++j) {
            if (theirs[j] != m_vertices[next] || theirs[(j + 1) % theirs.size()] != m_vertices[i])
                continue;
            *a = static_cast<int>(i);
            *b = static_cast<int>(next);
            return true;
        }
    }
    return false;
}

} // namespace cairn
