#include "cairn/entities/cairn_level.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"

namespace cairn {

CN_CairnLevel::CN_CairnLevel() : CN_LevelEntity(CN_KIND_LEVEL, 0) { m_expanded = true; }

CN_CairnLevel::CN_CairnLevel(const CN_CairnLevel& other) : CN_LevelEntity(other) {
    m_expanded = true;
    requestRenderer();
}

CN_CairnLevel& CN_CairnLevel::operator=(const CN_CairnLevel& other) {
    if (this != &other) {
        CN_LevelEntity::operator=(other);
        m_expanded = true;
        requestRenderer();
    }
    return *this;
}

void CN_CairnLevel::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createLevelRenderer(this));
}

CN_LevelEntity* CN_CairnLevel::clone() { return new CN_CairnLevel(*this); }

void CN_CairnLevel::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) { CN_acceptAs<CN_LevelACVisitor>(visitor, *this); }

void CN_CairnLevel::loadEntitySpecificData(F_MemoryFile&) {}

void CN_CairnLevel::saveEntitySpecificData(F_MemoryFile&) {}

bool CN_CairnLevel::onCanAdd(int entityId) { return CN_isChildOfLevel(entityId); }

} // namespace cairn
