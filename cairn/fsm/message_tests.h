#pragma once

#include "cairn/fsm/fsm.h"

#include <set>
#include <vector>

/// Questions about single messages. Those that gather over many messages keep what they found in a public member. A comment
/// never passes.
namespace cairn {

/// True for a message that opens or closes an exit, comment or not.
bool CN_isAboutExit(const E_FSM::Message& message);
/// The name of the exit that such a message is about; null for one that names none, and for others. Valid as long as the
/// message's arguments are.
const istring* CN_findExitName(const E_FSM::Message& message);

/// Accepts a message that plays the animation of the entity.
class FSMPred_RefersAnimation {
  public:
    FSMPred_RefersAnimation(const CN_LevelEntity* entity, const istring& name) : m_entity(entity), m_name(name) {}
    bool operator()(const E_FSM::Message& message) const;

  private:
    const CN_LevelEntity* m_entity; ///< not owned
    istring m_name;
};

/// Finds a message that has the entity for its target or an object argument.
class FSMPred_ObjectReferenced {
  public:
    explicit FSMPred_ObjectReferenced(const CN_LevelEntity* entity) : m_entity(entity) {}
    bool operator()(const E_FSM::Message& message);

    bool m_found = false;

  private:
    const CN_LevelEntity* m_entity; ///< not owned
};

/// Finds a message to the entity whose line names it by its name, and not as "this" or "parent". A line in which the entity
/// cannot be found is told in a message box.
class FSMPred_NonlocalNameReference {
  public:
    FSMPred_NonlocalNameReference(const CN_LevelEntity* entity, const E_FSM* fsm) : m_entity(entity), m_fsm(fsm) {}
    bool operator()(const E_FSM::Message& message);

    bool m_found = false;

  private:
    const CN_LevelEntity* m_entity; ///< not owned
    const E_FSM* m_fsm;             ///< not owned: holds the messages
};

/// Finds a message that leaves the entity's subtree by a relative path: then the flag is cleared. A message without a target
/// leaves it unless it is absolute.
class FSMPred_IsLocal {
  public:
    explicit FSMPred_IsLocal(const CN_LevelEntity* entity) : m_entity(entity) {}
    bool operator()(const E_FSM::Message& message);

    bool m_local = true;

  private:
    const CN_LevelEntity* m_entity; ///< not owned
};

/// Finds a message to the entity of that name and with exactly these arguments.
class FSMPred_SendsTo {
  public:
    FSMPred_SendsTo(const CN_LevelEntity* entity, const istring& name, const std::vector<istring>& arguments)
        : m_entity(entity), m_name(name), m_arguments(arguments) {}
    bool operator()(const E_FSM::Message& message);

    bool m_found = false;

  private:
    const CN_LevelEntity* m_entity; ///< not owned
    istring m_name;
    std::vector<istring> m_arguments;
};

/// Gathers the prefabs that messages have for their targets and object arguments.
class FSMPred_PrefabReferenced {
  public:
    /// `prefabs` must outlive this.
    explicit FSMPred_PrefabReferenced(std::set<const CN_LevelEntity*>& prefabs) : m_prefabs(prefabs) {}
    void operator()(const E_FSM::Message& message);

  private:
    std::set<const CN_LevelEntity*>& m_prefabs; ///< of the caller
};

} // namespace cairn
