#pragma once

#include "cairn/containers/pointer_set.h"
#include "cairn/entities/for_each.h"
#include "cairn/fsm/line_writer.h"
#include "cairn/fsm/message_tests.h"

#include <functional>
#include <set>

/// Work on the state machines of a tree, for `CN_LevelEntity::forEachEntity`. Entities without a machine are passed over.
/// Messages come by handler in the order of names, in each before, after, then the states; comments are passed over.
/// All cost time linear in the messages.
namespace cairn {

/// The base of the walkers: calls `visit` with each machine.
class CN_FSMWalker : public CN_ForEach {
  public:
    void operator()(CN_LevelEntity* entity) override;

  protected:
    virtual void visit(E_FSM& machine) = 0;
};

/// @name Keeping references
/// @{

/// Turns the identities that a record gave into entities: by `CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap`, else
/// by names. With `clear` empties all references instead.
class ForEach_FSMDeserializeEntityReferences : public CN_FSMWalker {
  public:
    explicit ForEach_FSMDeserializeEntityReferences(bool clear) : m_clear(clear) {}

  protected:
    void visit(E_FSM& machine) override;

  private:
    bool m_clear;
};

/// `E_FSM::Message::updateTargetName` for every message.
class ForEach_FSMUpdateTargetNames : public CN_FSMWalker {
  protected:
    void visit(E_FSM& machine) override;

  private:
    CN_FSMLineWriter m_writer;
};

/// Gives the arguments that name entities these entities' present names, and rebuilds the lines of such messages.
class ForEach_FSMUpdateArgumentEntityReferences : public CN_FSMWalker {
  protected:
    void visit(E_FSM& machine) override;

  private:
    CN_FSMLineWriter m_writer;
};

/// What `ForEach_FSMUpdateTargetNames` and behind it `ForEach_FSMUpdateArgumentEntityReferences` do, in one walk.
class ForEach_FSMUpdateLines : public CN_FSMWalker {
  protected:
    void visit(E_FSM& machine) override;

  private:
    CN_FSMLineWriter m_writer;
};

/// What `ForEach_FSMDeserializeEntityReferences` without `clear` and behind it `ForEach_FSMUpdateLines` do, in one walk.
class ForEach_FSMBind : public CN_FSMWalker {
  protected:
    void visit(E_FSM& machine) override;

  private:
    CN_FSMLineWriter m_writer;
};

/// Finds the targets that the lines name, and the object arguments of global messages. A target that is not there is told in a
/// message box.
class ForEach_FSMUpdateTargetPointers : public CN_FSMWalker {
  protected:
    void visit(E_FSM& machine) override;
};

/// Has no effect.
class ForEach_FSMProcessInvalidSends : public CN_FSMWalker {
  protected:
    void visit(E_FSM&) override {}
};
/// @}

/// @name Renames
/// What `entity` has was renamed: the messages to it follow.
/// @{

/// The base of the rename walkers.
class CN_FSMRenameWalker : public CN_FSMWalker {
  public:
    CN_FSMRenameWalker(const CN_LevelEntity* entity, const istring& from, const istring& to)
        : m_entity(entity), m_from(from), m_to(to) {}

  protected:
    const CN_LevelEntity* m_entity; ///< not owned
    istring m_from, m_to;
};

/// On the entity's own machine: `renameState`.
class ForEach_FSMRenameStates : public CN_FSMRenameWalker {
  public:
    using CN_FSMRenameWalker::CN_FSMRenameWalker;

  protected:
    void visit(E_FSM& machine) override;
};

/// On the entity's own machine: `renameTimer`.
class ForEach_FSMRenameTimer : public CN_FSMRenameWalker {
  public:
    using CN_FSMRenameWalker::CN_FSMRenameWalker;

  protected:
    void visit(E_FSM& machine) override;
};

/// In messages to the entity that name an animation: another name for it.
class ForEach_FSMRenameAnimations : public CN_FSMRenameWalker {
  public:
    using CN_FSMRenameWalker::CN_FSMRenameWalker;

  protected:
    void visit(E_FSM& machine) override;
};

/// In messages to the entity that send a custom event: another name for it.
class ForEach_FSMRenameCustomSends : public CN_FSMRenameWalker {
  public:
    using CN_FSMRenameWalker::CN_FSMRenameWalker;

  protected:
    void visit(E_FSM& machine) override;
};

/// In messages to the entity that name an exit: another name for it.
class ForEach_FSMRenameExits : public CN_FSMRenameWalker {
  public:
    using CN_FSMRenameWalker::CN_FSMRenameWalker;

  protected:
    void visit(E_FSM& machine) override;
};

/// Gives messages another name, whatever their target; the lines stay.
class ForEach_FSMRenameMessage : public CN_FSMWalker {
  public:
    /// May change the message, also where it says no.
    using Condition = std::function<bool(E_FSM::Message&)>;

    /// Only messages for which the condition, unless it is null, is true. It is asked about messages named `from` alone.
    ForEach_FSMRenameMessage(const istring& from, const istring& to, Condition condition)
        : m_from(from), m_to(to), m_condition(std::move(condition)) {}

  protected:
    void visit(E_FSM& machine) override;

