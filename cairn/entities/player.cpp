#include "cairn/entities/player.h"

#include "cairn/entities/visitors.h"
#include "cairn/fsm/fsm.h"

namespace cairn {

CN_LevelEntityPlayer::CN_LevelEntityPlayer() : CN_LevelEntity(CN_KIND_PLAYER, 13) { initializeMembers(); }

CN_LevelEntityPlayer::CN_LevelEntityPlayer(const CN_LevelEntityPlayer& other) : CN_LevelEntity(other) {
    initializeMembers();
}

CN_LevelEntityPlayer& CN_LevelEntityPlayer::operator=(const CN_LevelEntityPlayer& other) {
    if (this != &other) {
        CN_LevelEntity::operator=(other);
        initializeMembers();
    }
    return *this;
}

CN_LevelEntity* CN_LevelEntityPlayer::clone() { return new CN_LevelEntityPlayer(*this); }

void CN_LevelEntityPlayer::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_PlayerACVisitor>(visitor, *this);
}

// Older machines may lack a standard handler; older records may say that the player is hidden.
void CN_LevelEntityPlayer::loadEntitySpecificData(F_MemoryFile&) {
    m_generalProperties.setVisible(true);
    createFSM();
}

void CN_LevelEntityPlayer::saveEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityPlayer::initializeMembers() {
    m_generalProperties.setVisible(true);
    m_group = "PLAYER_GROUP";
    createFSM();
}

void CN_LevelEntityPlayer::setVisible(bool) {}

void CN_LevelEntityPlayer::setGroup(const istring&) {}

void CN_LevelEntityPlayer::createFSM() {
    CN_LevelEntity::createFSM();
    for (const char* const name : {"OnDeath", "OnActivate", "OnLowHealth"})
        m_fsm->createMessageHandler(name);
}

I_Color CN_LevelEntityPlayer::getColor() { return I_Color(0, 255, 255); }

bool CN_LevelEntityPlayer::onCanAdd(int) { return false; }

} // namespace cairn
