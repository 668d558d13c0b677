#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"
#include "cairn/document/change_scope.h"
#include "cairn/foundation/exception.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Matrix = M_Matrix3Template<double>;
using Placement = M_Matrix4x3Template<double>;
using PlanarSpace = CN_Polygon::PlanarSpace;

constexpr double ALONG_AXIS = 0.9999; // a normal with a component beyond this is that axis

/// A space gets another matrix; one that has no inverse leaves it as it was.
void place(PlanarSpace& space, const Matrix& matrix, const Vector& origin) {
    if (!matrix.isInvertible())
        return;
    space.setMatrix(matrix);
    space.setPoint(origin);
}

void setPlane(CN_Polygon& polygon, Vector normal, Vector point) {
    if (maxAbsComponent(normal) > ALONG_AXIS)
        snapPlane(normal, point);
    polygon.setNormal(normal);
    polygon.setPointOnPlane(point);
}

/// The polygon has the spaces 0, 1 and 2 afterwards, a new one with the axes of space 0; `change` is called with each that it
/// has.
template <class Change> void changeSpaces(CN_Polygon& polygon, Change&& change) {
    constexpr int KEYS = 3;
    const Matrix axes = polygon.getUVSpace(0).getMatrix();
    for (int key = 0; key < KEYS; ++key)
        if (!polygon.hasUVSpace(key))
            polygon.editUVSpace(key).setMatrix(axes);
    polygon.accessUVSpaces().forEach([&change](int, CN_UVSpace& uv) { change(uv.space); });
    polygon.markUVDirty();
    polygon.setUVCalculated(false);
}

/// Reverses all loops; the outer one stays the first.
void turnOver(CN_Polygon& polygon) {
    polygon.flipVertexOrder();
    std::vector<CN_Polygon::Lasso> loops = polygon.getLassos(); // the last one first
    if (loops.size() < 2)
        return;
    std::reverse(loops.begin(), loops.end());
    for (const CN_Polygon::Lasso& loop : loops)
        for (const CN_Edge* const edge : loop)
            polygon.accessEdgeList().moveToTail(edge);
}

/// Takes what the polygon has in the mesh's space along.
void takeAlong(CN_Polygon& polygon, const Placement& change) {
    const auto move = [&change](PlanarSpace& space) {
        place(space, space.getMatrix() * change.rotation, space.getPoint() * change);
    };
    setPlane(polygon, polygon.getNormal() * change.rotation, polygon.getPointOnPlane() * change);
    polygon.setReferenceNormal(polygon.getReferenceNormal() * change.rotation);
    changeSpaces(polygon, move);
    move(polygon.accessLightmapMapping().getPhysicalSpace());
}

/// Moves the vertices. False, and none has moved, where one would not come to stand at a place that is a number.
bool moveVertices(CN_Mesh::VertexList& vertices, const Placement& change) {
    for (const CN_Vertex& vertex : vertices)
        if (!(vertex.local * change).isFinite())
            return false;
    for (CN_Vertex& vertex : vertices)
        vertex.local = vertex.local * change;
    return true;
}

Matrix diagonal(const Vector& d) { return {{d.x, 0, 0}, {0, d.y, 0}, {0, 0, d.z}}; }

Matrix difference(const Matrix& a, const Matrix& b) {
    return {a.row(0) - b.row(0), a.row(1) - b.row(1), a.row(2) - b.row(2)};
}

/// The reflection in the plane of a unit normal through a point.
Placement reflection(const Vector& normal, const Vector& point) {
    const Matrix twice(normal * (2 * normal.x), normal * (2 * normal.y), normal * (2 * normal.z));
    return {difference(Matrix(), twice), point * twice};
}

/// Reflects the keyframes' places, without the plane's own place where they are `relative`.
void mirrorKeyframes(CN_Keyframes& keyframes, const Placement& mirror, bool relative) {
    for (CN_Keyframe* keyframe = keyframes.getFirst(); keyframe; keyframe = keyframes.getNext()) {
        Placement matrix = keyframe->getMatrix();
        matrix.translation = relative ? matrix.translation * mirror.rotation : matrix.translation * mirror;
        keyframe->setMatrix(matrix);
    }
}

/// The stretching by the factors along the axes, whose rows are `axes`, that leaves the center where it is.
Placement stretching(const Vector& center, const Vector& factors, const Matrix& axes) {
    const Matrix stretch = diagonal(factors), back = axes.transposed();
    return {back * stretch * axes, center * (back * difference(Matrix(), stretch) * axes)};
}

} // namespace

