#include "cairn/fsm/walkers.h"

#include "cairn/entities/level_entity.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/platform/handlers.h"

#include <fmt/format.h>

#include <algorithm>

namespace cairn {

namespace {

using Message = E_FSM::Message;

/// Calls `f` with each message that is no comment.
template <class F> void forEachLine(E_FSM& machine, F&& f) {
    machine.forEachMessage([&](Message& message) {
        if (!message.isCommentMessage())
            f(message);
    });
}

/// The entity that was read under the identity; null for none.
CN_LevelEntity* findLoaded(unsigned int identity) {
    const auto& loaded = CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap;
    const auto found = identity == 0 ? loaded.end() : loaded.find(identity);
    return found == loaded.end() ? nullptr : found->second;
}

/// Identities mean something until the end of their load only.
void forgetIdentities(Message& message) {
    message.m_targetId = 0;
    message.m_objectArgumentIds.clear();
}

void clearReferences(Message& message) {
    message.m_target = nullptr;
    std::fill(message.m_objectArguments.begin(), message.m_objectArguments.end(), nullptr);
    forgetIdentities(message);
}

/// Finds entities by their names. A message that names its target in its arguments takes one search.
class Search {
  public:
    explicit Search(const CN_LevelEntity& owner) : m_owner(owner) {}

    /// Null for no entity; `name` must stay as it is as long as the search is in use.
    CN_LevelEntity* find(const istring& name) {
        if (!m_name || view(*m_name) != view(name)) {
            m_found = m_owner.mapNameToObject(name, nullptr);
            m_name = &name;
        }
        return m_found;
    }

