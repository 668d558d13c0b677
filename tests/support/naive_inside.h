#pragma once

#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"

#include <cmath>
#include <random>

namespace cairn::test {

/// `CN_Polygon::pointInPoly` as it is told: whether one ray at random, which runs along no edge, crosses an odd number of
/// edges. Points are of the mesh's space and farther from the outline than an edge is wide; extents play no part.
class NaiveInside {
  public:
    using Vector = M_Vector3Template<double>;
    using Point = M_Vector2Template<double>;

    explicit NaiveInside(unsigned int seed) : m_random(seed) {}

    bool isInside(const CN_Polygon& polygon, const Vector& point) {
        const CN_Polygon::PlanarSpace space = polygon.getSpace();
        const Point p = space.toUV(point), ray = space.toUVDirection(chooseRay(polygon, point));
        int crossed = 0;
        for (const CN_Edge& edge : polygon.getEdgeList())
            crossed += crosses(space.toUV(edge.getLocal(0)), space.toUV(edge.getLocal(1)), p, ray) ? 1 : 0;
        return crossed % 2 != 0;
    }

  private:
    Vector alongPlane(const CN_Polygon& polygon) {
        std::uniform_real_distribution<double> number(-1, 1);
        const double x = number(m_random), y = number(m_random), z = number(m_random);
        return Vector(x, y, z) - polygon.getNormal() * Vector(x, y, z).dot(polygon.getNormal());
    }
    Vector chooseRay(const CN_Polygon& polygon, const Vector& point) {
        Vector ray = alongPlane(polygon);
        for (bool isChosen = false; !isChosen;) {
            ray = ray.normalized();
            isChosen = true;
            for (const CN_Edge& edge : polygon.getEdgeList()) {
                const auto distance = [&edge](const Vector& p) {
                    return CN_lineDistance(p, edge.getLocal(0), edge.getLocal(1));
                };
                if (std::fabs(distance(point) - distance(point + ray)) < CN_Polygon::s_dEdgeThickness) {
                    ray += alongPlane(polygon).normalized() * 0.1;
                    isChosen = false;
                    break;
                }
            }
        }
        return ray;
    }
    static bool crosses(const Point& a, const Point& b, const Point& origin, const Point& ray) {
        constexpr double TOLERANCE = 1e-4;
        const double length = (b - a).length();
        const Point unit = (b - a) * (1 / length), normal(unit.y, -unit.x);
        if (std::fabs(ray.dot(normal)) < 2 * TOLERANCE)
            return false;
        const double t = (a - origin).dot(normal) / ray.dot(normal);
        const double along = (origin + ray * t - a).dot(unit);
        return t * ray.length() >= TOLERANCE && along >= 0 && along < length;
    }

    std::mt19937 m_random;
};

} // namespace cairn::test
