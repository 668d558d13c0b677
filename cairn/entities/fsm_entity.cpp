#include "cairn/entities/fsm_entity.h"

#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityFSM::CN_LevelEntityFSM() : CN_UISphereEntity(CN_KIND_FSM, 9) { initializeMembers(); }

CN_LevelEntityFSM::CN_LevelEntityFSM(const CN_LevelEntityFSM& other) : CN_UISphereEntity(other) {
    createFSM();
    requestSphereRenderer();
}

CN_LevelEntityFSM& CN_LevelEntityFSM::operator=(const CN_LevelEntityFSM& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        createFSM();
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityFSM::initializeMembers() {
    setRadius(CN_SMALL_SPHERE_RADIUS);
    createFSM();
}

CN_LevelEntity* CN_LevelEntityFSM::clone() { return new CN_LevelEntityFSM(*this); }

void CN_LevelEntityFSM::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_FSMACVisitor>(visitor, *this);
}

// Version 1: the radius, always the same whatever is stored. No record of the sphere. Levels of this library's first
// versions have no chunk.

void CN_LevelEntityFSM::saveEntitySpecificData(F_MemoryFile& file) {
    file.createChunk(0, CAIRN_LVL_ENTITY_FSM_VERSION);
    file << getRadius();
    file.closeChunk();
}

void CN_LevelEntityFSM::loadEntitySpecificData(F_MemoryFile& file) {
    if (file.beginsLikeChunk()) {
        F_MemoryFile::Chunk chunk;
        file.openChunk(chunk, 0);
        double stored = 0;
        chunk.getMemoryFile() >> stored;
        file.skipChunk();
    }
    setRadius(CN_SMALL_SPHERE_RADIUS);
}

I_Color CN_LevelEntityFSM::getColor() { return I_Color(0, 255, 64); }

bool CN_LevelEntityFSM::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId); }

} // namespace cairn
