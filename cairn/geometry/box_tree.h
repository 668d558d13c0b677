#pragma once

#include "cairn/math/vector3.h"

#include <limits>
#include <utility>
#include <vector>

namespace cairn {

class CN_Polygon;

/// Finds boxes that meet a box: halved at the median along the longest side. The first questions are answered by a walk of all
/// boxes, so that a few cost no tree.
class CN_BoxTree {
  public:
    using Vector = M_Vector3Template<double>;

    /// Holds nothing until it is widened.
    struct Box {
        Vector min{LARGEST, LARGEST, LARGEST}, max{-LARGEST, -LARGEST, -LARGEST};

        static constexpr double LARGEST = std::numeric_limits<double>::infinity();
        static Box everywhere() { return {{-LARGEST, -LARGEST, -LARGEST}, {LARGEST, LARGEST, LARGEST}}; }
        void widen(const Vector& point);
        void widen(const Box& other);
        /// Moves all sides outward.
        void grow(double by);
        /// Also where they touch.
        bool meets(const Box& other) const;
    };

    CN_BoxTree() = default;
    explicit CN_BoxTree(std::vector<Box> boxes) : m_boxes(std::move(boxes)) {}

    /// The places of the boxes that meet the given one, ascending; valid until the next question.
    const std::vector<int>& find(const Box& box);

  private:
    struct Node {
        Box box;
        int first, last; ///< in `m_order`
        int children;    ///< the place of the first of two, 0 for a leaf
    };

    void build();
    void search(const Box& box);

    std::vector<Box> m_boxes;  ///< in the order given
    std::vector<int> m_order;  ///< their places as the nodes divide them
    std::vector<Node> m_nodes; ///< the root first; empty before there is a tree
    std::vector<int> m_found;  ///< by the last question
    int m_walks = 0;           ///< questions answered without a tree
};

/// A box outside which `CN_Polygon::vertexIsInPolygon` holds for no point, with room to spare for what rounding does.
CN_BoxTree::Box CN_reachOf(const CN_Polygon& polygon);

} // namespace cairn
