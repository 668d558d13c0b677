#include "cairn/document/change_scope.h"
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

/// Refuses a handler that a load takes for the form of an older level, and moves or drops.
void refuseOldHandler(const CN_LevelEntity& entity, const istring& name) {
    const auto refuse = [&name](const char* what) {
        throw EditRefusal(fmt::format("\"{}\" is {}", toShownText(view(name)), what));
    };
    if (name == "Activate")
        refuse("an old name of T_Activate");
    if (name == "DO_CharacterCollides" || (name == "OnSpecial" && entity.getEntityId() == CN_KIND_ENEMY))
        refuse("a handler that no level has any more");
    for (const char* const event : {"Leave1st", "Enter1st", "Enter2nd"})
        if (name.starts_with(event))
            refuse("an old form of a state of the handler Animation(NAME)");
}

/// Refuses a new name for a state where something stands under it already, which would take the place of what moves there.
void refuseTakenPlaces(const E_FSM& machine, const istring& from, const istring& to) {
    const auto refuse = [&to](const istring& handler) {
        throw EditRefusal(fmt::format("the handler \"{}\" has something for \"{}\" already", toShownText(view(handler)),
                                      toShownText(view(to))));
    };
    if (from == to)
        return;
    if (machine.hasMessageHandler(E_FSM::makeSwitchHandlerName(to)))
        refuse(E_FSM::makeSwitchHandlerName(to));
    for (const auto& [name, handler] : machine.getMessageHandlers())
        if (handler.m_sendOnState.contains(from) && handler.m_sendOnState.contains(to))
            refuse(name);
}

} // namespace

void editFsmState(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.changeableEntity(words[0]);
    checkName(words[1], false);
    E_FSM& machine = accessMachine(entity);
    const istring state = toIString(words[1]);
    if (machine.hasState(state))
        throw EditRefusal(fmt::format("there is a state \"{}\" already", toShownText(words[1])));
    machine.addState(state);
}

void editFsmRenameState(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.changeableEntity(words[0]);
    checkName(words[2], false);
    const istring from = toIString(words[1]), to = toIString(words[2]);
    const E_FSM* const machine = entity.getFSM();
    if (!machine || !machine->hasState(from))
        throw EditRefusal(fmt::format("there is no state \"{}\"", toShownText(words[1])));
    if (from != to && machine->hasState(to))
        throw EditRefusal(fmt::format("there is a state \"{}\" already", toShownText(words[2])));
    refuseTakenPlaces(*machine, from, to);
    const CN_ChangeScope change(&editor.document());
    ForEach_FSMRenameStates rename(&entity, from, to);
    editor.root().forEachEntity(&rename);
}

void editFsmHandler(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.changeableEntity(words[0]);
    checkName(words[1], true);
    E_FSM& machine = accessMachine(entity);
    const istring handler = toIString(words[1]);
    refuseOldHandler(entity, handler);
    if (machine.hasMessageHandler(handler))
        throw EditRefusal(fmt::format("there is a handler \"{}\" already", toShownText(words[1])));
    machine.createMessageHandler(handler);
}

void editFsmSend(Editor& editor, Words words) {
    CN_LevelEntity& entity = editor.changeableEntity(words[0]);
    E_FSM& machine = accessMachine(entity);
    E_FSM::MessageList& messages = accessList(machine, words[1], words[2]);
    messages.push_back(readScriptLine(words[3], machine, editor.catalogue()));
}

} // namespace cairn::host
