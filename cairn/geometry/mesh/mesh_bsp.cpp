#include "cairn/entities/mesh_entity.h"
#include "cairn/geometry/bsp/tree.h"
#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

bool CN_Mesh::createBoundingBSP() {
    m_boundingBSP.reset();
    auto tree = std::make_unique<CN_BSPTree>();
    if (!tree->build(this))
        return false;
    m_boundingBSP = std::move(tree);
    m_bspDirty = false;
    return true;
}

bool CN_Mesh::isPositionInside(const Vector& position) {
    if (!m_boundingBSP || m_bspDirty) {
        calculateBoundingBox(); // which those who ask for many positions look at first
        if (!createBoundingBSP())
            return false;
    }
    return m_boundingBSP->inside(position) != 0;
}

bool CN_Mesh::isParentableNonRoom(const CN_LevelEntity* entity) {
    const auto* const other = dynamic_cast<const CN_LevelEntityMesh*>(entity);
    if (!entity || (other && other->isRoom()))
        return false;
    if (!other)
        return isPositionInside(entity->getWorldPosition());
    Vector sum;
    int corners = 0;
    for (const CN_Polygon& polygon : other->getPolygonList())
        for (const CN_Edge& edge : polygon.getEdgeList()) {
            sum += edge.getWorld(0);
            ++corners;
        }
    return isPositionInside(corners > 0 ? sum / static_cast<double>(corners) : Vector());
}

} // namespace cairn
