#include "host/salvage_tree.h"

#include "cairn/entities/level_entity.h"

#include <algorithm>
#include <utility>

namespace cairn::host {

namespace {

constexpr int NO_PARENT = TreeShape::NO_PARENT;
using Verdict = TreeWitness::Verdict;

/// The kinds that stand for a part of a mesh, and below it.
bool isNode(int kind) { return kind >= CN_KIND_POLYGON_GROUP && kind <= CN_KIND_PORTAL; }

/// False where the one is not found below the other, unless by a fault. What is not known may stand anywhere.
bool mayStandBelow(int kind, int parentKind) {
    if (isNode(kind))
        return parentKind == CN_KIND_MESH || parentKind == 0;
    if (kind == CN_KIND_PLAYER)
        return parentKind == CN_KIND_LEVEL || parentKind == 0;
    if (kind == CN_KIND_VOL_LIGHTING_BOX)
        return parentKind == CN_KIND_LEVEL || parentKind == CN_KIND_MESH || parentKind == CN_KIND_VOL_LIGHTING_BOX ||
               parentKind == 0;
    if (parentKind == CN_KIND_VOL_LIGHTING_BOX)
        return kind == 0;
    return !holdsNothing(parentKind);
}

/// An entity on the way from the root to where the tree grows.
struct OpenNode {
    std::size_t node;
    std::size_t left; ///< children to come
};

class TreeInference {
  public:
    TreeInference(const std::vector<TreeNode>& nodes, bool hasRoot, bool hasEnd, TreeWitness& witness)
        : m_nodes(nodes), m_hasRoot(hasRoot), m_hasEnd(hasEnd), m_witness(witness) {
        for (std::size_t i = 0; i < nodes.size(); ++i)
            m_lastHole = nodes[i].isHoleAhead ? i : m_lastHole;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            m_counts.push_back(nodes[i].children);
            if (m_hasEnd && i >= m_lastHole && m_counts[i] && *m_counts[i] > nodes.size() - 1 - i)
                m_counts[i].reset(); // more than follow
        }
    }

    TreeShape run() {
        m_shape.isExact = m_hasRoot && (readExactly(withLeaves()) || readExactly(m_counts));
        if (!m_shape.isExact)
            grow();
        else
            for (std::size_t i = 0; i < m_nodes.size(); ++i)
                m_witness.settle(i, m_shape.parents[i]);
        return std::move(m_shape);
    }

  private:
    using Counts = std::vector<std::optional<unsigned int>>;

    /// The counts, with those of kinds without children made right.
    Counts withLeaves() const {
        Counts counts = m_counts;
        for (std::size_t i = 0; i < counts.size(); ++i)
            if (holdsNothing(m_nodes[i].kind))
                counts[i] = 0;
        return counts;
    }

    /// True where the counts make one tree of all nodes.
    bool readExactly(Counts counts) {
        if (m_lastHole > 0 || counts.empty() || m_nodes.front().isHoleAhead || (m_hasEnd && !fillUnknown(counts)))
            return false;
        if (!m_hasEnd && !counts.back())
            counts.back() = 0;
        std::vector<OpenNode> open;
        m_shape.parents.clear();
        for (std::size_t i = 0; i < counts.size(); ++i) {
            while (!open.empty() && open.back().left == 0)
                open.pop_back();
            if (!counts[i] || (i > 0 && open.empty()))
                return false;
            m_shape.parents.push_back(open.empty() ? NO_PARENT : static_cast<int>(open.back().node));
            // Where the end is there the sum says that the counts are right.
            if (!m_hasEnd && i > 0 && !mayStandBelow(m_nodes[i].kind, m_nodes[open.back().node].kind))
                return false;
            if (!open.empty())
                --open.back().left;
            open.push_back({i, *counts[i]});
        }
        m_shape.missing = sumOf(open);
        return !m_hasEnd || m_shape.missing == 0;
    }

    /// What is left over of the nodes are the children of the one whose count is unknown; false where there are several and
    /// it is not nothing.
    bool fillUnknown(Counts& counts) const {
        std::size_t known = 0, unknown = 0;
        for (const auto& count : counts) {
            known += count.value_or(0);
            unknown += count ? 0u : 1u;
        }
        if (known > m_nodes.size() - 1)
            return false;
        std::size_t left = m_nodes.size() - 1 - known;
        if (left > 0 && unknown != 1)
            return false;
        for (auto& count : counts)
            if (!count)
                count = static_cast<unsigned int>(std::exchange(left, 0));
        return true;
    }

    static std::size_t sumOf(const std::vector<OpenNode>& open) {
        std::size_t sum = 0;
        for (const OpenNode& node : open)
            sum += node.left;
        return sum;
    }

    /// Grows the tree node by node.
    void grow() {
        m_shape.parents.clear();
        m_counts = withLeaves();
        const std::size_t lastTrouble = findLastTrouble();
        m_orphans = m_hasRoot ? 0 : ALL;
        for (std::size_t i = 0; i < m_nodes.size(); ++i) {
            if (isTroubleAhead(i))
                loseWay(i, i == lastTrouble);
            const int parent = i == 0 ? NO_PARENT : findParent(i);
            m_shape.parents.push_back(parent);
            m_witness.settle(i, parent);
            m_open.push_back({i, m_counts[i].value_or(0)});
        }
        m_shape.missing = sumOf(m_open);
    }

    bool isTroubleAhead(std::size_t i) const { return i > 0 && (m_nodes[i].isHoleAhead || !m_counts[i - 1]); }
    std::size_t findLastTrouble() const {
        for (std::size_t i = m_nodes.size(); i-- > 1;)
            if (isTroubleAhead(i))
                return i;
        return 0;
    }

