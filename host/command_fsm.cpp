#include "cairn/entities/cairn_level.h"
#include "host/command_line.h"
#include "host/entity_lookup.h"
#include "host/entity_text.h"
#include "host/level_session.h"
#include "host/machine_graph.h"
#include "host/machine_walk.h"
#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace cairn::host {

namespace {

using Machines = std::vector<const CN_LevelEntity*>; ///< entities that have one

struct FsmOptions : CommonOptions {
    std::string file;
    std::string entity; ///< empty for all
    bool dot = false;
};

template <class Names> Json namesOf(const Names& names) {
    Json list = Json::array();
    for (const istring& name : names)
        list.push_back(view(name));
    return list;
}

Json linesOf(const E_FSM::MessageList& messages) {
    Json list = Json::array();
    for (const E_FSM::Message& message : messages)
        list.push_back(view(message.m_text));
    return list;
}

Json toJson(const istring& name, const E_FSM::MessageHandler& handler) {
    Json states = Json::object();
    for (const auto& [state, messages] : handler.m_sendOnState)
        states[std::string(view(state))] = linesOf(messages);
    Json json;
    json["name"] = view(name);
    json["before"] = linesOf(handler.m_sendBefore);
    json["after"] = linesOf(handler.m_sendAfter);
    json["states"] = std::move(states);
    return json;
}

Json toJson(const CN_LevelEntity& entity) {
    const E_FSM& machine = *entity.getFSM();
    Json timers = Json::array();
    for (const auto& [name, timer] : machine.getTimers())
        timers.push_back(view(name));
    Json handlers = Json::array();
    for (const auto& [name, handler] : machine.getMessageHandlers())
        handlers.push_back(toJson(name, handler));
    Json json;
    json["entity"] = qualifiedName(entity);
    json["default"] = machine.getDefaultState().empty() ? Json() : Json(view(machine.getDefaultState()));
    json["states"] = namesOf(machine.getStates());
    json["events"] = namesOf(machine.getCustomStrings());
    json["timers"] = std::move(timers);
    json["handlers"] = std::move(handlers);
    return json;
}

/// Writes machines for people. Lists stand in the order in which the game sends them; handlers that every entity of
/// the kind has are left out while they are empty.
class TextWriter {
  public:
    explicit TextWriter(Console& console) : m_console(console) {}

    void write(const CN_LevelEntity& entity) {
        const E_FSM& machine = *entity.getFSM();
        writeLine(0, fmt::format("{} ({})", toShownText(qualifiedName(entity)), kindName(entity.getEntityId())));
        for (const istring& state : machine.getStates())
            writeLine(1,
                      fmt::format("state {}{}", shown(state), state == machine.getDefaultState() ? " (default)" : ""));
        for (const istring& event : machine.getCustomStrings())
            writeLine(1, "event " + shown(event));
        for (const auto& [name, timer] : machine.getTimers())
            writeLine(1, fmt::format("timer {}: {}, {}", shown(name), toNumberText(timer.m_time),
                                     timer.m_flag ? "flagged" : "not flagged"));
        for (const auto& [name, handler] : machine.getMessageHandlers())
            if (!E_FSM::isEmptyHardcodedHandler(name, handler))
                write(name, handler);
    }

  private:
    static std::string shown(const istring& name) { return toShownText(view(name)); }

    void writeLine(std::size_t depth, const std::string& text) {
        m_console.writeLine(std::string(2 * depth, ' ') + text);
    }

    void write(const istring& name, const E_FSM::MessageHandler& handler) {
        writeLine(1, "on " + shown(name));
        write("before", handler.m_sendBefore);
        for (const auto& [state, messages] : handler.m_sendOnState)
            write("in state " + shown(state), messages);
        write("after", handler.m_sendAfter);
    }

    void write(const std::string& list, const E_FSM::MessageList& messages) {
        if (messages.empty())
            return;
        writeLine(2, list);
        for (const E_FSM::Message& message : messages)
            writeLine(3, shown(message.m_text));
    }

    Console& m_console;
};

Machines chooseMachines(CN_LevelEntity& root, const FsmOptions& options) {
    Machines machines;
    if (options.entity.empty()) {
        forEachEntityOf(root, [&](const CN_LevelEntity& entity) {
            if (entity.hasFSM())
                machines.push_back(&entity);
        });
        return machines;
    }
    const CN_LevelEntity& entity = requireEntity(root, options.entity, options.file);
    if (entity.hasFSM())
        machines.push_back(&entity);
    return machines;
}

void writeMachines(const CN_LevelEntity& root, const Machines& machines, const FsmOptions& options, Console& console) {
    if (options.dot)
        console.write(makeMachineGraph(root, machines));
    else if (options.json) {
        Json list = Json::array();
        for (const CN_LevelEntity* entity : machines)
            list.push_back(toJson(*entity));
        Json json;
        json["machines"] = std::move(list);
        console.writeLine(toJsonText(json));
    } else {
        TextWriter writer(console);
        for (const CN_LevelEntity* entity : machines)
            writer.write(*entity);
    }
}

ExitCode runFsm(const FsmOptions& options, Console& console) {
    LevelSession session(console, options.content);
    const OpenedLevel level = session.openForUse(options.file, false);
    CN_LevelEntity& root = *level.document->accessLevel();
    const Machines machines = chooseMachines(root, options);
    writeMachines(root, machines, options, console);
    if (machines.empty())
        console.note(options.file, options.entity.empty()
                                       ? std::string("no entity has a state machine")
                                       : fmt::format("\"{}\" has no state machine", toShownText(options.entity)));
    return ExitCode::DONE;
}

} // namespace

void addFsmCommand(CommandSyntax& program, Command& chosen) {
    const auto options = std::make_shared<FsmOptions>();
    CommandSyntax command = program.addCommand("fsm", "Show state machines: their states, handlers and messages");
    command.setFooter("As text each handler has its lists in the order in which they are sent: before, in the state, "
                      "after. In the graph an\narrow is a message, from the state or entity that sends it to the state "
                      "or entity it goes to; draw it with\n\"dot -Tsvg\".");
    addLevel(command, options->file);
    command.addOption("ENTITY", options->entity,
                      "The machine of this entity alone: a qualified name, or @N as in tree --json");
    OptionSyntax dot = command.addFlag("--dot", options->dot, "A Graphviz digraph instead of text");
    options->addJson(command).excludes(dot);
    options->addContent(command);
    options->addQuiet(command);
    onChosen(command, options, runFsm, chosen);
}

} // namespace cairn::host
