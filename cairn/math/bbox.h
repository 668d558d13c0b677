#pragma once

#include "cairn/math/vector3.h"

#include <algorithm>

namespace cairn {

/// An axis-aligned box that may be empty.
template <class T> struct E_BBox {
    bool empty = true; ///< holds nothing yet; plays no part in `intersects`
    T minX{}, maxX{}, minY{}, maxY{}, minZ{}, maxZ{};

    /// An empty box of zeros.
    constexpr E_BBox() = default;
    /// The box from `min` to `max`, not empty.
    constexpr E_BBox(const M_Vector3Template<T>& min, const M_Vector3Template<T>& max)
        : empty(false), minX(min.x), maxX(max.x), minY(min.y), maxY(max.y), minZ(min.z), maxZ(max.z) {}

    /// Back to an empty box of zeros.
    constexpr void clear() { *this = E_BBox(); }
    /// Widens the box to hold `v`; an empty box becomes the point `v`.
    constexpr void expand(const M_Vector3Template<T>& v) {
        if (empty)
            *this = E_BBox(v, v);
        minX = std::min(minX, v.x), maxX = std::max(maxX, v.x);
        minY = std::min(minY, v.y), maxY = std::max(maxY, v.y);
        minZ = std::min(minZ, v.z), maxZ = std::max(maxZ, v.z);
    }
    /// True where the boxes share more than a face, an edge or a corner.
    constexpr bool intersects(const E_BBox& o) const {
        return o.maxX > minX && maxX > o.minX && o.maxY > minY && maxY > o.minY && o.maxZ > minZ && maxZ > o.minZ;
    }
};

} // namespace cairn
