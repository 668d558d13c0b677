#include "cairn/fsm/change_manager.h"

#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"

namespace cairn {

CN_FSMChangeManager* CN_FSMChangeManager::instance() {
    static CN_FSMChangeManager manager;
    return &manager;
}

void CN_FSMChangeManager::setNameHasChanged() { instance()->m_nameHasChanged = true; }

void CN_FSMChangeManager::setHierarchyHasChanged() { instance()->m_hierarchyHasChanged = true; }

void CN_FSMChangeManager::updateMessages() {
    if (!CN_Document::isAlive(m_document) || !(m_nameHasChanged || m_hierarchyHasChanged))
        return;
    CN_LevelEntity* const level = m_document->accessLevel();
    if (level && m_hierarchyHasChanged) {
        CN_PreIterator it = level->createIterator();
        for (it.begin(); !it.end(); ++it)
            (*it)->generateQualifiedName();
    }
    m_nameHasChanged = m_hierarchyHasChanged = false;
}

// State machines hold no messages, and so no stored identities.
void CN_FSMChangeManager::deserializeFSMs(CN_LevelEntity*, bool) {}

void CN_FSMChangeManager::forgetDocument(const CN_Document* document) {
    if (m_document == document)
        m_document = nullptr;
}

void CN_FSMChangeManager::documentChangedNotification(MFC_CairnDoc*, CN_Document* document, CN_DocObserver*) {
    m_document = document;
}

void CN_FSMChangeManager::documentUpdatedNotification(CN_DocObserver*) { updateMessages(); }

} // namespace cairn
