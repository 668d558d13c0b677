#pragma once

namespace cairn {

/// What `gpc_polygon_clip` computes.
enum gpc_op {
    GPC_DIFF = 0,  ///< the subject without the clip polygon
    GPC_INT = 1,   ///< what both cover
    GPC_XOR = 2,   ///< what one of them covers
    GPC_UNION = 3, ///< what either covers
};

/// A corner of a contour.
struct gpc_vertex {
    double x, y;
};

/// The corners of a contour in their order.
struct gpc_vertex_list {
    int num_vertices = 0;
    gpc_vertex* vertex = nullptr; ///< owned by the polygon whose contour it is; the caller's in `gpc_add_contour`
};

/// An area by its contours, closed and in any number; a point is in it where it lies in an odd number of them. Flags and
/// directions of contours are for whoever reads a result.
struct gpc_polygon {
    int num_contours = 0;
    int* hole = nullptr;                ///< owned: a flag each
    gpc_vertex_list* contour = nullptr; ///< owned

    gpc_polygon() = default;
    ~gpc_polygon();
    gpc_polygon(const gpc_polygon&) = delete;
    gpc_polygon& operator=(const gpc_polygon&) = delete;
};

/// Appends a copy of the contour.
void gpc_add_contour(gpc_polygon* polygon, const gpc_vertex_list* contour, int hole);

/// Takes all contours away.
void gpc_free_polygon(gpc_polygon* polygon);

/// Lets each contour start at its lowest corner, the leftmost of those as low, and brings the contours into order: that with
/// the highest corner first, the leftmost of those as high. What differs by no more than the tolerance counts as equal. So
/// order and start tell where the contours lie and not how they were made.
void gpc_arrange(gpc_polygon* polygon, double tolerance);

/// False where a corner is not finite.
bool gpc_is_finite(const gpc_polygon* polygon);

/// Makes `result` the area of the operation, in place of what it held; it may be one of the operands, none of which is
/// changed otherwise.
///
/// Outlines run clockwise (x right, y up) and holes, which are flagged, counter-clockwise. Contours may touch, but do not
/// cross. They are as `gpc_arrange` leaves them. Corners that are corners of an operand have exactly its
/// coordinates; others are within 1e-9 of the operands' extent. Contours of an operand without three corners count as
/// nothing; an operand that is not finite makes the result empty.
///
/// The algorithm is Vatti's, by way of Clipper, which works on integers: the grid is finer than 1e-13 of the extent.
void gpc_polygon_clip(gpc_op operation, const gpc_polygon* subject, const gpc_polygon* clip, gpc_polygon* result);

} // namespace cairn
