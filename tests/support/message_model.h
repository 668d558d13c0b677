#pragma once

#include "cairn/entities/fsm_entity.h"
#include "cairn/entities/waypoint.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/fsm/walkers.h"
#include "tests/support/level_bytes.h"
#include "tests/support/machine_text.h"
#include "tests/support/naive_targets.h"

#include <fmt/format.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace cairn::test {

/// A level whose tree and state machines are edited at random, beside a plain account of what every machine must hold: each
/// message's target and arguments are kept as entities, and its names and line are made from scratch when they are compared.
class MessageModel {
  public:
    /// A number below its argument, which is above 0.
    using Choose = std::function<std::size_t(std::size_t)>;

    /// A level with that many machines, two messages each.
    MessageModel(std::size_t machines, Choose choose) : m_most(2 * machines), m_choose(std::move(choose)) {
        m_document.createCairnLevelEntities();
        m_nodes.push_back({m_document.accessLevel(), {}});
        Node& player = m_nodes.emplace_back(Node{m_document.accessPlayer(), {}});
        player.machine.exists = true;
        for (const auto& [name, handler] : player.entity->getFSM()->getMessageHandlers())
            player.machine.handlers[name];
        CN_FSMChangeManager::instance()->documentChangedNotification(nullptr, &m_document, nullptr);
        for (std::size_t i = 0; i < machines; ++i)
            addEntity(true);
        for (std::size_t i = 0; i < 2 * machines; ++i)
            addMessage();
    }

    /// One random edit, with what a host does for it beside.
    void edit() {
        using Edit = void (MessageModel::*)();
        static constexpr Edit EDITS[] = {
            &MessageModel::addAnyEntity, &MessageModel::addAnyEntity,    &MessageModel::renameEntity,
            &MessageModel::renameEntity, &MessageModel::moveEntity,      &MessageModel::moveEntity,
            &MessageModel::deleteEntity, &MessageModel::addMessage,      &MessageModel::addMessage,
            &MessageModel::addMessage,   &MessageModel::deleteMessage,   &MessageModel::addName,
            &MessageModel::addName,      &MessageModel::renameState,     &MessageModel::renameEvent,
            &MessageModel::renameTimer,  &MessageModel::renameAnimation, &MessageModel::renameExit,
            &MessageModel::deleteState,  &MessageModel::deleteEvent,     &MessageModel::deleteTimer,
            &MessageModel::deleteExit,   &MessageModel::deleteAnimation, &MessageModel::copyMachine,
            &MessageModel::commentOut,
        };
        (this->*EDITS[choose(std::size(EDITS))])();
    }

    std::size_t countMachines() const {
        const auto has = [](const Node& node) { return node.machine.exists; };
        return static_cast<std::size_t>(std::count_if(m_nodes.begin(), m_nodes.end(), has));
    }

    /// Ends a batch of edits as a host does, and says what is not as it must be then; empty where all is well.
    std::string findFault() {
        CN_FSMChangeManager* const manager = CN_FSMChangeManager::instance();
        manager->documentUpdatedNotification(nullptr);
        if (std::string fault = compareMachines(false); !fault.empty())
            return fault;
        manager->setHierarchyHasChanged(); // lines of which only an argument was renamed are rebuilt by a whole update
        manager->documentUpdatedNotification(nullptr);
        return compareMachines(true);
    }

    /// Saves the level, loads it and compares: empty where both are the same graph. Between edits and their notification names
    /// are old, and only `identities` hold.
    std::string findLoadFault(bool identities) {
        if (namePlayer() && !identities) {
            CN_FSMChangeManager::setHierarchyHasChanged();
            CN_FSMChangeManager::instance()->documentUpdatedNotification(nullptr);
        }
        const Bytes saved = saveLevel(m_document);
        CN_Document again;
        loadLevel(again, saved);
        std::map<const CN_LevelEntity*, const CN_LevelEntity*> twins{{nullptr, nullptr},
                                                                     {m_document.getLevel(), again.getLevel()}};
        CN_ConstPreIterator it = m_document.getLevel()->createConstIterator();
        CN_ConstPreIterator other = again.getLevel()->createConstIterator();
        other.begin();
        for (it.begin(); !it.end() && !other.end(); ++it, ++other)
            twins[*it] = *other;
        if (!it.end() || !other.end())
            return "the loaded tree has another size";
        for (const Node& node : m_nodes)
            if (std::string fault = compareWithTwin(*node.entity, *twins[node.entity], twins, !identities);
                !fault.empty())
                return fault;
        return identities || saveLevel(again) == saved ? "" : "the loaded level saves otherwise";
    }

