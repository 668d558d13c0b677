#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/math/snapping.h"

#include <cmath>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Point = M_Vector2Template<double>;

constexpr double PLANE_DISTANCE = 1e-4; // of a point on the polygon from its plane
constexpr double CORNER_RADIUS = 1e-4;  // of a corner that a point in the polygon may lie beside
constexpr double SKIN = 1e-5;           // of a point on the outline from it
constexpr double RUNNING_STEP = 1e-5;   // to which an edge in the polygon runs along its plane
constexpr double OFF_PLANE_STEP = 5e-4; // to which the ends of a stretch in the polygon lie in its plane

/// A side of the outline in the polygon's plane, with the inside to its right.
struct Side {
    Point start, end, unit;
    double length;

    Side(const Point& a, const Point& b) : start(a), end(b), length((b - a).length()) {
        if (length > 0)
            unit = (b - a) * (1 / length);
    }
    /// The distance from the side's line, or from where it is if it has no length.
    double distance(const Point& p) const {
        return length > 0 ? std::fabs((p - start).cross(unit)) : (p - start).length();
    }
    double along(const Point& p) const { return (p - start).dot(unit); }
    bool holds(const Point& p, double thickness) const {
        const double t = along(p);
        return distance(p) < thickness && t > -thickness && t < length + thickness;
    }
    /// True if the ray from the point to the right of the picture crosses the side. Of a corner at the ray's height one of
    /// the sides that meet there counts, or both, or none, so that the number is odd only where the ray goes in or out.
    bool isCrossedFrom(const Point& p) const {
        if ((start.y > p.y) == (end.y > p.y))
            return false;
        return ((end - start).cross(p - start) > 0) == (end.y > start.y);
    }
    /// Where a stretch from `origin` along `vector` crosses the side, whose end is no part of it; false where it runs along the
    /// side or does not reach it by `tolerance` from its ends.
    bool isCrossedBy(const Point& origin, const Point& vector, double tolerance, Point& at) const {
        const Point normal(unit.y, -unit.x);
        const double from = (origin - start).dot(normal), to = (origin + vector - start).dot(normal);
        if (!(std::fabs(from - to) >= 2 * tolerance) || length == 0)
            return false;
        const double t = (start - origin).dot(normal) / vector.dot(normal), reach = vector.length();
        if (!(t * reach >= tolerance && t * reach < reach - tolerance))
            return false;
        at = origin + vector * t;
        const double place = along(at);
        return place >= 0 && place < length;
    }
};

/// True if there is an area to ask of.
bool hasArea(const CN_Polygon& polygon) {
    const Vector& normal = polygon.getNormal();
    return !polygon.getEdgeList().empty() && normal.isFinite() && normal.length() > 0;
}

Side sideOf(const CN_Edge& edge, const CN_Polygon::PlanarSpace& space) {
    return {space.toUV(edge.getLocal(0)), space.toUV(edge.getLocal(1))};
}

/// True where the extent of texture space 0 tells that the point is outside. An empty extent tells nothing.
bool isBeyondExtent(const CN_UVSpace& space, const Vector& point) {
    if (!(space.min.x <= space.max.x && space.min.y <= space.max.y))
        return false;
    const Point uv = space.space.toUV(point);
    return uv.x < static_cast<double>(space.min.x) || uv.x > static_cast<double>(space.max.x) ||
           uv.y < static_cast<double>(space.min.y) || uv.y > static_cast<double>(space.max.y);
}

/// Beyond an edge's end by how much, along its line; 0 between the ends.
double overrun(const CN_Edge& edge, const Vector& point) {
    const double t = (point - edge.getLocal(0)).dot(edge.dir().normalized()), length = edge.dir().length();
    return t < 0 ? -t : t > length ? t - length : 0;
}

double distanceFromLine(const CN_Edge& edge, const Vector& point) {
    return CN_lineDistance(point, edge.getLocal(0), edge.getLocal(1));
}

} // namespace