  private:
    istring m_from, m_to;
    Condition m_condition; ///< null for none
};

/// Replaces words of older files: "player.ai" by "player", ".trigger" by nothing, and the group "PLAYER_GROUP" in the
/// arguments of "AI_SetTarget" and "AI_SetTargetGroups" by "0". One pass: what is left may be such a word again.
class ForEach_FSMRenamePlayerDotAIToPlayer : public CN_FSMWalker {
  protected:
    void visit(E_FSM& machine) override;
};
/// @}

/// @name Deletions
/// The messages that are left keep their order.
/// @{

/// The base of the delete walkers.
class CN_FSMDeleteWalker : public CN_FSMWalker {
  protected:
    void visit(E_FSM& machine) override;
    virtual bool isToBeDeleted(const E_FSM::Message& message) const = 0;
};

/// Messages that have an entity for their target or an object argument: for entities that are about to be deleted.
class ForEach_FSMDeleteObject : public CN_FSMDeleteWalker {
  public:
    explicit ForEach_FSMDeleteObject(const CN_LevelEntity* entity) { m_entities.insert(entity); }
    /// The same for many entities in one walk.
    explicit ForEach_FSMDeleteObject(const std::set<const CN_LevelEntity*>& entities);

  protected:
    bool isToBeDeleted(const E_FSM::Message& message) const override;

  private:
    F_PointerSet<CN_LevelEntity> m_entities; ///< not owned
};

/// The base of the delete walkers for messages to an entity that name something of it.
class CN_FSMDeleteNamedWalker : public CN_FSMDeleteWalker {
  public:
    CN_FSMDeleteNamedWalker(const CN_LevelEntity* entity, const istring& name) : m_entity(entity), m_name(name) {}

  protected:
    const CN_LevelEntity* m_entity; ///< not owned
    istring m_name;
};

/// Messages to the entity that name the animation.
class ForEach_FSMDeleteAnimationSends : public CN_FSMDeleteNamedWalker {
  public:
    using CN_FSMDeleteNamedWalker::CN_FSMDeleteNamedWalker;

  protected:
    bool isToBeDeleted(const E_FSM::Message& message) const override;
};

/// Messages to the entity that send the custom event.
class ForEach_FSMDeleteCustomSends : public CN_FSMDeleteNamedWalker {
  public:
    using CN_FSMDeleteNamedWalker::CN_FSMDeleteNamedWalker;

  protected:
    bool isToBeDeleted(const E_FSM::Message& message) const override;
};

/// Messages to the entity that name the exit; an empty name stands for all exits.
class ForEach_FSMDeleteExitSends : public CN_FSMDeleteNamedWalker {
  public:
    using CN_FSMDeleteNamedWalker::CN_FSMDeleteNamedWalker;

  protected:
    bool isToBeDeleted(const E_FSM::Message& message) const override;
};
/// @}

/// @name Queries
/// Each sets its flag where it finds what it is for.
/// @{

/// The base of the query walkers for messages to an entity that name something of it.
class CN_FSMNamedQuery : public CN_FSMWalker {
  public:
    CN_FSMNamedQuery(const CN_LevelEntity* entity, const istring& name) : m_entity(entity), m_name(name) {}

    bool m_found = false;

  protected:
    const CN_LevelEntity* m_entity; ///< not owned
    istring m_name;
};

/// Whether a message names the state of the entity.
class ForEach_FSMStateReferred : public CN_FSMNamedQuery {
  public:
    using CN_FSMNamedQuery::CN_FSMNamedQuery;

  protected:
    void visit(E_FSM& machine) override { m_found |= machine.referencesToState(m_entity, m_name); }
};

/// Whether a message sends the custom event to the entity.
class ForEach_FSMCustomReferred : public CN_FSMNamedQuery {
  public:
    using CN_FSMNamedQuery::CN_FSMNamedQuery;

  protected:
    void visit(E_FSM& machine) override { m_found |= machine.referencesToCustom(m_entity, m_name); }
};

/// Whether a message names the timer of the entity.
class ForEach_FSMTimerReferred : public CN_FSMNamedQuery {
  public:
    using CN_FSMNamedQuery::CN_FSMNamedQuery;

  protected:
    void visit(E_FSM& machine) override { m_found |= machine.referencesToTimer(m_entity, m_name); }
};

/// Whether a message names the animation of the entity.
class ForEach_FSMAnimationReferred : public CN_FSMNamedQuery {
  public:
    using CN_FSMNamedQuery::CN_FSMNamedQuery;

  protected:
    void visit(E_FSM& machine) override;
};

/// Whether a message has the entity for its target or an object argument.
class ForEach_FSMObjectReferenced : public CN_FSMWalker {
  public:
    explicit ForEach_FSMObjectReferenced(const CN_LevelEntity* entity) : m_entity(entity) {}

    bool m_found = false;

  protected:
    void visit(E_FSM& machine) override;

  private:
    const CN_LevelEntity* m_entity; ///< not owned
};

/// See `FSMPred_NonlocalNameReference`.
class ForEach_FSMNonlocalNameReference : public CN_FSMWalker {
  public:
    explicit ForEach_FSMNonlocalNameReference(const CN_LevelEntity* entity) : m_entity(entity) {}

    bool m_found = false;

  protected:
    void visit(E_FSM& machine) override;

  private:
    const CN_LevelEntity* m_entity; ///< not owned
};

/// Clears its flag where a message leaves the entity's subtree: see `FSMPred_IsLocal`.
class ForEach_FSMIsLocal : public CN_FSMWalker {
  public:
    explicit ForEach_FSMIsLocal(const CN_LevelEntity* entity) : m_entity(entity) {}

    bool m_local = true;

  protected:
    void visit(E_FSM& machine) override;

  private:
    const CN_LevelEntity* m_entity; ///< not owned
};

/// Gathers the waypoints among the object arguments.
class ForEach_FSMReferencesWaypoint : public CN_FSMWalker {
  public:
    /// `waypoints` must outlive this.
    explicit ForEach_FSMReferencesWaypoint(std::set<CN_LevelEntity*>& waypoints) : m_waypoints(waypoints) {}

  protected:
    void visit(E_FSM& machine) override;

  private:
    std::set<CN_LevelEntity*>& m_waypoints; ///< of the caller
};
/// @}

} // namespace cairn
