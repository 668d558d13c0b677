#include "cairn/entities/enemy.h"

#include "cairn/document/document.h"
#include "cairn/document/shared_db.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/record_parts.h"
#include "cairn/entities/visitors.h"
#include "cairn/fsm/fsm.h"

#include <charconv>
#include <climits>
#include <string>

namespace cairn {

namespace {

/// A handler of enemies that went out of use.
constexpr const char* FORMER_HANDLER = "OnSpecial";

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The group that a name tells: of the last "_g" ahead of a digit, in either case, the number behind it, which for 0 is
/// the player's group. Empty where the name tells none.
istring groupInName(std::string_view name) {
    for (std::size_t at = name.size() < 3 ? 0 : name.size() - 2; at-- > 0;) {
        if (name[at] != '_' || (name[at + 1] != 'g' && name[at + 1] != 'G') || !isDigit(name[at + 2]))
            continue;
        int number = 0;
        const auto parsed = std::from_chars(name.data() + at + 2, name.data() + name.size(), number);
        if (parsed.ec == std::errc::result_out_of_range)
            number = INT_MAX;
        return number == 0 ? istring("PLAYER_GROUP") : toIString(std::to_string(number));
    }
    return {};
}

} // namespace

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

// The record of the sphere, then a chunk.
//   2: the name of the animation
//   1: the group
//   none: the name of the entity tells the group
// Levels of this library's first versions have neither.

void CN_LevelEntityEnemy::saveEntitySpecificData(F_MemoryFile& file) {
    CN_UISphereEntity::saveEntitySpecificData(file);
    file.createChunk(0, CAIRN_LVL_ENTITY_ENEMY_VERSION);
    file << m_group;
    file << m_customAnimationName;
    file.closeChunk();
}

void CN_LevelEntityEnemy::loadEntitySpecificData(F_MemoryFile& file) {
    if (file.beginsLikeChunk())
        CN_UISphereEntity::loadEntitySpecificData(file);
    createFSM(); // older machines may lack a standard handler
    m_fsm->deleteMessageHandler(FORMER_HANDLER);
    loadGroupAndAnimation(file);
    CN_enterCharacterGroup(m_document, m_group);
}

void CN_LevelEntityEnemy::loadGroupAndAnimation(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    if (!chunk.isValid()) {
        if (m_group.empty())
            m_group = groupInName(m_name.view());
        return;
    }
    chunk.getMemoryFile() >> m_group;
    if (chunk.getVersion() > 1)
        m_customAnimationName = CN_readUseAnimName(chunk.getMemoryFile());
    file.skipChunk();
}

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
