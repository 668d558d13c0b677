#include "cairn/math/quaternion.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace cairn;

using Matrix = M_Matrix3Template<double>;
using Quaternion = M_QuaternionTemplate<double>;

namespace {

void expectNear(const Matrix& a, const Matrix& b) {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(a.at(r, c), b.at(r, c), 1e-12) << r << ", " << c;
}

} // namespace

TEST(Quaternion, IsTheRotationItCameFrom) {
    for (const double angle : {0.0, 0.3, 1.6, 3.0, 3.14159265358979, -2.2}) // half turns have no trace
        for (const M_Vector3Template<double> axis :
             {M_Vector3Template<double>(1, 0, 0), {0, 1, 0}, {0, 0, 1}, {2, -1, 3}}) {
            const Matrix rotation = Matrix::rotationAbout(axis.normalized(), angle);
            expectNear(Quaternion::fromRotation(rotation).toRotation(), rotation);
        }
    const Quaternion quarter = Quaternion::fromRotation(Matrix::rotationX(1.5707963267948966));
    EXPECT_NEAR(quarter.x, std::sqrt(0.5), 1e-12);
    EXPECT_NEAR(quarter.w, std::sqrt(0.5), 1e-12);
    EXPECT_EQ(Quaternion().toRotation(), Matrix());
}

TEST(Quaternion, InterpolatesWithEvenSpeed) {
    const auto about = [](double angle) { return Quaternion::fromRotation(Matrix::rotationY(angle)); };
    for (const double whole : {2.0, 1e-4}) // the latter is too near for the arc
        for (const double at : {0.0, 0.25, 1.0})
            expectNear(Quaternion::interpolate(about(0), about(whole), at).toRotation(), Matrix::rotationY(at * whole));
    // The signs decide the way, and opposite ones go over the right angle.
    const Quaternion far = about(2);
    EXPECT_EQ((-far).nearestTo(about(0)), far);
    expectNear(Quaternion::interpolate(about(0), -far, 0.5).toRotation(), Matrix::rotationY(1 + 3.14159265358979));
    const Quaternion across = Quaternion::interpolate(far, -far, 1);
    EXPECT_NEAR(across.dot(far), 0, 1e-6);
}
