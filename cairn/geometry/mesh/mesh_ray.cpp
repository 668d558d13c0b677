#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/polygon_ray.h"

namespace cairn {

bool CN_Mesh::intersectRay(Vector& point, double& distance, const Vector& origin, const Vector& direction, bool cull,
                           bool local, CN_RayFilter filter) {
    m_lastHitPolygon = nullptr;
    double entry = 0;
    if (!isVisible() || !rayToBoundingVolume(&entry, origin, direction, local) || !(entry <= distance))
        return false;
    const CN_PolygonRay ray{origin, direction, cull, local, filter};
    for (CN_Polygon& polygon : m_polygonList) {
        polygon.deSelect();
        if (ray.meets(polygon, point, distance))
            m_lastHitPolygon = &polygon;
    }
    return m_lastHitPolygon != nullptr;
}

} // namespace cairn
