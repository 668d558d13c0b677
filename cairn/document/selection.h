#pragma once

#include "cairn/entities/entity_iterator.h"

#include <list>
#include <map>
#include <set>

namespace cairn {

class CN_Document;
class CN_ForEach;
class CN_LevelEntity;
class CN_SelectionIterator;
class CN_ConstSelectionIterator;
class F_MemoryFile;

/// Version of the chunk that holds the selection.
inline constexpr int CAIRN_SELECTION_VERSION = 1;

/// Learns of changes of the selection, when the host says so.
class CN_SelectionObserver {
  public:
    virtual ~CN_SelectionObserver() = default;
    /// `cause` is the observer that brought the change about, or null.
    virtual void selectionChanged(CN_SelectionObserver* cause) = 0;
};

/// The selected entities of a document, in a list where a selected parent stands ahead of the children that were
/// selected after it.
///
/// An entity that dies stays in the selection, as a pointer that must not be followed: hosts remove it first.
class CN_Selection {
  public:
    using List = std::list<CN_LevelEntity*>;

    CN_Selection() = default;
    CN_Selection(const CN_Selection& other);
    CN_Selection& operator=(const CN_Selection& other);

    /// Selects the entity: behind its nearest selected ancestor, else ahead of all. Nothing for null and for one that
    /// is selected. A prefab brings its content (`CN_LevelEntityPrefab::addContentToSelection`), which stands behind it.
    void add(CN_LevelEntity* entity);
    /// Deselects the entity, and with a prefab its content. Nothing happens for an entity that is not selected.
    void remove(CN_LevelEntity* entity);
    /// Deselects all; the observers stay.
    void clear();
    /// `add` or `remove` for every descendant of `entity` in pre-order, the entity itself left out.
    void addSubTrees(bool add, CN_LevelEntity* entity);

    /// False for null.
    bool isInSelection(const CN_LevelEntity* entity) const;
    int getCount() const { return static_cast<int>(m_selected.size()); }

    /// Walks over the selected entities, valid until the selection changes.
    CN_SelectionIterator createIterator();
    CN_ConstSelectionIterator createConstIterator() const;
    /// Calls the functor on each selected entity, in order.
    void forEachSelected(CN_ForEach* forEach);

    /// Registers an observer, not owned, for as long as the selection lives; null is ignored.
    void registerObserver(CN_SelectionObserver* observer);
    /// Tells every observer in the order of registration; `cause` may be null.
    void notifyObservers(CN_SelectionObserver* cause);

    /// The children of selected entities that are not selected and stand for no part of a mesh, in the order of the
    /// selection; `list` is emptied first.
    void getListOfNonSelectedChildren(List& list) const;
    /// True if every selected entity lies in a room that is selected itself; so for an empty selection.
    bool areAllSelectedParantedToSelectedRoom() const;

    /// Writes the selection as numbers of entities in the document's tree.
    void save(F_MemoryFile& file, CN_Document* document) const;
    /// Replaces the selection by the stored one, in any of its forms. Throws on damage; the selection is empty then.
    void load(F_MemoryFile& file, CN_Document* document);

  private:
    void buildIndex();
    bool takeContent(bool add, CN_LevelEntity* entity);

    std::list<CN_SelectionObserver*> m_observers;            ///< not owned
    List m_selected;                                         ///< not owned
    std::map<const CN_LevelEntity*, List::iterator> m_index; ///< the place of each selected entity
    std::set<const CN_LevelEntity*> m_takingContent;         ///< prefabs whose content is being added or removed
};

/// Walks over the selected entities.
class CN_SelectionIterator : public CN_EntityIterator {
  public:
    explicit CN_SelectionIterator(CN_Selection::List& list) : m_list(&list), m_at(list.end()) {}

    void begin() override;
    bool end() override { return m_at == m_list->end(); }
    CN_SelectionIterator& operator++() override;
    /// The entity at the place, null at the end.
    CN_LevelEntity* operator*() override;
    CN_LevelEntity* operator->() override { return **this; }
    bool operator!=(const CN_EntityIterator& other) const override;
    /// The place past the last entity.
    CN_SelectionIterator getEnd() const;

  private:
    CN_Selection::List* m_list;        ///< not owned: of the selection
    CN_Selection::List::iterator m_at; ///< the end before `begin`
};

/// The const twin of `CN_SelectionIterator`.
class CN_ConstSelectionIterator : public CN_ConstEntityIterator {
  public:
    explicit CN_ConstSelectionIterator(const CN_Selection::List& list) : m_list(&list), m_at(list.end()) {}

    void begin() override;
    bool end() override { return m_at == m_list->end(); }
    CN_ConstSelectionIterator& operator++() override;
    const CN_LevelEntity* operator*() override;
    const CN_LevelEntity* operator->() override { return **this; }
    bool operator!=(const CN_ConstEntityIterator& other) const override;
    CN_ConstSelectionIterator getEnd() const;

  private:
    const CN_Selection::List* m_list;        ///< not owned: of the selection
    CN_Selection::List::const_iterator m_at; ///< the end before `begin`
};

} // namespace cairn
