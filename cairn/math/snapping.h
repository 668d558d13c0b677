#pragma once

#include <cmath>

namespace cairn {

/// The multiple of `step` nearest to the value, an even one of two that are as near.
inline double snapToGrid(double value, double step) { return std::nearbyint(value / step) * step; }

} // namespace cairn
