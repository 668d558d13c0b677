#include "cairn/entities/prefab_content.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityPrefabContent::CN_LevelEntityPrefabContent() : CN_LevelEntity(CN_KIND_PREFAB_CONTENT, 2) {}

CN_LevelEntityPrefabContent::CN_LevelEntityPrefabContent(const CN_LevelEntityPrefabContent& other)
    : CN_LevelEntity(other) {
    requestRenderer();
}

CN_LevelEntityPrefabContent& CN_LevelEntityPrefabContent::operator=(const CN_LevelEntityPrefabContent& other) {
    if (this != &other) {
        CN_LevelEntity::operator=(other);
        requestRenderer();
    }
    return *this;
}

void CN_LevelEntityPrefabContent::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createPrefabContentRenderer(this));
}

CN_LevelEntity* CN_LevelEntityPrefabContent::clone() { return new CN_LevelEntityPrefabContent(*this); }

void CN_LevelEntityPrefabContent::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_PrefabContentACVisitor>(visitor, *this);
}

void CN_LevelEntityPrefabContent::loadEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityPrefabContent::saveEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityPrefabContent::coincideWith(const CN_LevelEntity& prefab) {
    m_position = Vector();
    m_rotation = Matrix();
    m_worldPosition = prefab.getWorldPosition();
    m_worldRotation = prefab.getWorldRotation();
    m_invWorldRotation = prefab.getInvWorldRotation();
    m_generalProperties = prefab.getGeneralProperties();
    m_name = "prefab";
}

bool CN_LevelEntityPrefabContent::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId, false); }

} // namespace cairn
