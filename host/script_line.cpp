#include "host/script_line.h"

#include "cairn/document/document.h"
#include "cairn/entities/level_entity.h"
#include "host/catalogue.h"
#include "host/edit_language.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

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

/// The argument that is a name of something the receiver has; null where the message names nothing such.
istring* findName(E_FSM::Message& message) {
    static const std::map<istring, std::size_t> NAMED = {
        {"FSM_Switch", 0},      {"FSM_Send", 0},   {"FSM_StartTimer", 0}, {"FSM_PauseTimer", 0},
        {"FSM_ResumeTimer", 0}, {"DO_Animate", 0}, {"EnableExit", 1},     {"EnableExitAIActivation", 1}};
    std::vector<istring>& arguments = message.m_arguments;
    if (message.m_name == "AI_AddCommand" || message.m_name == "AI_PushCommand")
        return arguments.size() > 2 && arguments[0] == "FSMSEND" ? &arguments[2] : nullptr;
    const auto named = NAMED.find(message.m_name);
    return named != NAMED.end() && named->second < arguments.size() ? &arguments[named->second] : nullptr;
}

/// Names are compared as they are: quotes around one would belong to it.
void unquoteName(E_FSM::Message& message) {
    istring* const name = findName(message);
    if (name && name->size() > 2 && name->starts_with("\"") && name->ends_with("\"") &&
        name->find_first_of(",()") == istring::npos)
        *name = name->substr(1, name->size() - 2);
}

bool isGameReceiver(const istring& path, const E_FSM::Message& message, const CN_FSMMessageInfoProvider* catalogue) {
    const CN_FSMMessageInfoProvider::MessageInfo* const info =
        catalogue ? catalogue->getMessageInfo(message.m_name) : nullptr;
    return !path.empty() && info &&
           std::any_of(info->receivers.begin(), info->receivers.end(), [&path](const auto& receiver) {
               return receiver.type == GAME_RECEIVER && toIString(receiver.name) == path;
           });
}

/// Where the "->" behind the target stands, `npos` for none: one in quotes or in open parentheses belongs to the arguments.
std::size_t findArrow(std::string_view line) {
    int depth = 0;
    for (std::size_t at = 0; at < line.size() && line[at] != '"'; ++at) {
        depth += line[at] == '(' ? 1 : line[at] == ')' ? -1 : 0;
        if (depth == 0 && line.substr(at).starts_with("->"))
            return at;
    }
    return std::string_view::npos;
}

bool contains(const istring& text, const char* part) { return text.find(part) != istring::npos; }

/// Refuses what a load takes for the form of an older level and rewrites.
void refuseOldForms(const E_FSM::Message& message) {
    const std::vector<istring>& arguments = message.m_arguments;
    const bool numbersGroups = message.m_name == "AI_SetTarget" || message.m_name == "AI_SetTargetGroups";
    if (message.m_name == "DO_InvertAnimation")
        refuse("an old name of DO_AbortAnimation", view(message.m_name));
    if (message.m_name == "LI_CreateLevelItemToBone" && !arguments.empty() && arguments[0].starts_with("enemy_"))
        refuse("an old form of P_CreateProjectileToBone", view(arguments[0]));
    for (const char* const part : {"player.ai", ".trigger"})
        if (contains(message.m_text, part))
            refuse("an old form of a target that loads take away", part);
    for (const istring& argument : arguments)
        if (numbersGroups && argument == "PLAYER_GROUP")
            refuse("an old name of the group 0", view(argument));
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

E_FSM::Message readScriptLine(const std::string& line, E_FSM& machine, const CN_FSMMessageInfoProvider* catalogue) {
    CN_LevelEntity& entity = *machine.getParent();
    E_FSM::Message message;
    if (std::any_of(line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t'; }))
        refuse("a line has no control characters", line);
    message.m_text = trimmed(line);
    if (message.isCommentMessage())
        return message;
    const std::size_t arrow = findArrow(line);
    readCall(arrow == std::string::npos ? std::string_view(line) : std::string_view(line).substr(arrow + 2), message);
    const istring path = arrow == std::string::npos ? istring() : trimmed(line.substr(0, arrow));
    unquoteName(message);
    refuseOldForms(message);
    message.m_global = arrow == std::string::npos || path == "activator" || isGameReceiver(path, message, catalogue);
    message.m_targetPath = path;
    message.m_text = lineOf(path, message);
    if (!message.m_global) {
        message.m_target = findTarget(path, entity);
        if (!message.m_target)
            refuse("the target is no entity", view(path));
        message.m_targetName = message.m_target->getQualifiedName();
    }
    machine.pushObjectArguments(message);
    for (std::size_t i = 0; i < message.m_arguments.size(); ++i) {
        std::string_view argument = view(message.m_arguments[i]);
        argument.remove_prefix(argument.starts_with('"') ? 1 : 0);
        if (argument.starts_with("::") && !message.getObjectArgument(i))
            refuse("the argument is no entity", argument);
    }
    return message;
}

} // namespace cairn::host