  private:
    enum Kind { LINE, GLOBAL, COMMENT, LOST };

    struct Argument {
        istring text;
        CN_LevelEntity* object = nullptr; ///< whose name is the argument then
    };

    /// What a message must say.
    struct Line {
        Kind kind = LINE;
        istring begin; ///< of a line without a target: all ahead of the arguments; of a comment the line
        CN_LevelEntity* target = nullptr;
        bool absolute = false;
        istring name;
        std::vector<Argument> arguments;
    };

    using Lines = std::vector<Line>;

    struct Handler {
        Lines before, after;
        std::map<istring, Lines> onState;

        template <class F> void forEachList(F&& f) {
            f(before);
            f(after);
            for (auto& [state, lines] : onState)
                f(lines);
        }
    };

    struct Machine {
        bool exists = false;
        E_FSM::NameSet states, events;
        std::map<istring, std::pair<bool, float>> timers;
        istring defaultState;
        std::map<istring, Handler> handlers;
    };

    struct Node {
        CN_LevelEntity* entity;
        Machine machine;
    };

    /// What messages name of their target.
    enum Naming { STATE, EVENT, TIMER, ANIMATION, EXIT, NONE };

    std::size_t choose(std::size_t below) { return m_choose(below); }
    template <class List> auto& chooseOf(List& list) {
        return *std::next(std::begin(list), static_cast<std::ptrdiff_t>(choose(std::size(list))));
    }
    Node& chooseNode() { return chooseOf(m_nodes); }

    /// A node with a machine: the first from a random one on, or null.
    Node* chooseMachine() {
        const std::size_t from = choose(m_nodes.size());
        for (std::size_t i = 0; i < m_nodes.size(); ++i)
            if (Node& node = m_nodes[(from + i) % m_nodes.size()]; node.machine.exists)
                return &node;
        return nullptr;
    }

    istring chooseName() {
        static constexpr const char* NAMES[] = {"idle", "Run", "RUN", "walk", "a", "Switch", "idle2"};
        return chooseOf(NAMES);
    }

    /// Mostly one that the machine has.
    istring chooseNameOf(const Machine& machine, Naming naming) {
        const E_FSM::NameSet* const names = naming == STATE   ? &machine.states
                                            : naming == EVENT ? &machine.events
                                                              : nullptr;
        if (choose(4) == 0)
            return chooseName();
        if (naming == TIMER && !machine.timers.empty())
            return chooseOf(machine.timers).first;
        return names && !names->empty() ? chooseOf(*names) : chooseName();
    }

    // The tree

    CString chooseEntityName() {
        static constexpr const char* NAMES[] = {"Room",   "room", "Door",    "Big Door", "player",
                                                "DOOR07", "D",    "Parents", "Hall(1)"};
        return CString(chooseOf(NAMES));
    }

    void addEntity(bool withMachine) {
        CN_LevelEntity* const parent = chooseNode().entity;
        std::unique_ptr<CN_LevelEntity> made;
        if (withMachine)
            made = std::make_unique<CN_LevelEntityFSM>();
        else
            made = std::make_unique<CN_LevelEntityWaypoint>();
        CN_LevelEntity* const entity = made.get();
        entity->setDocument(&m_document);
        entity->setName(chooseEntityName(), true);
        parent->addOwned(std::move(made), false);
        m_nodes.push_back({entity, {}});
        m_nodes.back().machine.exists = withMachine;
        if (withMachine)
            m_nodes.back().machine.handlers["Startup"];
    }

