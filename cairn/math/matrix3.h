#pragma once

#include "cairn/math/vector3.h"

#include <array>

namespace cairn {

/// A 3 by 3 matrix of three rows that acts on row vectors: p' = p * M, so x' = m00 x + m10 y + m20 z.
/// In A * B the rotation A happens first.
template <class T> struct M_Matrix3Template {
    std::array<M_Vector3Template<T>, 3> rows{M_Vector3Template<T>(T(1), T(0), T(0)),
                                             M_Vector3Template<T>(T(0), T(1), T(0)),
                                             M_Vector3Template<T>(T(0), T(0), T(1))};

    /// The identity.
    constexpr M_Matrix3Template() = default;
    constexpr M_Matrix3Template(const M_Vector3Template<T>& r0, const M_Vector3Template<T>& r1,
                                const M_Vector3Template<T>& r2)
        : rows{r0, r1, r2} {}

    constexpr bool operator==(const M_Matrix3Template&) const = default;

    /// Row `r`, 0 to 2.
    constexpr M_Vector3Template<T>& row(int r) { return rows[static_cast<std::size_t>(r)]; }
    constexpr const M_Vector3Template<T>& row(int r) const { return rows[static_cast<std::size_t>(r)]; }
    /// The element in row `r` and column `c`, each 0 to 2.
    constexpr T& at(int r, int c) { return row(r)[c]; }
    constexpr const T& at(int r, int c) const { return row(r)[c]; }

    constexpr M_Matrix3Template operator*(const M_Matrix3Template& o) const {
        return {row(0) * o, row(1) * o, row(2) * o};
    }
    constexpr M_Matrix3Template transposed() const {
        return {
            {rows[0].x, rows[1].x, rows[2].x}, {rows[0].y, rows[1].y, rows[2].y}, {rows[0].z, rows[1].z, rows[2].z}};
    }
    constexpr T determinant() const { return rows[0].dot(rows[1].cross(rows[2])); }

    /// The general inverse, by determinant. Where the determinant is 0 the elements are infinite or NaN: a caller that
    /// may meet one asks `determinant` first.
    constexpr M_Matrix3Template inverse() const {
        const M_Vector3Template<T> a = rows[1].cross(rows[2]), b = rows[2].cross(rows[0]), c = rows[0].cross(rows[1]);
        const T d = rows[0].dot(a);
        return {{a.x / d, b.x / d, c.x / d}, {a.y / d, b.y / d, c.y / d}, {a.z / d, b.z / d, c.z / d}};
    }
    /// True where no element is infinite or NaN.
    bool isFinite() const { return rows[0].isFinite() && rows[1].isFinite() && rows[2].isFinite(); }

    /// True where the matrix and its inverse are finite.
    bool isInvertible() const { return isFinite() && determinant() != T(0) && inverse().isFinite(); }
    /// The rows made unit and perpendicular to one another, in their order (Gram-Schmidt); one that depends on those
    /// before it becomes zero.
    M_Matrix3Template orthonormalized() const {
        const M_Vector3Template<T> a = rows[0].normalized();
        const M_Vector3Template<T> b = (rows[1] - a * a.dot(rows[1])).normalized();
        return {a, b, (rows[2] - a * a.dot(rows[2]) - b * b.dot(rows[2])).normalized()};
    }

    /// The rotation by `angle` radians about the x axis: rows (1,0,0), (0,c,s), (0,-s,c).
    static M_Matrix3Template rotationX(T angle) {
        const T c = std::cos(angle), s = std::sin(angle);
        return {{T(1), T(0), T(0)}, {T(0), c, s}, {T(0), -s, c}};
    }
    /// The rotation by `angle` radians about the y axis: rows (c,0,-s), (0,1,0), (s,0,c).
    static M_Matrix3Template rotationY(T angle) {
        const T c = std::cos(angle), s = std::sin(angle);
        return {{c, T(0), -s}, {T(0), T(1), T(0)}, {s, T(0), c}};
    }
    /// The rotation by `angle` radians about the z axis: rows (c,s,0), (-s,c,0), (0,0,1).
    static M_Matrix3Template rotationZ(T angle) {
        const T c = std::cos(angle), s = std::sin(angle);
        return {{c, s, T(0)}, {-s, c, T(0)}, {T(0), T(0), T(1)}};
    }
    /// The rotation by `angle` radians about the unit vector `axis`; about a coordinate axis it is the rotation above
    /// (Rodrigues' formula).
    static M_Matrix3Template rotationAbout(const M_Vector3Template<T>& axis, T angle) {
        const T c = std::cos(angle), s = std::sin(angle), k = T(1) - c;
        const auto& [x, y, z] = axis;
        return {{c + x * x * k, x * y * k + z * s, x * z * k - y * s},
                {y * x * k - z * s, c + y * y * k, y * z * k + x * s},
                {z * x * k + y * s, z * y * k - x * s, c + z * z * k}};
    }
};

/// The row vector `v` times `m`.
template <class T>
constexpr M_Vector3Template<T> operator*(const M_Vector3Template<T>& v, const M_Matrix3Template<T>& m) {
    return {m.rows[0].x * v.x + m.rows[1].x * v.y + m.rows[2].x * v.z,
            m.rows[0].y * v.x + m.rows[1].y * v.y + m.rows[2].y * v.z,
            m.rows[0].z * v.x + m.rows[1].z * v.y + m.rows[2].z * v.z};
}

} // namespace cairn
