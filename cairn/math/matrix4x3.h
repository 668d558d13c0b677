#pragma once

#include "cairn/math/matrix3.h"

namespace cairn {

/// A placement in space: a 3 by 3 part in rows and a translation row; p' = p * rotation + translation.
/// In A * B the placement A happens first.
template <class T> struct M_Matrix4x3Template {
    M_Matrix3Template<T> rotation;
    M_Vector3Template<T> translation;

    /// The identity.
    constexpr M_Matrix4x3Template() = default;
    constexpr M_Matrix4x3Template(const M_Matrix3Template<T>& r, const M_Vector3Template<T>& t)
        : rotation(r), translation(t) {}

    constexpr bool operator==(const M_Matrix4x3Template&) const = default;
    constexpr M_Matrix4x3Template operator*(const M_Matrix4x3Template& o) const {
        return {rotation * o.rotation, translation * o.rotation + o.translation};
    }
    /// The general inverse; not finite where the rotation's determinant is 0.
    constexpr M_Matrix4x3Template inverse() const {
        const M_Matrix3Template<T> r = rotation.inverse();
        return {r, -translation * r};
    }
    bool isFinite() const { return rotation.isFinite() && translation.isFinite(); }
};

/// The point `p` placed by `m`.
template <class T>
constexpr M_Vector3Template<T> operator*(const M_Vector3Template<T>& p, const M_Matrix4x3Template<T>& m) {
    return p * m.rotation + m.translation;
}

} // namespace cairn
