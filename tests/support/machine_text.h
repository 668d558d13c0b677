#pragma once

#include "cairn/entities/level_entity.h"
#include "cairn/fsm/fsm.h"

#include <string>

/// A state machine as a text that says all that a save keeps, for comparing one with another. What a comment referred to may
/// have died.
namespace cairn::test {

inline std::string textOf(const E_FSM::Message& message) {
    std::string text = "{" + std::string(view(message.m_text)) + "|" + std::string(view(message.m_name)) + "|" +
                       std::string(view(message.m_targetName)) + "|";
    for (const istring& argument : message.m_arguments)
        text.append(view(argument)).append(",");
    if (message.isCommentMessage())
        return text + "}";
    if (message.m_target)
        text.append("|to ").append(view(message.m_target->getQualifiedName()));
    for (const CN_LevelEntity* const entity : message.m_objectArguments)
        text.append("|with ").append(entity ? view(entity->getQualifiedName()) : "none");
    return text + (message.m_global ? "|global}" : "}");
}

inline std::string textOf(const E_FSM::MessageList& messages) {
    std::string text;
    for (const E_FSM::Message& message : messages)
        text += textOf(message);
    return text;
}

/// "states; events; timers; handlers", the default state with a star.
inline std::string textOf(const E_FSM& machine) {
    std::string text;
    const auto add = [&text](const istring& name) { text.append(view(name)).append(" "); };
    for (const istring& state : machine.getStates())
        add(state + (state == machine.getDefaultState() ? "*" : ""));
    text += "; ";
    for (const istring& event : machine.getCustomStrings())
        add(event);
    text += "; ";
    for (const auto& [name, timer] : machine.getTimers())
        add(name + (timer.m_flag ? " on " : " off ") + toIString(std::to_string(timer.m_time)));
    text += ";";
    for (const auto& [name, handler] : machine.getMessageHandlers()) {
        text.append("\n").append(view(name)).append(":");
        if (!handler.m_sendBefore.empty())
            text += " before" + textOf(handler.m_sendBefore);
        for (const auto& [state, messages] : handler.m_sendOnState)
            text.append(" on ").append(view(state)).append(textOf(messages));
        if (!handler.m_sendAfter.empty())
            text += " after" + textOf(handler.m_sendAfter);
    }
    return text;
}

} // namespace cairn::test
