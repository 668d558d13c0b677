#pragma once

#include "cairn/document/host_interfaces.h"

#include <unordered_map>

namespace cairn {

class CN_LevelEntity;

/// Keeps the messages of state machines in step with renames, moves and loads.
class CN_FSMChangeManager : public CN_DocObserver {
  public:
    static CN_FSMChangeManager* instance();

    /// A name changed since the last update. Static, so that it can be called without the object at hand.
    static void setNameHasChanged();
    /// The tree changed since the last update.
    static void setHierarchyHasChanged();
    /// Brings qualified names (and the messages that show them) up to date in the document in use, where a name or the
    /// tree changed since the last call.
    void updateMessages();
    /// Turns the stored identities in the subtree's state machines into entities, or empties them with `clear`.
    void deserializeFSMs(CN_LevelEntity* root, bool clear);
    /// A document that dies is no longer the one in use.
    void forgetDocument(const CN_Document* document);
    /// The document that `documentChangedNotification` named last, or null.
    CN_Document* getDocument() const { return m_document; }

    void documentChangedNotification(MFC_CairnDoc* hostDocument, CN_Document* document, CN_DocObserver* cause) override;
    void documentUpdatedNotification(CN_DocObserver* cause) override;

    /// From the identity that an entity wrote for itself to the entity made for it now; filled while a tree is read,
    /// empty outside a load.
    static std::unordered_map<unsigned int, CN_LevelEntity*> g_mapLevelEntityDeSerialisationMap;

  private:
    bool m_nameHasChanged = false;
    bool m_hierarchyHasChanged = false;
    CN_Document* m_document = nullptr; ///< not owned
};

} // namespace cairn
