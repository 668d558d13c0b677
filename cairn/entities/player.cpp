#include "cairn/entities/player.h"

#include "cairn/entities/record_parts.h"
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

// Version 1: the group, always the same whatever is stored. Levels of this library's first versions have no chunk.

void CN_LevelEntityPlayer::saveEntitySpecificData(F_MemoryFile& file) {
    file.createChunk(0, CAIRN_LVL_ENTITY_PLAYER_VERSION);
    file << m_group;
    file.closeChunk();
}

void CN_LevelEntityPlayer::loadEntitySpecificData(F_MemoryFile& file) {
    m_generalProperties.setVisible(true); // older records may say that the player is hidden
    createFSM();                          // older machines may lack a standard handler
    if (file.beginsLikeChunk()) {
        F_MemoryFile::Chunk chunk;
        file.openChunk(chunk, 0);
        if (chunk.getVersion() <= CAIRN_LVL_ENTITY_PLAYER_VERSION)
            chunk.getMemoryFile().dropRest();
        file.skipChunk();
    }
    CN_enterCharacterGroup(m_document, m_group);
}

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
