#pragma once

#include "cairn/math/matrix3.h"

#include <array>

namespace cairn {

/// A rotation as four numbers, the scalar first. Not kept at unit length: `toRotation` divides by it.
/// All is worked out in `double` and narrowed to T once.
template <class T> struct M_QuaternionTemplate {
    T w{}, x{}, y{}, z{};

    constexpr bool operator==(const M_QuaternionTemplate&) const = default;
    constexpr M_QuaternionTemplate operator+(const M_QuaternionTemplate& o) const {
        return {w + o.w, x + o.x, y + o.y, z + o.z};
    }
    constexpr M_QuaternionTemplate operator-(const M_QuaternionTemplate& o) const {
        return {w - o.w, x - o.x, y - o.y, z - o.z};
    }
    constexpr M_QuaternionTemplate operator-() const { return {-w, -x, -y, -z}; }
    /// The sum of the products of like components.
    constexpr double dot(const M_QuaternionTemplate& o) const {
        return double(w) * double(o.w) + double(x) * double(o.x) + double(y) * double(o.y) + double(z) * double(o.z);
    }
    constexpr double lengthSquared() const { return dot(*this); }
    /// Of this and its negative, which are the same rotation, the one that is nearer to `o`; this where both are as near.
    constexpr M_QuaternionTemplate nearestTo(const M_QuaternionTemplate& o) const {
        return (o + *this).lengthSquared() < (o - *this).lengthSquared() ? -*this : *this;
    }

    /// The quaternion of a rotation matrix (K. Shoemake, "Animating rotation with quaternion curves", 1985, with the
    /// component of the largest square worked out first). Of another matrix it is some quaternion, and finite where
    /// the matrix is and T can hold it.
    static M_QuaternionTemplate fromRotation(const M_Matrix3Template<T>& m);
    /// The matrix of the rotation; the identity for the quaternion 0.
    M_Matrix3Template<T> toRotation() const;
    /// The spherical interpolation from `from` at 0 to `to` at 1 with even angular speed, the shorter way or not as the
    /// signs of the two have it. Between nearly opposite ones the way leads over a quaternion at a right angle.
    static M_QuaternionTemplate interpolate(const M_QuaternionTemplate& from, const M_QuaternionTemplate& to, T at);

  private:
    static constexpr M_QuaternionTemplate weighted(const M_QuaternionTemplate& a, double weightA,
                                                   const M_QuaternionTemplate& b, double weightB) {
        const auto sum = [&](T ofA, T ofB) { return T(double(ofA) * weightA + double(ofB) * weightB); };
        return {sum(a.w, b.w), sum(a.x, b.x), sum(a.y, b.y), sum(a.z, b.z)};
    }
};

template <class T> M_QuaternionTemplate<T> M_QuaternionTemplate<T>::fromRotation(const M_Matrix3Template<T>& matrix) {
    const auto m = [&](int r, int c) { return double(matrix.at(r, c)); };
    const double trace = m(0, 0) + m(1, 1) + m(2, 2);
    if (trace > 0) {
        const double s = std::sqrt(trace + 1), r = 0.5 / s;
        return {T(s / 2), T((m(1, 2) - m(2, 1)) * r), T((m(2, 0) - m(0, 2)) * r), T((m(0, 1) - m(1, 0)) * r)};
    }
    int i = m(1, 1) > m(0, 0) ? 1 : 0;
    if (m(2, 2) > m(i, i))
        i = 2;
    const int j = (i + 1) % 3, k = (j + 1) % 3;
    const double s = std::sqrt(m(i, i) - m(j, j) - m(k, k) + 1), r = s == 0 ? 0 : 0.5 / s;
    std::array<T, 3> v{};
    v[static_cast<std::size_t>(i)] = T(s / 2);
    v[static_cast<std::size_t>(j)] = T((m(i, j) + m(j, i)) * r);
    v[static_cast<std::size_t>(k)] = T((m(i, k) + m(k, i)) * r);
    return {T((m(j, k) - m(k, j)) * r), v[0], v[1], v[2]};
}

template <class T> M_Matrix3Template<T> M_QuaternionTemplate<T>::toRotation() const {
    const double square = lengthSquared(), s = square > 0 ? 2 / square : 0;
    const double a = w, b = x, c = y, d = z;
    return {{T(1 - s * (c * c + d * d)), T(s * (b * c + a * d)), T(s * (b * d - a * c))},
            {T(s * (b * c - a * d)), T(1 - s * (b * b + d * d)), T(s * (c * d + a * b))},
            {T(s * (b * d + a * c)), T(s * (c * d - a * b)), T(1 - s * (b * b + c * c))}};
}

template <class T>
M_QuaternionTemplate<T> M_QuaternionTemplate<T>::interpolate(const M_QuaternionTemplate& from,
                                                             const M_QuaternionTemplate& to, T at) {
    constexpr double NEAR = 0.00001; // from here on sin(a) is too small to divide by
    constexpr double QUARTER = 1.5707964;
    const double cosine = from.dot(to), t = at;
    if (cosine + 1 <= NEAR) {
        const M_QuaternionTemplate across{from.z, -from.y, from.x, -from.w};
        return weighted(from, std::sin((1 - t) * QUARTER), across, std::sin(t * QUARTER));
    }
    if (1 - cosine <= NEAR)
        return weighted(from, 1 - t, to, t);
    const double angle = std::acos(cosine), sine = std::sin(angle);
    return weighted(from, std::sin((1 - t) * angle) / sine, to, std::sin(t * angle) / sine);
}

} // namespace cairn
