#pragma once

#include "cairn/foundation/memory_file.h"
#include "cairn/foundation/strings.h"

#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace cairn {

class CN_Document;
class CN_ExitTable;
class CN_LevelEntity;

/// The state machine of an entity: it is edited, stored and exported for the game, and never run here.
///
/// It has named states, custom events and timers, and message handlers: a handler is a named trigger whose body is
/// lists of messages, each a line of script that is addressed to an entity or to the game. All names are keys without
/// regard to case, and all sets and maps stand in that order.
class E_FSM {
  public:
    /// Version of the chunks of machines, messages and timers; machines and messages of version 0 were written without one.
    static constexpr int VERSION = 1;

    /// One line of script: a comment, a line to an entity, or a line to the game as a whole.
    ///
    /// The line stands in `m_text`; the other members say the same taken apart, and are kept in step with it by the
    /// operations here and by `CN_FSMChangeManager`. An entity named here is not owned: before it is deleted,
    /// `ForEach_FSMDeleteObject` must take the messages that name it out of the level's machines.
    struct Message {
        istring m_text;                                 ///< the whole line as the user sees it
        istring m_name;                                 ///< such as "FSM_Switch"; no target, no arguments
        istring m_targetName;                           ///< fully qualified name of the target
        istring m_targetPath;                           ///< what stands for the target in the text; not stored
        CN_LevelEntity* m_target = nullptr;             ///< not owned: null for none
        std::vector<CN_LevelEntity*> m_objectArguments; ///< not owned: what each argument names, null for nothing
        std::vector<istring> m_arguments;               ///< as they stand between the parentheses
        bool m_global = false;                          ///< goes to the game and not to an entity
        bool m_spare = false;                           ///< copied, not stored, no meaning here

        /// Identities that a record gave for the entities, until `CN_FSMChangeManager::deserializeFSMs` finds these; 0
        /// for none and afterwards. The second list may be shorter than the object arguments: what it lacks is 0.
        unsigned int m_targetId = 0;
        std::vector<unsigned int> m_objectArgumentIds;

        /// True if the line begins with "#" behind white space: it takes part in nothing. False for an empty line.
        bool isCommentMessage() const;
        /// True if the line names its target from the entity of the machine, false if from the root ("::" at its begin).
        bool nameRelative() const;
        /// The line's reference to its target: what stands before the first "->", or the whole line where there is none.
        istring getWrittenPath() const;
        /// The object argument at the index; null beyond their end, which a file may set before that of the arguments.
        CN_LevelEntity* getObjectArgument(std::size_t index) const;
        /// True if the target or an object argument is the entity, comment or not.
        bool refersTo(const CN_LevelEntity* entity) const;

        /// @name Keeping the line true (message_targets.cpp)
        /// @{

        /// Rebuilds the line for its target's present place: the shortest path from the entity of `fsm` for a relative
        /// line, the qualified name for an absolute one; a line to the root, which has none, becomes relative. A line
        /// without target looks it up first, by its path or its target's name. `fsm` is not null. False, with the line as it was, if there
        /// is none to be found, or none in the same tree for a relative line; true for comments and global messages,
        /// which stay as they are. A target that has died counts as none.
        bool updateTargetName(E_FSM* fsm);
        /// The arguments in one text, with that between them.
        istring joinArguments(const char* separator) const;
        /// Where in the line the "(" of the arguments stands, `npos` for none: the first one, in a line to an entity the first
        /// behind the "->", as a name on the way there may hold one.
        std::size_t findArguments() const;
        /// Replaces all from there on by a "(", `arguments` and ");"; nothing else follows.
        void rewriteArguments(const istring& arguments);
        /// @}

        /// @name Following renames (message_renames.cpp)
        /// Each changes the message if it is no comment, has `entity`, which is not null, for its target and names what was
        /// renamed, without regard to case; true if it did. The first find of the old name behind the "(" of the arguments is
        /// replaced, whatever it stands in.
        /// @{
        bool renameState(const CN_LevelEntity* entity, const istring& from, const istring& to);
        bool renameTimer(const CN_LevelEntity* entity, const istring& from, const istring& to);
        bool renameAnimation(const CN_LevelEntity* entity, const istring& from, const istring& to);
        /// Rebuilds the line from the "(" of its arguments on.
        bool renameCustomSend(const CN_LevelEntity* entity, const istring& from, const istring& to);
        /// The line stays: only the argument follows.
        bool renameExit(const CN_LevelEntity* entity, const istring& from, const istring& to);
        /// @}

        /// @name Script export (fsm_export.cpp)
        /// @{

        /// True if the message belongs into a script: with `selectionOnly` only what lies wholly in the selection. The target
        /// groups are those that `CN_LevelFileLibrary::cacheTargetGroups` gathered last. A message that names an entity that
        /// has died does not.
        bool isToBeExported(bool selectionOnly) const;
        /// Appends the message's line of the game's script language to `out`, without a line's end. Nothing is appended
        /// for an exit message whose target has no such exit, and for "AI_SetTargetGroups" with one argument that is no group.
        void exportTo(std::string& out) const;
        /// The same, for many messages: exits are looked up in the table.
        void exportTo(std::string& out, CN_ExitTable& exits) const;
        /// @}
    };

