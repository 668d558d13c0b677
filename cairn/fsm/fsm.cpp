#include "cairn/fsm/fsm.h"

#include "cairn/document/change_scope.h"
#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"

#include <algorithm>
#include <array>

namespace cairn {

namespace {

/// The handlers that kinds of entities make themselves.
constexpr std::array<const char*, 11> HARDCODED_HANDLERS = {"Startup",
                                                            "T_Activate",
                                                            "OnActivate",
                                                            "OnDeath",
                                                            "OnLowHealth",
                                                            "OnPlayerAttack",
                                                            "OnUse",
                                                            "DO_BulletCollides",
                                                            "DO_MovedToInvalidPosition",
                                                            "DO_MovedToInvalidPositionEnds",
                                                            "DO_OnDeath"};

istring inParentheses(const char* prefix, const istring& name) { return (istring(prefix) += name) += ')'; }

/// The entry of that name, or null.
template <class Map> auto* findIn(Map& map, const istring& name) {
    const auto entry = map.find(name);
    return entry == map.end() ? nullptr : &entry->second;
}

/// Gives an entry another name, where it may differ in case only; an entry that has the name already stays, and the one
/// that was to move is dropped.
template <class Map> void renameEntry(Map& map, const istring& from, const istring& to) {
    auto entry = map.extract(from);
    if (entry.empty())
        return;
    entry.key() = to;
    map.insert(std::move(entry));
}

/// The same in a set; true if `from` was there.
bool renameEntry(E_FSM::NameSet& names, const istring& from, const istring& to) {
    const bool found = names.erase(from) > 0;
    if (found)
        names.insert(to);
    return found;
}

} // namespace

bool E_FSM::Message::isCommentMessage() const {
    const auto first = std::find_if_not(m_text.begin(), m_text.end(), asciiIsSpace);
    return first != m_text.end() && *first == '#';
}

bool E_FSM::Message::nameRelative() const { return !view(m_text).starts_with("::"); }

istring E_FSM::Message::getWrittenPath() const { return m_text.substr(0, view(m_text).find("->")); }

CN_LevelEntity* E_FSM::Message::getObjectArgument(std::size_t index) const {
    return index < m_objectArguments.size() ? m_objectArguments[index] : nullptr;
}

bool E_FSM::Message::refersTo(const CN_LevelEntity* entity) const {
    return entity && (m_target == entity ||
                      std::find(m_objectArguments.begin(), m_objectArguments.end(), entity) != m_objectArguments.end());
}

int E_FSM::MessageHandler::getNumMessageLines() const {
    std::size_t lines = 0;
    forEachList([&](const MessageList& messages) { lines += messages.size(); });
    return static_cast<int>(lines);
}

E_FSM::E_FSM(CN_LevelEntity* parent, bool userCanAddStates, bool userCanAddCustomStrings)
    : m_handlers{{"Startup", {}}}, m_parent(parent), m_userCanAddStates(userCanAddStates),
      m_userCanAddCustomStrings(userCanAddCustomStrings) {
    endWalks();
}

E_FSM::E_FSM(const E_FSM& other)
    : m_states(other.m_states), m_defaultState(other.m_defaultState), m_customEvents(other.m_customEvents),
      m_handlers(other.m_handlers), m_timers(other.m_timers), m_parent(other.m_parent),
      m_userCanAddStates(other.m_userCanAddStates), m_userCanAddCustomStrings(other.m_userCanAddCustomStrings) {
    endWalks();
}

E_FSM& E_FSM::operator=(const E_FSM& other) {
    if (this != &other) {
        m_states = other.m_states;
        m_defaultState = other.m_defaultState;
        m_customEvents = other.m_customEvents;
        m_handlers = other.m_handlers;
        m_timers = other.m_timers;
        m_parent = other.m_parent;
        m_userCanAddStates = other.m_userCanAddStates;
        m_userCanAddCustomStrings = other.m_userCanAddCustomStrings;
        endWalks();
    }
    return *this;
}

const E_FSM::SFSMTimer* E_FSM::getTimerData(const istring& name) const { return findIn(m_timers, name); }

const E_FSM::MessageHandler* E_FSM::getMessageHandler(const istring& name) const { return findIn(m_handlers, name); }

E_FSM::MessageHandler* E_FSM::accessMessageHandler(const istring& name) { return findIn(m_handlers, name); }

const E_FSM::MessageHandler* E_FSM::getFirstMessageHandler() const {
    m_getCursor = m_handlers.begin();
    return getCurrentMessageHandler();
}

const E_FSM::MessageHandler* E_FSM::getNextMessageHandler() const {
    if (m_getCursor != m_handlers.end())
        ++m_getCursor;
    return getCurrentMessageHandler();
}

const E_FSM::MessageHandler* E_FSM::getCurrentMessageHandler() const {
    return m_getCursor == m_handlers.end() ? nullptr : &m_getCursor->second;
}

const istring* E_FSM::getCurrentHandlerMessage() const {
    return m_getCursor == m_handlers.end() ? nullptr : &m_getCursor->first;
}

E_FSM::MessageHandler* E_FSM::accessFirstMessageHandler() {
    m_accessCursor = m_handlers.begin();
    return m_accessCursor == m_handlers.end() ? nullptr : &m_accessCursor->second;
}

E_FSM::MessageHandler* E_FSM::accessNextMessageHandler() {
    if (m_accessCursor != m_handlers.end())
        ++m_accessCursor;
    return m_accessCursor == m_handlers.end() ? nullptr : &m_accessCursor->second;
}

const istring* E_FSM::accessCurrentHandlerMessage() {
    return m_accessCursor == m_handlers.end() ? nullptr : &m_accessCursor->first;
}

void E_FSM::endWalks() {
    m_accessCursor = m_handlers.end();
    m_getCursor = m_handlers.end();
}

/// Moves the walks that stand at the handler to the end: it is about to leave the map.
void E_FSM::endWalksAt(const istring& name) {
    const auto at = m_handlers.find(name);
    if (at == m_accessCursor)
        m_accessCursor = m_handlers.end();
    if (at == m_getCursor)
        m_getCursor = m_handlers.end();
}

const istring* E_FSM::getHandlerForMessage(const Message& message) const {
    if (message.isCommentMessage())
        return nullptr;
    for (const auto& [name, handler] : m_handlers) {
        bool held = false;
        handler.forEachList([&](const MessageList& messages) {
            held |= std::any_of(messages.begin(), messages.end(), [&](const Message& m) { return &m == &message; });
        });
        if (held)
            return &name;
    }
    return nullptr;
}

template <class Test> bool E_FSM::anyMessage(Test&& test) const {
    for (const auto& [name, handler] : m_handlers) {
        bool found = false;
        handler.forEachList(
            [&](const MessageList& messages) { found = found || std::any_of(messages.begin(), messages.end(), test); });
        if (found)
            return true;
    }
    return false;
}

bool E_FSM::referencesTo(const CN_LevelEntity* entity) const {
    return entity && anyMessage([&](const Message& m) { return m.m_target == entity && !m.isCommentMessage(); });
}

bool E_FSM::sendsTo(const CN_LevelEntity* entity, const istring& name, const std::vector<istring>& arguments) const {
    return entity && anyMessage([&](const Message& m) {
               return m.m_target == entity && m.m_name == name && m.m_arguments == arguments && !m.isCommentMessage();
           });
}

bool E_FSM::referencesToState(const CN_LevelEntity* entity, const istring& state) const {
    return sendsTo(entity, "FSM_Switch", {state});
}

bool E_FSM::referencesToCustom(const CN_LevelEntity* entity, const istring& event) const {
    return sendsTo(entity, "FSM_Send", {event});
}

bool E_FSM::referencesToTimer(const CN_LevelEntity* entity, const istring& timer) const {
    return sendsTo(entity, "FSM_StartTimer", {timer}) || sendsTo(entity, "FSM_PauseTimer", {timer}) ||
           sendsTo(entity, "FSM_ResumeTimer", {timer});
}

bool E_FSM::hasMessages() const {
    return anyMessage([](const Message&) { return true; });
}

bool E_FSM::isEmpty() const {
    return !anyMessage([](const Message& m) { return !m.isCommentMessage(); });
}

bool E_FSM::isReferenced(const CN_Document* document) const {
    const CN_LevelEntity* const level = document ? document->getLevel() : nullptr;
    if (!level)
        return false;
    const auto refers = [this](const CN_LevelEntity* entity) {
        const E_FSM* const machine = entity->getFSM();
        return machine &&
               machine->anyMessage([this](const Message& m) { return m.refersTo(m_parent) && !m.isCommentMessage(); });
    };
    if (refers(level))
        return true;
    CN_ConstPreIterator it = level->createConstIterator();
    for (it.begin(); !it.end(); ++it)
        if (refers(*it))
            return true;
    return false;
}

bool E_FSM::isEmptyHardcodedHandler(const istring& name, const MessageHandler& handler) {
    return std::find(HARDCODED_HANDLERS.begin(), HARDCODED_HANDLERS.end(), name) != HARDCODED_HANDLERS.end() &&
           handler.getNumMessageLines() == 0;
}

istring E_FSM::makeSwitchHandlerName(const istring& state) { return inParentheses("FSM_Switch(", state); }

istring E_FSM::makeSendHandlerName(const istring& event) { return inParentheses("FSM_Send(", event); }

istring E_FSM::makeStartTimerHandlerName(const istring& timer) { return inParentheses("OnStartTimer(", timer); }

istring E_FSM::makeEndTimerHandlerName(const istring& timer) { return inParentheses("OnEndTimer(", timer); }

void E_FSM::addState(const istring& name) {
    m_states.insert(name);
    if (m_states.size() == 1)
        m_defaultState = name;
    createMessageHandler(makeSwitchHandlerName(name));
}

void E_FSM::renameState(istring from, istring to) {
    const CN_ChangeScope change(m_parent ? m_parent->getDocument() : nullptr);
    m_states.erase(from);
    m_states.insert(to);
    if (m_defaultState == from)
        m_defaultState = to;
    for (auto& [name, handler] : m_handlers)
        renameEntry(handler.m_sendOnState, from, to);
    renameMessageHandler(makeSwitchHandlerName(from), makeSwitchHandlerName(to));
    forEachMessage([&](Message& m) { m.renameState(m_parent, from, to); });
}

void E_FSM::deleteState(const istring& name) {
    const istring state = name; // it may be the set's own
    m_states.erase(state);
    if (m_defaultState == state)
        m_defaultState.clear();
    for (auto& [handlerName, handler] : m_handlers)
        handler.m_sendOnState.erase(state);
    deleteMessageHandler(makeSwitchHandlerName(state));
}

void E_FSM::addCustomEvent(const istring& name) {
    m_customEvents.insert(name);
    createMessageHandler(makeSendHandlerName(name));
}

void E_FSM::renameCustomEvent(istring from, istring to) {
    const CN_ChangeScope change(m_parent ? m_parent->getDocument() : nullptr);
    if (!renameEntry(m_customEvents, from, to))
        return;
    renameMessageHandler(makeSendHandlerName(from), makeSendHandlerName(to));
    forEachMessage([&](Message& m) { m.renameCustomSend(m_parent, from, to); });
}

void E_FSM::deleteCustomEvent(const istring& name) {
    const istring handler = makeSendHandlerName(name);
    if (m_customEvents.erase(name) > 0)
        deleteMessageHandler(handler);
}

void E_FSM::addTimer(const istring& name, bool flag, float time) {
    m_timers.insert({name, {flag, time}});
    createMessageHandler(makeStartTimerHandlerName(name));
    createMessageHandler(makeEndTimerHandlerName(name));
}

void E_FSM::renameTimer(istring from, istring to) {
    if (!hasTimer(from))
        return;
    const CN_ChangeScope change(m_parent ? m_parent->getDocument() : nullptr);
    renameEntry(m_timers, from, to);
    renameMessageHandler(makeStartTimerHandlerName(from), makeStartTimerHandlerName(to));
    renameMessageHandler(makeEndTimerHandlerName(from), makeEndTimerHandlerName(to));
    forEachMessage([&](Message& m) { m.renameTimer(m_parent, from, to); });
}

void E_FSM::deleteTimer(const istring& name) {
    const istring start = makeStartTimerHandlerName(name), end = makeEndTimerHandlerName(name);
    if (m_timers.erase(name) == 0)
        return;
    deleteMessageHandler(start);
    deleteMessageHandler(end);
}

E_FSM::MessageHandler& E_FSM::createMessageHandler(const istring& name) { return m_handlers[name]; }

void E_FSM::createDynamicMeshHandlers() {
    for (const char* const name :
         {"DO_MovedToInvalidPosition", "DO_MovedToInvalidPositionEnds", "DO_BulletCollides", "DO_OnDeath"})
        createMessageHandler(name);
}

void E_FSM::renameMessageHandler(const istring& from, const istring& to) {
    endWalksAt(from);
    renameEntry(m_handlers, from, to);
}

void E_FSM::deleteMessageHandler(const istring& name) {
    endWalksAt(name);
    m_handlers.erase(name);
}

} // namespace cairn
