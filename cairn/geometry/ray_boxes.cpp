#include "cairn/geometry/ray_boxes.h"

#include "cairn/geometry/lines.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace cairn {

namespace {

using Vector = CN_RayBoxes::Vector;
using Box = CN_RayBoxes::Box;

constexpr int BINS = 16;
constexpr int BALANCED = 40; // depth from which on parts are halved by their number

double middleOf(const Box& box, int axis) {
    const double middle = box.min[axis] / 2 + box.max[axis] / 2;
    return std::isfinite(middle) ? middle : 0;
}

/// Half the surface: how likely a ray is that meets it.
double surfaceOf(const Box& box) {
    const Vector d = box.max - box.min;
    return d.x >= 0 && d.y >= 0 && d.z >= 0 ? d.x * d.y + d.y * d.z + d.z * d.x : 0;
}

/// Strictly less, so that a ray along a box's side is in the box.
float roundedDown(double number) {
    constexpr double MOST = std::numeric_limits<float>::max();
    auto near = static_cast<float>(std::clamp(number, -MOST, MOST));
    while (static_cast<double>(near) >= number && std::isfinite(near))
        near = std::nextafter(near, -std::numeric_limits<float>::infinity());
    return near;
}

} // namespace

/// Divides boxes, the largest parts first, and lays the nodes out behind their parents.
class CN_RayBoxes::Builder {
  public:
    Builder(const std::vector<Box>& boxes, CN_RayBoxes& tree) : m_boxes(boxes), m_tree(tree) {}

    void run() {
        for (std::size_t i = 0; i < m_boxes.size(); ++i)
            if (m_boxes[i].min.x <= m_boxes[i].max.x)
                m_tree.m_order.push_back(static_cast<int>(i));
        for (int i = 0; i < static_cast<int>(m_tree.m_order.size()); ++i)
            for (const Vector& corner : {boxAt(i).min, boxAt(i).max})
                if (corner.isFinite())
                    m_tree.m_size = std::max(m_tree.m_size, maxAbsComponent(corner));
        const Part root = makePart(0, static_cast<int>(m_tree.m_order.size()), 0);
        if (root.middle < 0) {
            if (root.last > 0)
                m_tree.m_leaves.push_back({0, root.last});
            return;
        }
        m_tree.m_nodes.emplace_back();
        std::vector<std::pair<Part, std::size_t>> open{{root, 0}}; // with their nodes
        while (!open.empty()) {
            const auto [part, node] = open.back();
            open.pop_back();
            const std::vector<Part> parts = quarter(part);
            for (std::size_t i = 0; i < PARTS; ++i)
                if (const int child = link(node, i, i < parts.size() ? parts[i] : Part{}); child >= 0)
                    open.emplace_back(parts[i], static_cast<std::size_t>(child));
        }
    }

  private:
    /// Positions in the order.
    struct Part {
        int first = 0, last = 0, depth = 0;
        int middle = -1; ///< where its second half begins, -1 for a leaf
        Box box;
    };
    struct Bin {
        Box box;
        int count = 0;
    };

    const Box& boxAt(int position) const {
        return m_boxes[static_cast<std::size_t>(m_tree.m_order[static_cast<std::size_t>(position)])];
    }
    /// Halves of a part, of which the larger ones are halved again.
    std::vector<Part> quarter(const Part& whole) {
        std::vector<Part> parts{whole};
        while (parts.size() < PARTS) {
            const auto largest = std::max_element(parts.begin(), parts.end(), [](const Part& a, const Part& b) {
                return (a.middle < 0 ? -1 : surfaceOf(a.box)) < (b.middle < 0 ? -1 : surfaceOf(b.box));
            });
            if (largest->middle < 0)
                break;
            const Part part = *largest;
            *largest = makePart(part.first, part.middle, part.depth + 1);
            parts.push_back(makePart(part.middle, part.last, part.depth + 1));
        }
        return parts;
    }
    Part makePart(int first, int last, int depth) {
        Part part{first, last, depth, -1, {}};
        for (int i = first; i < last; ++i)
            part.box.widen(boxAt(i));
        part.middle = divide(part);
        return part;
    }
    /// Puts a part into a node, and gives the new node that it is one, -1 for a leaf and for nothing.
    int link(std::size_t at, std::size_t place, const Part& part) {
        const int child = part.middle < 0 ? -1 : static_cast<int>(m_tree.m_nodes.size());
        if (child >= 0)
            m_tree.m_nodes.emplace_back();
        Node& node = m_tree.m_nodes[at];
        for (int axis = 0; axis < 3; ++axis) {
            node.bounds[axis][0][place] = roundedDown(part.box.min[axis]);
            node.bounds[axis][1][place] = -roundedDown(-part.box.max[axis]);
        }
        // What is nothing holds nothing, and is met by no line as its sides are the wrong way round.
        node.child[place] = child >= 0 ? child : -1 - static_cast<int>(m_tree.m_leaves.size());
        if (child < 0 && part.last > part.first)
            m_tree.m_leaves.push_back({part.first, part.last - part.first});
        return child;
    }

