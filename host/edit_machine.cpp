#include "cairn/fsm/fsm.h"
#include "cairn/fsm/walkers.h"
#include "host/editor.h"
#include "host/entity_text.h"
#include "host/script_line.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>

namespace cairn::host {

namespace {

using Words = std::span<const std::string>;

/// A name of a state or handler as it may stand in a line.
void checkName(const std::string& name, bool parentheses) {
    const auto isOdd = [parentheses](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == '"' || (!parentheses && (c == '(' || c == ')' || c == ','));
    };
    if (name.empty() || std::any_of(name.begin(), name.end(), isOdd))
        throw EditRefusal(fmt::format("\"{}\" is no name", toShownText(name)));
}

/// True for the kinds that may get a machine: a mesh has one only while it is dynamic or a trigger.
bool mayGetMachine(const CN_LevelEntity& entity) {
    switch (entity.getEntityId()) {
    case CN_KIND_PREFAB:
    case CN_KIND_FSM:
    case CN_KIND_TRIGGER:
    case CN_KIND_WAYPOINT:
    case CN_KIND_JUMPPOINT:
    case CN_KIND_ITEM:
    case CN_KIND_ENEMY:
    case CN_KIND_DYN_POINTLIGHT:
    case CN_KIND_PLAYER:
    case CN_KIND_AI_NODE:
        return true;
    default:
        return false;
    }
}

/// The machine of the entity, made where it has none and may have one.
E_FSM& accessMachine(CN_LevelEntity& entity) {
    if (!entity.hasFSM() && mayGetMachine(entity))
        entity.createFSM();
    if (!entity.hasFSM())
        throw EditRefusal(fmt::format("\"{}\" has no state machine", toShownText(qualifiedName(entity))));
    return *entity.accessFSM();
}

/// True for a handler of an animation, whose states are keyframe events.
bool hasKeyframeEvents(const istring& handler) { return handler.starts_with("Animation("); }

E_FSM::MessageList& accessList(E_FSM& machine, const std::string& handlerName, const std::string& list) {
    static constexpr std::string_view STATE = "state:";
    const istring name = toIString(handlerName);
    E_FSM::MessageHandler* const handler = machine.accessMessageHandler(name);
    if (!handler)
        throw EditRefusal(fmt::format("there is no handler \"{}\"", toShownText(handlerName)));
    if (list == "before")
        return handler->m_sendBefore;
    if (list == "after")
        return handler->m_sendAfter;
    if (!list.starts_with(STATE))
        throw EditRefusal(fmt::format("\"{}\" is none of before, after and state:NAME", toShownText(list)));
    const istring state = toIString(list.substr(STATE.size()));
    const auto& states = machine.getStates();
    const auto known = states.find(state);
    if (known == states.end() && !hasKeyframeEvents(name))
        throw EditRefusal(fmt::format("there is no state \"{}\"", toShownText(view(state))));
    return handler->m_sendOnState[known == states.end() ? state : *known];
}

} // namespace

void editFsmState(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.entity(words[0]);
    checkName(words[1], false);
    E_FSM& machine = accessMachine(entity);
    const istring state = toIString(words[1]);
    if (machine.hasState(state))
        throw EditRefusal(fmt::format("there is a state \"{}\" already", toShownText(words[1])));
    machine.addState(state);
}

void editFsmRenameState(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.entity(words[0]);
    checkName(words[2], false);
    const istring from = toIString(words[1]), to = toIString(words[2]);
    const E_FSM* const machine = entity.getFSM();
    if (!machine || !machine->hasState(from))
        throw EditRefusal(fmt::format("there is no state \"{}\"", toShownText(words[1])));
    if (from != to && machine->hasState(to))
        throw EditRefusal(fmt::format("there is a state \"{}\" already", toShownText(words[2])));
    ForEach_FSMRenameStates rename(&entity, from, to);
    editor.root().forEachEntity(&rename);
}

void editFsmHandler(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.entity(words[0]);
    checkName(words[1], true);
    E_FSM& machine = accessMachine(entity);
    const istring handler = toIString(words[1]);
    if (machine.hasMessageHandler(handler))
        throw EditRefusal(fmt::format("there is a handler \"{}\" already", toShownText(words[1])));
    machine.createMessageHandler(handler);
}

void editFsmSend(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.entity(words[0]);
    E_FSM::Message message = readScriptLine(words[3], entity);
    accessList(accessMachine(entity), words[1], words[2]).push_back(std::move(message));
}

} // namespace cairn::host
