#pragma once

#include "cairn/math/vector3.h"

#include <algorithm>
#include <cmath>

namespace cairn {

/// The distance of `p` from the endless line through `a` and `b`, or from `a` where these are one place.
inline double CN_lineDistance(const M_Vector3Template<double>& p, const M_Vector3Template<double>& a,
                              const M_Vector3Template<double>& b) {
    const M_Vector3Template<double> line = b - a;
    const double length = line.length();
    return length > 0 ? (p - a).cross(line).length() / length : (p - a).length();
}

/// How far rounding may move places along the line from `a` to `b`, with room to spare: what a search for places near the line
/// looks farther by.
inline double CN_roundingAlong(const M_Vector3Template<double>& a, const M_Vector3Template<double>& b) {
    constexpr double ROUNDING = 1e-9; // by the size of places
    const auto largest = [](const M_Vector3Template<double>& v) {
        return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)});
    };
    return ROUNDING * (largest(a) + largest(b) + (b - a).length());
}

/// The number as `float`; one beyond its range becomes the largest of its sign.
inline float CN_toFloat(double value) {
    constexpr double LARGEST = static_cast<double>(3.402823466e+38F);
    return static_cast<float>(value > LARGEST ? LARGEST : value < -LARGEST ? -LARGEST : value);
}

} // namespace cairn
