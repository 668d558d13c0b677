#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

namespace {

/// Takes a space along with the placement `change`; one that would have no inverse then stays.
void takeAlong(CN_Polygon::PlanarSpace& space, const M_Matrix4x3Template<double>& change) {
    const M_Matrix3Template<double> matrix = space.getMatrix() * change.rotation;
    if (!matrix.isInvertible())
        return;
    space.setMatrix(matrix);
    space.setPoint(space.getPoint() * change);
}

} // namespace

// Keyframes stand in the parent's space, so that a point of the mesh must land where it did at each of them.
void CN_Mesh::changeSpaceExplicit(const M_Matrix4x3Template<double>& m) {
    const M_Matrix4x3Template<double> own(m_rotation, m_position), fromOwn = own.inverse();
    if (!m.rotation.inverse().isFinite() || (movesByKeyframes() && !fromOwn.isFinite()))
        return;
    const M_Matrix4x3Template<double> change = own * m.inverse();
    for (CN_Vertex& vertex : m_vertexList)
        vertex.local = vertex.local * change;
    for (CN_Polygon& polygon : m_polygonList) {
        polygon.setNormal(polygon.getNormal() * change.rotation);
        polygon.setReferenceNormal(polygon.getReferenceNormal() * change.rotation);
        polygon.setPointOnPlane(polygon.getPointOnPlane() * change);
        polygon.accessUVSpaces().forEach([&change](int, CN_UVSpace& space) { takeAlong(space.space, change); });
        takeAlong(polygon.accessLightmapMapping().getPhysicalSpace(), change);
        polygon.markUVDirty();
    }
    moveOriginOfKeyframes(m * fromOwn);
    CN_LevelEntity::changeSpaceExplicit(m);
    handleOwnHierarchy();
    calculateBoundingBox();
}

} // namespace cairn
