#include "cairn/geometry/bsp/builder.h"
#include "cairn/geometry/bsp/tree.h"
#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

int CN_BSPTree::build(CN_Mesh* mesh) {
    m_mesh = mesh;
    NgonList ngons;
    for (const CN_Polygon& polygon : mesh->getPolygonList()) {
        if (polygon.isExitPolygon() && polygon.getExitDestinationMesh() == mesh)
            continue;
        for (const CN_Triangle& triangle : polygon.getTriangleList())
            ngons.emplace(&triangle);
    }
    return buildRoot(ngons);
}

int CN_BSPTree::build(NgonList& ngons) {
    m_mesh = nullptr;
    return buildRoot(ngons);
}

int CN_BSPTree::buildRoot(NgonList& ngons) {
    m_root = CN_BSPNode::make();
    if (!build(ngons, m_root.get()))
        return 0;
    layOutSteps();
    return 1;
}

int CN_BSPTree::build(NgonList& ngons, CN_BSPNode* node) {
    forgetSteps();
    m_containedPolygons.clear(); // which may name nodes that go
    return F_withFoundationExceptions([&] { return CN_BSPBuilder(ngons).build(*node) ? 1 : 0; });
}

} // namespace cairn
