#pragma once

#include "cairn/math/vector3.h"

namespace cairn {

/// The distance of `p` from the endless line through `a` and `b`, or from `a` where these are one place.
inline double CN_lineDistance(const M_Vector3Template<double>& p, const M_Vector3Template<double>& a,
                              const M_Vector3Template<double>& b) {
    const M_Vector3Template<double> line = b - a;
    const double length = line.length();
    return length > 0 ? (p - a).cross(line).length() / length : (p - a).length();
}

/// The number as `float`; one beyond its range becomes the largest of its sign.
inline float CN_toFloat(double value) {
    constexpr double LARGEST = static_cast<double>(3.402823466e+38F);
    return static_cast<float>(value > LARGEST ? LARGEST : value < -LARGEST ? -LARGEST : value);
}

} // namespace cairn
