#include "host/script_line.h"

#include "cairn/document/document.h"
#include "cairn/entities/level_entity.h"
#include "host/edit_language.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>

namespace cairn::host {

namespace {

istring trimmed(std::string_view text) { return toIString(asciiTrimmed(text)); }

[[noreturn]] void refuse(const std::string& what, std::string_view text) {
    throw EditRefusal(fmt::format("{}: \"{}\"", what, toShownText(text)));
}

/// The arguments between the parentheses: divided by commas that stand in no quotes and no parentheses.
std::vector<istring> readArguments(std::string_view text) {
    std::vector<istring> arguments;
    if (asciiTrimmed(text).empty())
        return arguments;
    std::size_t begin = 0;
    int depth = 0;
    bool quoted = false;
    for (std::size_t at = 0; at <= text.size(); ++at) {
        const char c = at < text.size() ? text[at] : ',';
        if (c == '"')
            quoted = !quoted;
        else if (!quoted && (c == '(' || c == ')'))
            depth += c == '(' ? 1 : -1;
        if (depth < 0)
            refuse("a parenthesis closes none", text);
        if (at < text.size() && (quoted || depth > 0 || c != ','))
            continue;
        arguments.push_back(trimmed(text.substr(begin, at - begin)));
        begin = at + 1;
    }
    if (quoted || depth > 0)
        refuse(quoted ? "a quote is not closed" : "a parenthesis is not closed", text);
    if (std::any_of(arguments.begin(), arguments.end(), [](const istring& a) { return a.empty(); }))
        refuse("an argument is empty", text);
    return arguments;
}

/// Reads "NAME(ARGUMENT, ...);" into the message.
void readCall(std::string_view call, E_FSM::Message& message) {
    call = asciiTrimmed(call);
    if (call.ends_with(';'))
        call = asciiTrimmed(call.substr(0, call.size() - 1));
    const std::size_t open = call.find('(');
    message.m_name = trimmed(call.substr(0, open));
    if (open != std::string_view::npos) {
        if (!call.ends_with(')'))
            refuse("the arguments have no parenthesis at their end", call);
        message.m_arguments = readArguments(call.substr(open + 1, call.size() - open - 2));
    }
    const bool plain = std::all_of(message.m_name.begin(), message.m_name.end(),
                                   [](char c) { return asciiIsAlnum(c) || c == '_' || c == '.'; });
    if (message.m_name.empty() || !plain)
        refuse("this is no name of a message", view(message.m_name));
}

istring lineOf(const istring& target, const E_FSM::Message& message) {
    istring line = target.empty() ? istring() : target + "->";
    line += message.m_name + "(";
    for (const istring& argument : message.m_arguments)
        line += (&argument == &message.m_arguments.front() ? "" : ", ") + argument;
    return line + ");";
}

CN_LevelEntity* findTarget(const istring& path, CN_LevelEntity& entity) {
    CN_Document* const document = entity.getDocument();
    if (path == "player" && document)
        return document->accessPlayer();
    return path.empty() ? nullptr : entity.mapNameToObject(path, nullptr);
}

} // namespace

E_FSM::Message readScriptLine(const std::string& line, CN_LevelEntity& entity) {
    E_FSM::Message message;
    if (std::any_of(line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t'; }))
        refuse("a line has no control characters", line);
    message.m_text = trimmed(line);
    if (message.isCommentMessage())
        return message;
    const std::size_t arrow = line.find("->");
    readCall(arrow == std::string::npos ? std::string_view(line) : std::string_view(line).substr(arrow + 2), message);
    const istring path = arrow == std::string::npos ? istring() : trimmed(line.substr(0, arrow));
    message.m_global = arrow == std::string::npos || path == "activator";
    message.m_targetPath = path;
    message.m_text = lineOf(path, message);
    if (!message.m_global) {
        message.m_target = findTarget(path, entity);
        if (!message.m_target)
            refuse("the target is no entity", view(path));
        message.m_targetName = message.m_target->getQualifiedName();
    }
    entity.getFSM()->pushObjectArguments(message);
    for (std::size_t i = 0; i < message.m_arguments.size(); ++i) {
        std::string_view argument = view(message.m_arguments[i]);
        argument.remove_prefix(argument.starts_with('"') ? 1 : 0);
        if (argument.starts_with("::") && !message.getObjectArgument(i))
            refuse("the argument is no entity", argument);
    }
    return message;
}

} // namespace cairn::host
