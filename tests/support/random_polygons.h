#pragma once

#include "tests/support/mesh_shelf.h"

#include <cmath>
#include <limits>
#include <random>

namespace cairn::test {

/// Makes polygons with concave outlines and up to two holes, in random planes, the same ones for the same seed.
class RandomPolygons {
  public:
    using Vector = M_Vector3Template<double>;

    explicit RandomPolygons(unsigned int seed) : m_random(seed) {}

    double number(double low, double high) { return std::uniform_real_distribution<double>(low, high)(m_random); }
    int count(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }
    M_Matrix3Template<double> rotation() {
        using Matrix = M_Matrix3Template<double>;
        return Matrix::rotationX(number(-3, 3)) * Matrix::rotationY(number(-3, 3)) * Matrix::rotationZ(number(-3, 3));
    }

    /// A new polygon of the mesh with vertices of its own.
    CN_Polygon* add(CN_LevelEntityMesh& mesh) {
        const M_Matrix3Template<double> turn = rotation();
        const Vector place(number(-50, 50), number(-50, 50), number(-50, 50));
        std::vector<Loop> loops{star(mesh, {}, 7, 12, count(6, 24))};
        for (int hole = count(0, 2); hole > 0; --hole) {
            const Loop loop = star(mesh, {hole == 1 ? -2.5 : 2.5, 0, 0}, 0.5, 2, count(3, 9));
            loops.emplace_back(loop.rbegin(), loop.rend());
        }
        for (const Loop& loop : loops)
            for (const int corner : loop) {
                Vector& local = mesh.accessVertexList()[corner].local;
                local = local * turn + place;
            }
        return fixturePolygon(mesh, loops);
    }

    /// A triangle lying between places of a grid of `size` that are off by up to a tolerance; one that is `broken` has a corner
    /// that is no number. Its box may be none.
    CN_Polygon& addToHeap(CN_LevelEntityMesh& mesh, double size, bool broken) {
        CN_Polygon& polygon = *mesh.addPolygon();
        for (int corner = 0; corner < 3; ++corner)
            polygon.addVertex(Vector(count(0, 4), 0, count(0, 4)) * size +
                              Vector(number(-1, 1), number(-1, 1), number(-1, 1)) * 0.0006);
        if (broken)
            mesh.accessVertexList().last()->local.x = mesh.accessVertexList().last()->world.x =
                std::numeric_limits<double>::quiet_NaN();
        polygon.constructEdges();
        if (count(0, 9) > 0)
            polygon.buildBoundingBox(true);
        polygon.setNormal({0, 1, 0});
        polygon.setWorldNormal({0, 1, 0});
        return polygon;
    }

  private:
    /// A loop round a center on the ground, clockwise in the picture with x to the right and z up.
    Loop star(CN_LevelEntityMesh& mesh, const Vector& center, double least, double largest, int corners) {
        Loop loop;
        for (int i = 0; i < corners; ++i) {
            // Each corner keeps to its part of a sector, so that edges stay away from the center.
            const double angle = -(i + number(0, 0.4)) * 2 * 3.141592653589793 / corners;
            const double radius = number(least, largest);
            loop.push_back(mesh.getVertexList().count());
            mesh.addVertex(center + Vector(std::cos(angle), 0, std::sin(angle)) * radius);
        }
        return loop;
    }

    std::mt19937 m_random;
};

} // namespace cairn::test
