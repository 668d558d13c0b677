#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace cairn::host {

/// What is known of one entity's place in the tree.
struct TreeNode {
    int kind = 0;                         ///< 0 where it is not known
    std::optional<unsigned int> children; ///< how many it has, as the file says; none where that is lost
    bool isHoleAhead = false;             ///< an unknown number of entities is missing ahead of it
};

/// Where entities stand in the world, as far as it is known: what tells whose child an entity is where counts do not.
class TreeWitness {
  public:
    enum class Verdict { UNKNOWN, AGREES, DISAGREES };

    virtual ~TreeWitness() = default;
    /// Whether the node stands in the world where its record says, were it below that parent, which was settled before.
    virtual Verdict ask(std::size_t node, std::size_t parent) = 0;
    /// The node's parent, NO_PARENT for none, is certain from now on. Called for each node, in order.
    virtual void settle(std::size_t node, int parent) = 0;
};

/// What was made of the nodes.
struct TreeShape {
    static constexpr int NO_PARENT = -1;

    std::vector<int> parents; ///< the place of each node's parent, NO_PARENT for the root and where it is lost
    bool isExact = false;     ///< every node has the parent that it had, as the counts agree with one another
    std::size_t missing = 0;  ///< children that are counted and did not come before the end
};

/// True for the kinds that hold nothing.
bool holdsNothing(int kind);

/// Finds the parents of nodes that stand in pre-order, each with the count of its children. Where the counts agree with the number
/// of nodes they are taken as they are, and so they are with one count unknown, which is what is left over. Else the tree
/// is grown node by node, each below the one that the counts say, unless the witness says another of those around it; and
/// behind the last hole the nodes are counted from the end, as what is missing stands ahead of them. `hasRoot`
/// says that the first node is the root, `hasEnd` that the last node is the last one that there was.
TreeShape inferTree(const std::vector<TreeNode>& nodes, bool hasRoot, bool hasEnd, TreeWitness& witness);

} // namespace cairn::host
