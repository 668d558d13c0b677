#pragma once

#include "cairn/math/vector2.h"

namespace cairn {

struct gpc_polygon;

/// Cuts an area in two by a line, whose direction `along` is unit: `right` and `left` become what `gpc_polygon_clip` gives
/// for the area within and without a rectangle that covers all to the right of the line. Corners of the area are kept to the
/// last bit, and those nearer to the line than 1e-11 of the area's extent are where it crosses; other crossings are as good as
/// rounding lets them be.
///
/// False, and what is in `right` and `left` means nothing, for what only a clipper can sort out: contours of fewer than three
/// corners, that cross or touch themselves or each other, that come as near to the line as rounding reaches without being on
/// it, or that have a side on it with the area beyond and both neighbours on this side of it. Contours that come near one
/// another without a touch are cut all the same.
///
/// Cost: linear for a single convex contour, else n log n for n corners.
bool CN_cutByLine(const gpc_polygon& area, const M_Vector2Template<double>& at, const M_Vector2Template<double>& along,
                  gpc_polygon& right, gpc_polygon& left);

} // namespace cairn
