#include "cairn/document/document.h"
#include "cairn/document/level_file_library.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/portal.h"
#include "cairn/fsm/fsm.h"
#include "cairn/fsm/message_tests.h"
#include "cairn/geometry/exit_table.h"
#include "cairn/geometry/mesh/mesh.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ostream>
#include <string_view>

namespace cairn {

namespace {

using Message = E_FSM::Message;
using MessageList = E_FSM::MessageList;
using EntitySet = std::set<const CN_LevelEntity*>;

bool contains(const istring& text, const istring& part) { return text.find(part) != istring::npos; }

/// The word for the kind of a machine's entity.
const char* typeWordOf(const CN_LevelEntity* entity) {
    switch (entity ? entity->getEntityId() : -1) {
    case CN_KIND_MESH:
    case CN_KIND_TRIMESH:
        return "Dynamic mesh";
    case CN_KIND_PREFAB:
        return "Prefab Parent Node";
    case CN_KIND_FSM:
        return "Floating FSM";
    case CN_KIND_TRIGGER:
        return "Trigger";
    case CN_KIND_WAYPOINT:
        return "Waypoint";
    case CN_KIND_JUMPPOINT:
        return "Jumppoint";
    case CN_KIND_ITEM:
        return "Level item";
    case CN_KIND_ENEMY:
        return "Character";
    case CN_KIND_DYN_POINTLIGHT:
        return "Pointlight";
    case CN_KIND_PLAYER:
        return "Player";
    case CN_KIND_AI_NODE:
        return "AI Node";
    default:
        return "INVALID";
    }
}

/// The timer whose start or end the handler is for; empty for every other handler.
std::string_view sortKeyOf(const istring& handlerName) {
    for (const char* prefix : {"OnEndTimer(", "OnStartTimer("})
        if (handlerName.starts_with(prefix)) {
            std::string_view timer = view(handlerName).substr(std::string_view(prefix).size());
            timer.remove_suffix(timer.empty() ? 0 : 1);
            return timer;
        }
    return {};
}

/// The line without its target, and without the first "->".
std::string_view callOf(const Message& message) {
    const std::string_view line = view(message.m_text);
    const std::size_t arrow = line.find("->");
    return arrow == std::string_view::npos ? line : line.substr(arrow + 2);
}

/// Writes a machine as XML. The head of the machine, and that of each handler, is written ahead of the first thing
/// that stands below it.
class XmlWriter {
  public:
    XmlWriter(std::ostream& out, const E_FSM& machine, const istring& filter, const EntitySet* selection)
        : m_out(out), m_machine(machine), m_filter(filter), m_selection(selection) {}

    bool write() {
        const bool matchAll = !m_selection && isMachineMatched();
        if (matchAll) {
            openMachine();
            writeStatesAndCustomStrings();
        }
        for (const auto& [name, handler] : m_machine.getMessageHandlers())
            if (!E_FSM::isEmptyHardcodedHandler(name, handler))
                writeHandler(name, handler, matchAll);
        if (m_machineOpen)
            m_out << "</FSM>\n";
        return m_machineOpen;
    }

  private:
    bool isMachineMatched() const {
        const CN_LevelEntity* const parent = m_machine.getParent();
        return m_filter.empty() || (parent && contains(toIString(parent->getName()), m_filter));
    }

    /// Only what stands at or behind the first "(" counts.
    bool isHandlerMatched(const istring& name) const {
        const std::size_t parenthesis = name.find('(');
        return !m_selection && parenthesis != istring::npos && name.find(m_filter, parenthesis) != istring::npos;
    }

    bool isMatched(const Message& message) const {
        if (m_selection && !touchesSelection(message))
            return false;
        return m_filter.empty() || contains(message.m_text, m_filter);
    }

    bool touchesSelection(const Message& message) const {
        const auto isSelected = [this](const CN_LevelEntity* entity) { return m_selection->count(entity) > 0; };
        return isSelected(message.m_target) ||
               std::any_of(message.m_objectArguments.begin(), message.m_objectArguments.end(), isSelected);
    }

    void openMachine() {
        if (m_machineOpen)
            return;
        m_machineOpen = true;
        const CN_LevelEntity* const parent = m_machine.getParent();
        m_out << "<FSM name=\"" << (parent ? view(parent->getQualifiedName()) : "") << "\" parent_type=\""
              << typeWordOf(parent) << "\">\n";
    }

    void openHandler(const istring& name) {
        openMachine();
        if (m_handlerOpen)
            return;
        m_handlerOpen = true;
        m_out << "<handler name=\"" << name << "\" sortkey=\"" << sortKeyOf(name) << "\">\n";
    }

    void writeStatesAndCustomStrings() {
        m_out << "<default_state>" << m_machine.getDefaultState() << "</default_state>\n";
        for (const istring& state : m_machine.getStates())
            m_out << "<state>" << state << "</state>\n";
        for (const istring& event : m_machine.getCustomStrings())
            m_out << "<custom_string>" << event << "</custom_string>\n";
    }

