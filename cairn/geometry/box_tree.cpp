#include "cairn/geometry/box_tree.h"

#include "cairn/geometry/polygon/polygon.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

using Vector = CN_BoxTree::Vector;
using Box = CN_BoxTree::Box;

constexpr int LEAF = 8;   // boxes that are not divided any more
constexpr int WALKS = 32; // questions that cost less than a tree

/// Always a number, so that boxes have an order.
double middleOf(const Box& box, int axis) {
    const double middle = box.min[axis] / 2 + box.max[axis] / 2;
    return std::isfinite(middle) ? middle : 0;
}

} // namespace

void Box::grow(double by) {
    const Vector all(by, by, by);
    min -= all;
    max += all;
}

const std::vector<int>& CN_BoxTree::find(const Box& box) {
    m_found.clear();
    if (m_nodes.empty() && (++m_walks <= WALKS || m_boxes.size() <= LEAF)) {
        for (std::size_t i = 0; i < m_boxes.size(); ++i)
            if (m_boxes[i].meets(box))
                m_found.push_back(static_cast<int>(i));
        return m_found;
    }
    if (m_nodes.empty())
        build();
    search(box);
    std::sort(m_found.begin(), m_found.end());
    return m_found;
}

void CN_BoxTree::build() {
    const int count = static_cast<int>(m_boxes.size());
    m_order.resize(m_boxes.size());
    for (int i = 0; i < count; ++i)
        m_order[static_cast<std::size_t>(i)] = i;
    m_nodes.push_back({{}, 0, count, 0});
    // Children stand behind their parents, so that this reaches all of them.
    for (std::size_t i = 0; i < m_nodes.size(); ++i) {
        const int first = m_nodes[i].first, last = m_nodes[i].last;
        Box around, middles;
        for (int k = first; k < last; ++k) {
            const Box& box = m_boxes[static_cast<std::size_t>(m_order[static_cast<std::size_t>(k)])];
            around.widen(box);
            middles.widen({middleOf(box, 0), middleOf(box, 1), middleOf(box, 2)});
        }
        m_nodes[i].box = around;
        if (last - first <= LEAF)
            continue;
        const Vector side = middles.max - middles.min;
        const int axis = side.x >= side.y && side.x >= side.z ? 0 : side.y >= side.z ? 1 : 2, half = (first + last) / 2;
        const auto place = m_order.begin();
        std::nth_element(place + first, place + half, place + last, [&](int a, int b) {
            const double x = middleOf(m_boxes[static_cast<std::size_t>(a)], axis);
            const double y = middleOf(m_boxes[static_cast<std::size_t>(b)], axis);
            return x < y || (x == y && a < b);
        });
        m_nodes[i].children = static_cast<int>(m_nodes.size());
        m_nodes.push_back({{}, first, half, 0});
        m_nodes.push_back({{}, half, last, 0});
    }
}

void CN_BoxTree::search(const Box& box) {
    constexpr std::size_t DEPTH = 64; // halving leaves one open node a level, and there are fewer than 32 of them
    int open[DEPTH];
    std::size_t top = 0;
    open[top++] = 0;
    while (top > 0) {
        const Node& node = m_nodes[static_cast<std::size_t>(open[--top])];
        if (!node.box.meets(box))
            continue;
        if (node.children > 0) {
            open[top++] = node.children;
            open[top++] = node.children + 1;
            continue;
        }
        for (int k = node.first; k < node.last; ++k) {
            const int place = m_order[static_cast<std::size_t>(k)];
            if (m_boxes[static_cast<std::size_t>(place)].meets(box))
                m_found.push_back(place);
        }
    }
}

Box CN_Reach::box() const {
    constexpr double MARGIN = 0.002, ROUNDING = 1e-9; // more than any distance that counts, by the size of places
    constexpr double SHORTEST = 0.9, LONGEST = 1.1;   // of a normal, squared: others measure distances otherwise
    if (m_isEmpty)
        return m_box;
    const double size = std::max({std::abs(m_box.min.x), std::abs(m_box.min.y), std::abs(m_box.min.z),
                                  std::abs(m_box.max.x), std::abs(m_box.max.y), std::abs(m_box.max.z)});
    if (!(m_squared > SHORTEST && m_squared < LONGEST) || !std::isfinite(size))
        return Box::everywhere();
    Box box = m_box;
    box.grow(MARGIN + 4 * std::max(0.0, CN_Polygon::s_dEdgeThickness) + ROUNDING * size);
    return box;
}

} // namespace cairn
