#include "cairn/fsm/line_writer.h"

#include "cairn/document/document.h"
#include "cairn/entities/level_entity.h"

#include <algorithm>

namespace cairn {

namespace {

/// Most lines are as they were: reading tells, and the memory stays clean.
void store(istring& text, std::string_view now) {
    if (view(text) != now)
        text.assign(now.data(), now.size());
}

/// Where the arguments begin in a line to an entity, as `E_FSM::Message::findArguments` has it.
std::size_t argumentsBegin(std::string_view line) {
    const std::size_t arrow = line.find("->");
    return line.find('(', arrow == std::string_view::npos ? 0 : arrow);
}

/// An argument stands in quotes where it holds a blank, unless it has some.
bool needsQuotes(std::string_view argument) {
    return argument.find(' ') != std::string_view::npos && argument.find('"') == std::string_view::npos;
}

} // namespace

void CN_FSMLineWriter::start(const CN_LevelEntity* owner) {
    m_owner = owner;
    m_ownersWay.clear();
    m_way.steps.clear();
    m_alive = nullptr;
    m_document = nullptr;
    m_player = nullptr;
}

bool CN_FSMLineWriter::isAlive(const CN_LevelEntity* entity) {
    if (!entity || (entity != m_alive && !CN_LevelEntity::isAlive(entity)))
        return false;
    m_alive = entity;
    return true;
}

bool CN_FSMLineWriter::isPlayer(const CN_LevelEntity& entity) {
    const CN_Document* const document = entity.getDocument();
    if (document != m_document) {
        m_document = document;
        m_player = CN_Document::isAlive(document) ? document->getPlayer() : nullptr;
    }
    return &entity == m_player;
}

/// Walks from the entity to its root, unless it did so last.
void CN_FSMLineWriter::goUp(const CN_LevelEntity& entity) {
    if (!m_way.steps.empty() && m_way.steps.front().entity == &entity)
        return;
    m_way.steps.clear();
    std::string& room = m_way.room;
    std::size_t bytes = 0;
    for (const CN_LevelEntity* at = &entity;;) {
        const CN_LevelEntity* const parent = at->getParent();
        if (parent) {
            const CString name = at->getName();
            const std::size_t more = name.view().size() + 2;
            if (bytes + more > room.size())
                room.insert(0, bytes + more + room.size(), ' '); // twice as large: what is written stays at the end
            char* const begin = room.data() + room.size() - bytes - more;
            begin[0] = begin[1] = ':';
            std::copy(name.view().begin(), name.view().end(), begin + 2);
            bytes += more;
        }
        m_way.steps.push_back({at, bytes});
        if (!parent)
            return;
        at = parent;
    }
}

/// The path of the names that the entity and its ancestors have now; empty for a root. Valid until another entity is asked for.
std::string_view CN_FSMLineWriter::liveNameOf(const CN_LevelEntity& entity) {
    goUp(entity);
    return m_way.path(m_way.steps.back().bytes);
}

/// The name that the entity keeps; made anew while it keeps none, as behind an assignment to it. Valid as long.
std::string_view CN_FSMLineWriter::keptNameOf(const CN_LevelEntity& entity) {
    const std::string_view kept = view(entity.getQualifiedName());
    return kept.empty() ? liveNameOf(entity) : kept;
}

/// Appends the shortest path from the owner to the line; false where they stand in different trees.
bool CN_FSMLineWriter::appendRelativeName(const CN_LevelEntity& to) {
    if (isPlayer(to)) {
        m_line << "player";
        return true;
    }
    if (m_owner == &to) {
        m_line << "this";
        return true;
    }
    goUp(to);
    if (m_ownersWay.empty())
        for (const CN_LevelEntity* at = m_owner; at; at = at->getParent())
            m_ownersWay.push_back(at);
    std::size_t up = m_ownersWay.size(), down = m_way.steps.size();
    while (up > 0 && down > 0 && m_ownersWay[up - 1] == m_way.steps[down - 1].entity) {
        --up;
        --down;
    }
    if (up == m_ownersWay.size())
        return false;
    for (std::size_t i = 0; i < up; ++i)
        m_line << (i == 0 ? "parent" : "::parent");
    if (down > 0) {
        const std::string_view below = m_way.path(m_way.steps[down - 1].bytes);
        m_line << (up > 0 ? below : below.substr(2));
    }
    return true;
}

/// Finds the target, if need be, and begins the line with its path and the message's name. False, with the message as it was
/// but for the target, where that is not to be had.
bool CN_FSMLineWriter::beginLine(E_FSM::Message& message) {
    const bool relative = message.nameRelative();
    if (!isAlive(message.m_target)) {
        // An empty line, and a name that was never known, name nothing.
        const istring path = relative ? message.getWrittenPath() : message.m_targetName;
        const bool named = relative ? !message.m_text.empty() : !path.empty();
        message.m_target = named && m_owner ? m_owner->mapNameToObject(path, nullptr) : nullptr;
        if (!message.m_target)
            return false;
    }
    const CN_LevelEntity& target = *message.m_target;
    m_line.cutAt(0);
    if (!relative && target.getParent()) // no absolute path names a root
        m_line << keptNameOf(target);
    else if (!m_owner || !appendRelativeName(target))
        return false;
    store(message.m_targetPath, m_line.text());
    store(message.m_targetName, keptNameOf(target));
    m_line << "->" << view(message.m_name);
    return true;
}

/// Gives the object arguments their present names; false where there are none.
bool CN_FSMLineWriter::nameArguments(E_FSM::Message& message) {
    const std::size_t count = std::min(message.m_objectArguments.size(), message.m_arguments.size());
    bool named = false;
    for (std::size_t i = 0; i < count; ++i)
        if (const CN_LevelEntity* const entity = message.m_objectArguments[i]; isAlive(entity)) {
            store(message.m_arguments[i], liveNameOf(*entity));
            named = true;
        }
    return named;
}

void CN_FSMLineWriter::appendArguments(const E_FSM::Message& message) {
    m_line << "(";
    std::string_view separator = "";
    for (const istring& argument : message.m_arguments) {
        m_line << separator << view(argument);
        separator = ", ";
    }
    m_line << ");";
}

/// The same in the form for arguments that name entities.
void CN_FSMLineWriter::appendNamedArguments(const E_FSM::Message& message) {
    std::string_view separator = "( ";
    for (const istring& argument : message.m_arguments) {
        const std::string_view quote = needsQuotes(view(argument)) ? "\"" : "";
        m_line << separator << quote << view(argument) << quote;
        separator = ", ";
    }
    m_line << " );";
}

bool CN_FSMLineWriter::writeTarget(E_FSM::Message& message) {
    if (message.m_global || message.isCommentMessage())
        return true;
    if (!beginLine(message))
        return false;
    appendArguments(message);
    store(message.m_text, m_line.text());
    return true;
}

void CN_FSMLineWriter::writeArguments(E_FSM::Message& message) {
    if (!nameArguments(message))
        return;
    m_line.cutAt(0);
    m_line << view(message.m_text).substr(0, message.findArguments());
    appendNamedArguments(message);
    store(message.m_text, m_line.text());
}

void CN_FSMLineWriter::write(E_FSM::Message& message) {
    if (message.isCommentMessage())
        return;
    if (message.m_global || !beginLine(message)) {
        writeArguments(message);
        return;
    }
    if (nameArguments(message)) {
        m_line.cutAt(argumentsBegin(m_line.text())); // of a name that holds one
        appendNamedArguments(message);
    } else
        appendArguments(message);
    store(message.m_text, m_line.text());
}

} // namespace cairn
