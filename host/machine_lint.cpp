#include "host/machine_lint.h"

#include "cairn/fsm/fsm.h"
#include "cairn/fsm/message_info_provider.h"
#include "cairn/fsm/message_tests.h"
#include "cairn/geometry/exit_table.h"
#include "cairn/geometry/mesh/mesh.h"
#include "host/catalogue.h"
#include "host/entity_text.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

namespace cairn::host {

namespace {

using MessageInfo = CN_FSMMessageInfoProvider::MessageInfo;

/// "2", "2 to 3" or "at least 2".
std::string textOf(const ArgumentCount& count) {
    if (count.least == count.most)
        return fmt::format("{}", count.least);
    return count.most == std::numeric_limits<std::size_t>::max() ? fmt::format("at least {}", count.least)
                                                                 : fmt::format("{} to {}", count.least, count.most);
}

/// Goes over the machines of a level twice: what they say, then what each of them lacks.
class MachineLint {
  public:
    MachineLint(const CN_FSMMessageInfoProvider* catalogue, const MachineProblem& tell)
        : m_catalogue(catalogue), m_tell(tell) {}

    void look(CN_LevelEntity& root) {
        const auto forEachMachine = [&root](const auto& f) {
            const auto visit = [&f](const CN_LevelEntity& entity) {
                if (const E_FSM* const machine = entity.getFSM())
                    f(entity, *machine);
            };
            visit(root);
            CN_PreIterator it = root.createIterator();
            for (it.begin(); !it.end(); ++it)
                visit(**it);
        };
        forEachMachine([this](const CN_LevelEntity&, const E_FSM& machine) { gather(machine); });
        forEachMachine([this](const CN_LevelEntity& entity, const E_FSM& machine) { check(entity, machine); });
    }

  private:
    using Named = std::pair<const CN_LevelEntity*, istring>; ///< looked up, never walked

    /// Notes which states are entered and which timers are started.
    void gather(const E_FSM& machine) {
        machine.forEachMessage([this](const E_FSM::Message& message) {
            if (message.isCommentMessage() || message.m_arguments.empty())
                return;
            if (message.m_name == "FSM_Switch")
                m_entered.emplace(message.m_target, message.m_arguments.front());
            else if (message.m_name == "FSM_StartTimer")
                m_started.emplace(message.m_target, message.m_arguments.front());
        });
    }

    void check(const CN_LevelEntity& entity, const E_FSM& machine) {
        machine.forEachMessage([&](const E_FSM::Message& message) {
            if (!message.isCommentMessage())
                check(entity, message);
        });
        for (const istring& state : machine.getStates())
            if (state != machine.getDefaultState() && !isNamed(m_entered, entity, state))
                m_tell("fsm-unreached-state", entity, fmt::format("Nothing enters the state \"{}\"", view(state)));
        for (const auto& [timer, data] : machine.getTimers())
            if (!isNamed(m_started, entity, timer))
                m_tell("fsm-unstarted-timer", entity, fmt::format("Nothing starts the timer \"{}\"", view(timer)));
    }

    void check(const CN_LevelEntity& entity, const E_FSM::Message& message) {
        const std::string_view line = view(message.m_text);
        if (!message.m_global && !message.m_target)
            m_tell("fsm-dangling-target", entity, fmt::format("The target of \"{}\" is no entity", line));
        else if (!message.m_global && CN_isAboutExit(message) && !namesExit(message))
            m_tell("fsm-bad-exit", entity, fmt::format("The target of \"{}\" has no such exit", line));
        if (!m_catalogue)
            return;
        const MessageInfo* const info = m_catalogue->getMessageInfo(message.m_name);
        if (!info) {
            m_tell("fsm-unknown-message", entity, fmt::format("The catalogue has no message of \"{}\"", line));
            return;
        }
        if (const ArgumentCount count = countArguments(*info); !count.contains(message.m_arguments.size()))
            m_tell("fsm-argument-count", entity,
                   fmt::format("\"{}\" has {} where the catalogue says {}", line,
                               counted(message.m_arguments.size(), "argument", "arguments"), textOf(count)));
        if ((message.m_target || message.m_global) && !isReceived(*info, message))
            m_tell("fsm-receiver", entity, fmt::format("The target of \"{}\" takes no such message", line));
    }

    /// A line without target may go to any entity: to the activator, whom the game knows.
    static bool isNamed(const std::set<Named>& named, const CN_LevelEntity& entity, const istring& name) {
        return named.contains({&entity, name}) || named.contains({nullptr, name});
    }

    bool namesExit(const E_FSM::Message& message) {
        const auto* const mesh = dynamic_cast<const CN_Mesh*>(message.m_target);
        return mesh && message.m_arguments.size() > 1 && m_exits.find(*mesh, message.m_arguments[1]);
    }

    /// Whoever set a trigger off is known to the game only.
    static bool isReceived(const MessageInfo& info, const E_FSM::Message& message) {
        if (!message.m_target && toIString(view(message.m_text)).starts_with("activator->"))
            return true;
        const unsigned type = message.m_target ? static_cast<unsigned>(message.m_target->getEntityId()) : GAME_RECEIVER;
        return std::any_of(info.receivers.begin(), info.receivers.end(),
                           [type](const auto& receiver) { return receiver.type == type; });
    }

    const CN_FSMMessageInfoProvider* m_catalogue; ///< not owned: null for none
    const MachineProblem& m_tell;
    CN_ExitTable m_exits;      ///< of targets
    std::set<Named> m_entered; ///< states, by the entity of their machine
    std::set<Named> m_started; ///< timers, likewise
};

} // namespace

void findMachineProblems(CN_LevelEntity& root, const CN_FSMMessageInfoProvider* catalogue, const MachineProblem& tell) {
    MachineLint(catalogue, tell).look(root);
}

} // namespace cairn::host
