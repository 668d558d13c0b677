#include "cairn/document/camera.h"

#include "cairn/foundation/memory_file.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

// Angles are those of single precision, so that views are the same wherever they were made.
constexpr double PI = 3.1415927410125732;
constexpr double HALF_PI = 1.5707963705062866;
constexpr float QUARTER_PI = 0.7853982f;

constexpr double LEAST_SPEED = 0.0625, GREATEST_SPEED = 8.0;

constexpr double radians(double degrees) { return degrees * PI / 180.0; }

} // namespace

CN_Camera::CN_Camera() {
    initializeMembers();
    m_constructed = true;
}

void CN_Camera::initializeMembers() {
    m_halfWidth = 320;
    m_halfHeight = 240;
    storeFOV(HALF_PI);
    m_projection = {1.0, 0.01, 1024.0};
    reset();
}

void CN_Camera::reset() {
    m_speed = 1.0;
    m_position = {0.0, 8.0, -8.0};
    m_target = {0.0, 8.0, 0.0};
    m_angles = {};
    tgtUpdateMatrices();
    m_angles.x += QUARTER_PI;
    angUpdateMatrices();
}

void CN_Camera::angUpdateMatrices() {
    m_matrix = Matrix::rotationZ(m_angles.z) * Matrix::rotationX(m_angles.x) * Matrix::rotationY(m_angles.y);
    m_invMatrix = m_matrix.inverse();
}

void CN_Camera::tgtUpdateMatrices() {
    const Vector up(0.0, 1.0, 0.0);
    const Vector forward = (m_target - m_position).normalized({0.0, 0.0, 1.0});
    // Along the vertical the picture's upper edge is forward as one looks down, and backward as one looks up.
    const Vector vertical(0.0, 0.0, forward.y < 0.0 ? 1.0 : -1.0);
    m_matrix.row(2) = forward;
    m_matrix.row(1) = (up - forward * up.dot(forward)).normalized(vertical);
    m_matrix.row(0) = m_matrix.row(1).cross(forward);
    m_invMatrix = m_matrix.inverse();
}

void CN_Camera::setTarget(const Vector& target) {
    m_target = target;
    tgtUpdateMatrices();
}

void CN_Camera::setAngles(float x, float y, float z) {
    m_angles = {x, y, z};
    angUpdateMatrices();
}

void CN_Camera::rotateCamera(float x, float y, float z) {
    m_angles += {x, y, z};
    angUpdateMatrices();
}

void CN_Camera::moveTarget(double dx, double dy) {
    m_target += Vector(dx, dy, 0.0) * m_matrix;
    tgtUpdateMatrices();
}

void CN_Camera::panAroundTarget(double a, double b) {
    const Matrix turn = Matrix::rotationAbout(m_matrix.row(1), a) * Matrix::rotationAbout(m_matrix.row(0), b);
    m_position = m_target + (m_position - m_target) * turn;
    tgtUpdateMatrices();
}

void CN_Camera::roll(float angle) {
    const Matrix turn = Matrix::rotationAbout(m_matrix.row(2), angle);
    m_matrix.row(0) = m_matrix.row(0) * turn;
    m_matrix.row(1) = m_matrix.row(1) * turn;
    m_invMatrix = m_matrix.inverse();
}

void CN_Camera::rotateAroundPoint(const Vector& point, float ax, float ay, float az) {
    const Matrix turn = Matrix::rotationAbout(m_matrix.row(0), ax) * Matrix::rotationY(ay) * Matrix::rotationZ(az);
    m_position = point + (m_position - point) * turn;
    rotateCamera(ax, ay, az);
}

void CN_Camera::increaseSpeed() { m_speed = std::min(m_speed * 2.0, GREATEST_SPEED); }

void CN_Camera::decreaseSpeed() { m_speed = std::max(m_speed / 2.0, LEAST_SPEED); }

void CN_Camera::storeFOV(double fov) {
    m_fov = fov;
    m_focal = 1.0 / std::tan(fov / 2.0);
}

void CN_Camera::setFOV(double degrees) {
    if (degrees > 0.0 && degrees < 180.0)
        storeFOV(radians(degrees));
}

void CN_Camera::changeFOV(double degrees) {
    const double fov = m_fov + radians(degrees);
    if (fov > 0.0 && fov < PI)
        storeFOV(fov);
}

/// A camera steered by angles in single precision looks straight up or down to within this sine.
constexpr double VERTICAL = 1e-7;

void CN_Camera::getHorizon(M_Vector2Template<double>& left, M_Vector2Template<double>& right) const {
    // The world's up as the camera sees it: the horizon's directions are those at a right angle to it.
    const Vector v = Vector(0.0, 1.0, 0.0) * m_invMatrix;
    const auto height = [&](double x) {
        return std::abs(v.y) < VERTICAL ? 0.0 : m_halfHeight * (-x * v.x - v.z * m_focal) / v.y;
    };
    left = {static_cast<double>(-m_halfWidth), height(-1.0)};
    right = {static_cast<double>(m_halfWidth), height(1.0)};
}

// No chunk and no versions: position, angles, speed.

void CN_Camera::save(F_MemoryFile& file) const { file << m_position << m_angles << m_speed; }

void CN_Camera::load(F_MemoryFile& file) {
    file >> m_position >> m_angles;
    angUpdateMatrices();
    file >> m_speed;
}

bool CN_Camera::isFinite() const { return m_position.isFinite() && m_angles.isFinite() && std::isfinite(m_speed); }

} // namespace cairn
