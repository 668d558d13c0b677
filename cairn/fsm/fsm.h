#pragma once

#include "cairn/foundation/memory_file.h"

#include <set>

namespace cairn {

class CN_LevelEntity;

/// The state machine of an entity: it is edited, stored and exported for the game, and never run here. Of a machine
/// this version keeps the names of its message handlers.
class E_FSM {
  public:
    /// Version of the machine's chunk; 0 was written without one.
    static constexpr int VERSION = 1;

    /// A machine of `parent` with the one handler "Startup". The flags say what a user may add; a load sets both.
    E_FSM(CN_LevelEntity* parent, bool userCanAddStates, bool userCanAddCustomStrings);

    /// Makes another entity the machine's owner and does nothing else.
    void reParentTo(CN_LevelEntity* parent) { m_parent = parent; }
    CN_LevelEntity* getParent() { return m_parent; }
    const CN_LevelEntity* getParent() const { return m_parent; }
    bool isLocal() const { return true; }
    bool userCanAddStates() const { return m_userCanAddStates; }
    bool userCanAddCustomStrings() const { return m_userCanAddCustomStrings; }

    int getMessageHandlerCount() const { return static_cast<int>(m_handlers.size()); }
    bool hasMessageHandler(const istring& name) const { return m_handlers.count(name) > 0; }
    /// The names of all handlers.
    const std::set<istring>& getMessageHandlers() const { return m_handlers; }
    /// Adds an empty handler; one of that name, without regard to case, stays as it is.
    void createMessageHandler(const istring& name) { m_handlers.insert(name); }
    /// Adds the handlers that every dynamic mesh has.
    void createDynamicMeshHandlers();
    /// Erases the handler, if there is one.
    void deleteMessageHandler(const istring& name) { m_handlers.erase(name); }

    void save(F_MemoryFile& file) const;
    /// Replaces the machine by the stored one, whether in a chunk or, as older files have it, without. Throws where it
    /// holds messages, states, custom events or timers.
    void load(F_MemoryFile& file);

  private:
    CN_LevelEntity* m_parent;       ///< not owned: the entity that owns the machine
    std::set<istring> m_handlers;   ///< names; none holds messages
    bool m_userCanAddStates;        ///< true once loaded
    bool m_userCanAddCustomStrings; ///< true once loaded
};

} // namespace cairn
