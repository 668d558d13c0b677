#pragma once

#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

/// A ray among the polygons of a mesh: see `CN_Mesh::intersectRay`.
struct CN_PolygonRay {
    using Vector = M_Vector3Template<double>;

    Vector origin, direction; ///< the direction is unit
    bool cull, local;
    CN_RayFilter filter; ///< may be null

    /// True if the ray meets the polygon at most `distance` away; `point` and `distance` become those of the hit then.
    bool meets(const CN_Polygon& polygon, Vector& point, double& distance) const {
        if (filter && filter(&polygon, polygon.getMaterial(), polygon.getParent()->isDynamic()))
            return false;
        if (cull && !((local ? polygon.getNormal() : polygon.getWorldNormal()).dot(direction) < 0))
            return false;
        Vector hit;
        if (!polygon.intersectPlane(hit, direction, origin, nullptr, local))
            return false;
        const double length = (hit - origin).length();
        if (!(length <= distance) || !polygon.pointInPoly(hit, local))
            return false;
        distance = length;
        point = hit;
        return true;
    }
};

} // namespace cairn
