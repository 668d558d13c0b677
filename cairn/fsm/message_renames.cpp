#include "cairn/fsm/fsm.h"

#include <algorithm>
#include <initializer_list>

namespace cairn {

namespace {

bool isOneOf(const istring& name, std::initializer_list<const char*> names) {
    return std::any_of(names.begin(), names.end(), [&](const char* one) { return name == one; });
}

/// True where the message has the argument and it is that name.
bool hasArgument(const E_FSM::Message& message, std::size_t index, const istring& name) {
    return index < message.m_arguments.size() && message.m_arguments[index] == name;
}

/// Puts `to` in the place of the first find of `from` behind the "(" of the arguments.
void replaceInArguments(E_FSM::Message& message, const istring& from, const istring& to) {
    const std::size_t open = message.findArguments();
    const std::size_t at = open == istring::npos ? open : message.m_text.find(from, open + 1);
    if (at != istring::npos)
        message.m_text.replace(at, from.size(), to);
}

/// True for a message of one of the names to the entity with that argument.
bool names(const E_FSM::Message& message, const CN_LevelEntity* entity, std::initializer_list<const char*> messages,
           std::size_t index, const istring& name) {
    return entity && message.m_target == entity && hasArgument(message, index, name) &&
           isOneOf(message.m_name, messages) && !message.isCommentMessage();
}

/// Renames an argument of such a message; false where it is none.
bool renameArgument(E_FSM::Message& message, const CN_LevelEntity* entity, std::initializer_list<const char*> messages,
                    std::size_t index, const istring& from, const istring& to) {
    if (!names(message, entity, messages, index, from))
        return false;
    message.m_arguments[index] = to;
    return true;
}

/// The same for a first argument, in the line too.
bool renameFirstArgument(E_FSM::Message& message, const CN_LevelEntity* entity,
                         std::initializer_list<const char*> messages, const istring& from, const istring& to) {
    if (!names(message, entity, messages, 0, from))
        return false;
    replaceInArguments(message, from, to); // before the argument changes: `from` may be it
    message.m_arguments[0] = to;
    return true;
}

} // namespace

bool E_FSM::Message::renameState(const CN_LevelEntity* entity, const istring& from, const istring& to) {
    return renameFirstArgument(*this, entity, {"FSM_Switch"}, from, to);
}

bool E_FSM::Message::renameTimer(const CN_LevelEntity* entity, const istring& from, const istring& to) {
    return renameFirstArgument(*this, entity, {"FSM_StartTimer", "FSM_PauseTimer", "FSM_ResumeTimer"}, from, to);
}

bool E_FSM::Message::renameAnimation(const CN_LevelEntity* entity, const istring& from, const istring& to) {
    return renameFirstArgument(*this, entity, {"DO_Animate"}, from, to);
}

// A machine is sent an event by itself, or by a command that a character gets: "FSMSEND", a time, the event.
bool E_FSM::Message::renameCustomSend(const CN_LevelEntity* entity, const istring& from, const istring& to) {
    if (renameArgument(*this, entity, {"FSM_Send"}, 0, from, to)) {
        rewriteArguments(m_arguments[0]);
        return true;
    }
    if (!hasArgument(*this, 0, "FSMSEND") ||
        !renameArgument(*this, entity, {"AI_AddCommand", "AI_PushCommand"}, 2, from, to))
        return false;
    rewriteArguments(m_arguments[0] + "," + m_arguments[1] + "," + m_arguments[2]);
    return true;
}

bool E_FSM::Message::renameExit(const CN_LevelEntity* entity, const istring& from, const istring& to) {
    return renameArgument(*this, entity, {"EnableExit", "EnableExitAIActivation"}, 1, from, to);
}

} // namespace cairn
