#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/plane_mover.h"

#include <cmath>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

bool hasPlane(const CN_Polygon& polygon) {
    return !polygon.getEdgeList().empty() && polygon.getNormal().isFinite() && polygon.getNormal().length() > 0;
}

/// True for numbers that tell where a plane of that normal is to go.
bool isMove(const CN_PlaneMove& move, const Vector& normal) {
    constexpr double STRETCH = 0.001; // of a normal, by what is no rotation
    const double was = normal.length(), is = (normal * move.matrix).length();
    return std::isfinite(move.distance) && std::isfinite(move.minEdgeLength) && move.center.isFinite() &&
           move.matrix.isInvertible() && std::abs(is - was) <= STRETCH * was;
}

} // namespace

CN_PlaneMoveRefusal CN_Mesh::tryMovePolygonPlane(CN_Polygon* polygon, double distance, double minEdgeLength,
                                                 bool rotating, Matrix matrix, Vector center) {
    if (!polygon || !m_polygonList.contains(polygon) || !hasPlane(*polygon))
        return CN_PlaneMoveRefusal::NO_SUCH_POLYGON;
    const CN_PlaneMove move{distance, minEdgeLength, rotating, matrix, center};
    if (!isMove(move, polygon->getNormal()))
        return CN_PlaneMoveRefusal::NOT_A_MOVE;
    return CN_PlaneMover(*this).run(*polygon, move);
}

bool CN_Mesh::movePolygonPlaneWorker(CN_Polygon* polygon, double distance, double minEdgeLength, bool rotating,
                                     Matrix matrix, Vector center) {
    return tryMovePolygonPlane(polygon, distance, minEdgeLength, rotating, matrix, center) == CN_PlaneMoveRefusal::NONE;
}

CN_PlaneMoveRefusal CN_Mesh::tryRotatePolygonPlane(CN_Polygon* polygon, const Vector& axisStart, const Vector& axisEnd,
                                                   double angle, double minEdgeLength) {
    const Vector axis = (axisEnd - axisStart).normalized();
    CN_PlaneMoveRefusal refusal = CN_PlaneMoveRefusal::NOT_A_MOVE;
    if (axis != Vector() && std::isfinite(angle)) {
        const Matrix matrix = Matrix::rotationAbout(axis, static_cast<double>(CN_toFloat(angle)));
        refusal = tryMovePolygonPlane(polygon, 0, minEdgeLength, true, matrix, axisEnd);
    }
    handleOwnHierarchy();
    return refusal;
}

bool CN_Mesh::rotatePolygonPlane(CN_Polygon* polygon, const Vector& axisStart, const Vector& axisEnd, double angle,
                                 double minEdgeLength) {
    return tryRotatePolygonPlane(polygon, axisStart, axisEnd, angle, minEdgeLength) == CN_PlaneMoveRefusal::NONE;
}

bool CN_Mesh::checkCoplanarVertices(int vertex, const F_DLList<CN_Polygon*>& group) {
    return CN_PlaneMover(*this).checkCoplanarVertices(vertex, group);
}

bool CN_Mesh::checkEdgePlaneDeadlock(int vertex, const Vector& normal, const F_DLList<CN_Polygon*>& border) {
    return CN_PlaneMover(*this).checkEdgePlaneDeadlock(vertex, normal, border);
}

} // namespace cairn
