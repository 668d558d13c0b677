#include "cairn/foundation/system.h"
#include "cairn/geometry/bsp/tree.h"
#include "cairn/geometry/polygon/polygon.h"
#include "cairn/math/snapping.h"

#include <cmath>
#include <utility>

namespace cairn {

namespace {

constexpr double SLIVER = 0.00001; // thinner parts of a cut are dropped
constexpr double FACING = 0.001;   // cosines snap to it

} // namespace

void CN_BSPTree::createRoot(const CN_Triangle* triangle) {
    forgetSteps();
    m_containedPolygons.clear();
    m_root = CN_BSPNode::make(triangle);
}

void CN_BSPTree::insertBounding(CN_Polygon* polygon) {
    for (const CN_Triangle& triangle : polygon->getTriangleList()) {
        const CN_Ngon ngon(&triangle);
        if (m_root)
            insertBounding(m_root.get(), &ngon);
        else
            createRoot(&triangle);
    }
}

// Where the piece lies           goes to
//   in the plane, facing alike   nowhere
//   in the plane, facing against the outside subtree, if there is one
//   on both sides                its parts to either side, but for slivers
//   else                         its side
// A side without subtree gets a node of the piece's plane.
void CN_BSPTree::insertBounding(CN_BSPNode* node, const CN_Ngon* ngon) {
    forgetSteps();
    std::vector<std::pair<CN_BSPNode*, CN_Ngon>> open;
    open.emplace_back(node, *ngon);
    const auto give = [&open](CN_BSPNode& to, bool inside, const CN_Ngon& piece) {
        if (std::unique_ptr<CN_BSPNode>& child = to.child(inside))
            open.emplace_back(child.get(), piece);
        else
            child = CN_BSPNode::make(&piece);
    };
    while (!open.empty()) {
        CN_BSPNode& at = *open.back().first;
        const CN_Ngon piece = open.back().second;
        open.pop_back();
        if (at.contained(&piece)) {
            const double cosine = piece.getPlane().getNormal().dot(at.getPlane().getNormal());
            if (snapToGrid(cosine, FACING) < 0 && at.m_outsideChild)
                open.emplace_back(at.m_outsideChild.get(), piece);
        } else if (at.intersects(&piece)) {
            CN_Ngon inside, outside;
            piece.split(at.getPlane(), inside, outside);
            if (!outside.linear(SLIVER))
                give(at, false, outside);
            if (!inside.linear(SLIVER))
                give(at, true, inside);
        } else {
            give(at, at.isInside(&piece) != 0, piece);
        }
    }
}

void CN_BSPTree::insertSplit(NgonList& output, const CN_Ngon& ngon, PlaneList& planes, Plane* current) {
    constexpr double NO_NORMAL = 0.0001; // no component reaches it
    std::vector<std::pair<CN_Ngon, Plane*>> open;
    open.emplace_back(ngon, current);
    while (!open.empty()) {
        const CN_Ngon piece = open.back().first;
        Plane* const plane = open.back().second;
        open.pop_back();
        if (!plane) {
            output.add(piece);
            continue;
        }
        const Vector normal = plane->getNormal();
        if (std::fabs(normal.x) < NO_NORMAL && std::fabs(normal.y) < NO_NORMAL && std::fabs(normal.z) < NO_NORMAL) {
            const CN_Polygon* const polygon = piece.getSourcePolygon();
            F_System::verbose("nca %d", polygon ? static_cast<int>(polygon->getPolygonIndex()) : -1);
        }
        CN_BSPNode node;
        node.m_plane = *plane;
        Plane* const next = planes.next(plane);
        if (!node.intersects(&piece)) {
            open.emplace_back(piece, next);
            continue;
        }
        CN_Ngon inside, outside;
        piece.split(*plane, inside, outside);
        // The inside one is wholly cut before the other.
        if (!outside.linear(SLIVER))
            open.emplace_back(outside, next);
        if (!inside.linear(SLIVER))
            open.emplace_back(inside, next);
    }
}

} // namespace cairn
