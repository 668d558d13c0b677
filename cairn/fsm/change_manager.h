#pragma once

#include "cairn/document/host_interfaces.h"

#include <unordered_map>

namespace cairn {

class CN_LevelEntity;
class CN_PreIterator;
class CN_Selection;
class CN_SelectionIterator;

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
    /// @name Binding
    /// Turns the stored identities in machines into entities and brings their lines up to date; with `clear` empties all
    /// references of theirs instead, as copies of entities need it. Of the entity and all below it, of the entities of a
    /// walk, or of those of a selection. References that are bound already stay. After a paste the host must empty
    /// `g_mapLevelEntityDeSerialisationMap` before the next one: there the first entity of an identity stays.
    /// Neither the entity nor the selection is null.
    /// @{
    void deserializeFSMs(CN_LevelEntity* root, bool clear);
    void deserializeFSMs(CN_PreIterator& walk, bool clear);
    void deserializeFSMs(CN_SelectionIterator& walk, bool clear);
    void deserializeFSMs(CN_Selection* selection, bool clear);
    /// @}

    /// For hosts, around the reading of a prefab from another document: stored names mean that document's entities then,
    /// and lines are bound by the paths that they show.
    /// @{
    void startPrefabDeSerialisation() { m_deSerialisingPrefab = true; }
    void stopPrefabDeSerialisation() { m_deSerialisingPrefab = false; }
    bool isDeSerialisingPrefab() const { return m_deSerialisingPrefab; }
    /// @}

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
    bool m_deSerialisingPrefab = false;
    CN_Document* m_document = nullptr; ///< not owned
};

} // namespace cairn
