#include "cairn/geometry/bsp/tree.h"

#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

constexpr double SNAP = 0.001;
// A distance snaps to 0 up to half the step, which goes to the even neighbour.
constexpr double HALF_SNAP = 0.0005;

} // namespace

void CN_BSPTree::layOutSteps() {
    struct Open {
        const CN_BSPNode* node;
        int* link; ///< the step above's, or null; steps do not move, as there is room for all
    };
    std::size_t count = 0;
    std::vector<const CN_BSPNode*> open;
    const auto openChildren = [&open](const CN_BSPNode& node) {
        for (const CN_BSPNode* const child : {node.getOutsideChild(), node.getInsideChild()})
            if (child)
                open.push_back(child);
    };
    for (open.push_back(m_root.get()); !open.empty(); ++count) {
        const CN_BSPNode& node = *open.back();
        open.pop_back();
        openChildren(node);
    }
    m_steps.clear();
    m_steps.reserve(count);
    // Subtree by subtree, the inside one directly behind its node.
    std::vector<Open> rest{{m_root.get(), nullptr}};
    while (!rest.empty()) {
        const Open at = rest.back();
        rest.pop_back();
        if (at.link)
            *at.link = static_cast<int>(m_steps.size());
        const Plane& plane = at.node->getPlane();
        m_steps.push_back({plane.getNormal(), plane.getPoint().dot(plane.getNormal()), END_INSIDE, END_OUTSIDE});
        if (const CN_BSPNode* const child = at.node->getOutsideChild())
            rest.push_back({child, &m_steps.back().outside});
        if (const CN_BSPNode* const child = at.node->getInsideChild())
            rest.push_back({child, &m_steps.back().inside});
    }
}

template <bool STRICT> int CN_BSPTree::walk(const Vector& point) const {
    int at = 0;
    while (at >= 0) {
        const Step& step = m_steps[static_cast<std::size_t>(at)];
        const double distance = point.dot(step.normal) - step.offset;
        at = (STRICT ? distance > HALF_SNAP : distance >= -HALF_SNAP) ? step.inside : step.outside;
    }
    return at == END_INSIDE ? 1 : 0;
}

int CN_BSPTree::inside(const Vector& point) const {
    return m_steps.empty() ? inside(m_root.get(), point, false) : walk<false>(point);
}

int CN_BSPTree::strictlyInside(const Vector& point) const {
    return m_steps.empty() ? inside(m_root.get(), point, true) : walk<true>(point);
}

int CN_BSPTree::inside(const CN_BSPNode* node, const Vector& point, bool strict) const {
    bool isInside = false;
    while (node) {
        const double distance = snapToGrid(node->distance(point), SNAP);
        isInside = strict ? distance > 0 : distance >= 0;
        node = node->getChild(isInside);
    }
    return isInside ? 1 : 0;
}

int CN_BSPTree::inside(const CN_Ngon* ngon) const {
    return std::all_of(ngon->getVertices().begin(), ngon->getVertices().end(),
                       [this](const Vector& corner) { return inside(corner) != 0; })
               ? 1
               : 0;
}

int CN_BSPTree::isInsideSubtree(const CN_BSPNode* node, const CN_Ngon* ngon) const {
    bool isInside = true;
    while (node) {
        isInside = node->isInside(ngon) != 0;
        node = node->getChild(isInside);
    }
    return isInside ? 1 : 0;
}

CN_BSPNode* CN_BSPTree::getsSplit(const CN_Ngon* ngon) { return getsSplit(m_root.get(), ngon); }

CN_BSPNode* CN_BSPTree::getsSplit(CN_BSPNode* node, const CN_Ngon* ngon) {
    std::vector<CN_BSPNode*> open{node};
    while (!open.empty()) {
        CN_BSPNode* const at = open.back();
        open.pop_back();
        if (!at)
            continue;
        if (at->intersects(ngon))
            return at;
        open.push_back(at->accessOutsideChild());
        open.push_back(at->accessInsideChild());
    }
    return nullptr;
}

void CN_BSPTree::gatherSplitPlanes(const Vector& point, double radius, std::set<CN_BSPNode*>& nodes, CN_BSPNode* node) {
    std::vector<CN_BSPNode*> open{node ? node : m_root.get()};
    while (!open.empty()) {
        CN_BSPNode* const at = open.back();
        open.pop_back();
        if (!at)
            continue;
        const double distance = at->distance(point);
        const bool isNear = snapToGrid(std::fabs(distance), SNAP) <= radius;
        if (isNear)
            nodes.insert(at);
        if (isNear || !(distance > 0))
            open.push_back(at->accessOutsideChild());
        if (isNear || distance > 0)
            open.push_back(at->accessInsideChild());
    }
}

void CN_BSPTree::enumerateNodes(F_DLList<CN_BSPNode*>& nodes, CN_BSPNode* node) {
    std::vector<CN_BSPNode*> above;
    while (node || !above.empty()) {
        for (; node; node = node->accessInsideChild())
            above.push_back(node);
        nodes.add(above.back());
        node = above.back()->accessOutsideChild();
        above.pop_back();
    }
}

} // namespace cairn