    /// Where the second half of a part begins; -1 for one that becomes a leaf.
    int divide(const Part& part) {
        const int count = part.last - part.first;
        if (count <= PARTS)
            return -1;
        Box middles;
        for (int i = part.first; i < part.last; ++i)
            middles.widen({middleOf(boxAt(i), 0), middleOf(boxAt(i), 1), middleOf(boxAt(i), 2)});
        double best = std::numeric_limits<double>::infinity();
        int bestAxis = -1, bestCut = 0;
        for (int axis = 0; axis < 3; ++axis)
            if (const double side = middles.max[axis] - middles.min[axis]; side > 0 && std::isfinite(side))
                findCut(part, middles, axis, best, bestAxis, bestCut);
        const auto begin = m_tree.m_order.begin() + part.first, end = m_tree.m_order.begin() + part.last;
        if (bestAxis < 0 || part.depth >= BALANCED || !std::isfinite(best))
            return halve(part, middles);
        const auto middle = std::stable_partition(begin, end, [&](int place) {
            return binOf(m_boxes[static_cast<std::size_t>(place)], middles, bestAxis) <= bestCut;
        });
        return part.first + static_cast<int>(middle - begin);
    }
    static int binOf(const Box& box, const Box& middles, int axis) {
        const double share = (middleOf(box, axis) - middles.min[axis]) / (middles.max[axis] - middles.min[axis]);
        return std::min(BINS - 1, static_cast<int>(share * BINS));
    }
    /// Looks for a cut along an axis that leaves rays less to do than `best`.
    void findCut(const Part& part, const Box& middles, int axis, double& best, int& bestAxis, int& bestCut) const {
        Bin bins[BINS];
        for (int i = part.first; i < part.last; ++i) {
            Bin& bin = bins[binOf(boxAt(i), middles, axis)];
            bin.box.widen(boxAt(i));
            ++bin.count;
        }
        double above[BINS] = {};
        Bin sum;
        const auto add = [&sum](const Bin& bin) {
            sum.box.widen(bin.box);
            sum.count += bin.count;
            return sum.count * surfaceOf(sum.box);
        };
        for (int bin = BINS - 1; bin > 0; --bin)
            above[bin] = add(bins[bin]);
        sum = {};
        for (int bin = 0; bin + 1 < BINS; ++bin)
            if (const double cost = add(bins[bin]) + above[bin + 1];
                sum.count > 0 && sum.count < part.last - part.first && cost < best) {
                best = cost;
                bestAxis = axis;
                bestCut = bin;
            }
    }
    /// By number, along the longest side.
    int halve(const Part& part, const Box& middles) {
        const Vector side = middles.max - middles.min;
        const int axis = side.x >= side.y && side.x >= side.z ? 0 : side.y >= side.z ? 1 : 2;
        const int half = part.first + (part.last - part.first) / 2;
        const auto order = m_tree.m_order.begin();
        std::nth_element(order + part.first, order + half, order + part.last, [&](int a, int b) {
            const double x = middleOf(m_boxes[static_cast<std::size_t>(a)], axis);
            const double y = middleOf(m_boxes[static_cast<std::size_t>(b)], axis);
            return x < y || (x == y && a < b);
        });
        return half;
    }

    const std::vector<Box>& m_boxes;
    CN_RayBoxes& m_tree;
};

CN_RayBoxes::Line::Line(const Vector& origin, const Vector& direction, double size) {
    constexpr double ROUNDING = 1e-6; // far more than single precision takes away
    constexpr double LEAST = 1e-30;   // a component that is less would have no inverse
    const double aside = ROUNDING * (size + maxAbsComponent(origin));
    for (int axis = 0; axis < 3; ++axis) {
        const double along = direction[axis];
        inverse[axis] = static_cast<float>(1 / (std::fabs(along) < LEAST ? std::copysign(LEAST, along) : along));
        nearSide[axis] = inverse[axis] < 0 ? 1 : 0;
        const float low = CN_toFloat(origin[axis] - aside), high = CN_toFloat(origin[axis] + aside);
        ahead[axis] = inverse[axis] < 0 ? low : high;
        behind[axis] = inverse[axis] < 0 ? high : low;
    }
}

std::size_t CN_RayBoxes::openParts(const Node& node, const Line& line, double reach, Open* open) {
    constexpr float ROUNDING = 1 + 1e-6F;
    constexpr double MOST = std::numeric_limits<float>::max();
    Numbers entry{}, exit = entry + static_cast<float>(std::min(reach, MOST));
    for (int axis = 0; axis < 3; ++axis) {
        const int side = line.nearSide[axis];
        const Numbers in = (node.bounds[axis][side] - line.ahead[axis]) * line.inverse[axis];
        const Numbers out = (node.bounds[axis][1 - side] - line.behind[axis]) * line.inverse[axis];
        entry = in > entry ? in : entry;
        exit = out < exit ? out : exit;
    }
    exit *= ROUNDING;
    std::size_t count = 0;
    for (int part = 0; part < PARTS; ++part) {
        if (!(entry[part] <= exit[part]))
            continue;
        const Open found{node.child[part], entry[part] * (2 - ROUNDING)};
        std::size_t place = count++;
        for (; place > 0 && open[place - 1].entry < found.entry; --place)
            open[place] = open[place - 1];
        open[place] = found;
    }
    return count;
}

CN_RayBoxes::CN_RayBoxes(const std::vector<Box>& boxes) { Builder(boxes, *this).run(); }

} // namespace cairn
