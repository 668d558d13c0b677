#include "cairn/animation/animation_interface.h"
#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/level_entity.h"
#include "cairn/entities/mesh_interface.h"
#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

/// The keyframes' owner where the entity is a dynamic mesh, else null.
CN_AnimationInterface* animationOfDynamic(CN_LevelEntity* entity) {
    const auto* mesh = dynamic_cast<const CN_MeshInterface*>(entity);
    return mesh && mesh->isDynamic() ? dynamic_cast<CN_AnimationInterface*>(entity) : nullptr;
}

} // namespace

void CN_LevelEntity::setPosition(const Vector& position) {
    m_position = position;
    invalidatePosition();
    handleOwnHierarchy();
}

void CN_LevelEntity::setRotation(const Matrix& rotation) {
    m_rotation = rotation;
    invalidatePosition();
    handleOwnHierarchy();
}

void CN_LevelEntity::checkBoundingBox(const Vector& v, Vector& min, Vector& max) {
    for (int axis = 0; axis < 3; ++axis) {
        min[axis] = std::min(min[axis], v[axis]);
        max[axis] = std::max(max[axis], v[axis]);
    }
}

void CN_LevelEntity::handleHierarchy(const Vector& parentPosition, const Matrix& parentRotation, bool force) {
    if (!force && !isVisible())
        return;
    placeInWorld(parentPosition, parentRotation);
    placeChildrenInWorld(force);
}

void CN_LevelEntity::placeInWorld(const Vector& parentPosition, const Matrix& parentRotation) {
    m_worldPosition = m_position * parentRotation + parentPosition;
    m_worldRotation = m_rotation * parentRotation;
    m_invWorldRotation = m_worldRotation.transposed();
}

void CN_LevelEntity::placeChildrenInWorld(bool force) {
    for (CN_LevelEntity* child : m_children)
        if (child)
            child->handleHierarchy(m_worldPosition, m_worldRotation, force);
}

void CN_LevelEntity::handleOwnHierarchy() {
    if (m_parent) {
        handleHierarchy(m_parent->m_worldPosition, m_parent->m_worldRotation, true);
        return;
    }
    CN_Document* document = getLivingDocument();
    if (CN_LevelEntity* root = document ? document->accessLevel() : nullptr)
        root->handleParenting(true);
}

void CN_LevelEntity::handleParenting(bool) { handleHierarchy(Vector(), Matrix(), true); }

void CN_LevelEntity::makeChild(CN_LevelEntity* child, CN_LevelEntity* oldParent) {
    const M_Matrix4x3Template<double> fromWorld = M_Matrix4x3Template(m_worldRotation, m_worldPosition).inverse();
    if (fromWorld.isFinite()) {
        CN_AnimationInterface* animation = oldParent ? animationOfDynamic(child) : nullptr;
        if (animation)
            animation->transformKeyframes(M_Matrix4x3Template(oldParent->m_worldRotation, oldParent->m_worldPosition) *
                                          fromWorld);
        child->m_position = (child->m_worldPosition - m_worldPosition) * fromWorld.rotation;
        child->m_rotation = child->m_worldRotation * fromWorld.rotation;
    }
    if (auto* mesh = dynamic_cast<CN_Mesh*>(child))
        mesh->calculateBoundingBox();
    handleOwnHierarchy();
}

void CN_LevelEntity::changeSpace(CN_LevelEntity* other) {
    changeSpaceExplicit(M_Matrix4x3Template(other->m_rotation, other->m_position));
}

void CN_LevelEntity::changeSpaceExplicit(const M_Matrix4x3Template<double>& m) {
    const Matrix inverse = m.rotation.inverse();
    if (!inverse.isFinite())
        return;
    const M_Matrix4x3Template change(m_rotation * inverse, (m_position - m.translation) * inverse);
    for (CN_LevelEntity* child : m_children) {
        if (!child)
            continue;
        child->m_position = (inParentSpace(child->m_position) - m.translation) * inverse;
        child->m_rotation = child->m_rotation * m_rotation * inverse;
        if (CN_AnimationInterface* animation = animationOfDynamic(child))
            animation->transformKeyframes(change);
    }
    m_position = m.translation;
    m_rotation = m.rotation;
}

bool CN_LevelEntity::intersectRay(Vector&, double&, const Vector&, const Vector&, bool, bool, CN_RayFilter) {
    return false;
}

bool CN_LevelEntity::rayToBoundingVolume(double* t, const Vector& origin, const Vector& direction,
                                         bool originIsRelative) const {
    if (m_boundingRadius == 0)
        return false;
    const Vector o = originIsRelative ? origin : origin - m_worldPosition;
    const double b = 2 * o.dot(direction);
    const double c = o.dot(o) - m_boundingRadius * m_boundingRadius;
    const double discriminant = b * b - 4 * c;
    if (discriminant < 0)
        return false;
    const double root = std::sqrt(discriminant);
    const double entry = (-b - root) / 2, exit = (root - b) / 2;
    if (!(entry >= 0 || exit >= 0))
        return false;
    if (t)
        *t = std::max(entry, 0.0);
    return true;
}

} // namespace cairn
