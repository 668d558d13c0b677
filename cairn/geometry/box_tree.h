#pragma once

#include "cairn/math/vector3.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace cairn {

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
        void widen(const Vector& point) {
            min = {std::min(min.x, point.x), std::min(min.y, point.y), std::min(min.z, point.z)};
            max = {std::max(max.x, point.x), std::max(max.y, point.y), std::max(max.z, point.z)};
        }
        void widen(const Box& other) {
            widen(other.min);
            widen(other.max);
        }
        /// Moves all sides outward.
        void grow(double by);
        /// Also where they touch.
        bool meets(const Box& o) const {
            return o.max.x >= min.x && max.x >= o.min.x && o.max.y >= min.y && max.y >= o.min.y && o.max.z >= min.z &&
                   max.z >= o.min.z;
        }
    };

    CN_BoxTree() = default;
    explicit CN_BoxTree(std::vector<Box> boxes) : m_boxes(std::move(boxes)) {}

    bool isEmpty() const { return m_boxes.empty(); }
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

/// A box outside which `CN_Polygon::vertexIsInPolygon` holds for no point, with room to spare for what rounding does: made of
/// the polygon's corners, one after the other.
class CN_Reach {
  public:
    using Vector = M_Vector3Template<double>;

    explicit CN_Reach(const Vector& normal) : m_normal(normal), m_squared(normal.lengthSquared()) {}
    // Corners that lie off the plane are seen along the normal: where they fall counts, too.
    void addCorner(const Vector& corner) {
        if (m_isEmpty)
            m_first = corner;
        m_isEmpty = false;
        m_box.widen(corner);
        if (const double off = (corner - m_first).dot(m_normal); off != 0)
            m_box.widen(corner - m_normal * (off / m_squared));
    }
    CN_BoxTree::Box box() const;

  private:
    Vector m_normal, m_first;
    double m_squared;
    bool m_isEmpty = true;
    CN_BoxTree::Box m_box;
};

} // namespace cairn
