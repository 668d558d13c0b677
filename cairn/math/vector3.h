#pragma once

#include <cmath>

namespace cairn {

/// A plain vector of three components; a row vector wherever a matrix takes part.
template <class T> struct M_Vector3Template {
    T x{}, y{}, z{};

    constexpr M_Vector3Template() = default;
    constexpr M_Vector3Template(T x_, T y_, T z_) : x(x_), y(y_), z(z_) {}

    constexpr bool operator==(const M_Vector3Template&) const = default;
    constexpr M_Vector3Template operator+(const M_Vector3Template& o) const { return {x + o.x, y + o.y, z + o.z}; }
    constexpr M_Vector3Template operator-(const M_Vector3Template& o) const { return {x - o.x, y - o.y, z - o.z}; }
    constexpr M_Vector3Template operator-() const { return {-x, -y, -z}; }
    constexpr M_Vector3Template operator*(T s) const { return {x * s, y * s, z * s}; }
    constexpr M_Vector3Template operator/(T s) const { return {x / s, y / s, z / s}; }
    constexpr M_Vector3Template& operator+=(const M_Vector3Template& o) { return *this = *this + o; }
    constexpr M_Vector3Template& operator-=(const M_Vector3Template& o) { return *this = *this - o; }
    constexpr M_Vector3Template& operator*=(T s) { return *this = *this * s; }

    /// Component `i`, 0 for x to 2 for z; anything else is z.
    constexpr T& operator[](int i) { return i == 0 ? x : i == 1 ? y : z; }
    constexpr const T& operator[](int i) const { return i == 0 ? x : i == 1 ? y : z; }

    /// The sum of the products of like components.
    constexpr T dot(const M_Vector3Template& o) const { return x * o.x + y * o.y + z * o.z; }
    /// The cross product; +X cross +Y is +Z.
    constexpr M_Vector3Template cross(const M_Vector3Template& o) const {
        return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};
    }
    constexpr T lengthSquared() const { return dot(*this); }
    /// The Euclidean length.
    T length() const { return std::sqrt(dot(*this)); }
    /// This over its length; `fallback` where the length is 0 or not finite, so that no NaN leaves here.
    M_Vector3Template normalized(const M_Vector3Template& fallback = {}) const {
        const T l = length();
        return l > T(0) && std::isfinite(l) ? *this / l : fallback;
    }
    /// True where no component is infinite or NaN.
    bool isFinite() const { return std::isfinite(x) && std::isfinite(y) && std::isfinite(z); }
};

template <class T> constexpr M_Vector3Template<T> operator*(T s, const M_Vector3Template<T>& v) { return v * s; }

} // namespace cairn