    void addAnyEntity() {
        if (m_nodes.size() < m_most)
            addEntity(choose(8) != 0);
    }

    /// Null for the root and the player, whom a level keeps where they are.
    CN_LevelEntity* chooseMovable() {
        CN_LevelEntity* const entity = chooseNode().entity;
        return entity->getParent() && entity != m_document.getPlayer() ? entity : nullptr;
    }

    /// The player too, whom lines call "player" whatever the name is.
    void renameEntity() {
        if (CN_LevelEntity* const entity = chooseNode().entity; entity->getParent())
            entity->setName(chooseEntityName(), true);
    }

    /// Gives the player the name by which a load knows it; true if it had another.
    bool namePlayer() {
        static const CString NAME = "player";
        CN_LevelEntity* const holder = m_document.accessLevel()->hasChildNamed(NAME);
        if (holder == m_document.getPlayer())
            return false;
        if (holder)
            holder->setName("Room", true);
        return m_document.accessPlayer()->setName(NAME, false);
    }

    void moveEntity() {
        CN_LevelEntity* const parent = chooseNode().entity;
        CN_LevelEntity* const entity = chooseMovable();
        if (!entity || parent == entity || parent->isParent(entity))
            return;
        if (choose(2))
            entity->getParent()->remove(entity);
        parent->add(entity, false);
    }

    void deleteEntity() {
        const std::size_t mostAtOnce = m_nodes.size() > m_most / 2 ? 64 : 2; // the level must not shrink away
        CN_LevelEntity* const entity = chooseMovable();
        if (!entity)
            return;
        std::set<const CN_LevelEntity*> dying{entity};
        CN_PreIterator it = entity->createIterator();
        for (it.begin(); !it.end() && dying.size() <= mostAtOnce; ++it)
            dying.insert(*it);
        if (dying.size() > mostAtOnce)
            return;
        const auto dies = [&](const Node& node) { return dying.count(node.entity) > 0; };
        m_nodes.erase(std::remove_if(m_nodes.begin(), m_nodes.end(), dies), m_nodes.end());
        eraseLines([&](const Line& line) {
            return line.kind != COMMENT &&
                   (dying.count(line.target) > 0 ||
                    std::any_of(line.arguments.begin(), line.arguments.end(),
                                [&](const Argument& argument) { return dying.count(argument.object) > 0; }));
        });
        run(ForEach_FSMDeleteObject(std::move(dying)));
        entity->getParent()->remove(entity);
        delete entity;
    }

    // Messages

    template <class Walker> void run(Walker&& walker) { m_document.accessLevel()->forEachEntity(&walker); }

    template <class F> void forEachList(F&& f) {
        for (Node& node : m_nodes)
            for (auto& [name, handler] : node.machine.handlers)
                handler.forEachList(f);
    }

    template <class Test> void eraseLines(Test&& test) {
        forEachList([&](Lines& lines) { lines.erase(std::remove_if(lines.begin(), lines.end(), test), lines.end()); });
    }

    /// The same random list in the account and in the machine.
    std::pair<Lines*, E_FSM::MessageList*> chooseList(Node& node) {
        auto& [name, handler] = chooseOf(node.machine.handlers);
        E_FSM::MessageHandler& real = node.entity->accessFSM()->createMessageHandler(name);
        switch (node.machine.states.empty() ? choose(2) : choose(3)) {
        case 0:
            return {&handler.before, &real.m_sendBefore};
        case 1:
            return {&handler.after, &real.m_sendAfter};
        default: {
            const istring& state = chooseOf(node.machine.states);
            return {&handler.onState[state], &real.m_sendOnState[state]};
        }
        }
    }

