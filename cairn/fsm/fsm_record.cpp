#include "cairn/document/document.h"
#include "cairn/entities/level_entity.h"
#include "cairn/fsm/fsm.h"
#include "cairn/fsm/walkers.h"

#include <algorithm>
#include <utility>

namespace cairn {

namespace {

using Message = E_FSM::Message;
using MessageList = E_FSM::MessageList;
using MessageHandler = E_FSM::MessageHandler;

/// The least that the parts of a record take in a file.
constexpr std::size_t MIN_TEXT = 4, MIN_CONTAINER = 8, MIN_IDENTITY = 4;
constexpr std::size_t MIN_MESSAGE = 3 * MIN_TEXT + MIN_CONTAINER + 1;
constexpr std::size_t MIN_STATE_MESSAGES = MIN_TEXT + MIN_CONTAINER;
constexpr std::size_t MIN_HANDLER = MIN_TEXT + 3 * MIN_CONTAINER;
constexpr std::size_t MIN_TIMER = MIN_TEXT + F_MemoryFile::CHUNK_HEADER_SIZE;

/// Reads a record that newer files have in a chunk and older ones, as version 0, without: `read` gets the file to read
/// from and the version.
template <class Read> void readVersioned(F_MemoryFile& file, Read&& read) {
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    if (!chunk.isValid())
        return read(file, 0);
    read(chunk.getMemoryFile(), chunk.getVersion());
    file.skipChunk();
}

void writeNames(F_MemoryFile& file, const E_FSM::NameSet& names) {
    file.writeTaggedCount(F_MemoryFile::TAG_ISTRING_SET, names.size());
    for (const istring& name : names)
        file << name;
}

E_FSM::NameSet readNames(F_MemoryFile& file) {
    E_FSM::NameSet names;
    for (std::size_t count = file.readTaggedCount(F_MemoryFile::TAG_ISTRING_SET, MIN_TEXT); count > 0; --count) {
        istring name;
        file >> name;
        names.insert(std::move(name));
    }
    return names;
}

/// Reads a map of names; of two entries of one name the first stays.
template <class Value, class Read>
std::map<istring, Value> readMap(F_MemoryFile& file, std::size_t minBytes, Read&& read) {
    std::map<istring, Value> map;
    for (std::size_t count = file.readTaggedCount(F_MemoryFile::TAG_ISTRING_MAP, minBytes); count > 0; --count) {
        istring name;
        file >> name;
        map.try_emplace(std::move(name), read(file));
    }
    return map;
}

/// What stands in a record for an entity: its identity in the save. In the save of a document an entity that is left out of
/// it has none.
unsigned int identityFor(const CN_LevelEntity* entity, bool inDocument) {
    constexpr unsigned int PROCESS_NUMBERS = 0x80000000u;
    const unsigned int identity = CN_LevelEntity::getSerialisationId(entity);
    return inDocument && identity >= PROCESS_NUMBERS ? 0 : identity;
}

// A message: a chunk of
//   1: text, name, target's name, arguments, global, identities of target and object arguments
//   0: without a chunk and without identities

void writeMessage(F_MemoryFile& file, const Message& message, bool inDocument) {
    // What a comment refers to may have died long since, and another entity may have its address.
    const bool refers = !message.isCommentMessage();
    file.createChunk(0, E_FSM::VERSION);
    file << message.m_text;
    file << message.m_name;
    file << message.m_targetName;
    file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, message.m_arguments.size());
    for (const istring& argument : message.m_arguments)
        file << argument;
    file << message.m_global;
    file << (refers ? identityFor(message.m_target, inDocument) : 0);
    file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, message.m_objectArguments.size());
    for (const CN_LevelEntity* const entity : message.m_objectArguments)
        file << (refers ? identityFor(entity, inDocument) : 0);
    file.closeChunk();
}

Message readMessage(F_MemoryFile& file) {
    Message message;
    readVersioned(file, [&](F_MemoryFile& in, int version) {
        in >> message.m_text;
        in >> message.m_name;
        in >> message.m_targetName;
        message.m_arguments.resize(in.readTaggedCount(F_MemoryFile::TAG_VECTOR, MIN_TEXT));
        for (istring& argument : message.m_arguments)
            in >> argument;
        in >> message.m_global;
        if (version <= 0)
            return;
        in >> message.m_targetId;
        message.m_objectArgumentIds.resize(in.readTaggedCount(F_MemoryFile::TAG_VECTOR, MIN_IDENTITY));
        for (unsigned int& identity : message.m_objectArgumentIds)
            in >> identity;
        message.m_objectArguments.resize(message.m_objectArgumentIds.size());
    });
    return message;
}

void writeMessages(F_MemoryFile& file, const MessageList& messages, bool inDocument) {
    file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, messages.size());
    for (const Message& message : messages)
        writeMessage(file, message, inDocument);
}

MessageList readMessages(F_MemoryFile& file) {
    MessageList messages;
    // A record may be far smaller than a message: memory is taken as messages come.
    for (std::size_t count = file.readTaggedCount(F_MemoryFile::TAG_VECTOR, MIN_MESSAGE); count > 0; --count)
        messages.push_back(readMessage(file));
    return messages;
}

void writeHandler(F_MemoryFile& file, const MessageHandler& handler, bool inDocument) {
    writeMessages(file, handler.m_sendBefore, inDocument);
    file.writeTaggedCount(F_MemoryFile::TAG_ISTRING_MAP, handler.m_sendOnState.size());
    for (const auto& [state, messages] : handler.m_sendOnState) {
        file << state;
        writeMessages(file, messages, inDocument);
    }
    writeMessages(file, handler.m_sendAfter, inDocument);
}