    void writeHandler(const istring& name, const E_FSM::MessageHandler& handler, bool matchAll) {
        m_handlerOpen = false;
        const bool whole = matchAll || isHandlerMatched(name);
        if (whole)
            openHandler(name);
        writeList(name, handler.m_sendBefore, whole, "sendbefore", "");
        writeList(name, handler.m_sendAfter, whole, "sendafter", "");
        for (const auto& [state, messages] : handler.m_sendOnState)
            writeList(name, messages, whole, "sendonstate", fmt::format(" state=\"{}\"", view(state)));
        if (m_handlerOpen)
            m_out << "</handler>\n";
    }

    /// Writes the messages that are let through, or with `whole` all, between tags; nothing where there are none.
    void writeList(const istring& handlerName, const MessageList& messages, bool whole, std::string_view tag,
                   const std::string& attribute) {
        bool open = false;
        for (const Message& message : messages) {
            if (!whole && !isMatched(message))
                continue;
            if (!open) {
                openHandler(handlerName);
                m_out << '<' << tag << attribute << ">\n";
                open = true;
            }
            writeMessage(message);
        }
        if (open)
            m_out << "</" << tag << ">\n";
    }

    void writeMessage(const Message& message) {
        if (message.isCommentMessage()) {
            m_out << "<comment>" << message.m_text << "</comment>\n";
            return;
        }
        const std::string_view line = view(message.m_text);
        const std::size_t arrow = line.find("->");
        const std::string_view call = callOf(message);
        m_out << "<message>\n<target>" << line.substr(0, arrow == std::string_view::npos ? 0 : arrow) << "</target>\n";
        m_out << "<message_name>" << (message.m_global ? call.substr(0, call.find('(')) : view(message.m_name))
              << "</message_name>\n";
        for (const istring& argument : message.m_arguments)
            m_out << "<argument>" << argument << "</argument>\n";
        m_out << "<global>" << (message.m_global ? '1' : '0') << "</global>\n</message>\n";
    }

