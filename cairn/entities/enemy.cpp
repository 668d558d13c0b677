#include "cairn/entities/enemy.h"

#include "cairn/document/document.h"
#include "cairn/document/shared_db.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"
#include "cairn/fsm/fsm.h"

namespace cairn {

CN_LevelEntityEnemy::CN_LevelEntityEnemy() : CN_UISphereEntity(CN_KIND_ENEMY, 13) { initializeMembers(); }

CN_LevelEntityEnemy::CN_LevelEntityEnemy(const CN_LevelEntityEnemy& other)
    : CN_UISphereEntity(other), m_group(other.m_group), m_customAnimationName(other.m_customAnimationName) {
    createFSM();
    requestSphereRenderer();
}

CN_LevelEntityEnemy& CN_LevelEntityEnemy::operator=(const CN_LevelEntityEnemy& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        m_group = other.m_group;
        m_customAnimationName = other.m_customAnimationName;
        createFSM();
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityEnemy::initializeMembers() {
    setRadius(0.5);
    m_group.clear();
    m_customAnimationName = "Default";
    createFSM();
}

CN_LevelEntity* CN_LevelEntityEnemy::clone() { return new CN_LevelEntityEnemy(*this); }

void CN_LevelEntityEnemy::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_EnemyACVisitor>(visitor, *this);
}

// Older machines may lack a standard handler.
void CN_LevelEntityEnemy::loadEntitySpecificData(F_MemoryFile&) { createFSM(); }

void CN_LevelEntityEnemy::saveEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityEnemy::createFSM() {
    CN_LevelEntity::createFSM();
    for (const char* const name : {"OnDeath", "OnActivate", "OnLowHealth", "OnPlayerAttack", "OnUse"})
        m_fsm->createMessageHandler(name);
}

I_Color CN_LevelEntityEnemy::getColor() { return I_Color(0, 255, 255); }

bool CN_LevelEntityEnemy::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId); }

void CN_LevelEntityEnemy::setGroup(const istring& group) {
    changeGroupCount(m_group, -1);
    m_group = group;
    changeGroupCount(m_group, 1);
}

void CN_LevelEntityEnemy::changeGroupCount(const istring& group, int by) {
    if (!CN_Document::isAlive(m_document))
        return;
    CN_Document::GroupMap& groups = m_document->accessAICharacterGroups();
    const auto entry = groups.find(group);
    if (entry != groups.end())
        entry->second += by;
}

void CN_LevelEntityEnemy::getSkinsArray(CStringArray& names) const {
    if (const CN_SharedDB* const database = CN_SharedDB::instance())
        for (const istring& name : database->getSkins())
            names.Add(toCString(name));
}

} // namespace cairn
