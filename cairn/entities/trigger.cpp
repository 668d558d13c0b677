#include "cairn/entities/trigger.h"

#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"
#include "cairn/fsm/fsm.h"

namespace cairn {

CN_LevelEntityTrigger::CN_LevelEntityTrigger() : CN_UISphereEntity(CN_KIND_TRIGGER, 10) { initializeMembers(); }

CN_LevelEntityTrigger::CN_LevelEntityTrigger(const CN_LevelEntityTrigger& other) : CN_UISphereEntity(other) {
    createFSM();
    requestSphereRenderer();
}

CN_LevelEntityTrigger& CN_LevelEntityTrigger::operator=(const CN_LevelEntityTrigger& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        createFSM();
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityTrigger::initializeMembers() {
    setRadius(0.5);
    createFSM();
}

CN_LevelEntity* CN_LevelEntityTrigger::clone() { return new CN_LevelEntityTrigger(*this); }

void CN_LevelEntityTrigger::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_TriggerACVisitor>(visitor, *this);
}

void CN_LevelEntityTrigger::loadEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityTrigger::saveEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityTrigger::createFSM() {
    CN_LevelEntity::createFSM();
    m_fsm->createMessageHandler("T_Activate");
}

I_Color CN_LevelEntityTrigger::getColor() { return I_Color(32, 64, 64); }

bool CN_LevelEntityTrigger::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId); }

} // namespace cairn
