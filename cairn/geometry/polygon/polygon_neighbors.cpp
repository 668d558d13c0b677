#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>
#include <limits>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

constexpr double SHARED_TOLERANCE = 0.001; // of an end from the other edge's line, and the least length that is shared

/// An edge in one of the two spaces it has.
struct Stretch {
    Vector start, end;
};

/// What `CN_Edge::sharesSpace` and `sharesSpaceLocal` do: `normal` is that of the first edge's polygon in their space.
bool shareSpace(const Stretch& edge, const Stretch& other, bool same, const Vector& normal, Vector& point,
                Vector& vector) {
    if (!(CN_lineDistance(other.start, edge.start, edge.end) < SHARED_TOLERANCE) ||
        !(CN_lineDistance(other.end, edge.start, edge.end) < SHARED_TOLERANCE))
        return false;
    const Vector along = (edge.end - edge.start).normalized();
    const M_Matrix3Template<double> frame(along, normal, normal.cross(along));
    if (!frame.isInvertible())
        return false;
    if (same) {
        point = edge.start;
        vector = edge.end - edge.start;
        return true;
    }
    // Places along the edge.
    const M_Matrix3Template<double> inverse = frame.inverse();
    const auto place = [&](const Vector& p) { return ((p - edge.start) * inverse).x; };
    const double end = place(edge.end), a = place(other.start), b = place(other.end);
    const double low = std::max(std::min(0.0, end), std::min(a, b));
    const double high = std::min(std::max(0.0, end), std::max(a, b));
    if (!(high - low > SHARED_TOLERANCE))
        return false;
    const Vector first = Vector(low, 0, 0) * frame, second = Vector(high, 0, 0) * frame;
    point = first + edge.start;
    vector = second - first;
    return true;
}

} // namespace

bool CN_Edge::operator==(const CN_Edge& other) const {
    const Vector &a = getWorld(0), &b = getWorld(1), &c = other.getWorld(0), &d = other.getWorld(1);
    return (a == c && b == d) || (a == d && b == c);
}

bool CN_Edge::sharesSpace(const CN_Edge* other, Vector& point, Vector& vector) const {
    return shareSpace({getWorld(0), getWorld(1)}, {other->getWorld(0), other->getWorld(1)}, *this == *other,
                      m_parent->getWorldNormal(), point, vector);
}

// That edges are the same is asked in the world here, too.
bool CN_Edge::sharesSpaceLocal(const CN_Edge* other, Vector& point, Vector& vector) const {
    return shareSpace({getLocal(0), getLocal(1)}, {other->getLocal(0), other->getLocal(1)}, *this == *other,
                      m_parent->getNormal(), point, vector);
}

// The margin and the bounds are of single precision, so that boxes of one place agree to the bit.
void CN_Polygon::buildBoundingBox(bool local) {
    constexpr float MARGIN = 0.1F, LARGEST = std::numeric_limits<float>::max();
    float least[3] = {LARGEST, LARGEST, LARGEST}, largest[3] = {-LARGEST, -LARGEST, -LARGEST};
    for (const CN_Edge& edge : m_edgeList) {
        const Vector& corner = local ? edge.getLocal(0) : edge.getWorld(0);
        for (int axis = 0; axis < 3; ++axis) {
            const float place = CN_toFloat(corner[axis]);
            least[axis] = std::min(least[axis], place);
            largest[axis] = std::max(largest[axis], place);
        }
    }
    constexpr double WIDER = static_cast<double>(MARGIN);
    m_boundingBox = {{static_cast<double>(least[0]) - WIDER, static_cast<double>(least[1]) - WIDER,
                      static_cast<double>(least[2]) - WIDER},
                     {static_cast<double>(largest[0]) + WIDER, static_cast<double>(largest[1]) + WIDER,
                      static_cast<double>(largest[2]) + WIDER}};
}

bool CN_Polygon::bbIntersect(const CN_Polygon* other) const { return m_boundingBox.intersects(other->m_boundingBox); }

bool CN_Polygon::findCommonEdgeSegment(const CN_Polygon* other, Vector& point, Vector& vector) const {
    for (const CN_Edge& edge : m_edgeList)
        for (const CN_Edge& theirs : other->m_edgeList)
            if (edge.sharesSpace(&theirs, point, vector))
                return true;
    return false;
}

void CN_Polygon::createSharedEdgeList() {
    if (m_lists)
        m_lists->sharedEdgeList.clear();
    Vector point, vector;
    for (CN_Polygon& other : requireMesh().accessPolygonList())
        if (&other != this && bbIntersect(&other) && !other.m_edgeList.empty() &&
            other.findCommonEdgeSegment(this, point, vector))
            accessLists().sharedEdgeList.add(&other);
}

} // namespace cairn
