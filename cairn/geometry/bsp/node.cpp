#include "cairn/geometry/bsp/node.h"

#include "cairn/geometry/triangle.h"
#include "cairn/math/snapping.h"

#include <utility>

namespace cairn {

namespace {

constexpr double SNAP = 0.001; // ends of an edge nearer than half of it lie in the plane

} // namespace

CN_BSPNode::CN_BSPNode(const CN_Triangle* triangle) : m_plane(triangle->getNormal(), triangle->getVertex(0)) {}

// The subtree is turned until its root has no inside child, and the root goes: a chain of a node for each face of a convex
// room would be too deep for destructors that call one another.
CN_BSPNode::~CN_BSPNode() {
    for (std::unique_ptr<CN_BSPNode>* const side : {&m_insideChild, &m_outsideChild}) {
        std::unique_ptr<CN_BSPNode> node = std::move(*side);
        while (node) {
            std::unique_ptr<CN_BSPNode> next;
            if (node->m_insideChild) {
                next = std::move(node->m_insideChild);
                node->m_insideChild = std::move(next->m_outsideChild);
                next->m_outsideChild = std::move(node);
            } else {
                next = std::move(node->m_outsideChild);
            }
            node = std::move(next);
        }
    }
}

int CN_BSPNode::intersects(const CN_Ngon* ngon) const {
    bool front = false, behind = false;
    for (const Vector& corner : ngon->getVertices()) {
        const double d = distance(corner);
        front = front || d > 0;
        behind = behind || d < 0;
        if (front && behind)
            return 1;
    }
    return 0;
}

int CN_BSPNode::edgeIntersects(const Vector& a, const Vector& b) const {
    const double da = snapToGrid(distance(a), SNAP), db = snapToGrid(distance(b), SNAP);
    return (da > 0 && db < 0) || (da < 0 && db > 0) ? 1 : 0;
}

int CN_BSPNode::edgeIntersects(const CN_Triangle* triangle, int i) const {
    const int corners = static_cast<int>(triangle->getVertices().size());
    return edgeIntersects(triangle->getVertex(i), triangle->getVertex(i + 1 < corners ? i + 1 : 0));
}

int CN_BSPNode::isInside(const Vector& a, const Vector& b) const {
    return snapToGrid(distance(a), SNAP) >= 0 && snapToGrid(distance(b), SNAP) >= 0 ? 1 : 0;
}

} // namespace cairn
