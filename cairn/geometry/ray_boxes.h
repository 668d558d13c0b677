#pragma once

#include "cairn/geometry/box_tree.h"

#include <cstddef>
#include <vector>

namespace cairn {

/// Leads a ray to the boxes that it meets, the nearer ones first: a tree of boxes in single precision, rounded outward, which
/// is divided where the surfaces of its parts say that rays have least to do.
class CN_RayBoxes {
  public:
    using Vector = M_Vector3Template<double>;
    using Box = CN_BoxTree::Box;

    /// Boxes that are told together, at most.
    static constexpr int PARTS = 4;
    /// A number for each of them, or for each part of a node, which processors compute at once.
    using Numbers [[gnu::vector_size(PARTS * sizeof(float))]] = float;
    /// Boxes that are told together, by where they stand in the order.
    struct Leaf {
        int first, count;
    };

    /// Cost: n log n. Boxes that hold nothing are met by no ray.
    explicit CN_RayBoxes(const std::vector<Box>& boxes);

    /// The places of the boxes given, in the order of the tree.
    const std::vector<int>& getOrder() const { return m_order; }
    const std::vector<Leaf>& getLeaves() const { return m_leaves; }
    /// The largest coordinate of a box, but for those without end.
    double getSize() const { return m_size; }
    /// Calls `visit(leaf)` for places of leaves: among these are those of all boxes that the ray meets between its origin and
    /// `reach` times its direction, to within rounding. `visit` may lessen `reach`. The direction must be finite.
    template <class Visit>
    void walk(const Vector& origin, const Vector& direction, const double& reach, Visit visit) const;

  private:
    static constexpr std::size_t DEPTH =
        300; ///< more parts than are ever open, with three more for each level of a tree

    /// Parts of the space.
    struct Node {
        Numbers bounds[3][2]; ///< by axis, low and high
        int child[PARTS];     ///< a node, or -1 less the place of a leaf
    };
    /// A ray in the numbers of the nodes, so that what it is told to miss it misses.
    struct Line {
        float ahead[3], behind[3]; ///< its origin, moved along the ray and back by as much as rounding may
        float inverse[3];          ///< one by its direction
        int nearSide[3];           ///< which side of a box it comes to first

        Line(const Vector& origin, const Vector& direction, double size);
    };
    /// A part that a ray is to be led to.
    struct Open {
        int child;
        float entry;
    };
    class Builder;

    /// Writes the parts that the line meets before it is `reach` far, the nearest last, and gives their number.
    static std::size_t openParts(const Node& node, const Line& line, double reach, Open* open);

    std::vector<int> m_order;
    std::vector<Leaf> m_leaves;
    std::vector<Node> m_nodes; ///< the root first; empty where there is one leaf or none
    double m_size = 0;
};

template <class Visit>
void CN_RayBoxes::walk(const Vector& origin, const Vector& direction, const double& reach, Visit visit) const {
    if (m_nodes.empty()) {
        if (!m_leaves.empty())
            visit(std::size_t{0});
        return;
    }
    const Line line(origin, direction, m_size);
    Open open[DEPTH];
    std::size_t top = 0;
    open[top++] = {0, 0};
    while (top > 0) {
        const Open next = open[--top];
        if (static_cast<double>(next.entry) > reach)
            continue;
        if (next.child < 0)
            visit(static_cast<std::size_t>(-1 - next.child));
        else
            top += openParts(m_nodes[static_cast<std::size_t>(next.child)], line, reach, open + top);
    }
}

} // namespace cairn
