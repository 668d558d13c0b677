#include "cairn/entities/tri_mesh.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"
#include "cairn/fsm/fsm.h"

namespace cairn {

CN_LevelEntityTriMesh::CN_LevelEntityTriMesh() : CN_LevelEntity(CN_KIND_TRIMESH, 18) {}

CN_LevelEntityTriMesh::CN_LevelEntityTriMesh(const CN_LevelEntityTriMesh& other)
    : CN_LevelEntity(other), CN_MeshInterface(other), CN_AnimationInterface(other), m_dynamic(other.m_dynamic),
      m_animation(other.m_animation) {
    requestRenderer();
}

CN_LevelEntityTriMesh& CN_LevelEntityTriMesh::operator=(const CN_LevelEntityTriMesh& other) {
    if (this != &other) {
        CN_LevelEntity::operator=(other);
        m_dynamic = other.m_dynamic;
        m_animation = other.m_animation;
        requestRenderer();
    }
    return *this;
}

void CN_LevelEntityTriMesh::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createTriMeshRenderer(this));
}

CN_LevelEntity* CN_LevelEntityTriMesh::clone() { return new CN_LevelEntityTriMesh(*this); }

void CN_LevelEntityTriMesh::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_TriMeshACVisitor>(visitor, *this);
}

void CN_LevelEntityTriMesh::loadEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityTriMesh::saveEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityTriMesh::createFSM() {
    CN_LevelEntity::createFSM();
    if (isDynamic())
        m_fsm->createDynamicMeshHandlers();
}

bool CN_LevelEntityTriMesh::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId); }

} // namespace cairn
