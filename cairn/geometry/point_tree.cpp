#include "cairn/geometry/point_tree.h"

#include <algorithm>

namespace cairn {

namespace {

constexpr std::size_t LEAF_POINTS = 8;
constexpr std::size_t ADDED_POINTS = 24; // more than these in one leaf part it

using Vector = CN_PointTree::Vector;

void widen(Vector& min, Vector& max, const Vector& point) {
    for (int axis = 0; axis < 3; ++axis) {
        min[axis] = std::min(min[axis], point[axis]);
        max[axis] = std::max(max[axis], point[axis]);
    }
}

/// How far the point lies outside the box, along the axes.
double outside(const Vector& min, const Vector& max, const Vector& point) {
    double sum = 0;
    for (int axis = 0; axis < 3; ++axis)
        sum += std::max({min[axis] - point[axis], point[axis] - max[axis], 0.0});
    return sum;
}

} // namespace

CN_PointTree::CN_PointTree(std::vector<Entry> entries) : m_entries(std::move(entries)) {
    std::erase_if(m_entries, [](const Entry& entry) { return !entry.point.isFinite(); });
    if (!m_entries.empty())
        build(0, m_entries.size());
}

void CN_PointTree::insert(const Entry& entry) {
    if (!entry.point.isFinite())
        return;
    if (m_nodes.empty()) {
        m_entries.push_back(entry);
        build(0, 1);
        return;
    }
    std::size_t at = 0;
    for (;;) {
        widen(m_nodes[at].min, m_nodes[at].max, entry.point);
        if (m_nodes[at].left == 0)
            break;
        const Node &left = m_nodes[m_nodes[at].left], &right = m_nodes[m_nodes[at].right];
        at = outside(right.min, right.max, entry.point) < outside(left.min, left.max, entry.point) ? m_nodes[at].right
                                                                                                   : m_nodes[at].left;
    }
    std::vector<Entry>& added = m_nodes[at].added;
    added.push_back(entry);
    if (added.size() <= ADDED_POINTS)
        return;
    // The leaf becomes a node of two halves, whose points stand together at the end.
    const std::vector<Entry> parted = std::move(added);
    const std::size_t begin = m_entries.size();
    for (std::size_t i = m_nodes[at].begin; i < m_nodes[at].end; ++i)
        m_entries.push_back(Entry(m_entries[i]));
    for (const Entry& later : parted)
        m_entries.push_back(later);
    m_nodes[at].added = {};
    halve(at, begin, m_entries.size());
}

/// Recursion is as deep as the logarithm of the number of points.
std::size_t CN_PointTree::build(std::size_t begin, std::size_t end) {
    Node node;
    node.min = node.max = m_entries[begin].point;
    for (std::size_t i = begin; i < end; ++i)
        widen(node.min, node.max, m_entries[i].point);
    node.begin = begin;
    node.end = end;
    const std::size_t made = m_nodes.size();
    m_nodes.push_back(std::move(node));
    if (end - begin > LEAF_POINTS)
        halve(made, begin, end);
    return made;
}

void CN_PointTree::halve(std::size_t node, std::size_t begin, std::size_t end) {
    const Vector size = m_nodes[node].max * 0.5 - m_nodes[node].min * 0.5;
    const int axis = size.x >= size.y && size.x >= size.z ? 0 : size.y >= size.z ? 1 : 2;
    const std::size_t middle = begin + (end - begin) / 2;
    const auto entryAt = [this](std::size_t i) { return m_entries.begin() + static_cast<std::ptrdiff_t>(i); };
    std::nth_element(entryAt(begin), entryAt(middle), entryAt(end),
                     [axis](const Entry& a, const Entry& b) { return a.point[axis] < b.point[axis]; });
    const std::size_t left = build(begin, middle), right = build(middle, end);
    m_nodes[node].left = left;
    m_nodes[node].right = right;
}

bool CN_PointTree::meets(const Node& node, const Vector& from, const Vector& line, double radius) {
    double entry = 0, leave = 1;
    for (int axis = 0; axis < 3; ++axis) {
        const double low = node.min[axis] - radius - from[axis], high = node.max[axis] + radius - from[axis];
        if (line[axis] == 0) {
            if (low > 0 || high < 0)
                return false;
            continue;
        }
        const double a = low / line[axis], b = high / line[axis];
        entry = std::max(entry, std::min(a, b));
        leave = std::min(leave, std::max(a, b));
    }
    return entry <= leave;
}

} // namespace cairn