MessageHandler readHandler(F_MemoryFile& file) {
    MessageHandler handler;
    handler.m_sendBefore = readMessages(file);
    handler.m_sendOnState = readMap<MessageList>(file, MIN_STATE_MESSAGES, readMessages);
    handler.m_sendAfter = readMessages(file);
    return handler;
}

void writeTimer(F_MemoryFile& file, const E_FSM::SFSMTimer& timer) {
    file.createChunk(0, E_FSM::VERSION);
    file << timer.m_flag;
    file << timer.m_time;
    file.closeChunk();
}

E_FSM::SFSMTimer readTimer(F_MemoryFile& file) {
    E_FSM::SFSMTimer timer;
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    chunk.getMemoryFile() >> timer.m_flag;
    chunk.getMemoryFile() >> timer.m_time;
    file.skipChunk();
    return timer;
}

/// The event of a handler that older files have for each keyframe of an animation, and that animation.
struct KeyframeHandler {
    istring event, animation;
    bool found = false;
};

KeyframeHandler takeApart(const istring& name) {
    static constexpr const char* EVENTS[] = {"Leave1st", "Enter1st", "Enter2nd"};
    KeyframeHandler parts;
    parts.found = std::any_of(std::begin(EVENTS), std::end(EVENTS), [&](const char* e) { return name.starts_with(e); });
    const std::size_t open = name.find('(');
    parts.event = name.substr(0, open);
    if (open != istring::npos)
        parts.animation = name.substr(open + 1, name.find(')', open) - open - 1);
    return parts;
}

/// Bones of enemies were named with a prefix in the message that made items only; the newer message makes any object.
bool takeEnemyPrefix(Message& message) {
    static const istring PREFIX = "enemy_";
    if (message.m_name != "LI_CreateLevelItemToBone" || message.m_arguments.empty() ||
        !message.m_arguments.front().starts_with(PREFIX))
        return false;
    message.m_arguments.front().erase(0, PREFIX.size());
    return true;
}

} // namespace

// A machine: a chunk of
//   1: states, default state, custom events, handlers, user can add states, user can add custom strings, timers
//   0: without a chunk and without timers

void E_FSM::save(F_MemoryFile& file) const {
    const bool inDocument = m_parent && identityFor(m_parent, true) != 0;
    file.createChunk(0, VERSION);
    writeNames(file, m_states);
    file << m_defaultState;
    writeNames(file, m_customEvents);
    file.writeTaggedCount(F_MemoryFile::TAG_ISTRING_MAP, m_handlers.size());
    for (const auto& [name, handler] : m_handlers) {
        file << name;
        writeHandler(file, handler, inDocument);
    }
    file << m_userCanAddStates;
    file << m_userCanAddCustomStrings;
    file.writeTaggedCount(F_MemoryFile::TAG_ISTRING_MAP, m_timers.size());
    for (const auto& [name, timer] : m_timers) {
        file << name;
        writeTimer(file, timer);
    }
    file.closeChunk();
}

void E_FSM::load(F_MemoryFile& file) {
    E_FSM read(m_parent, true, true);
    readVersioned(file, [&](F_MemoryFile& in, int version) {
        read.m_states = readNames(in);
        in >> read.m_defaultState;
        read.m_customEvents = readNames(in);
        read.m_handlers = readMap<MessageHandler>(in, MIN_HANDLER, readHandler);
        bool userCanAddStates = false, userCanAddCustomStrings = false; // set whatever the file says
        in >> userCanAddStates;
        in >> userCanAddCustomStrings;
        if (version > 0)
            read.m_timers = readMap<SFSMTimer>(in, MIN_TIMER, readTimer);
    });
    std::swap(m_states, read.m_states);
    std::swap(m_defaultState, read.m_defaultState);
    std::swap(m_customEvents, read.m_customEvents);
    std::swap(m_handlers, read.m_handlers);
    std::swap(m_timers, read.m_timers);
    m_userCanAddStates = m_userCanAddCustomStrings = true;
    endWalks();
    upgrade();
}

/// Brings what older files hold up to date, and repairs the default state.
void E_FSM::upgrade() {
    if (!hasState(m_defaultState)) {
        m_defaultState.clear();
        CN_Document* const document = m_parent ? m_parent->getDocument() : nullptr;
        if (!m_states.empty() && CN_Document::isAlive(document))
            document->addBrokenFSMDefaultStateEntity(m_parent);
    }
    renameMessageHandler("Activate", "T_Activate");
    upgradeKeyframeHandlers();
    if (m_parent) {
        ForEach_FSMRenameMessage invert("DO_InvertAnimation", "DO_AbortAnimation", nullptr);
        m_parent->forEachEntity(&invert);
        ForEach_FSMRenameMessage createToBone("LI_CreateLevelItemToBone", "P_CreateProjectileToBone", takeEnemyPrefix);
        m_parent->forEachEntity(&createToBone);
        ForEach_FSMRenamePlayerDotAIToPlayer playerDotAI;
        m_parent->forEachEntity(&playerDotAI);
    }
    deleteMessageHandler("DO_CharacterCollides");
}

/// The handlers of an animation's keyframe events became one handler, where each event is a state.
void E_FSM::upgradeKeyframeHandlers() {
    std::vector<istring> names;
    for (const auto& [name, handler] : m_handlers)
        if (takeApart(name).found)
            names.push_back(name);
    for (const istring& name : names) {
        const KeyframeHandler parts = takeApart(name);
        MessageList messages = m_handlers.at(name).m_sendBefore;
        createMessageHandler((istring("Animation(") += parts.animation) += ')').m_sendOnState[parts.event] =
            std::move(messages);
    }
    for (const istring& name : names)
        deleteMessageHandler(name);
}

} // namespace cairn