// Whether the ray runs along an edge or through a corner plays no part, so that the answer is the same for any direction.
bool CN_Polygon::pointInPoly(const Vector& point, bool local) const {
    if (!hasArea(*this))
        return false;
    const Vector place = local ? point : requireMesh().worldToObject(point);
    // The extent of the base texture is as old as its last calculation where the light layer is shown.
    const CN_UVSpace* const base = getUVSpaceID() == 0 ? m_uvSpaces.find(0) : nullptr;
    if (!place.isFinite() || (m_uvCalculated && base && isBeyondExtent(*base, place)))
        return false;
    const PlanarSpace space = getSpace();
    const Point p = space.toUV(place);
    bool inside = false;
    for (const CN_Edge& edge : m_edgeList) {
        const Side side = sideOf(edge, space);
        if (side.holds(p, s_dEdgeThickness))
            return false;
        if (side.isCrossedFrom(p))
            inside = !inside;
    }
    return inside;
}

bool CN_Polygon::pointSkinsPolygon(const Vector& point) const {
    if (!hasArea(*this) || !(std::fabs(getPlane().distance(point)) < PLANE_DISTANCE))
        return false;
    for (const CN_Edge& edge : m_edgeList)
        if ((point - edge.getLocal(0)).length() < SKIN)
            return true;
    for (const CN_Edge& edge : m_edgeList)
        if (distanceFromLine(edge, point) < SKIN && (point - edge.getLocal(1)).dot(point - edge.getLocal(0)) < 0)
            return true;
    return false;
}

// The plane is that of the first corner, as `pointOnPlane` may have been moved off the corners.
bool CN_Polygon::vertexIsInPolygon(const Vector* point) const {
    if (!hasArea(*this) || !(std::fabs((*point - m_edgeList.first()->getLocal(0)).dot(m_normal)) < PLANE_DISTANCE))
        return false;
    for (const CN_Edge& edge : m_edgeList)
        if ((*point - edge.getLocal(0)).length() < CORNER_RADIUS)
            return true;
    if (pointInPoly(*point, true))
        return true;
    for (const CN_Edge& edge : m_edgeList)
        if (distanceFromLine(edge, *point) < s_dEdgeThickness && overrun(edge, *point) < s_dEdgeThickness)
            return true;
    return false;
}

bool CN_Polygon::edgeIsInPolygon(const CN_Edge* edge) const {
    return snapToGrid(edge->dir().dot(m_normal), RUNNING_STEP) == 0 && vertexIsInPolygon(&edge->getLocal(0)) &&
           vertexIsInPolygon(&edge->getLocal(1));
}

bool CN_Polygon::edgeConnectsToPolygon(const CN_Edge* edge) const {
    return !edgeIsInPolygon(edge) && (vertexIsInPolygon(&edge->getLocal(0)) || vertexIsInPolygon(&edge->getLocal(1)));
}

bool CN_Polygon::sharesEdges(const CN_Polygon* other) const {
    for (const CN_Edge& edge : m_edgeList)
        if (other->edgeIsInPolygon(&edge))
            return true;
    return false;
}

bool CN_Polygon::rangeIntersects(const Vector& start, const Vector& vector) const {
    if (!hasArea(*this))
        return false;
    bool inside = pointInPoly(start, true);
    const PlanarSpace space = getSpace();
    const Point origin = space.toUV(start), along = space.toUVDirection(vector);
    Point mark = origin, crossing; // where the stretch came in, or starts
    for (const CN_Edge& edge : m_edgeList) {
        if (!sideOf(edge, space).isCrossedBy(origin, along, s_dEdgeThickness, crossing))
            continue;
        if (inside && (crossing - mark).length() > s_dEdgeThickness)
            return true;
        if (!inside)
            mark = crossing;
        inside = !inside;
    }
    return false;
}

bool CN_Polygon::edgeRunsInPolygon(const Vector& start, const Vector& vector) const {
    return snapToGrid(distLocal(start), OFF_PLANE_STEP) == 0 &&
           snapToGrid(distLocal(start + vector), OFF_PLANE_STEP) == 0 && rangeIntersects(start, vector);
}

bool CN_Polygon::intersectPlane(Vector& out, const Vector& direction, const Vector& origin, double* t,
                                bool local) const {
    const Vector from = local ? origin : requireMesh().worldToObject(origin);
    const Vector along = local ? direction : direction * requireMesh().getInvWorldRotation();
    const double side = distLocal(from), approach = along.dot(m_normal);
    if (!((side > 0 && approach < 0) || (side < 0 && approach > 0)))
        return false;
    const double k = -side / approach;
    const Vector hit = from + along * k;
    out = local ? hit : requireMesh().worldTransform(hit);
    if (t)
        *t = k;
    return true;
}

} // namespace cairn
