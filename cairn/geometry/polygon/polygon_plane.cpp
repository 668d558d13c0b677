#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

constexpr double STRAIGHT_CORNER = 1e-5; // a corner nearer to its edge's line says nothing about the normal

/// A space's rows with the third one turned round.
M_Matrix3Template<double> turnedOver(const CN_Polygon::PlanarSpace& space) {
    const M_Matrix3Template<double>& matrix = space.getMatrix();
    return {matrix.row(0), matrix.row(1), -matrix.row(2)};
}

} // namespace

void CN_Polygon::updatePointOnPlane() {
    if (m_edgeList.empty())
        return;
    Vector sum;
    for (const CN_Edge& edge : m_edgeList)
        sum += edge.getLocal(0);
    m_pointOnPlane = sum / static_cast<double>(m_edgeList.count());
}

M_Plane3Template<double> CN_Polygon::getPlane() const { return {m_normal, m_pointOnPlane}; }

void CN_Polygon::updateNormal() {
    const auto forEachCorner = [this](auto&& visit) {
        for (const CN_Edge& edge : m_edgeList) {
            const CN_Edge* const next = m_edgeList.next(&edge);
            const CN_Edge& successor = next ? *next : *m_edgeList.first();
            if (CN_lineDistance(successor.getLocal(1), edge.getLocal(0), edge.getLocal(1)) >= STRAIGHT_CORNER)
                visit(edge, successor);
        }
    };
    int corners = 0;
    forEachCorner([&corners](const CN_Edge&, const CN_Edge&) { ++corners; });
    Vector sum;
    forEachCorner([&](const CN_Edge& edge, const CN_Edge& successor) {
        Vector normal = edge.dir().cross(successor.dir());
        if (normal.dot(m_normal) < 0)
            normal = -normal;
        sum += normal * (1.0 / corners);
    });
    if (sum.length() != 0)
        m_normal = sum.normalized(m_normal);
}

CN_Polygon::PlanarSpace CN_Polygon::getSpace() const {
    const auto withoutNormal = [this](const Vector& v) { return v - m_normal * v.dot(m_normal); };
    const Vector u = withoutNormal(getUVSpace(0).getMatrix().row(0).normalized());
    Vector v = withoutNormal(m_normal.cross(u));
    if (u.cross(v).dot(m_normal) > 0)
        v = -v;
    return {Matrix(u, v, m_normal), m_pointOnPlane, {}};
}

double CN_Polygon::distLocal(const Vector& point) const { return (point - m_pointOnPlane).dot(m_normal); }

void CN_Polygon::project(Vector& point) const { projectGeneral(point, m_normal, m_pointOnPlane); }

void CN_Polygon::projectGeneral(Vector& point, const Vector& normal, const Vector& pointOnPlane) {
    point -= normal * (point - pointOnPlane).dot(normal);
}

void CN_Polygon::projectAlong(Vector& point, const Vector& direction) const {
    projectAlongGeneral(point, direction, m_normal, m_pointOnPlane);
}

void CN_Polygon::projectAlongGeneral(Vector& point, const Vector& direction, const Vector& normal,
                                     const Vector& pointOnPlane) {
    const double approach = direction.dot(normal);
    if (approach != 0)
        point += direction * ((pointOnPlane - point).dot(normal) / approach);
}

// The product of vectors that are not unit is held in single precision: what is equal in `float` has one angle.
double CN_Polygon::angle(const Vector& a, const Vector& b, bool unitVectors) {
    const double product = a.dot(b);
    const double cosine = unitVectors ? product : static_cast<double>(CN_toFloat(product / (a.length() * b.length())));
    return std::acos(std::clamp(cosine, -1.0, 1.0));
}

void CN_Polygon::flip(bool retriangulate) {
    if (m_parent)
        m_parent->setBSPDirty();
    m_normal = -m_normal;
    m_referenceNormal = -m_referenceNormal;
    // All three are read before one is written: a key that is missing reads as space 0.
    constexpr int KEYS = 3;
    const Matrix turned[KEYS] = {turnedOver(getUVSpace(0)), turnedOver(getUVSpace(1)), turnedOver(getUVSpace(2))};
    for (int key = 0; key < KEYS; ++key)
        editUVSpace(key).setMatrix(turned[key]);
    flipVertexOrder();
    if (retriangulate) {
        m_triangleList.clear();
        triangulize(true);
    } else {
        for (CN_Triangle& triangle : m_triangleList)
            triangle.flip();
    }
}

void CN_Polygon::flipVertexOrder() {
    if (m_parent)
        m_parent->setBSPDirty();
    if (!lists().vertexBuffer.empty()) {
        m_lists->vertexBuffer.reverse();
        return;
    }
    m_edgeList.reverse();
    for (CN_Edge& edge : m_edgeList) {
        edge.swap();
        edge.setHoleStart(false); // it stood on what is a loop's last edge now
    }
    for (CN_Triangle& triangle : m_triangleList)
        triangle.flip();
}

} // namespace cairn
