#pragma once

#include "cairn/math/vector3.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cairn::host {

/// A half-space of a brush: what lies behind the plane of a unit normal at that distance from the origin.
struct BrushPlane {
    M_Vector3Template<double> normal; ///< unit, outward
    double distance = 0;              ///< of the plane along the normal
};

/// How far, in the units of the planes, a corner may lie from a plane and count as in it. Corners that planes of several
/// faces give nearly alike, as rounded coordinates do, become one within this; it is far below a map's finest grid.
inline constexpr double BRUSH_TOLERANCE = 1e-4;

/// The convex solid that planes enclose, as faces over corners that they share: each edge of a face runs back along exactly
/// one other face.
struct BrushSolid {
    struct Face {
        std::uint32_t plane;                ///< place in the planes
        std::vector<std::uint32_t> corners; ///< counter-clockwise seen from outside, no two alike, at least three
    };

    std::vector<M_Vector3Template<double>> corners;
    std::vector<Face> faces;         ///< in the order of their planes
    std::vector<std::uint32_t> idle; ///< planes that bound nothing: copies of others, or beyond the solid
    std::string fault;               ///< why there is no solid; empty where there is one

    bool isSolid() const { return fault.empty(); }
};

/// The farthest that a point of a brush may lie from the origin along an axis, in the units of the planes.
inline constexpr double BRUSH_EXTENT = 4194304;

/// True for a point farther out, and for one that is no place.
bool isBeyondBrushes(const M_Vector3Template<double>& point);

/// The plane through three points, clockwise seen from outside. False where they lie on a line or too far out.
bool makeBrushPlane(const M_Vector3Template<double> points[3], BrushPlane& plane);

/// Intersects half-spaces: a box far around all of them is cut by one plane after the other. A corner within
/// `BRUSH_TOLERANCE` of the plane is in it, and what a cut makes belongs to the faces on both its sides, so that the result is
/// closed by the way it is made, whatever rounding does to coordinates; where corners so near each other leave no simple
/// outline of a cut, all of it is done again with a hundredth of the tolerance, and once more. In the end each corner is put where those three of
/// its planes meet that meet most squarely. Where no solid is left, and where one has no end, the fault
/// says so. Cost: planes times corners.
BrushSolid intersectHalfSpaces(const std::vector<BrushPlane>& planes);

} // namespace cairn::host
