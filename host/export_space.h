#pragma once

#include "cairn/math/matrix3.h"
#include "cairn/math/quaternion.h"

/// The border between a level's space, which is left-handed (+X right, +Y up, +Z forward), and that of OBJ and glTF, which
/// is right-handed. Crossing it mirrors the z axis, so that a viewer that looks along -Z with +Y up sees what stands in
/// front in the level. A mirror turns loops round: whoever crosses with a loop reverses it.
namespace cairn::host {

/// A point, a way or a normal on the other side. The way back is the same.
inline M_Vector3Template<double> acrossBorder(const M_Vector3Template<double>& v) {
    return {v.x, v.y, 0 - v.z}; // a difference: no negative zero
}

/// A rotation on the other side: about the mirrored axis, the other way round.
inline M_QuaternionTemplate<double> acrossBorder(const M_QuaternionTemplate<double>& q) {
    return {q.w, 0 - q.x, 0 - q.y, q.z};
}

/// A placement on the other side: a point is scaled along the axes, then turned, then moved.
struct ExportPlacement {
    M_Vector3Template<double> translation;
    M_QuaternionTemplate<double> rotation{1, 0, 0, 0}; ///< unit
    M_Vector3Template<double> scale{1, 1, 1};
    bool isExact = true; ///< false for a matrix that turns and scales cannot make: what is nearest stands here
};

/// The placement of what stands at `position` with the rows `rotation`.
ExportPlacement placementAcross(const M_Matrix3Template<double>& rotation, const M_Vector3Template<double>& position);

} // namespace cairn::host