void CN_Mesh::mirror(const M_Plane3Template<double>& plane, bool relativeKeyframes) {
    const Vector normal = plane.getNormal().normalized();
    Vector localNormal = vectorWorldToObject(normal).normalized(), localPoint = worldToObject(plane.getPoint());
    const CN_LevelEntity* const parent = getParent();
    const Vector outerNormal = (parent ? parent->vectorWorldToObject(normal) : normal).normalized();
    const Vector outerPoint = parent ? parent->worldToObject(plane.getPoint()) : plane.getPoint();
    if (localNormal == Vector() || outerNormal == Vector() || !localPoint.isFinite() || !outerPoint.isFinite())
        throw new F_Exception("A mesh is mirrored in a plane with a normal and a point");
    if (maxAbsComponent(localNormal) > ALONG_AXIS)
        snapPlane(localNormal, localPoint);
    // The geometry is reflected about the mesh's own origin, wherever the plane is.
    const Placement change(reflection(localNormal, localPoint).rotation, {});
    if (!moveVertices(m_vertexList, change))
        throw new F_Exception("A mesh whose vertices have no places cannot be mirrored");
    const CN_ChangeScope scope(getDocument());
    for (CN_Polygon& polygon : m_polygonList) {
        turnOver(polygon);
        takeAlong(polygon, change);
    }
    if (movesByKeyframes()) {
        mirrorKeyframes(*accessKeyframes(), reflection(outerNormal, outerPoint), relativeKeyframes);
        if (CN_MeshAnimations* const animations = accessAnimations())
            animations->updateKeyframes();
    }
    reworkVerticesWithoutWelding();
    invalidateObject(true);
    handleOwnHierarchy();
    calculateBoundingBox();
}

void CN_Mesh::scale(const Vector& center, const Vector& factors, const M_Matrix4x3Template<double>* space) {
    Matrix axes;
    if (space)
        axes = {vectorWorldToObject(space->rotation.row(0)), vectorWorldToObject(space->rotation.row(2)),
                vectorWorldToObject(space->rotation.row(1))};
    const Placement change = stretching(center, factors, axes);
    const Matrix ofNormals = change.rotation.transposed().inverse();
    if (!change.isFinite() || !change.rotation.isInvertible() || !ofNormals.isFinite())
        throw new F_Exception("A mesh is scaled about a point, along three axes, by factors that are not 0");
    if (!moveVertices(m_vertexList, change))
        throw new F_Exception("The scaled mesh would be too large");
    const CN_ChangeScope scope(getDocument());
    const bool turnsOver = change.rotation.determinant() < 0;
    for (CN_Polygon& polygon : m_polygonList) {
        if (turnsOver)
            turnOver(polygon);
        changeSpaces(polygon, [&](PlanarSpace& texture) {
            const Matrix& rows = texture.getMatrix();
            place(
                texture,
                {rows.row(0) * change.rotation, rows.row(1) * change.rotation, (rows.row(2) * ofNormals).normalized()},
                texture.getPoint() * change);
        });
        setPlane(polygon, (polygon.getNormal() * ofNormals).normalized(), polygon.getPointOnPlane() * change);
    }
    invalidateObject(true);
    handleOwnHierarchy();
    calculateBoundingBox();
}

// Keyframes stand in the parent's space, so that a point of the mesh must land where it did at each of them.
void CN_Mesh::changeSpaceExplicit(const M_Matrix4x3Template<double>& m) {
    const Placement fromOwn = Placement(m_rotation, m_position).inverse();
    const Matrix inverse = m.rotation.inverse();
    if (!inverse.isFinite() || !m.translation.isFinite() || (movesByKeyframes() && !fromOwn.isFinite()))
        return;
    const Placement change(m_rotation * inverse, (m_position - m.translation) * inverse);
    if (!moveVertices(m_vertexList, change))
        return;
    const CN_ChangeScope scope(getDocument());
    for (CN_Polygon& polygon : m_polygonList)
        takeAlong(polygon, change);
    reworkVerticesWithoutWelding();
    moveOriginOfKeyframes(m * fromOwn);
    CN_LevelEntity::changeSpaceExplicit(m);
    invalidateObject(true);
    handleOwnHierarchy();
    calculateBoundingBox();
}

void CN_Mesh::relocateCenter(double grid) {
    if (!std::isfinite(grid))
        throw new F_Exception("The grid for the origin of a mesh is not finite");
    Vector mean;
    for (const CN_Vertex& vertex : m_vertexList)
        mean += vertex.local;
    if (!m_vertexList.empty())
        mean = mean / static_cast<double>(m_vertexList.count());
    Vector origin = inParentSpace(mean);
    for (int axis = 0; axis < 3; ++axis)
        // A grid of 0, or one that is too fine for numbers, has all places.
        if (const double snapped = snapToGrid(origin[axis], grid); std::isfinite(snapped))
            origin[axis] = snapped;
    changeSpaceExplicit({Matrix(), origin});
}

} // namespace cairn