    /// Something is missing ahead of the node: from here on those that wait for children may have got them there. Where all
    /// counts up to the end are known, though, the trees that follow are the last children that are waited for, and what
    /// is missing came ahead of them; trees beyond that belong to what is missing.
    void loseWay(std::size_t node, bool isLast) {
        const bool isHole = m_nodes[node].isHoleAhead;
        if (!isHole)
            m_open.back().left = countLeast(node);
        m_known = m_open.size() - (m_open.back().left > 0 ? 1 : 0);
        m_orphans = ALL;
        if (!isLast || !m_hasEnd || !m_hasRoot)
            return;
        const std::size_t trees = countTrees(node);
        std::size_t wanted = sumOf(m_open);
        m_orphans = trees > wanted ? trees - wanted : 0;
        for (std::size_t k = m_open.size() - (isHole ? 0 : 1); k-- > 0 && wanted > trees;) {
            const std::size_t gone = std::min(wanted - trees, m_open[k].left);
            m_open[k].left -= gone;
            wanted -= gone;
        }
        if (!isHole) // nothing is missing but a count
            m_open.back().left += std::exchange(m_orphans, 0);
    }

    /// How many children the entity ahead of the node has at least, whose count is not known: a mesh holds all up to the last
    /// part of a mesh that comes ahead of the next mesh.
    std::size_t countLeast(std::size_t node) const {
        if (m_nodes[node - 1].kind != CN_KIND_MESH)
            return 0;
        std::size_t trees = 0, inside = 0, least = 0;
        for (std::size_t i = node; i < m_nodes.size() && m_nodes[i].kind != CN_KIND_MESH && !isBroken(i, node); ++i) {
            if (inside > 0)
                --inside;
            else if (++trees; isNode(m_nodes[i].kind))
                least = trees;
            inside += m_counts[i].value_or(0);
        }
        return least;
    }
    bool isBroken(std::size_t i, std::size_t first) const { return i > first && isTroubleAhead(i); }

    /// How many trees the nodes from there on make, by their counts.
    std::size_t countTrees(std::size_t from) const {
        std::size_t trees = 0, inside = 0;
        for (std::size_t i = from; i < m_nodes.size(); ++i) {
            if (inside > 0)
                --inside;
            else
                ++trees;
            inside += m_counts[i].value_or(0);
        }
        return trees;
    }

    /// The parent that the counts say, unless the witness knows better; its child's place among the open ones is made.
    int findParent(std::size_t node) {
        const bool isLost = m_orphans > 0;
        const std::size_t first = isLost ? m_known : 0;
        std::size_t counted = m_open.size(); // one behind the deepest that waits for a child
        while (counted > first && m_open[counted - 1].left == 0)
            --counted;
        const bool isCounted = counted > first && mayStand(node, counted - 1);
        if (isCounted && m_witness.ask(node, m_open[counted - 1].node) != Verdict::DISAGREES)
            return take(counted);
        // The open ones are the way to the node before: the parent is one of them, or lost.
        for (std::size_t k = m_open.size(); k-- > 0;)
            if (mayStand(node, k) && m_witness.ask(node, m_open[k].node) == Verdict::AGREES) {
                if (m_open[k].left == 0)
                    countOrphan();
                return take(k + 1);
            }
        if (isCounted)
            return take(counted);
        const int kind = m_nodes[node].kind;
        for (std::size_t k = m_open.size(); k-- > 0 && (isNode(kind) || kind == CN_KIND_PLAYER);)
            if (mayStand(node, k)) // these stand in few places
                return take(k + 1);
        countOrphan();
        if (isLost)
            m_open.resize(std::min(m_open.size(), m_known));
        return NO_PARENT;
    }

    bool mayStand(std::size_t node, std::size_t place) const {
        return mayStandBelow(m_nodes[node].kind, m_nodes[m_open[place].node].kind);
    }
    /// One of the trees that belong to what is missing has come.
    void countOrphan() { m_orphans -= m_orphans > 0 && m_orphans != ALL ? 1u : 0u; }
    /// Ends all below the open node ahead of that place and counts a child of it.
    int take(std::size_t behind) {
        m_open.resize(behind);
        m_known = std::min(m_known, behind);
        OpenNode& parent = m_open.back();
        parent.left -= parent.left > 0 ? 1u : 0u;
        return static_cast<int>(parent.node);
    }

    static constexpr std::size_t ALL = static_cast<std::size_t>(-1);

    const std::vector<TreeNode>& m_nodes;
    bool m_hasRoot, m_hasEnd;
    TreeWitness& m_witness;
    Counts m_counts;              ///< those that may be right
    std::size_t m_lastHole = 0;   ///< the last node behind a hole, 0 for none
    std::vector<OpenNode> m_open; ///< the way to the node before, an orphan behind all that are open around it
    std::size_t m_known = 0;      ///< how many of them were open when the way was lost
    std::size_t m_orphans = 0;    ///< trees to come that belong to what is missing
    TreeShape m_shape;
};

} // namespace

bool holdsNothing(int kind) {
    switch (kind) {
    case CN_KIND_WAYPOINT:
    case CN_KIND_JUMPPOINT:
    case CN_KIND_DYN_POINTLIGHT:
    case CN_KIND_POLYGON_GROUP:
    case CN_KIND_RADIOSITY_LIGHT:
    case CN_KIND_PORTAL:
    case CN_KIND_PLAYER:
    case CN_KIND_AI_NODE:
    case CN_KIND_FLARE:
        return true;
    default:
        return false;
    }
}

TreeShape inferTree(const std::vector<TreeNode>& nodes, bool hasRoot, bool hasEnd, TreeWitness& witness) {
    return TreeInference(nodes, hasRoot, hasEnd, witness).run();
}

} // namespace cairn::host
