#pragma once

#include "cairn/math/vector3.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

namespace cairn {

/// Finds numbered points near a line: a tree of boxes, halved at the median along the longest side. Points that come later
/// go where they widen the boxes least. A point that is not finite is near nothing.
class CN_PointTree {
  public:
    using Vector = M_Vector3Template<double>;

    /// A point and what it is called in the answers.
    struct Entry {
        Vector point;
        int number;
    };

    CN_PointTree() = default;
    /// Cost: n log n.
    explicit CN_PointTree(std::vector<Entry> entries);
    /// Cost: log n as long as points come where others are.
    void insert(const Entry& entry);

    /// Calls `visit(entry, t)` for each point within `radius` of the line that falls onto it between its ends, where t is 0
    /// at `from` and 1 at `to`. The order follows from the points alone.
    template <class Visit> void visitNear(const Vector& from, const Vector& to, double radius, Visit&& visit) const {
        std::size_t work = std::numeric_limits<std::size_t>::max();
        visitNear(from, to, radius, work, visit);
    }
    /// The same, where what it looks at, nodes and points, is taken off `work`; false where that ran out ahead of the end.
    template <class Visit>
    bool visitNear(const Vector& from, const Vector& to, double radius, std::size_t& work, Visit&& visit) const {
        const Vector line = to - from;
        std::vector<std::size_t> open;
        if (!m_nodes.empty())
            open.push_back(0);
        const auto visitEntry = [&](const Entry& entry) {
            const double t = (entry.point - from).dot(line) / line.dot(line);
            if (t > 0 && t < 1 && (from + line * t - entry.point).length() <= radius)
                visit(entry, t);
        };
        while (!open.empty()) {
            if (work == 0)
                return false;
            --work;
            const Node& node = m_nodes[open.back()];
            open.pop_back();
            if (!meets(node, from, line, radius))
                continue;
            if (node.left != 0) {
                open.push_back(node.left);
                open.push_back(node.right);
                continue;
            }
            work -= std::min(work, node.end - node.begin + node.added.size());
            for (std::size_t i = node.begin; i < node.end; ++i)
                visitEntry(m_entries[i]);
            for (const Entry& entry : node.added)
                visitEntry(entry);
        }
        return true;
    }

  private:
    struct Node {
        Vector min, max;
        std::size_t begin = 0, end = 0;  ///< of its points in `m_entries`, for a leaf
        std::size_t left = 0, right = 0; ///< 0 for a leaf
        std::vector<Entry> added;        ///< later points of a leaf
    };

    std::size_t build(std::size_t begin, std::size_t end);
    void halve(std::size_t node, std::size_t begin, std::size_t end);
    /// True where the line meets the box widened by the radius.
    static bool meets(const Node& node, const Vector& from, const Vector& line, double radius);

    std::vector<Entry> m_entries; ///< as the nodes divide them
    std::vector<Node> m_nodes;    ///< the root first
};

} // namespace cairn
