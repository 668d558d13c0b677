#include "host/machine_graph.h"

#include "host/entity_text.h"
#include "host/machine_walk.h"
#include "host/text.h"

#include <fmt/format.h>

#include <map>
#include <unordered_map>

namespace cairn::host {

namespace {

/// Writes nodes, then arrows; a receiver that no cluster has gets a node of its own when it is first met.
class GraphWriter {
  public:
    explicit GraphWriter(const CN_LevelEntity& root) {
        forEachEntityOf(root, [this](const CN_LevelEntity& entity) {
            const std::size_t number = m_numbers.size();
            m_numbers.emplace(&entity, number);
        });
    }

    std::string write(const std::vector<const CN_LevelEntity*>& entities) {
        for (const CN_LevelEntity* entity : entities)
            writeCluster(*entity);
        for (const CN_LevelEntity* entity : entities)
            writeMessages(*entity);
        return "digraph machines {\n  rankdir=LR;\n" + m_clusters + m_others + m_arrows + "}\n";
    }

  private:
    using StateNodes = std::map<istring, std::string>; ///< names of nodes by state

    std::string nodeOf(const CN_LevelEntity& entity) const { return fmt::format("e{}", m_numbers.at(&entity)); }

    void writeCluster(const CN_LevelEntity& entity) {
        const E_FSM& machine = *entity.getFSM();
        const std::string node = nodeOf(entity);
        StateNodes& states = m_states[&entity];
        m_clusters +=
            fmt::format("  subgraph cluster_{} {{\n    label={};\n    {} [label={} shape=box];\n", node,
                        toDotString(qualifiedName(entity)), node, toDotString(kindName(entity.getEntityId())));
        for (const istring& state : machine.getStates()) {
            const std::string stateNode = fmt::format("{}_{}", node, states.size());
            m_clusters += fmt::format("    {} [label={}{}];\n", stateNode, toDotString(view(state)),
                                      state == machine.getDefaultState() ? " peripheries=2" : "");
            states.emplace(state, stateNode);
        }
        m_clusters += "  }\n";
    }

    void writeMessages(const CN_LevelEntity& entity) {
        const StateNodes& states = m_states.at(&entity);
        std::map<istring, const std::string*> nodeOfSwitch;
        for (const auto& entry : states)
            nodeOfSwitch[E_FSM::makeSwitchHandlerName(entry.first)] = &entry.second;
        for (const auto& entry : entity.getFSM()->getMessageHandlers()) {
            const auto entered = nodeOfSwitch.find(entry.first);
            const std::string from = entered == nodeOfSwitch.end() ? nodeOf(entity) : *entered->second;
            writeList(entry.second.m_sendBefore, from, entry.first);
            writeList(entry.second.m_sendAfter, from, entry.first);
            for (const auto& [state, messages] : entry.second.m_sendOnState) {
                const auto known = states.find(state);
                writeList(messages, known == states.end() ? from : known->second, entry.first);
            }
        }
    }

    void writeList(const E_FSM::MessageList& messages, const std::string& from, const istring& handler) {
        for (const E_FSM::Message& message : messages) {
            if (message.isCommentMessage())
                continue;
            const std::string_view line = view(message.m_text);
            const std::size_t arrow = line.find("->");
            const std::string label = std::string(view(handler)) + ": " +
                                      std::string(arrow == std::string_view::npos ? line : line.substr(arrow + 2));
            m_arrows += fmt::format("  {} -> {} [label={}];\n", from, receiverOf(message), toDotString(label));
        }
    }

    /// The node of the state that the message switches to, of the entity it goes to, or of what its line calls that.
    std::string receiverOf(const E_FSM::Message& message) {
        if (!message.m_target) {
            const std::string_view line = view(message.m_text);
            const std::size_t arrow = line.find("->");
            if (message.m_global && arrow == std::string_view::npos)
                return addNode("game", "game", "shape=plaintext");
            const std::string path(line.substr(0, arrow));
            return addNode("\"to " + toDotString(path).substr(1), path,
                           message.m_global ? "shape=plaintext" : "shape=box style=dashed");
        }
        const auto states = m_states.find(message.m_target);
        if (states == m_states.end())
            return addNode(nodeOf(*message.m_target), qualifiedName(*message.m_target), "shape=box");
        if (message.m_name == "FSM_Switch" && !message.m_arguments.empty())
            if (const auto state = states->second.find(message.m_arguments[0]); state != states->second.end())
                return state->second;
        return nodeOf(*message.m_target);
    }

    std::string addNode(const std::string& node, const std::string& label, const char* look) {
        if (m_added.insert(node).second)
            m_others += fmt::format("  {} [label={} {}];\n", node, toDotString(label), look);
        return node;
    }

    std::unordered_map<const CN_LevelEntity*, std::size_t> m_numbers; ///< in the tree's pre-order; looked up only
    std::unordered_map<const CN_LevelEntity*, StateNodes> m_states;   ///< of those with a cluster; looked up only
    std::set<std::string> m_added;                                    ///< nodes outside of clusters
    std::string m_clusters, m_others, m_arrows;
};

} // namespace

std::string makeMachineGraph(const CN_LevelEntity& root, const std::vector<const CN_LevelEntity*>& entities) {
    return GraphWriter(root).write(entities);
}

} // namespace cairn::host