  private:
    const CN_LevelEntity& m_owner;
    const istring* m_name = nullptr;   ///< not owned: what was looked for last; null before the first
    CN_LevelEntity* m_found = nullptr; ///< under that name
};

/// The object argument of that index by its identity, else by its name; null where neither leads to an entity.
CN_LevelEntity* findObjectArgument(const Message& message, std::size_t index, Search& search) {
    if (CN_LevelEntity* const entity = findLoaded(message.m_objectArgumentIds[index]))
        return entity;
    const bool named = index < message.m_arguments.size() && !message.m_arguments[index].empty();
    return named ? search.find(message.m_arguments[index]) : nullptr;
}

/// Binds what a record gave by identity. Entities that are bound already stay; those that have died leave.
void bindReferences(Message& message, const CN_LevelEntity& owner) {
    Search search(owner);
    for (std::size_t i = 0; i < message.m_objectArguments.size(); ++i) {
        CN_LevelEntity*& entity = message.m_objectArguments[i];
        if (i < message.m_objectArgumentIds.size() && message.m_objectArgumentIds[i] != 0)
            entity = findObjectArgument(message, i, search);
        else if (!CN_LevelEntity::isAlive(entity))
            entity = nullptr;
    }
    if (message.m_targetId != 0 || !CN_LevelEntity::isAlive(message.m_target))
        message.m_target = findLoaded(message.m_targetId);
    forgetIdentities(message);
    if (message.m_target)
        return;
    const bool byPath = CN_FSMChangeManager::instance()->isDeSerialisingPrefab();
    const istring path = byPath ? message.getWrittenPath() : istring();
    const istring& name = byPath ? path : message.m_targetName;
    if (!name.empty()) // else the owner would be the target of every line that has none
        message.m_target = search.find(name);
}

/// The same for any message of the machine, whose entity may be null.
void bind(Message& message, const E_FSM& machine) {
    if (message.isCommentMessage())
        forgetIdentities(message);
    else if (machine.getParent())
        bindReferences(message, *machine.getParent());
}

/// Replaces every occurrence, from left to right, in one pass.
void replaceAll(istring& text, const istring& from, const istring& to) {
    std::size_t at = text.find(from);
    if (at == istring::npos)
        return;
    istring replaced;
    std::size_t begin = 0;
    for (; at != istring::npos; at = text.find(from, begin)) {
        replaced.append(text, begin, at - begin).append(to);
        begin = at + from.size();
    }
    text = replaced.append(text, begin);
}

void replaceEverywhere(Message& message, const istring& from, const istring& to) {
    replaceAll(message.m_text, from, to);
    replaceAll(message.m_targetName, from, to);
    replaceAll(message.m_targetPath, from, to);
    for (istring& argument : message.m_arguments)
        replaceAll(argument, from, to);
}

/// The group of the player has the number 0.
void numberPlayerGroup(Message& message) {
    const bool groups = message.m_name == "AI_SetTargetGroups";
    if (!groups && message.m_name != "AI_SetTarget")
        return;
    std::vector<istring>& arguments = message.m_arguments;
    if (!arguments.empty() && arguments[0] == "PLAYER_GROUP") {
        arguments[0] = "0";
        message.rewriteArguments(arguments[0]);
    }
    if (groups && arguments.size() > 1 && arguments[1] == "PLAYER_GROUP") {
        arguments[1] = "0";
        message.rewriteArguments(arguments[0] + "," + arguments[1]);
    }
}

} // namespace

void CN_FSMWalker::operator()(CN_LevelEntity* entity) {
    if (E_FSM* const machine = entity->accessFSM())
        visit(*machine);
}

void ForEach_FSMDeserializeEntityReferences::visit(E_FSM& machine) {
    machine.forEachMessage([&](Message& message) {
        if (!m_clear)
            bind(message, machine);
        else if (message.isCommentMessage())
            forgetIdentities(message);
        else
            clearReferences(message);
    });
}

void ForEach_FSMUpdateTargetNames::visit(E_FSM& machine) {
    m_writer.start(machine.getParent());
    machine.forEachMessage([this](Message& message) { m_writer.writeTarget(message); });
}

void ForEach_FSMUpdateArgumentEntityReferences::visit(E_FSM& machine) {
    m_writer.start(machine.getParent());
    forEachLine(machine, [this](Message& message) { m_writer.writeArguments(message); });
}

void ForEach_FSMUpdateLines::visit(E_FSM& machine) {
    m_writer.start(machine.getParent());
    machine.forEachMessage([this](Message& message) { m_writer.write(message); });
}

void ForEach_FSMBind::visit(E_FSM& machine) {
    m_writer.start(machine.getParent());
    machine.forEachMessage([&](Message& message) {
        bind(message, machine);
        m_writer.write(message);
    });
}

void ForEach_FSMUpdateTargetPointers::visit(E_FSM& machine) {
    forEachLine(machine, [&](Message& message) {
        if (message.m_global) {
            machine.pushObjectArguments(message);
            return;
        }
        message.m_targetPath = message.getWrittenPath();
        CN_LevelEntity* const owner = machine.getParent();
        message.m_target = owner ? owner->mapNameToObject(message.m_targetPath, nullptr) : nullptr;
        if (message.m_target)
            message.m_targetName = message.m_target->getQualifiedName();
        else
            AfxMessageBox(CString(fmt::format("Invalid FSM message target '{}'!", view(message.m_targetPath))));
    });
}

void ForEach_FSMRenameStates::visit(E_FSM& machine) {
    if (machine.getParent() == m_entity)
        machine.renameState(m_from, m_to);
    else
        machine.forEachMessage([this](Message& message) { message.renameState(m_entity, m_from, m_to); });
}

void ForEach_FSMRenameTimer::visit(E_FSM& machine) {
    if (machine.getParent() == m_entity)
        machine.renameTimer(m_from, m_to);
    else
        machine.forEachMessage([this](Message& message) { message.renameTimer(m_entity, m_from, m_to); });
}

void ForEach_FSMRenameAnimations::visit(E_FSM& machine) {
    machine.forEachMessage([this](Message& message) { message.renameAnimation(m_entity, m_from, m_to); });
}

void ForEach_FSMRenameCustomSends::visit(E_FSM& machine) {
    machine.forEachMessage([this](Message& message) { message.renameCustomSend(m_entity, m_from, m_to); });
}

void ForEach_FSMRenameExits::visit(E_FSM& machine) {
    machine.forEachMessage([this](Message& message) { message.renameExit(m_entity, m_from, m_to); });
}

void ForEach_FSMRenameMessage::visit(E_FSM& machine) {
    forEachLine(machine, [this](Message& message) {
        if (message.m_name == m_from && (!m_condition || m_condition(message)))
            message.m_name = m_to;
    });
}

void ForEach_FSMRenamePlayerDotAIToPlayer::visit(E_FSM& machine) {
    forEachLine(machine, [](Message& message) {
        replaceEverywhere(message, "player.ai", "player");
        replaceEverywhere(message, ".trigger", "");
        numberPlayerGroup(message);
    });
}

void CN_FSMDeleteWalker::visit(E_FSM& machine) {
    machine.forEachList([this](E_FSM::MessageList& messages) {
        std::erase_if(messages,
                      [this](const Message& message) { return isToBeDeleted(message) && !message.isCommentMessage(); });
    });
}

ForEach_FSMDeleteObject::ForEach_FSMDeleteObject(const std::set<const CN_LevelEntity*>& entities) {
    for (const CN_LevelEntity* const entity : entities)
        m_entities.insert(entity);
}

bool ForEach_FSMDeleteObject::isToBeDeleted(const Message& message) const {
    const auto dies = [this](const CN_LevelEntity* entity) { return m_entities.contains(entity); };
    return dies(message.m_target) ||
           std::any_of(message.m_objectArguments.begin(), message.m_objectArguments.end(), dies);
}

bool ForEach_FSMDeleteAnimationSends::isToBeDeleted(const Message& message) const {
    return FSMPred_RefersAnimation(m_entity, m_name)(message);
}

bool ForEach_FSMDeleteCustomSends::isToBeDeleted(const Message& message) const {
    return m_entity && message.m_target == m_entity && message.m_name == "FSM_Send" && !message.m_arguments.empty() &&
           message.m_arguments.front() == m_name;
}

bool ForEach_FSMDeleteExitSends::isToBeDeleted(const Message& message) const {
    if (!m_entity || message.m_target != m_entity || !CN_isAboutExit(message))
        return false;
    const istring* const name = CN_findExitName(message);
    return m_name.empty() || (name && *name == m_name);
}

void ForEach_FSMAnimationReferred::visit(E_FSM& machine) {
    const FSMPred_RefersAnimation refers(m_entity, m_name);
    machine.forEachMessage([&](const Message& message) { m_found |= refers(message); });
}

void ForEach_FSMObjectReferenced::visit(E_FSM& machine) {
    FSMPred_ObjectReferenced referenced(m_entity);
    machine.forEachMessage([&](const Message& message) { referenced(message); });
    m_found |= referenced.m_found;
}

void ForEach_FSMNonlocalNameReference::visit(E_FSM& machine) {
    FSMPred_NonlocalNameReference reference(m_entity, &machine);
    machine.forEachMessage([&](const Message& message) { reference(message); });
    m_found |= reference.m_found;
}

void ForEach_FSMIsLocal::visit(E_FSM& machine) {
    FSMPred_IsLocal local(m_entity);
    machine.forEachMessage([&](const Message& message) { local(message); });
    m_local &= local.m_local;
}

void ForEach_FSMReferencesWaypoint::visit(E_FSM& machine) {
    forEachLine(machine, [this](const Message& message) {
        for (CN_LevelEntity* const entity : message.m_objectArguments)
            if (CN_LevelEntity::isAlive(entity) && entity->getEntityId() == CN_KIND_WAYPOINT)
                m_waypoints.insert(entity);
    });
}

} // namespace cairn
