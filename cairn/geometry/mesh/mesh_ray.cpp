#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

bool CN_Mesh::intersectRay(Vector& point, double& distance, const Vector& origin, const Vector& direction, bool cull,
                           bool local, CN_RayFilter filter) {
    m_lastHitPolygon = nullptr;
    double entry = 0;
    if (!isVisible() || !rayToBoundingVolume(&entry, origin, direction, local) || !(entry <= distance))
        return false;
    for (CN_Polygon& polygon : m_polygonList) {
        polygon.deSelect();
        if (filter && filter(&polygon, polygon.getMaterial(), isDynamic()))
            continue;
        if (cull && !((local ? polygon.getNormal() : polygon.getWorldNormal()).dot(direction) < 0))
            continue;
        Vector hit;
        if (!polygon.intersectPlane(hit, direction, origin, nullptr, local))
            continue;
        if (const double length = (hit - origin).length(); length <= distance && polygon.pointInPoly(hit, local)) {
            distance = length;
            m_lastHitPolygon = &polygon;
            point = hit;
        }
    }
    return m_lastHitPolygon != nullptr;
}

} // namespace cairn