    using MessageList = std::vector<Message>;

    /// The body of a handler.
    struct MessageHandler {
        MessageList m_sendBefore;                     ///< sent first
        std::map<istring, MessageList> m_sendOnState; ///< sent in that state only; an animation's by keyframe event
        MessageList m_sendAfter;                      ///< sent last

        /// The messages of all lists, comments included.
        int getNumMessageLines() const;
        /// Calls `f` with each list, in the order in which edits walk: before, after, then the states in their order.
        template <class F> void forEachList(F&& f) { forEachListOf(*this, f); }
        template <class F> void forEachList(F&& f) const { forEachListOf(*this, f); }

      private:
        template <class Handler, class F> static void forEachListOf(Handler& handler, F& f) {
            f(handler.m_sendBefore);
            f(handler.m_sendAfter);
            for (auto& [state, messages] : handler.m_sendOnState)
                f(messages);
        }
    };

    /// Kept and stored for the game.
    struct SFSMTimer {
        bool m_flag = false;
        float m_time = 5.0f; ///< of the game
    };

    using NameSet = std::set<istring>;
    using HandlerMap = std::map<istring, MessageHandler>;
    using TimerMap = std::map<istring, SFSMTimer>;

    /// A machine of `parent` (which may be null) with the one handler "Startup". The flags say what a user may add; a
    /// load sets both.
    E_FSM(CN_LevelEntity* parent, bool userCanAddStates, bool userCanAddCustomStrings);
    /// Copies all but the walks, which stand at the end.
    E_FSM(const E_FSM& other);
    E_FSM& operator=(const E_FSM& other);

    /// Makes another entity the machine's owner and does nothing else.
    void reParentTo(CN_LevelEntity* parent) { m_parent = parent; }
    CN_LevelEntity* getParent() { return m_parent; }
    const CN_LevelEntity* getParent() const { return m_parent; }

    /// @name Reading
    /// @{
    const NameSet& getStates() const { return m_states; }
    /// Empty for none.
    const istring& getDefaultState() const { return m_defaultState; }
    const NameSet& getCustomStrings() const { return m_customEvents; }
    const TimerMap& getTimers() const { return m_timers; }
    TimerMap& accessTimers() { return m_timers; }
    bool isLocal() const { return true; }
    bool userCanAddStates() const { return m_userCanAddStates; }
    bool userCanAddCustomStrings() const { return m_userCanAddCustomStrings; }
    const HandlerMap& getMessageHandlers() const { return m_handlers; }
    int getMessageHandlerCount() const { return static_cast<int>(m_handlers.size()); }
    bool hasState(const istring& name) const { return m_states.count(name) > 0; }
    bool hasCustomEvent(const istring& name) const { return m_customEvents.count(name) > 0; }
    bool hasTimer(const istring& name) const { return m_timers.count(name) > 0; }
    bool hasMessageHandler(const istring& name) const { return m_handlers.count(name) > 0; }
    /// Null where there is none of that name; valid until it is renamed or deleted.
    const SFSMTimer* getTimerData(const istring& name) const;
    const MessageHandler* getMessageHandler(const istring& name) const;
    MessageHandler* accessMessageHandler(const istring& name);
    /// @}

    /// @name Walking the handlers
    /// Two walks in the order of names, one for reading and one for changing. Each operation gives null at the end and stays
    /// there; deleting or renaming the handler at which a walk stands moves it to the end.
    /// @{
    const MessageHandler* getFirstMessageHandler() const;
    const MessageHandler* getNextMessageHandler() const;
    const MessageHandler* getCurrentMessageHandler() const;
    /// The name of the handler at which the walk stands.
    const istring* getCurrentHandlerMessage() const;
    MessageHandler* accessFirstMessageHandler();
    MessageHandler* accessNextMessageHandler();
    const istring* accessCurrentHandlerMessage();
    /// @}

    /// @name Queries
    /// @{

    /// Calls `f` with each message of each handler, comments included: handlers by name, lists as `forEachList` has them.
    template <class F> void forEachMessage(F&& f) { forEachMessageOf(*this, f); }
    template <class F> void forEachMessage(F&& f) const { forEachMessageOf(*this, f); }

    /// Calls `f` with each list of messages in the same order; it may change the list.
    template <class F> void forEachList(F&& f) {
        for (auto& [name, handler] : m_handlers)
            handler.forEachList(f);
    }

