#pragma once

#include "cairn/math/plane3.h"

#include <algorithm>
#include <cmath>

namespace cairn {

/// A line by a point and a unit direction.
struct CN_Line {
    M_Vector3Template<double> point, direction;
};

/// The line in which two planes of unit normals meet, along the first normal cross the second; its point is the one nearest to
/// the first plane's. False, and nothing set, for planes within 0.1 degree of parallel.
inline bool CN_findPlaneLine(const M_Plane3Template<double>& first, const M_Plane3Template<double>& second,
                             CN_Line& line) {
    constexpr double LEAST_ANGLE = 0.0017453292522222226; // radians
    const M_Vector3Template<double>&n = first.getNormal(), &c = second.getNormal();
    const double product = n.dot(c);
    if (!(std::acos(std::clamp(std::fabs(product), -1.0, 1.0)) >= LEAST_ANGLE))
        return false;
    // From the first plane's point, square to the line, to the second plane.
    const double t = (second.getPoint() - first.getPoint()).dot(c) / (1 - product * product);
    line.point = first.getPoint() + n * (-product * t) + c * t;
    line.direction = n.cross(c).normalized();
    return true;
}

} // namespace cairn
