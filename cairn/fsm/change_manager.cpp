#include "cairn/fsm/change_manager.h"

#include "cairn/document/document.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/fsm/walkers.h"

namespace cairn {

namespace {

/// Binds or clears the machines that `run` takes a walker along.
template <class Run> void bind(Run&& run, bool clear) {
    if (clear) {
        ForEach_FSMDeserializeEntityReferences references(true);
        run(references);
    } else {
        ForEach_FSMBind references;
        run(references);
    }
}

template <class Iterator> void runAlong(Iterator& walk, CN_ForEach& walker) {
    for (walk.begin(); !walk.end(); ++walk)
        walker(*walk);
}

} // namespace

CN_FSMChangeManager* CN_FSMChangeManager::instance() {
    static CN_FSMChangeManager manager;
    return &manager;
}

void CN_FSMChangeManager::setNameHasChanged() { instance()->m_nameHasChanged = true; }

void CN_FSMChangeManager::setHierarchyHasChanged() { instance()->m_hierarchyHasChanged = true; }

void CN_FSMChangeManager::updateMessages() {
    if (!CN_Document::isAlive(m_document) || !(m_nameHasChanged || m_hierarchyHasChanged))
        return;
    if (CN_LevelEntity* const level = m_document->accessLevel()) {
        if (m_hierarchyHasChanged) {
            CN_PreIterator it = level->createIterator();
            for (it.begin(); !it.end(); ++it)
                (*it)->generateQualifiedName();
        }
        ForEach_FSMUpdateLines lines;
        level->forEachEntity(&lines);
    }
    m_nameHasChanged = m_hierarchyHasChanged = false;
}

void CN_FSMChangeManager::deserializeFSMs(CN_LevelEntity* root, bool clear) {
    bind([root](CN_ForEach& walker) { root->forEachEntity(&walker); }, clear);
}

void CN_FSMChangeManager::deserializeFSMs(CN_PreIterator& walk, bool clear) {
    bind([&walk](CN_ForEach& walker) { runAlong(walk, walker); }, clear);
}

void CN_FSMChangeManager::deserializeFSMs(CN_SelectionIterator& walk, bool clear) {
    bind([&walk](CN_ForEach& walker) { runAlong(walk, walker); }, clear);
}

void CN_FSMChangeManager::deserializeFSMs(CN_Selection* selection, bool clear) {
    CN_SelectionIterator walk = selection->createIterator();
    deserializeFSMs(walk, clear);
}

void CN_FSMChangeManager::forgetDocument(const CN_Document* document) {
    if (m_document == document)
        m_document = nullptr;
}

void CN_FSMChangeManager::documentChangedNotification(MFC_CairnDoc*, CN_Document* document, CN_DocObserver*) {
    m_document = document;
}

void CN_FSMChangeManager::documentUpdatedNotification(CN_DocObserver*) { updateMessages(); }

} // namespace cairn
