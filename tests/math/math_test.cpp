#include "cairn/math/bbox.h"
#include "cairn/math/matrix4x3.h"
#include "cairn/math/planar_space3.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <numbers>

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;
using Matrix = M_Matrix3Template<double>;
using Placement = M_Matrix4x3Template<double>;
using Space = M_PlanarSpace3Template<double>;

constexpr double RIGHT_ANGLE = std::numbers::pi / 2;
constexpr double ROUNDING = 1e-12;

void expectNear(const Vector& a, const Vector& b) {
    EXPECT_LT((a - b).length(), ROUNDING) << a.x << ' ' << a.y << ' ' << a.z;
}

void expectNear(const Matrix& a, const Matrix& b) {
    for (int r = 0; r < 3; ++r)
        expectNear(a.row(r), b.row(r));
}

TEST(Matrix, ActsOnRowVectors) {
    const Matrix m({1, 2, 3}, {4, 5, 6}, {7, 8, 10});
    EXPECT_EQ(Vector(1, 0, 0) * m, Vector(1, 2, 3));
    EXPECT_EQ(Vector(1, 10, 100) * m, Vector(741, 852, 1063));
    EXPECT_EQ(m.determinant(), -3);
}

TEST(Matrix, RotationsTurnFromAxisToAxis) {
    expectNear(Vector(0, 1, 0) * Matrix::rotationX(RIGHT_ANGLE), {0, 0, 1});
    expectNear(Vector(0, 0, 1) * Matrix::rotationY(RIGHT_ANGLE), {1, 0, 0});
    expectNear(Vector(1, 0, 0) * Matrix::rotationZ(RIGHT_ANGLE), {0, 1, 0});
    expectNear(Matrix::rotationAbout({1, 0, 0}, 0.7), Matrix::rotationX(0.7));
    expectNear(Matrix::rotationAbout({0, 1, 0}, 0.7), Matrix::rotationY(0.7));
    expectNear(Matrix::rotationAbout({0, 0, 1}, 0.7), Matrix::rotationZ(0.7));
}

TEST(Matrix, TheLeftFactorHappensFirst) {
    const Matrix both = Matrix::rotationX(RIGHT_ANGLE) * Matrix::rotationY(RIGHT_ANGLE);
    expectNear(Vector(0, 1, 0) * both, {1, 0, 0});
    const Placement turn(Matrix::rotationZ(RIGHT_ANGLE), {}), move({}, {5, 0, 0});
    expectNear(Vector(1, 0, 0) * (turn * move), {5, 1, 0});
    expectNear(Vector(1, 0, 0) * (move * turn), {0, 6, 0});
}

TEST(Matrix, InversesUndoSkewedPlacements) {
    const Matrix m({1, 2, 3}, {4, 5, 6}, {7, 8, 10});
    expectNear(m * m.inverse(), Matrix());
    expectNear(m.inverse() * m, Matrix());
    const Placement p(m, {3, -2, 1});
    expectNear(Vector(9, 8, 7) * p * p.inverse(), {9, 8, 7});
    EXPECT_FALSE(Matrix({1, 2, 3}, {2, 4, 6}, {0, 0, 1}).inverse().isFinite());
}

TEST(Vector, NormalizingALengthlessVectorGivesTheFallback) {
    expectNear(Vector(0, 3, 4).normalized(), {0, 0.6, 0.8});
    EXPECT_EQ(Vector().normalized({0, 1, 0}), Vector(0, 1, 0));
    EXPECT_EQ(Vector(INFINITY, 0, 0).normalized(), Vector());
}

TEST(Plane, TellsTheSideOfALine) {
    const M_Plane3Template<double> ground({0, 1, 0}, {0, 2, 0});
    const struct {
        double a, b;
        int side;
    } cases[] = {{3, 4, 1}, {3, 2, 1}, {2, 3, 1}, {1, 0, -1}, {2, 1, -1}, {1, 3, 0}, {3, 1, 0}, {2, 2, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(ground.lineSide({7, c.a, 0}, {0, c.b, 7}), c.side) << c.a << ' ' << c.b;
}

TEST(PlanarSpace, DefaultMapsXToUAndMinusZToV) {
    const Space space;
    EXPECT_EQ(space.toUV({2, 3, 5}), M_Vector2Template<double>(2, -5));
    EXPECT_EQ(space.getNormal(), Vector(0, 1, 0));
}

TEST(PlanarSpace, RowsAreTheWorldLengthOfAUnit) {
    Space space(Matrix({2, 0, 0}, {0, 4, 0}, {0, 0, 1}), {1, 1, 0}, {0.5, 0.25});
    EXPECT_EQ(space.toUV({5, 9, 3}), M_Vector2Template<double>(2.5, 2.25));
    EXPECT_EQ(space.getNormal(), Vector(0, 0, 1));
    space.setMatrix(Matrix({1, 0, 0}, {0, 0, 1}, {0, -1, 0}));
    EXPECT_EQ(space.getNormal(), Vector(0, -1, 0));
    EXPECT_EQ(space.toUV({1, 0, 2}), M_Vector2Template<double>(0.5, 2.25));
}

TEST(PlanarSpace, RefusesASingularMatrixAndStaysAsItWas) {
    const Matrix singular({1, 0, 0}, {2, 0, 0}, {0, 0, 1});
    Space space;
    const auto refuse = [](auto&& work) {
        try {
            work();
        } catch (M_PlanarSpace3Exception_Singular* e) {
            const F_ExceptionGuard guard(e);
            return e->getErrorMessage();
        }
        return string();
    };
    EXPECT_EQ(refuse([&] { space.setMatrix(singular); }), "M_PlanarSpace3 is singular!");
    EXPECT_EQ(space.getMatrix(), Space().getMatrix());
    EXPECT_EQ(refuse([&] { const Space made(singular, {}, {}); }), "M_PlanarSpace3 is singular!");
}

TEST(BBox, GrowsFromItsFirstPointAndTouchingIsNoIntersection) {
    E_BBox<double> box;
    box.expand({1, 2, 3});
    box.expand({-1, 5, 3});
    EXPECT_FALSE(box.empty);
    EXPECT_EQ(box.minX, -1);
    EXPECT_EQ(box.maxY, 5);
    EXPECT_EQ(box.minZ, 3);
    const E_BBox<double> unit({0, 0, 0}, {1, 1, 1});
    EXPECT_TRUE(unit.intersects({{0.5, 0.5, 0.5}, {2, 2, 2}}));
    EXPECT_FALSE(unit.intersects({{1, 0, 0}, {2, 1, 1}}));
    EXPECT_FALSE(unit.intersects({{0, 0, 5}, {1, 1, 6}}));
}

} // namespace
} // namespace cairn
