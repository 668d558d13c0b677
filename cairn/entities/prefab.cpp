#include "cairn/entities/prefab.h"

#include "cairn/document/entity_factory.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/prefab_content.h"
#include "cairn/entities/visitors.h"
#include "cairn/foundation/exception.h"

#include <utility>

namespace cairn {

CN_LevelEntityPrefab::CN_LevelEntityPrefab() : CN_UISphereEntity(CN_KIND_PREFAB, 6) { initializeMembers(); }

CN_LevelEntityPrefab::CN_LevelEntityPrefab(const CN_LevelEntityPrefab& other)
    : CN_UISphereEntity(other), m_prefabType(other.m_prefabType) {
    createFSM();
    requestSphereRenderer();
}

CN_LevelEntityPrefab& CN_LevelEntityPrefab::operator=(const CN_LevelEntityPrefab& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        m_editable = other.m_editable;
        m_prefabType = other.m_prefabType;
        m_content = other.m_content;
        createFSM();
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityPrefab::initializeMembers() {
    setRadius(0.25);
    createFSM();
}

CN_LevelEntity* CN_LevelEntityPrefab::clone() { return new CN_LevelEntityPrefab(*this); }

void CN_LevelEntityPrefab::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_PrefabACVisitor>(visitor, *this);
}

void CN_LevelEntityPrefab::load(F_MemoryFile& file) {
    CN_LevelEntity::load(file);
    m_content = nullptr;
    for (CN_LevelEntity* const child : m_children)
        if (child->getEntityId() == CN_KIND_PREFAB_CONTENT) {
            m_content = dynamic_cast<CN_LevelEntityPrefabContent*>(child);
            break;
        }
}

void CN_LevelEntityPrefab::loadEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityPrefab::saveEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityPrefab::remove(CN_LevelEntity* child) {
    if (child && child == m_content && child->getParent() == this)
        m_content = nullptr;
    CN_LevelEntity::remove(child);
}

void CN_LevelEntityPrefab::createPrefabContent() {
    std::unique_ptr<CN_LevelEntity> made(
        CN_EntityFactory::instance()->createEntity(CN_KIND_PREFAB_CONTENT, getDocument()));
    auto* const content = dynamic_cast<CN_LevelEntityPrefabContent*>(made.get());
    if (!content)
        throw new F_Exception("The kind registered for prefab contents is another");
    content->coincideWith(*this);
    CN_LevelEntityPrefabContent* const before = std::exchange(m_content, content);
    try {
        addOwned(std::move(made), false);
    } catch (...) {
        if (!isAlive(content))
            m_content = before;
        throw;
    }
}

I_Color CN_LevelEntityPrefab::getColor() { return I_Color(195, 110, 170); }

bool CN_LevelEntityPrefab::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId); }

} // namespace cairn