    Line chooseLine(Node& owner) {
        static constexpr const char* NAMES[] = {"FSM_Switch",     "FSM_Send",   "FSM_StartTimer", "FSM_PauseTimer",
                                                "AI_PushCommand", "DO_Animate", "EnableExit",     "Say"};
        static constexpr const char* BEGINS[] = {"", "Print", "# ::Room->Say(a);", "no such::Room->FSM_Switch"};
        Line line;
        const std::size_t roll = choose(16);
        line.kind = roll < 4 ? static_cast<Kind>(roll) : LINE;
        line.begin = BEGINS[line.kind];
        line.name = chooseOf(NAMES);
        // Mostly nearby and of its names, so that many messages name what an entity has.
        const Node& target = choose(2) ? owner : chooseNode();
        if (line.kind == LINE) {
            line.target = target.entity;
            line.absolute = line.target->getParent() && choose(2);
        }
        const auto named = namings().find(line.name);
        const istring name = chooseNameOf(target.machine, named == namings().end() ? NONE : named->second.first);
        if (line.name == "AI_PushCommand")
            line.arguments = {{"FSMSEND"}, {"1"}, {name}};
        else if (line.name == "EnableExit")
            line.arguments = {{"1"}, {name}};
        else
            line.arguments = {{name}};
        if ((line.kind == LINE || line.kind == GLOBAL) && choose(3) == 0)
            if (CN_LevelEntity* const object = chooseNode().entity; object->getParent())
                line.arguments.push_back({"", object});
        return line;
    }

    /// The message as a host makes it, by its text or, where that would not lead there, by the target.
    E_FSM::Message makeMessage(const Line& line, Node& owner) {
        E_FSM::Message message;
        message.m_name = line.name;
        message.m_global = line.kind == GLOBAL;
        message.m_text = textOf(line, *owner.entity);
        for (const Argument& argument : line.arguments)
            message.m_arguments.push_back(argumentOf(argument));
        if (line.kind == LINE) {
            message.m_targetName = toIString(naiveQualifiedName(line.target));
            const istring path = pathOf(line, *owner.entity);
            if (naiveMapNameToObject(view(path), owner.entity).entity != line.target || choose(2))
                message.m_target = line.target;
        }
        owner.entity->getFSM()->pushObjectArguments(message);
        if (line.kind == COMMENT || line.kind == LOST)
            message.m_objectArguments.clear();
        else
            message.updateTargetName(owner.entity->accessFSM());
        return message;
    }

    void addMessage() {
        Node* const node = chooseMachine();
        if (!node)
            return;
        const auto [lines, messages] = chooseList(*node);
        const Line line = chooseLine(*node);
        const std::size_t at = choose(lines->size() + 1);
        lines->insert(lines->begin() + static_cast<std::ptrdiff_t>(at), line);
        messages->insert(messages->begin() + static_cast<std::ptrdiff_t>(at), makeMessage(line, *node));
    }

    void deleteMessage() {
        Node* const node = chooseMachine();
        if (!node)
            return;
        const auto [lines, messages] = chooseList(*node);
        if (lines->empty())
            return;
        const auto at = static_cast<std::ptrdiff_t>(choose(lines->size()));
        lines->erase(lines->begin() + at);
        messages->erase(messages->begin() + at);
    }

    /// The message keeps what it refers to, also when that dies: nothing may look at it any more.
    void commentOut() {
        Node* const node = chooseMachine();
        if (!node || choose(2))
            return;
        const auto [lines, messages] = chooseList(*node);
        if (lines->empty())
            return;
        const std::size_t at = choose(lines->size());
        Line& line = (*lines)[at];
        E_FSM::Message& message = (*messages)[at];
        if (line.kind == COMMENT)
            return;
        message.m_text.insert(0, " #");
        line.kind = COMMENT;
        line.begin = message.m_text;
        line.arguments.clear();
        for (const istring& argument : message.m_arguments)
            line.arguments.push_back({argument});
    }

    /// A copy of one entity's machine in the place of another's; but the player's has handlers that no other has.
    void copyMachine() {
        Node *const from = chooseMachine(), *const to = chooseMachine();
        if (!from || from == to || to->entity == m_document.getPlayer() || choose(4) != 0)
            return;
        auto copy = std::make_unique<E_FSM>(*from->entity->getFSM());
        copy->reParentTo(to->entity);
        to->entity->deleteFSM();
        to->entity->assignFSMTo(copy.release());
        to->machine = from->machine;
        CN_FSMChangeManager::setHierarchyHasChanged();
    }

