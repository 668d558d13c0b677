#include "cairn/fsm/fsm.h"

namespace cairn {

namespace {

/// Smallest record of a handler: its name's length, and tag and count of its three lists.
constexpr std::size_t HANDLER_MIN_BYTES = 4 + 3 * 8;

/// Throws where the container holds anything: what stands in it cannot be kept.
void readEmpty(F_MemoryFile& file, F_MemoryFile::BasicType type) {
    if (file.readTaggedCount(type, 0) != 0)
        file.fail("State machine messages are not supported by this version");
}

void writeHandlers(F_MemoryFile& file, const std::set<istring>& handlers) {
    file.writeTaggedCount(F_MemoryFile::TAG_ISTRING_MAP, handlers.size());
    for (const istring& name : handlers) {
        file << name;
        file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, 0);      // sent before
        file.writeTaggedCount(F_MemoryFile::TAG_ISTRING_MAP, 0); // sent in a state
        file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, 0);      // sent after
    }
}

std::set<istring> readHandlers(F_MemoryFile& file) {
    std::set<istring> handlers;
    std::size_t count = file.readTaggedCount(F_MemoryFile::TAG_ISTRING_MAP, HANDLER_MIN_BYTES);
    for (; count > 0; --count) {
        istring name;
        file >> name;
        readEmpty(file, F_MemoryFile::TAG_VECTOR);
        readEmpty(file, F_MemoryFile::TAG_ISTRING_MAP);
        readEmpty(file, F_MemoryFile::TAG_VECTOR);
        handlers.insert(std::move(name));
    }
    return handlers;
}

} // namespace

E_FSM::E_FSM(CN_LevelEntity* parent, bool userCanAddStates, bool userCanAddCustomStrings)
    : m_parent(parent), m_handlers{"Startup"}, m_userCanAddStates(userCanAddStates),
      m_userCanAddCustomStrings(userCanAddCustomStrings) {}

void E_FSM::createDynamicMeshHandlers() {
    for (const char* const name :
         {"DO_MovedToInvalidPosition", "DO_MovedToInvalidPositionEnds", "DO_BulletCollides", "DO_OnDeath"})
        createMessageHandler(name);
}

// Version 1: states, default state, custom events, handlers, user can add states, user can add custom strings, timers.
// Version 0 has no chunk and no timers.

void E_FSM::save(F_MemoryFile& file) const {
    file.createChunk(0, VERSION);
    file.writeTaggedCount(F_MemoryFile::TAG_ISTRING_SET, 0);
    file << istring();
    file.writeTaggedCount(F_MemoryFile::TAG_ISTRING_SET, 0);
    writeHandlers(file, m_handlers);
    file << m_userCanAddStates;
    file << m_userCanAddCustomStrings;
    file.writeTaggedCount(F_MemoryFile::TAG_ISTRING_MAP, 0);
    file.closeChunk();
}

void E_FSM::load(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    F_MemoryFile& body = chunk.isValid() ? chunk.getMemoryFile() : file;
    const int version = chunk.isValid() ? chunk.getVersion() : 0;

    readEmpty(body, F_MemoryFile::TAG_ISTRING_SET);
    istring defaultState; // names no state, where there is none, and is dropped
    body >> defaultState;
    readEmpty(body, F_MemoryFile::TAG_ISTRING_SET);
    std::set<istring> handlers = readHandlers(body);
    bool userCanAddStates = false, userCanAddCustomStrings = false; // set whatever the file says
    body >> userCanAddStates;
    body >> userCanAddCustomStrings;
    if (version > 0)
        readEmpty(body, F_MemoryFile::TAG_ISTRING_MAP);
    if (chunk.isValid())
        file.skipChunk();

    m_handlers.swap(handlers);
    m_userCanAddStates = m_userCanAddCustomStrings = true;
}

} // namespace cairn
