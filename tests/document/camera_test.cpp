#include "cairn/document/camera.h"
#include "cairn/foundation/memory_file.h"

#include <gtest/gtest.h>

#include <cmath>

namespace cairn {
namespace {

using Vector = CN_Camera::Vector;

constexpr double TOLERANCE = 1e-6; // angles are floats

void expectNear(const Vector& actual, const Vector& expected) {
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(actual[i], expected[i], TOLERANCE) << "component " << i;
}

/// The matrix is a left-handed rotation and the inverse its inverse.
void expectSound(const CN_Camera& camera) {
    const auto& m = camera.getMatrix();
    EXPECT_NEAR(m.determinant(), 1.0, TOLERANCE);
    const auto product = m * camera.getInvMatrix();
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(m.row(i).length(), 1.0, TOLERANCE);
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(product.at(i, j), i == j ? 1.0 : 0.0, TOLERANCE);
    }
}

TEST(Camera, LooksAtTargets) {
    struct Case {
        Vector target, forward, up;
    };
    for (const Case& c : {Case{{0, 0, 5}, {0, 0, 1}, {0, 1, 0}},   // ahead
                          Case{{-3, 0, 0}, {-1, 0, 0}, {0, 1, 0}}, // to the left
                          Case{{0, 0, 0}, {0, 0, 1}, {0, 1, 0}},   // the eye itself
                          Case{{0, -2, 0}, {0, -1, 0}, {0, 0, 1}}, // straight down
                          Case{{0, 2, 0}, {0, 1, 0}, {0, 0, -1}}}) {
        CN_Camera camera;
        const auto angles = camera.getAngles();
        camera.setPosition(0, 0, 0);
        camera.setTarget(c.target);
        expectNear(camera.getMatrix().row(2), c.forward);
        expectNear(camera.getMatrix().row(1), c.up);
        EXPECT_EQ(camera.getAngles(), angles);
        expectSound(camera);
    }
}

TEST(Camera, TurnsAboutZThenXThenY) {
    CN_Camera camera;
    constexpr float RIGHT_ANGLE = 1.5707964f;
    camera.setAngles(RIGHT_ANGLE, RIGHT_ANGLE, 0);
    // Down by the first angle; the second turns the picture's upper edge from +Z to +X.
    expectNear(camera.getMatrix().row(2), {0, -1, 0});
    expectNear(camera.getMatrix().row(1), {1, 0, 0});
    camera.rotateCamera(-RIGHT_ANGLE, 0, RIGHT_ANGLE);
    expectNear(camera.getMatrix().row(2), {1, 0, 0});
    expectNear(camera.getMatrix().row(0), {0, 1, 0});
    expectSound(camera);

    camera.setAngles(0, 0, 0);
    camera.roll(RIGHT_ANGLE); // about the forward axis, beside the angles
    expectNear(camera.getMatrix().row(2), {0, 0, 1});
    expectNear(camera.getMatrix().row(0), {0, 1, 0});
    EXPECT_EQ(camera.getAngles(), M_Vector3Template<float>());
    expectSound(camera);
}

TEST(Camera, MovesByItsSpeedButForPlainVectors) {
    CN_Camera camera;
    camera.setPosition(0, 0, 0);
    camera.setTarget(5, 0, 0);
    camera.increaseSpeed();
    camera.move(Vector(1, 0, 0));
    EXPECT_EQ(camera.pos(), Vector(1, 0, 0));
    camera.move(1.0, 0.0, 0.0);
    EXPECT_EQ(camera.pos(), Vector(3, 0, 0));
    camera.dolly(1);
    camera.moveLocal(Vector(0, 1, 0));
    expectNear(camera.pos(), {5, 2, 0});
    for (int i = 0; i < 4; ++i)
        camera.increaseSpeed();
    EXPECT_EQ(camera.getSpeed(), 8);
    for (int i = 0; i < 8; ++i)
        camera.decreaseSpeed();
    EXPECT_EQ(camera.getSpeed(), 0.0625);
}

TEST(Camera, KeepsTheFieldOfViewBelowAHalfTurn) {
    CN_Camera camera;
    const double before = camera.getFOV();
    for (const double bad : {0.0, 180.0, -1.0, std::nan("")})
        camera.setFOV(bad);
    EXPECT_EQ(camera.getFOV(), before);
    camera.setFOV(90);
    EXPECT_EQ(camera.getFOV(), 1.5707963705062866);
    camera.changeFOV(90);
    camera.changeFOV(-90);
    EXPECT_EQ(camera.getFOV(), 1.5707963705062866);
    camera.changeFOV(-30);
    EXPECT_NEAR(camera.getFOV(), 1.0471975803375244, 1e-12);
}

TEST(Camera, TurnsTheEyeAboutPoints) {
    CN_Camera camera;
    constexpr double RIGHT_ANGLE = 1.5707963267948966;
    camera.setPosition(0, 0, -5);
    camera.setTarget(0, 0, 0);
    camera.panAroundTarget(RIGHT_ANGLE, 0);
    expectNear(camera.pos(), {-5, 0, 0});
    expectNear(camera.getMatrix().row(2), {1, 0, 0});
    camera.moveTarget(0, 5);
    expectNear(camera.getTarget(), {0, 5, 0});
    expectNear(camera.getMatrix().row(2), {std::sqrt(0.5), std::sqrt(0.5), 0});
    expectSound(camera);

    camera.setPosition(0, 0, -5);
    camera.setAngles(0, 0, 0);
    camera.rotateAroundPoint({0, 0, 0}, 1.5707964f, 0, 0);
    expectNear(camera.pos(), {0, 5, 0});
    expectNear(camera.getMatrix().row(2), {0, -1, 0});
}

TEST(Camera, FindsTheHorizon) {
    CN_Camera camera; // 45 degrees down, 90 degrees of view: the horizon lies on the upper edge
    M_Vector2Template<double> left, right;
    camera.getHorizon(left, right);
    EXPECT_NEAR(left.x, -320, TOLERANCE);
    EXPECT_NEAR(left.y, 240, 1e-3);
    EXPECT_NEAR(right.y, 240, 1e-3);
    camera.setPosition(0, 0, 0);
    camera.setTarget(0, -1, 0);
    camera.getHorizon(left, right);
    EXPECT_EQ(left.y, 0);
    EXPECT_EQ(right.y, 0);
}

TEST(Camera, StoresPositionAnglesAndSpeed) {
    CN_Camera camera;
    camera.setPosition(1, 2, 3);
    camera.setAngles(0.1f, 0.2f, 0.3f);
    camera.increaseSpeed();
    F_MemoryFile file;
    camera.save(file);
    EXPECT_EQ(file.getSize(), 3 * 8u + 3 * 4u + 8u);
    file.toRead();
    CN_Camera loaded;
    loaded.setTarget(9, 9, 9);
    loaded.load(file);
    EXPECT_EQ(loaded.pos(), camera.pos());
    EXPECT_EQ(loaded.getMatrix(), camera.getMatrix());
    EXPECT_EQ(loaded.getSpeed(), 2);
    EXPECT_EQ(loaded.getTarget(), Vector(9, 9, 9));
    EXPECT_TRUE(loaded.isFinite());
    loaded.setAngles(0, std::nanf(""), 0);
    EXPECT_FALSE(loaded.isFinite());
}

} // namespace
} // namespace cairn