    // What machines have names for

    static const char* const* formatsOf(Naming naming) {
        static constexpr const char* FORMATS[][3] = {{"FSM_Switch({})", nullptr, nullptr},
                                                     {"FSM_Send({})", nullptr, nullptr},
                                                     {"OnStartTimer({})", "OnEndTimer({})", nullptr}};
        return FORMATS[naming];
    }

    static istring handlerName(const char* format, const istring& name) {
        return toIString(fmt::format(fmt::runtime(format), view(name)));
    }

    /// What messages name of their target, and by which argument.
    static const std::map<istring, std::pair<Naming, std::size_t>>& namings() {
        static const std::map<istring, std::pair<Naming, std::size_t>> NAMED = {
            {"FSM_Switch", {STATE, 0}},     {"FSM_Send", {EVENT, 0}},       {"AI_PushCommand", {EVENT, 2}},
            {"FSM_StartTimer", {TIMER, 0}}, {"FSM_PauseTimer", {TIMER, 0}}, {"DO_Animate", {ANIMATION, 0}},
            {"EnableExit", {EXIT, 1}}};
        return NAMED;
    }

    /// The argument by which the line names something of that sort, or null.
    static Argument* namedBy(Line& line, Naming naming) {
        const auto named = namings().find(line.name);
        return line.kind == LINE && named != namings().end() && named->second.first == naming
                   ? &line.arguments[named->second.second]
                   : nullptr;
    }

    void follow(const CN_LevelEntity* entity, Naming naming, const istring& from, const istring& to) {
        forEachList([&](Lines& lines) {
            for (Line& line : lines)
                if (Argument* const argument = namedBy(line, naming);
                    argument && line.target == entity && argument->text == from)
                    argument->text = to;
        });
    }

    void eraseNaming(const CN_LevelEntity* entity, Naming naming, const istring& name) {
        eraseLines([&](Line& line) {
            const Argument* const argument = namedBy(line, naming);
            return argument && line.target == entity && argument->text == name;
        });
    }

    template <class Value>
    static void renameKey(std::map<istring, Value>& map, const istring& from, const istring& to) {
        const auto found = map.find(from);
        if (found == map.end())
            return;
        Value value = std::move(found->second);
        map.erase(found);
        map.emplace(to, std::move(value));
    }

    void renameHandlers(Machine& machine, Naming naming, const istring& from, const istring& to) {
        for (const char* const* format = formatsOf(naming); *format; ++format)
            renameKey(machine.handlers, handlerName(*format, from), handlerName(*format, to));
    }

    void eraseHandlers(Machine& machine, Naming naming, const istring& name) {
        for (const char* const* format = formatsOf(naming); *format; ++format)
            machine.handlers.erase(handlerName(*format, name));
    }

    void addName() {
        Node* const node = chooseMachine();
        if (!node)
            return;
        const auto naming = static_cast<Naming>(choose(3));
        const istring name = chooseName();
        Machine& machine = node->machine;
        E_FSM& real = *node->entity->accessFSM();
        switch (naming) {
        case STATE:
            machine.states.insert(name);
            if (machine.states.size() == 1)
                machine.defaultState = name;
            real.addState(name);
            break;
        case EVENT:
            machine.events.insert(name);
            real.addCustomEvent(name);
            break;
        default: {
            const bool flag = choose(2) != 0;
            const auto time = static_cast<float>(choose(9));
            machine.timers.insert({name, {flag, time}});
            real.addTimer(name, flag, time);
        }
        }
        for (const char* const* format = formatsOf(naming); *format; ++format)
            machine.handlers[handlerName(*format, name)];
    }

