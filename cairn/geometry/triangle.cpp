#include "cairn/geometry/triangle.h"

#include "cairn/document/document.h"
#include "cairn/foundation/exception.h"
#include "cairn/geometry/convex_region.h"
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

double CN_Triangle::area() const {
    double sum = 0;
    for (std::size_t i = 2; i < m_vertices.size(); ++i) {
        const Vector& first = getVertexLocal(0);
        const int corner = static_cast<int>(i);
        sum += (getVertexLocal(corner - 1) - first).cross(getVertexLocal(corner) - first).length();
    }
    return sum / 2;
}

bool CN_Triangle::formsConvexRegion(const CN_Triangle& other) const {
    int a = 0, b = 0;
    if (!sharesEdge(other, &a, &b))
        return false;
    const CN_Polygon& parent = requireParent(*this);
    const CN_Mesh::VertexList& vertices = parent.getParent()->getVertexList();
    const CN_Polygon::PlanarSpace space = parent.getSpace();
    return CN_formsConvexRegion(m_vertices, other.m_vertices, a,
                                [&](int index) { return space.toUV(vertices[index].local); });
}

void CN_Triangle::unify(const CN_Triangle& a, const CN_Triangle& b) {
    const std::vector<int>* current = &a.m_vertices;
    const std::vector<int>* rest = &b.m_vertices;
    const auto isOutside = [rest](int index) { return std::find(rest->begin(), rest->end(), index) == rest->end(); };
    auto at = std::find_if(current->begin(), current->end(), isOutside);
    m_parent = a.m_parent;
    if (at == current->end()) {
        const CN_Mesh* const mesh = m_parent ? m_parent->getParent() : nullptr;
        if (mesh && CN_Document::isAlive(mesh->getDocument()))
            mesh->getDocument()->showMessage(
                2, formatText("Two identical triangles found in %s", toString(mesh->getQualifiedName()).c_str()));
        if (current->empty())
            return;
        --at;
    }

    // Round the outline, changing over at every corner that both have. Sound pieces come back to the start before each corner
    // was seen.
    std::vector<int> outline;
    const int start = *at;
    for (std::size_t steps = current->size() + rest->size(); steps > 0; --steps) {
        const auto there = std::find(rest->begin(), rest->end(), *at);
        if (there != rest->end()) {
            std::swap(current, rest);
            at = there;
        }
        outline.push_back(*at);
        if (++at == current->end())
            at = current->begin();
        if (*at == start)
            break;
    }
    m_uv.assign(outline.size(), {});
    m_lightmapUV.assign(outline.size(), {});
    m_vertices = std::move(outline);
}

} // namespace cairn
