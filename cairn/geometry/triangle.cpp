#include "cairn/geometry/triangle.h"

#include "cairn/document/document.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/system.h"
#include "cairn/geometry/convex_region.h"
#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>
#include <cmath>

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

/// The first place of a vertex among the corners, or -1.
int placeOf(const std::vector<int>& corners, int vertex) {
    const auto it = std::find(corners.begin(), corners.end(), vertex);
    return it == corners.end() ? -1 : static_cast<int>(it - corners.begin());
}

} // namespace

const CN_Triangle::Vector& CN_Triangle::getNormal() const { return requireParent(*this).getWorldNormal(); }

const CN_Triangle::Vector& CN_Triangle::getVertex(int i) const { return cornerOf(*this, i).world; }

const CN_Triangle::Vector& CN_Triangle::getVertexLocal(int i) const { return cornerOf(*this, i).local; }

int CN_Triangle::hasVertex(int index) const { return placeOf(m_vertices, index); }

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

bool CN_Triangle::intersectEdge(Vector& outStart, Vector& outEnd, const Vector& start, const Vector& end,
                                double thickness) const {
    constexpr double SLACK =
        1e-4; // an end beyond an edge by less is not moved to it; ends as far as each other are not
    constexpr double LEAST_LENGTH = 1e-5; // of what is left
    const CN_Polygon& parent = requireParent(*this);
    if (start == end) {
        outStart = outEnd = start;
        return parent.pointInPoly(start, true);
    }
    if (!(parent.getNormal().isFinite() && parent.getNormal().length() > 0))
        return false;
    using Point = M_Vector2Template<double>;
    const CN_Polygon::PlanarSpace space = parent.getSpace();
    Point p0 = space.toUV(start), p1 = space.toUV(end);
    const Point direction = p1 - p0;
    for (std::size_t i = 0; i < m_vertices.size(); ++i) {
        const Point from = space.toUV(getVertexLocal(static_cast<int>(i))),
                    along = space.toUV(getVertexLocal(static_cast<int>((i + 1) % m_vertices.size()))) - from;
        const double length = along.length();
        if (length == 0)
            continue;
        const double d0 = (p0 - from).cross(along) / length, d1 = (p1 - from).cross(along) / length;
        if (d0 < -thickness && d1 < -thickness)
            return false;
        if (!(std::fabs(d0 - d1) >= SLACK))
            continue;
        const Point meeting = p0 + (p1 - p0) * (d0 / (d0 - d1));
        if (d0 < 0 && d1 > -SLACK)
            p0 = meeting;
        if (d0 > -SLACK && d1 < 0)
            p1 = meeting;
    }
    const double left = (p1 - p0).length();
    if (!(left >= LEAST_LENGTH)) {
        F_System::verbose("Intersectedge failed because length was %.12lf\n", left);
        return false;
    }
    if (!((p1 - p0).dot(direction) >= 0))
        return false;
    outStart = space.fromUV(p0);
    outEnd = space.fromUV(p1);
    return true;
}

void CN_Triangle::unify(const CN_Triangle& a, const CN_Triangle& b) {
    bool isContained = false;
    const std::vector<CN_OutlinePlace> places = CN_uniteOutlines(
        a.m_vertices, b.m_vertices, [&a](int vertex) { return placeOf(a.m_vertices, vertex); },
        [&b](int vertex) { return placeOf(b.m_vertices, vertex); }, isContained);
    m_parent = a.m_parent;
    const CN_Mesh* const mesh = m_parent ? m_parent->getParent() : nullptr;
    if (isContained && mesh && CN_Document::isAlive(mesh->getDocument()))
        mesh->getDocument()->showMessage(
            2, formatText("Two identical triangles found in %s", toString(mesh->getQualifiedName()).c_str()));
    std::vector<int> outline;
    outline.reserve(places.size());
    for (const CN_OutlinePlace& place : places)
        outline.push_back((place.isOfFirst ? a : b).m_vertices[place.corner]);
    m_uv.assign(outline.size(), {});
    m_lightmapUV.assign(outline.size(), {});
    m_vertices = std::move(outline);
}

} // namespace cairn
