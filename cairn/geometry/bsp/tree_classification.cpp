#include "cairn/geometry/bsp/tree.h"
#include "cairn/geometry/polygon/polygon.h"

#include <algorithm>
#include <utility>

namespace cairn {

namespace {

using Classification = CN_Ngon::CLASSIFICATION;

constexpr double SLIVER = 0.0001; // thinner pieces are dropped where that is asked for

/// Where a walk of a piece ends that asks no more whether it lies in a plane.
Classification endOf(const CN_BSPNode* node, bool isInside, const CN_Ngon* ngon) {
    while (node) {
        isInside = node->isInside(ngon) != 0;
        node = isInside ? node->getInsideChild() : node->getOutsideChild();
    }
    return isInside ? CN_Ngon::CLASSIFICATION_INSIDE : CN_Ngon::CLASSIFICATION_OUTSIDE;
}

} // namespace

Classification CN_BSPTree::classify2(const CN_BSPNode* node, const CN_Ngon* ngon, int alreadyCoplanar) const {
    bool isInside = false;
    while (node && (alreadyCoplanar || !node->contained(ngon))) {
        isInside = node->isInside(ngon) != 0;
        node = node->getChild(isInside);
    }
    if (!node)
        return endOf(nullptr, isInside, ngon);
    const Classification in = endOf(node->getInsideChild(), true, ngon);
    const Classification out = endOf(node->getOutsideChild(), false, ngon);
    if (in == out)
        return in;
    const bool same = ngon->getPlane().getNormal().dot(node->getPlane().getNormal()) > 0;
    return same ? CN_Ngon::CLASSIFICATION_COPLANAR_SAME : CN_Ngon::CLASSIFICATION_COPLANAR_OPPOSITE;
}

void CN_BSPTree::classify2(CN_Polygon* polygon, bool dropSlivers) {
    NgonList whole, classified;
    for (const CN_Triangle& triangle : polygon->getTriangleList())
        whole.addNew().construct(&triangle, 1);
    for (const CN_Ngon& ngon : whole)
        for (const CN_Ngon& piece : splitIfNecessary(m_root.get(), {ngon}))
            if (!dropSlivers || !piece.linear(SLIVER))
                classified.add(piece);
    for (CN_Ngon& piece : classified) {
        const Classification forced = piece.getForcedClassification();
        const Classification found = classify2(m_root.get(), &piece, 0);
        piece.setClassification(forced != Classification{} ? forced : found);
    }
    polygon->accessNgonList().swap(classified);
}

bool CN_BSPTree::parentContained(CN_Polygon* polygon, CN_BSPNode* node) const {
    const auto [first, last] = m_containedPolygons.equal_range(polygon);
    return std::any_of(first, last, [node](const auto& entry) { return entry.second == node; });
}

/// True where the pieces, all of one polygon, lie in the node's plane and go to both of its sides as they are. Else they are
/// cut: those on the positive side stay, the others go to `outside`.
bool CN_BSPTree::divide(CN_BSPNode& node, std::list<CN_Ngon>& pieces, std::list<CN_Ngon>& outside) {
    CN_Polygon* const polygon = pieces.front().getSourcePolygon();
    if (parentContained(polygon, &node))
        return true;
    if (node.contained(&pieces.front())) {
        m_containedPolygons.emplace(polygon, &node);
        return true;
    }
    std::list<CN_Ngon> inside;
    while (!pieces.empty()) {
        const CN_Ngon& piece = pieces.front();
        if (node.intersects(&piece)) {
            CN_Ngon in, out;
            piece.split(node.getPlane(), in, out);
            // What is on both sides by less than rounding leaves one part without corners, which would lie in every plane.
            for (const auto& [part, side] : {std::pair(&in, &inside), std::pair(&out, &outside)})
                if (part->size() > 0)
                    side->push_back(*part);
            pieces.pop_front();
        } else {
            std::list<CN_Ngon>& side = node.isInside(&piece) ? inside : outside;
            side.splice(side.end(), pieces, pieces.begin());
        }
    }
    pieces = std::move(inside);
    return false;
}

/// Cuts pieces of one polygon by the planes of a subtree. Gives the parts, at each node those inside first.
std::list<CN_Ngon> CN_BSPTree::splitIfNecessary(CN_BSPNode* root, std::list<CN_Ngon> pieces) {
    /// A node whose inside subtree has the pieces now, or else its outside one.
    struct Visit {
        CN_BSPNode* node;
        std::list<CN_Ngon> outside; ///< for the outside subtree, then what came out of the inside one
        bool isContained, isInside;
    };
    std::vector<Visit> path;
    CN_BSPNode* node = root;
    for (;;) {
        if (node && !pieces.empty()) {
            Visit visit{node, {}, false, true};
            visit.isContained = divide(*node, pieces, visit.outside);
            path.push_back(std::move(visit));
            node = node->accessInsideChild();
            continue;
        }
        while (!path.empty() && !path.back().isInside) {
            pieces.splice(pieces.begin(), path.back().outside);
            path.pop_back();
        }
        if (path.empty())
            return pieces;
        Visit& visit = path.back();
        visit.isInside = false;
        if (!visit.isContained)
            pieces.swap(visit.outside);
        node = visit.node->accessOutsideChild();
    }
}

} // namespace cairn