    std::ostream& m_out;
    const E_FSM& m_machine;
    const istring& m_filter;
    const EntitySet* m_selection; ///< not owned: null for none
    bool m_machineOpen = false;   ///< the machine's head is written
    bool m_handlerOpen = false;   ///< the present handler's head is written
};

/// The argument at the index, or null.
const istring* argumentOf(const Message& message, std::size_t index) {
    return index < message.m_arguments.size() ? &message.m_arguments[index] : nullptr;
}

/// True if there is an argument at the index that is one of the target groups.
bool isTargetGroup(const istring* argument) {
    return argument && CN_LevelFileLibrary::instance()->getTargetGroups().count(*argument) > 0;
}

/// True if the arguments of a message that is about groups of characters name such as take part in the export.
bool areTargetsKnown(const Message& message, bool selectionOnly) {
    const istring* const first = argumentOf(message, 0);
    if (message.m_name == "AI_SetTarget")
        return message.getObjectArgument(0) ||
               (first && (isTargetGroup(first) || *first == "enemies" || *first == "player"));
    if (message.m_name == "AI_SetTargetGroups") {
        const bool known[] = {isTargetGroup(first), isTargetGroup(argumentOf(message, 1))};
        return selectionOnly ? known[0] || known[1] : known[0] && known[1];
    }
    return true;
}

/// True if the entity goes into the game, and with `selectionOnly` lies in the selection, on both sides where it is a portal.
bool isExported(const CN_LevelEntity& entity, bool selectionOnly) {
    if (entity.isInExcludedFromGameSubtree())
        return false;
    if (!selectionOnly)
        return true;
    if (!entity.selected())
        return false;
    const auto* const portal = dynamic_cast<const CN_LevelEntityPortal*>(&entity);
    if (!portal)
        return true;
    const CN_Polygon* const exit = portal->getPortalPolygon();
    const CN_Mesh* const beyond = exit ? exit->getExitDestinationMesh() : nullptr;
    return beyond && beyond->selected() && !beyond->isInExcludedFromGameSubtree();
}

bool isTargetExported(const CN_LevelEntity& target, bool selectionOnly) {
    const CN_Document* const document = target.getDocument();
    const bool isPlayer = CN_Document::isAlive(document) && document->getPlayer() == &target;
    return !target.isInExcludedFromGameSubtree() && (!selectionOnly || isPlayer || target.selected());
}

bool isForPlayer(const Message& message) {
    return message.m_text.starts_with("player->") || message.m_text.starts_with("::player->") ||
           message.m_targetName.starts_with("::player");
}

bool isForActivator(const Message& message) { return message.m_text.starts_with("activator->"); }

void append(std::string& out, const istring& text) { out += view(text); }

void appendJoined(std::string& out, const std::vector<istring>& arguments, std::string_view separator) {
    for (const istring& argument : arguments) {
        if (&argument != &arguments.front())
            out += separator;
        append(out, argument);
    }
}

/// Writes the line that opens or shuts an exit of the target; nothing where it has no such exit.
void exportExit(const Message& message, std::string& out, CN_ExitTable& exits) {
    const auto* const mesh =
        CN_LevelEntity::isAlive(message.m_target) ? dynamic_cast<const CN_Mesh*>(message.m_target) : nullptr;
    const istring* const name = argumentOf(message, 1);
    const CN_Polygon* const exit = mesh && name ? exits.find(*mesh, *name) : nullptr;
    if (!exit)
        return;
    const istring exitName = exit->getExitName();
    out += message.m_name == "EnableExit" ? "Tarn_GameMode->GM_EnableExit( "
                                          : "Tarn_GameMode->GM_EnableExitAIActivation( ";
    append(out, mesh->getQualifiedName());
    out += "::";
    out += exitName.empty() ? fmt::format("Exit::{}", static_cast<int>(exit->getPolygonIndex()))
                            : std::string(view(exitName));
    out += ", ";
    append(out, message.m_arguments[0]);
    out += " );";
}

/// The two groups that are written: a group stands in for one that takes no part. False where there is nothing to write.
bool chooseTargetGroups(const Message& message, std::array<istring, 2>& groups) {
    const istring* const first = argumentOf(message, 0);
    const istring* const second = argumentOf(message, 1);
    if (isTargetGroup(first) && !isTargetGroup(second))
        groups = {*first, *first};
    else if (!isTargetGroup(first) && isTargetGroup(second))
        groups = {*second, *second};
    else if (first && second)
        groups = {*first, *second};
    else
        return false;
    return true;
}

/// The name under which the game's script knows the message; `patrol` tells whether it is a command of a patrol.
istring exportedName(const istring& name, bool& patrol) {
    patrol = true;
    if (name.starts_with("AI_AddPatrolCommand"))
        return "AI_AddCommand";
    if (name.starts_with("AI_PushPatrolCommand"))
        return "AI_PushCommand";
    patrol = false;
    return name;
}

void addAsComments(const MessageList& from, MessageList& to) {
    for (const Message& message : from) {
        Message comment;
        comment.m_text = "# merged: " + message.m_text;
        to.push_back(std::move(comment));
    }
}

} // namespace

bool E_FSM::dumpXML(std::ostream& out, const istring& filter, const std::set<const CN_LevelEntity*>* selection) const {
    return XmlWriter(out, *this, filter, selection).write();
}

bool E_FSM::Message::isToBeExported(bool selectionOnly) const {
    const std::size_t begin = m_text.find_first_not_of(" \t");
    if (begin == istring::npos || m_text[begin] == '#')
        return false;
    if (!areTargetsKnown(*this, selectionOnly))
        return false;
    if (m_global ? m_name == "REM" : !CN_LevelEntity::isAlive(m_target) || !isTargetExported(*m_target, selectionOnly))
        return false;
    return std::all_of(m_objectArguments.begin(), m_objectArguments.end(),
                       [selectionOnly](const CN_LevelEntity* entity) {
                           return !entity || (CN_LevelEntity::isAlive(entity) && isExported(*entity, selectionOnly));
                       });
}

void E_FSM::Message::exportTo(std::string& out) const {
    CN_ExitTable exits;
    exportTo(out, exits);
}

void E_FSM::Message::exportTo(std::string& out, CN_ExitTable& exits) const {
    const bool forPlayer = isForPlayer(*this), forActivator = isForActivator(*this);
    if (m_global && !forPlayer && !forActivator) {
        append(out, m_text);
        return;
    }
    if (CN_isAboutExit(*this)) {
        exportExit(*this, out, exits);
        return;
    }
    const bool aboutGroups = m_name == "AI_SetTargetGroups";
    std::array<istring, 2> groups;
    if (aboutGroups && !chooseTargetGroups(*this, groups))
        return;
    bool patrol = false;
    const istring name = exportedName(m_name, patrol);
    append(out, forPlayer ? "player" : forActivator ? "activator" : m_targetName);
    out += m_name.starts_with("AI_") ? ".AI->" : "->";
    append(out, name);
    out += '(';
    if (patrol) {
        out += "PATROL, NOTHING, \"";
        appendJoined(out, m_arguments, "&");
        out += '"';
    } else if (aboutGroups)
        appendJoined(out, {groups[0], groups[1]}, ", ");
    else
        appendJoined(out, m_arguments, ", ");
    out += ");";
}

void E_FSM::mergeFsm(E_FSM* other) const {
    if (!other || other == this)
        return;
    for (const auto& [name, handler] : m_handlers) {
        MessageHandler& into = other->createMessageHandler(name);
        addAsComments(handler.m_sendBefore, into.m_sendBefore);
        addAsComments(handler.m_sendAfter, into.m_sendAfter);
        for (const auto& [state, messages] : handler.m_sendOnState)
            addAsComments(messages, into.m_sendOnState[state]);
    }
}

void E_FSM::pushObjectArguments(Message& message) const {
    if (message.isCommentMessage())
        return;
    message.m_objectArguments.clear();
    for (const istring& argument : message.m_arguments) {
        std::string_view name = view(argument);
        name.remove_prefix(name.starts_with('"') ? 1 : 0);
        name.remove_suffix(name.ends_with('"') ? 1 : 0);
        const bool absolute = m_parent && name.starts_with("::");
        message.m_objectArguments.push_back(absolute ? m_parent->mapNameToObject(toIString(name), nullptr) : nullptr);
    }
}

} // namespace cairn
