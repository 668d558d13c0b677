#include "host/export_space.h"

namespace cairn::host {

namespace {

using Vector = M_Vector3Template<double>;
using Matrix = M_Matrix3Template<double>;
using Quaternion = M_QuaternionTemplate<double>;

/// How far unit rows may be from right angles: what a stored rotation loses over a life of edits stays far below.
constexpr double SHEAR_TOLERANCE = 1e-4;
/// A length as near to 1 as that is 1: rotations are kept in rows that rounding has moved.
constexpr double UNIT_TOLERANCE = 1e-6;

double lengthOrUnit(const Vector& row) {
    const double length = row.length();
    return std::abs(length - 1) <= UNIT_TOLERANCE ? 1 : length;
}

bool isSheared(const Matrix& m) {
    const auto cosine = [&m](int a, int b) { return std::abs(m.row(a).normalized().dot(m.row(b).normalized())); };
    return cosine(0, 1) > SHEAR_TOLERANCE || cosine(1, 2) > SHEAR_TOLERANCE || cosine(2, 0) > SHEAR_TOLERANCE;
}

Quaternion unitOf(const Quaternion& q) {
    const double length = std::sqrt(q.lengthSquared());
    return length > 0 && std::isfinite(length) ? Quaternion{q.w / length, q.x / length, q.y / length, q.z / length}
                                               : Quaternion{1, 0, 0, 0};
}

} // namespace

ExportPlacement placementAcross(const Matrix& rotation, const Vector& position) {
    ExportPlacement placement;
    placement.translation = acrossBorder(position);
    placement.isExact = rotation.isInvertible() && !isSheared(rotation);
    if (!rotation.isInvertible())
        return placement;
    placement.scale = {lengthOrUnit(rotation.row(0)), lengthOrUnit(rotation.row(1)), lengthOrUnit(rotation.row(2))};
    Matrix turn = rotation.orthonormalized();
    if (turn.determinant() < 0) { // a mirror: one axis runs backwards
        turn.row(0) = -turn.row(0);
        placement.scale.x = -placement.scale.x;
    }
    placement.rotation = acrossBorder(unitOf(Quaternion::fromRotation(turn)));
    return placement;
}

} // namespace cairn::host
