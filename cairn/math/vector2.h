#pragma once

#include <cmath>

namespace cairn {

/// A plain vector of two components.
template <class T> struct M_Vector2Template {
    T x{}, y{};

    constexpr M_Vector2Template() = default;
    constexpr M_Vector2Template(T x_, T y_) : x(x_), y(y_) {}

    constexpr bool operator==(const M_Vector2Template&) const = default;
    constexpr M_Vector2Template operator+(const M_Vector2Template& o) const { return {x + o.x, y + o.y}; }
    constexpr M_Vector2Template operator-(const M_Vector2Template& o) const { return {x - o.x, y - o.y}; }
    constexpr M_Vector2Template operator-() const { return {-x, -y}; }
    constexpr M_Vector2Template operator*(T s) const { return {x * s, y * s}; }
    constexpr M_Vector2Template& operator+=(const M_Vector2Template& o) { return *this = *this + o; }
    constexpr M_Vector2Template& operator-=(const M_Vector2Template& o) { return *this = *this - o; }

    /// The sum of the products of like components.
    constexpr T dot(const M_Vector2Template& o) const { return x * o.x + y * o.y; }
    /// The signed area of the parallelogram of this and `o`: positive where `o` lies counter-clockwise.
    constexpr T cross(const M_Vector2Template& o) const { return x * o.y - y * o.x; }
    /// The Euclidean length.
    T length() const { return std::sqrt(dot(*this)); }
};

} // namespace cairn
