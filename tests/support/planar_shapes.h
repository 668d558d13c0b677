#pragma once

#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/planar/triangulator.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

/// Outlines in the plane, and slow answers about them to hold the quick ones against.
namespace cairn::test {

using PlanarPoint = M_Vector2Template<double>;
/// A closed loop. Outlines run clockwise, holes counter-clockwise.
using PlanarLoop = std::vector<PlanarPoint>;
using PlanarShape = std::vector<PlanarLoop>;

inline PlanarLoop square(double x, double y, double side) {
    return {{x, y}, {x, y + side}, {x + side, y + side}, {x + side, y}};
}

inline PlanarLoop reversed(const PlanarLoop& loop) { return {loop.rbegin(), loop.rend()}; }

/// The same loop from its lowest corner on, the leftmost of equals.
inline PlanarLoop fromLowest(PlanarLoop loop) {
    const auto below = [](const PlanarPoint& p, const PlanarPoint& q) {
        return std::pair(p.y, p.x) < std::pair(q.y, q.x);
    };
    std::rotate(loop.begin(), std::min_element(loop.begin(), loop.end(), below), loop.end());
    return loop;
}

inline void addContour(gpc_polygon& polygon, const PlanarLoop& loop, int hole) {
    std::vector<gpc_vertex> corners;
    for (const PlanarPoint& p : loop)
        corners.push_back({p.x, p.y});
    const gpc_vertex_list contour{static_cast<int>(corners.size()), corners.data()};
    gpc_add_contour(&polygon, &contour, hole);
}

/// The area to the right of a loop's edges.
inline double rightArea(const PlanarLoop& loop) {
    double twice = 0;
    for (std::size_t i = 0; i < loop.size(); ++i)
        twice -= (loop[i] - loop[0]).cross(loop[(i + 1) % loop.size()] - loop[0]);
    return twice / 2;
}

inline double rightArea(const PlanarShape& shape) {
    double sum = 0;
    for (const PlanarLoop& loop : shape)
        sum += rightArea(loop);
    return sum;
}

/// Inside by a majority of rays in random directions: right for points that are not next to an edge.
class RayVote {
  public:
    explicit RayVote(unsigned int seed) : m_random(seed) {}

    bool isInside(const PlanarShape& shape, const PlanarPoint& point) {
        int votes = 0;
        for (int round = 0; round < 6; ++round) {
            const double angle = std::uniform_real_distribution<double>(0, 6.283185307179586)(m_random);
            const PlanarPoint ray(std::cos(angle), std::sin(angle));
            bool odd = false;
            for (const PlanarLoop& loop : shape)
                for (std::size_t i = 0; i < loop.size(); ++i)
                    odd ^= crosses(loop[i] - point, loop[(i + 1) % loop.size()] - point, ray);
            votes += odd ? 1 : -1;
        }
        return votes > 0;
    }

  private:
    static bool crosses(const PlanarPoint& a, const PlanarPoint& b, const PlanarPoint& ray) {
        const double from = ray.cross(a), to = ray.cross(b);
        if ((from > 0) == (to > 0))
            return false;
        return (a + (b - a) * (from / (from - to))).dot(ray) > 0;
    }

    std::mt19937 m_random;
};

/// Makes ragged outlines with up to nine holes, the same ones for the same seed.
class RandomShapes {
  public:
    explicit RandomShapes(unsigned int seed) : m_random(seed) {}

    double number(double low, double high) { return std::uniform_real_distribution<double>(low, high)(m_random); }
    int count(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }

    /// Round a center, every corner in a sector of its own.
    PlanarLoop star(const PlanarPoint& center, double least, double largest, int corners) {
        PlanarLoop loop;
        for (int i = 0; i < corners; ++i) {
            const double angle = -(i + number(0, 0.4)) * 6.283185307179586 / corners;
            loop.push_back(center + PlanarPoint(std::cos(angle), std::sin(angle)) * number(least, largest));
        }
        return loop;
    }
    PlanarShape next() {
        PlanarShape shape{star({}, 11, 20, count(12, 40))};
        const int corners = count(3, 8), holes = count(0, 9);
        for (int i = 0; i < holes; ++i) {
            const PlanarLoop loop = star({(i % 3 - 1) * 4.0, (i / 3 - 1) * 4.0}, 0.5, 1.9, corners);
            shape.emplace_back(loop.rbegin(), loop.rend());
        }
        return shape;
    }

  private:
    std::mt19937 m_random;
};

} // namespace cairn::test