    void renameState() {
        Node* const node = chooseMachine();
        if (!node)
            return;
        const istring from = chooseNameOf(node->machine, STATE), to = chooseName();
        Machine& machine = node->machine;
        machine.states.erase(from);
        machine.states.insert(to);
        if (machine.defaultState == from)
            machine.defaultState = to;
        for (auto& [name, handler] : machine.handlers)
            renameKey(handler.onState, from, to);
        renameHandlers(machine, STATE, from, to);
        follow(node->entity, STATE, from, to);
        run(ForEach_FSMRenameStates(node->entity, from, to));
    }

    void renameEvent() {
        Node* const node = chooseMachine();
        if (!node)
            return;
        const istring from = chooseNameOf(node->machine, EVENT), to = chooseName();
        if (node->machine.events.erase(from) == 0)
            return;
        node->machine.events.insert(to);
        renameHandlers(node->machine, EVENT, from, to);
        follow(node->entity, EVENT, from, to);
        node->entity->accessFSM()->renameCustomEvent(from, to);
        run(ForEach_FSMRenameCustomSends(node->entity, from, to));
    }

    void renameTimer() {
        Node* const node = chooseMachine();
        if (!node)
            return;
        const istring from = chooseNameOf(node->machine, TIMER), to = chooseName();
        if (node->machine.timers.count(from) == 0)
            return;
        renameKey(node->machine.timers, from, to);
        renameHandlers(node->machine, TIMER, from, to);
        follow(node->entity, TIMER, from, to);
        run(ForEach_FSMRenameTimer(node->entity, from, to));
    }

    void renameAnimation() {
        const CN_LevelEntity* const entity = chooseNode().entity;
        const istring from = chooseName(), to = chooseName();
        follow(entity, ANIMATION, from, to);
        run(ForEach_FSMRenameAnimations(entity, from, to));
    }

    void renameExit() {
        const CN_LevelEntity* const entity = chooseNode().entity;
        const istring from = chooseName(), to = chooseName();
        follow(entity, EXIT, from, to);
        run(ForEach_FSMRenameExits(entity, from, to));
    }

    void deleteState() {
        Node* const node = chooseMachine();
        if (!node)
            return;
        const istring name = chooseNameOf(node->machine, STATE);
        Machine& machine = node->machine;
        machine.states.erase(name);
        if (machine.defaultState == name)
            machine.defaultState.clear();
        for (auto& [key, handler] : machine.handlers)
            handler.onState.erase(name);
        eraseHandlers(machine, STATE, name);
        node->entity->accessFSM()->deleteState(name);
    }

    void deleteEvent() {
        Node* const node = chooseMachine();
        if (!node)
            return;
        const istring name = chooseNameOf(node->machine, EVENT);
        if (node->machine.events.erase(name) == 0)
            return;
        eraseHandlers(node->machine, EVENT, name);
        eraseLines([&](Line& line) {
            const Argument* const argument = namedBy(line, EVENT);
            return argument && line.name == "FSM_Send" && line.target == node->entity && argument->text == name;
        });
        node->entity->accessFSM()->deleteCustomEvent(name);
        run(ForEach_FSMDeleteCustomSends(node->entity, name));
    }

    void deleteTimer() {
        Node* const node = chooseMachine();
        if (!node)
            return;
        const istring name = chooseNameOf(node->machine, TIMER);
        if (node->machine.timers.erase(name) == 0)
            return;
        eraseHandlers(node->machine, TIMER, name);
        node->entity->accessFSM()->deleteTimer(name);
    }

    void deleteAnimation() {
        const CN_LevelEntity* const entity = chooseNode().entity;
        const istring name = chooseName();
        eraseNaming(entity, ANIMATION, name);
        run(ForEach_FSMDeleteAnimationSends(entity, name));
    }

    void deleteExit() {
        const CN_LevelEntity* const entity = chooseNode().entity;
        const istring name = chooseName();
        eraseNaming(entity, EXIT, name);
        run(ForEach_FSMDeleteExitSends(entity, name));
    }

    // What messages must be

    static istring pathOf(const Line& line, const CN_LevelEntity& owner) {
        return toIString(line.absolute ? naiveQualifiedName(line.target) : naiveRelativeName(&owner, line.target));
    }

