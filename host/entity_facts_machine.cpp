#include "host/entity_facts.h"
#include "host/machine_walk.h"
#include "host/text.h"

#include <fmt/format.h>

namespace cairn::host {

namespace {

/// Parts of a key that no part may run into.
void appendPart(std::string& key, std::string_view part) {
    key.append(std::to_string(part.size())).append(" ").append(part);
}

std::string identityOf(const CN_LevelEntity* entity, const Identities& identities) {
    return entity ? identities.of(*entity) : std::string("-");
}

/// The line with what stands for the target and the object arguments taken out: these follow where the entities stand.
std::string lineWithoutReferences(const E_FSM::Message& message) {
    std::string line(view(message.m_text));
    if (message.m_target) {
        const std::size_t arrow = line.find("->");
        line.replace(0, arrow, message.nameRelative() ? "relative" : "absolute");
    }
    std::size_t from = line.find('(');
    for (std::size_t i = 0; i < message.m_arguments.size() && from < line.size(); ++i) {
        const std::string_view argument = view(message.m_arguments[i]);
        const std::size_t at = line.find(argument, from);
        if (argument.empty() || at == std::string::npos)
            continue;
        const std::string_view instead = message.getObjectArgument(i) ? "object" : argument;
        line.replace(at, argument.size(), instead);
        from = at + instead.size();
    }
    return line;
}

} // namespace

void describeMachine(const E_FSM& machine, FactSink& facts) {
    for (const istring& state : machine.getStates())
        facts.word(fmt::format("state {}", view(state)), view(state));
    facts.word("default state", view(machine.getDefaultState()));
    for (const istring& event : machine.getCustomStrings())
        facts.word(fmt::format("event {}", view(event)), view(event));
    for (const auto& [name, timer] : machine.getTimers())
        facts.word(fmt::format("timer {}", view(name)),
                   fmt::format("{}, {}", timer.m_flag ? "on" : "off", toNumberText(timer.m_time)));
    for (const auto& [name, handler] : machine.getMessageHandlers()) {
        facts.word(fmt::format("handler {}", view(name)), view(name));
        for (const auto& [state, messages] : handler.m_sendOnState)
            facts.word(fmt::format("handler {} state:{}", view(name), view(state)), view(state));
    }
}

std::string messageKey(const E_FSM::Message& message, const Identities& identities) {
    std::string key;
    appendPart(key, view(message.m_name));
    key += message.m_global ? "global" : "";
    // What a comment refers to is not stored, and may be gone.
    const bool refers = !message.isCommentMessage();
    appendPart(key, refers ? lineWithoutReferences(message) : std::string(view(message.m_text)));
    const CN_LevelEntity* const target = refers ? message.m_target : nullptr;
    appendPart(key, target ? std::string_view() : view(message.m_targetName));
    appendPart(key, identityOf(target, identities));
    for (std::size_t i = 0; i < message.m_arguments.size(); ++i) {
        const CN_LevelEntity* const object = refers ? message.getObjectArgument(i) : nullptr;
        appendPart(key, object ? identityOf(object, identities) : std::string(view(message.m_arguments[i])));
    }
    for (std::size_t i = message.m_arguments.size(); refers && i < message.m_objectArguments.size(); ++i)
        if (const CN_LevelEntity* const object = message.m_objectArguments[i])
            appendPart(key, identityOf(object, identities));
    return key;
}

void forEachMessageList(const E_FSM& machine,
                        const std::function<void(const std::string&, const E_FSM::MessageList&)>& f) {
    for (const auto& entry : machine.getMessageHandlers())
        forEachNamedList(entry.second, [&](const std::string& list, const E_FSM::MessageList& messages) {
            f(fmt::format("{} {}", view(entry.first), list), messages);
        });
}

} // namespace cairn::host