    /// The name of the handler that holds this very message; null for a comment and for a message of elsewhere.
    const istring* getHandlerForMessage(const Message& message) const;
    /// True if some message that is no comment has the entity for its target. No message refers to null, here and below.
    bool referencesTo(const CN_LevelEntity* entity) const;
    /// The same with that name and exactly these arguments, all without regard to case.
    bool sendsTo(const CN_LevelEntity* entity, const istring& name, const std::vector<istring>& arguments) const;
    /// True if some message makes the entity's machine enter the state, sends it the event, or starts, pauses or resumes the
    /// timer.
    bool referencesToState(const CN_LevelEntity* entity, const istring& state) const;
    bool referencesToCustom(const CN_LevelEntity* entity, const istring& event) const;
    bool referencesToTimer(const CN_LevelEntity* entity, const istring& timer) const;
    /// True if there is any message, a comment included.
    bool hasMessages() const;
    /// True if there is no message but comments.
    bool isEmpty() const;
    /// True if a message of some machine of the document's level, this one included, has this machine's entity for its
    /// target or an object argument. It walks the whole level.
    bool isReferenced(const CN_Document* document) const;
    /// True for an empty handler of a name that the kinds of entities make themselves.
    static bool isEmptyHardcodedHandler(const istring& name, const MessageHandler& handler);
    /// @}

    /// @name Names of the handlers that belong to states, events and timers
    /// @{
    static istring makeSwitchHandlerName(const istring& state);
    static istring makeSendHandlerName(const istring& event);
    static istring makeStartTimerHandlerName(const istring& timer);
    static istring makeEndTimerHandlerName(const istring& timer);
    /// @}

    /// @name Editing
    /// Names that are absent are passed over in silence unless told otherwise; one may be the machine's own, as the reading
    /// operations give it. A rename changes the messages of this
    /// machine; those of others are reached by the rename walkers (walkers.h).
    /// @{

    /// Adds the state with its switch handler; the only state is the default one.
    void addState(const istring& name);
    /// Also adds `to` where `from` is absent. What stood on the state goes to `to`, unless something stands there.
    void renameState(istring from, istring to);
    /// The machine has no default state afterwards where that was it.
    void deleteState(const istring& name);
    void setDefaultState(const istring& name) { m_defaultState = name; }
    void addCustomEvent(const istring& name);
    void renameCustomEvent(istring from, istring to);
    void deleteCustomEvent(const istring& name);
    /// Adds the timer with its start and end handler; one of that name stays as it is.
    void addTimer(const istring& name, bool flag, float time);
    void renameTimer(istring from, istring to);
    void deleteTimer(const istring& name);
    /// The handler of that name, made where there was none.
    MessageHandler& createMessageHandler(const istring& name);
    /// Adds the handlers that every dynamic mesh has.
    void createDynamicMeshHandlers();
    /// The messages are dropped where there is a handler of the new name, which stays as it is.
    void renameMessageHandler(const istring& from, const istring& to);
    void deleteMessageHandler(const istring& name);
    /// @}

    /// @name Record (fsm_record.cpp)
    /// @{
    void save(F_MemoryFile& file) const;
    /// Replaces the machine by the stored one, whether in a chunk or, as older files have it, without, and brings older
    /// contents up to date. Entities are named by stored identities until `CN_FSMChangeManager::deserializeFSMs`. Throws
    /// on damage; the machine is as it was then.
    void load(F_MemoryFile& file);
    /// @}

    /// @name Export (fsm_export.cpp)
    /// @{

    /// Writes as XML, without escaping, what the filter (a part of a line or a handler's name without regard to case; empty for
    /// all) and the selection (null for none; messages that touch it) let through. True if it wrote anything.
    bool dumpXML(std::ostream& out, const istring& filter, const std::set<const CN_LevelEntity*>* selection) const;
    /// Appends the lines of this machine's messages to the handlers of the other, as comments; a handler that the other
    /// lacks is made. Nothing for null and for the machine itself.
    void mergeFsm(E_FSM* other) const;
    /// Finds the entities that the arguments name from the root ("::", with or without quotes); null for every other
    /// argument. A comment is left alone.
    void pushObjectArguments(Message& message) const;
    /// @}

  private:
    template <class Machine, class F> static void forEachMessageOf(Machine& machine, F& f) {
        for (auto& [name, handler] : machine.m_handlers)
            handler.forEachList([&f](auto& messages) {
                for (auto& message : messages)
                    f(message);
            });
    }
    template <class Test> bool anyMessage(Test&& test) const;
    void endWalks();
    void endWalksAt(const istring& name);
    void upgrade();
    void upgradeKeyframeHandlers();

    NameSet m_states;
    istring m_defaultState; ///< empty for none
    NameSet m_customEvents;
    HandlerMap m_handlers;
    TimerMap m_timers;
    CN_LevelEntity* m_parent;       ///< not owned: the entity that owns the machine; may be null
    bool m_userCanAddStates;        ///< true once loaded
    bool m_userCanAddCustomStrings; ///< true once loaded
    HandlerMap::iterator m_accessCursor;
    mutable HandlerMap::const_iterator m_getCursor;
};

} // namespace cairn
