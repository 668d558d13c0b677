#include "cairn/entities/jumppoint.h"

#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityJumppoint::CN_LevelEntityJumppoint() : CN_UISphereEntity(CN_KIND_JUMPPOINT, 12) { initializeMembers(); }

CN_LevelEntityJumppoint::CN_LevelEntityJumppoint(const CN_LevelEntityJumppoint& other) : CN_UISphereEntity(other) {
    requestSphereRenderer();
}

CN_LevelEntityJumppoint& CN_LevelEntityJumppoint::operator=(const CN_LevelEntityJumppoint& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityJumppoint::initializeMembers() { setRadius(0.5); }

CN_LevelEntity* CN_LevelEntityJumppoint::clone() { return new CN_LevelEntityJumppoint(*this); }

void CN_LevelEntityJumppoint::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_JumppointACVisitor>(visitor, *this);
}

void CN_LevelEntityJumppoint::loadEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityJumppoint::saveEntitySpecificData(F_MemoryFile&) {}

I_Color CN_LevelEntityJumppoint::getColor() { return I_Color(255, 0, 0); }

bool CN_LevelEntityJumppoint::onCanAdd(int) { return false; }

} // namespace cairn
