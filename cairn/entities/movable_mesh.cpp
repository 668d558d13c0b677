#include "cairn/entities/movable_mesh.h"

#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"
#include "cairn/document/change_scope.h"
#include "cairn/entities/level_entity.h"

namespace cairn {

void CN_MovableMesh::makeDynamic(bool lit) {
    CN_LevelEntity& entity = accessEntity();
    const CN_ChangeScope change(entity.getDocument());
    m_dynamic = true;
    m_animation.makeDynamic(&entity);
    m_meshProperties.lightDynamic = lit;
    m_meshProperties.setDefaultPhysicalMaterial();
    entity.createFSM();
    entity.invalidateObject(true);
}

void CN_MovableMesh::makeStatic() {
    if (!m_dynamic && !m_animation.getKeyframes())
        return;
    CN_LevelEntity& entity = accessEntity();
    const CN_ChangeScope change(entity.getDocument());
    m_animation.makeStatic(&entity);
    m_dynamic = false;
    entity.deleteFSM();
    entity.invalidateObject(true);
}

void CN_MovableMesh::moveOriginOfKeyframes(const M_Matrix4x3Template<double>& toOldSpace) {
    if (!movesByKeyframes())
        return;
    CN_Keyframes& keyframes = *accessKeyframes();
    for (CN_Keyframe* keyframe = keyframes.getFirst(); keyframe; keyframe = keyframes.getNext())
        keyframe->setMatrix(toOldSpace * keyframe->getMatrix());
    if (CN_MeshAnimations* const animations = accessAnimations())
        animations->updateKeyframes();
}

} // namespace cairn