    static istring argumentOf(const Argument& argument) {
        return argument.object ? toIString(naiveQualifiedName(argument.object)) : argument.text;
    }

    static istring textOf(const Line& line, const CN_LevelEntity& owner) {
        if (line.kind == COMMENT)
            return line.begin;
        istring text = line.kind == LINE ? pathOf(line, owner) + "->" + line.name : line.begin;
        const bool objects = std::any_of(line.arguments.begin(), line.arguments.end(),
                                         [](const Argument& argument) { return argument.object != nullptr; });
        text += objects ? "( " : "(";
        for (std::size_t i = 0; i < line.arguments.size(); ++i) {
            const istring argument = argumentOf(line.arguments[i]);
            const bool quoted = objects && argument.find(' ') != istring::npos;
            text += (i ? ", " : "") + (quoted ? "\"" + argument + "\"" : argument);
        }
        return text + (objects ? " );" : ");");
    }

    /// True for a line that follows a rename only at the next update of the whole level.
    static bool isStale(const Line& line) {
        return line.name == "EnableExit" || line.arguments.size() > (line.name == "AI_PushCommand" ? 3u : 1u);
    }

    /// The text without blanks and quotes, which a rename sets in its own way.
    static std::string bare(const istring& text) {
        std::string rest(view(text));
        std::erase_if(rest, [](char c) { return c == ' ' || c == '"'; });
        return rest;
    }

    static std::string differenceOf(const Line& line, const E_FSM::Message& message, CN_LevelEntity& owner,
                                    bool withText) {
        const bool comment = line.kind == COMMENT;
        if (!comment && message.m_target != line.target)
            return "another target";
        if (message.m_name != line.name || (!comment && message.m_global != (line.kind == GLOBAL)))
            return "another message";
        if (message.m_arguments.size() != line.arguments.size())
            return "another count of arguments";
        for (std::size_t i = 0; i < line.arguments.size(); ++i) {
            if (!comment && message.getObjectArgument(i) != line.arguments[i].object)
                return "another object argument";
            if (view(message.m_arguments[i]) != view(argumentOf(line.arguments[i])))
                return "another argument";
        }
        const istring text = textOf(line, owner);
        if (withText || comment ? view(message.m_text) != view(text)
                                : !isStale(line) && bare(message.m_text) != bare(text))
            return fmt::format("not the line \"{}\"", view(text));
        if (line.kind != LINE)
            return "";
        const istring path = pathOf(line, owner);
        if (view(message.m_targetPath) != view(path) || view(message.getWrittenPath()) != view(path))
            return fmt::format("not the path \"{}\"", view(path));
        if (view(message.m_targetName) != naiveQualifiedName(line.target))
            return "another target's name";
        const NaiveResolution found = naiveMapNameToObject(view(path), &owner);
        const CN_LevelEntity* deepest = nullptr;
        if (owner.mapNameToObject(path, &deepest) != found.entity || deepest != found.deepest)
            return "a path that is resolved otherwise";
        return found.entity == line.target || path == "player" ? "" : "a path that leads elsewhere";
    }

    static std::string compareLists(const Lines& lines, const E_FSM::MessageList* messages, CN_LevelEntity& owner,
                                    bool withText) {
        if (lines.size() != (messages ? messages->size() : 0))
            return "another count of messages";
        for (std::size_t i = 0; i < lines.size(); ++i)
            if (const std::string difference = differenceOf(lines[i], (*messages)[i], owner, withText);
                !difference.empty())
                return fmt::format("{}: \"{}\"", difference, view((*messages)[i].m_text));
        return "";
    }

