#pragma once

#include "cairn/geometry/box_tree.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace cairn {

/// Leads a ray to the boxes that it meets, the nearer ones first: a tree of boxes in single precision, rounded outward, which
/// is divided where the surfaces of its parts say that rays have least to do.
class CN_RayBoxes {
  public:
    using Vector = M_Vector3Template<double>;
    using Box = CN_BoxTree::Box;

    /// Cost: n log n. Boxes that hold nothing are met by no ray.
    explicit CN_RayBoxes(const std::vector<Box>& boxes);

    /// The places of the boxes given in the order of the tree, in which `walk` tells them.
    const std::vector<int>& getOrder() const { return m_order; }
    /// Calls `visit(first, last)` for positions in the order: among them are those of all boxes that the ray meets between its
    /// origin and `reach` times its direction, to within rounding. `visit` may lessen `reach`. The direction must be finite.
    template <class Visit>
    void walk(const Vector& origin, const Vector& direction, const double& reach, Visit visit) const;

  private:
    static constexpr int PARTS = 4; ///< that a node is divided into
    static constexpr std::size_t DEPTH =
        300; ///< more parts than are ever open, with three more for each level of a tree

    /// A number for each part, which processors compute at once.
    using Numbers [[gnu::vector_size(PARTS * sizeof(float))]] = float;

    /// Parts of the space, each a node of its own, a leaf or nothing.
    struct Node {
        Numbers bounds[3][2]; ///< by axis, low and high
        int child[PARTS];     ///< a node, or the first position of a leaf
        int count[PARTS];     ///< positions of a leaf, 0 for a node
    };
    /// A ray in the numbers of the nodes, so that what it is told to miss it misses.
    struct Line {
        float low[3], high[3]; ///< its origin, moved to either side by as much as rounding may
        float inverse[3];      ///< one by its direction
        int nearSide[3];       ///< which side of a box it comes to first

        Line(const Vector& origin, const Vector& direction, double size);
    };
    /// A part that a ray is to be led to.
    struct Open {
        int child, count;
        float entry;
    };
    class Builder;

    /// Writes the parts that the line meets before it is `reach` far, the nearest last, and gives their number.
    static std::size_t openParts(const Node& node, const Line& line, double reach, Open* open);

    std::vector<int> m_order;
    std::vector<Node> m_nodes; ///< the root first; empty where there are too few boxes to divide
    double m_size = 0;         ///< the largest coordinate of a box
};

template <class Visit>
void CN_RayBoxes::walk(const Vector& origin, const Vector& direction, const double& reach, Visit visit) const {
    if (m_nodes.empty()) {
        if (!m_order.empty())
            visit(std::size_t{0}, m_order.size());
        return;
    }
    const Line line(origin, direction, m_size);
    Open open[DEPTH];
    std::size_t top = 0;
    open[top++] = {0, 0, 0};
    while (top > 0) {
        const Open next = open[--top];
        if (static_cast<double>(next.entry) > reach)
            continue;
        if (next.count > 0) {
            const auto first = static_cast<std::size_t>(next.child);
            visit(first, first + static_cast<std::size_t>(next.count));
        } else {
            top += openParts(m_nodes[static_cast<std::size_t>(next.child)], line, reach, open + top);
        }
    }
}

} // namespace cairn
