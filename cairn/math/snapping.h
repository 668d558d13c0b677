#pragma once

#include "cairn/math/vector3.h"

#include <algorithm>
#include <cmath>

namespace cairn {

/// The multiple of `step` nearest to the value, an even one of two that are as near.
inline double snapToGrid(double value, double step) { return std::nearbyint(value / step) * step; }

/// The largest magnitude among the components.
inline double maxAbsComponent(const M_Vector3Template<double>& v) {
    return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)});
}

/// Puts each component onto the grid of `step` that is nearer to it than `tolerance`.
inline void snapVector(M_Vector3Template<double>& v, double step, double tolerance) {
    for (int i = 0; i < 3; ++i)
        if (const double snapped = snapToGrid(v[i], step); std::abs(snapped - v[i]) < tolerance)
            v[i] = snapped;
}

/// Makes a nearly axis-aligned plane, of a unit normal through a point, exact. A normal with a component beyond 0.99999 becomes
/// that axis, and the point the one of the plane on it. Another one loses its first component below 1e-5, and the point the
/// same one. The point's components go to the grid of 0.0125 where they are nearer to it than 0.001.
inline void snapPlane(M_Vector3Template<double>& normal, M_Vector3Template<double>& point) {
    constexpr double ALONG_AXIS = 0.99999, MAIN_AXIS = 0.9, ACROSS_AXIS = 1e-5;
    constexpr double GRID = 0.0125, NEAR_GRID = 0.001;
    const auto snap = [](double place) {
        const double snapped = snapToGrid(place, GRID);
        return std::abs(snapped - place) < NEAR_GRID ? snapped : place;
    };
    if (maxAbsComponent(normal) > ALONG_AXIS) {
        const int axis = std::abs(normal.x) > MAIN_AXIS ? 0 : std::abs(normal.y) > MAIN_AXIS ? 1 : 2;
        M_Vector3Template<double> unit, place;
        unit[axis] = normal[axis] > 0 ? 1 : -1;
        place[axis] = snap(point[axis]);
        normal = unit;
        point = place;
        return;
    }
    for (int axis = 0; axis < 3; ++axis)
        if (std::abs(normal[axis]) < ACROSS_AXIS) {
            normal[axis] = point[axis] = 0;
            break;
        }
    point = {snap(point.x), snap(point.y), snap(point.z)};
}

} // namespace cairn