    static std::string compareHandlers(const Handler& handler, const E_FSM::MessageHandler& real, CN_LevelEntity& owner,
                                       bool withText) {
        std::string fault = compareLists(handler.before, &real.m_sendBefore, owner, withText);
        if (fault.empty())
            fault = compareLists(handler.after, &real.m_sendAfter, owner, withText);
        for (const auto& [state, lines] : handler.onState) {
            const auto found = real.m_sendOnState.find(state);
            if (fault.empty())
                fault = found == real.m_sendOnState.end() ? "no list of a state"
                                                          : compareLists(lines, &found->second, owner, withText);
        }
        return real.m_sendOnState.size() == handler.onState.size() ? fault : "another count of states with lists";
    }

    static std::string_view spell(const istring& name) { return view(name); }
    template <class Value> static std::string spell(const std::pair<const istring, Value>& entry) {
        const auto& [name, value] = entry;
        if constexpr (std::is_same_v<Value, E_FSM::SFSMTimer>)
            return fmt::format("{} {} {}", view(name), value.m_flag, value.m_time);
        else if constexpr (std::is_same_v<Value, std::pair<bool, float>>)
            return fmt::format("{} {} {}", view(name), value.first, value.second);
        else
            return std::string(view(name));
    }
    /// The names as they are written, with what stands under them where that is a timer.
    template <class Names> static std::vector<std::string> spelled(const Names& names) {
        std::vector<std::string> all;
        for (const auto& each : names)
            all.emplace_back(spell(each));
        return all;
    }

    static std::string compareMachine(const Machine& machine, CN_LevelEntity& owner, bool withText) {
        const E_FSM& real = *owner.getFSM();
        if (spelled(real.getStates()) != spelled(machine.states) ||
            spelled(real.getCustomStrings()) != spelled(machine.events) ||
            view(real.getDefaultState()) != view(machine.defaultState) ||
            spelled(real.getMessageHandlers()) != spelled(machine.handlers) ||
            spelled(real.getTimers()) != spelled(machine.timers))
            return "other names";
        for (const auto& [name, handler] : machine.handlers) {
            const E_FSM::MessageHandler* const found = real.getMessageHandler(name);
            if (!found)
                return fmt::format("no handler {}", view(name));
            if (const std::string fault = compareHandlers(handler, *found, owner, withText); !fault.empty())
                return fmt::format("{} has {}", view(name), fault);
        }
        return "";
    }

    std::string compareMachines(bool withText) {
        for (Node& node : m_nodes) {
            const std::string name = naiveQualifiedName(node.entity);
            if (view(node.entity->getQualifiedName()) != name)
                return name + " has another qualified name";
            if (const std::string fault =
                    node.machine.exists ? compareMachine(node.machine, *node.entity, withText) : "";
                !fault.empty())
                return name + ": " + fault;
        }
        return "";
    }

    static std::string compareWithTwin(const CN_LevelEntity& entity, const CN_LevelEntity& twin,
                                       const std::map<const CN_LevelEntity*, const CN_LevelEntity*>& twins,
                                       bool withText) {
        if (!(entity.getName() == twin.getName()))
            return "a loaded entity has another name";
        if (!entity.hasFSM())
            return "";
        const std::string text = test::textOf(*entity.getFSM());
        if (withText && text != test::textOf(*twin.getFSM()))
            return fmt::format("{} was loaded as\n{}", text, test::textOf(*twin.getFSM()));
        std::vector<const CN_LevelEntity*> expected, loaded;
        gatherReferences(*entity.getFSM(), expected);
        gatherReferences(*twin.getFSM(), loaded);
        for (const CN_LevelEntity*& reference : expected)
            reference = twins.at(reference);
        return expected == loaded ? "" : "loaded messages lead elsewhere: " + text;
    }

    static void gatherReferences(const E_FSM& machine, std::vector<const CN_LevelEntity*>& references) {
        machine.forEachMessage([&](const E_FSM::Message& message) {
            if (message.isCommentMessage())
                return;
            references.push_back(message.m_target);
            references.insert(references.end(), message.m_objectArguments.begin(), message.m_objectArguments.end());
        });
    }

    CN_Document m_document;
    std::size_t m_most; ///< entities
    Choose m_choose;
    std::vector<Node> m_nodes; ///< the root, the player, then the others by age
};

} // namespace cairn::test
