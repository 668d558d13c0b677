#include "cairn/entities/mesh_entity.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityMesh::CN_LevelEntityMesh() : CN_Mesh(CN_KIND_MESH, 17, nullptr) {}

CN_LevelEntityMesh::CN_LevelEntityMesh(const CN_LevelEntityMesh& other) : CN_Mesh(other) { requestRenderer(); }

CN_LevelEntityMesh& CN_LevelEntityMesh::operator=(const CN_LevelEntityMesh& other) {
    if (this != &other) {
        CN_Mesh::operator=(other);
        requestRenderer();
    }
    return *this;
}

void CN_LevelEntityMesh::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createMeshRenderer(this));
}

CN_LevelEntity* CN_LevelEntityMesh::clone() { return new CN_LevelEntityMesh(*this); }

void CN_LevelEntityMesh::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_MeshACVisitor>(visitor, *this);
}

void CN_LevelEntityMesh::loadEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityMesh::saveEntitySpecificData(F_MemoryFile&) {}

bool CN_LevelEntityMesh::isRoom() const {
    const CN_LevelEntity* const parent = getParent();
    return parent && !parent->getParent() && hasExits();
}

bool CN_LevelEntityMesh::onCanAdd(int entityId) { return CN_isChildOfMesh(entityId); }

} // namespace cairn
