#pragma once

#include "cairn/math/vector3.h"

#include <limits>

namespace cairn {

/// The number itself, or the nearest that a record may hold; 0 for what is no number. World places can grow beyond all
/// numbers where no stored one does, and the bounding boxes made of them are stored again.
inline double CN_finite(double value) {
    constexpr double largest = std::numeric_limits<double>::max();
    if (std::isnan(value))
        return 0;
    return value > largest ? largest : value < -largest ? -largest : value;
}

inline M_Vector3Template<double> CN_finite(const M_Vector3Template<double>& v) {
    return {CN_finite(v.x), CN_finite(v.y), CN_finite(v.z)};
}

} // namespace cairn
