#include "host/mesh_builder.h"

#include "cairn/geometry/validate.h"
#include "cairn/materials/material.h"

#include <algorithm>
#include <array>

namespace cairn::host {

using Matrix = CN_LevelEntity::Matrix;

int MeshBuilder::addVertex(const Vector& point) {
    m_mesh.addVertex(point);
    return m_vertices++;
}

CN_Polygon& MeshBuilder::addPolygon(const std::vector<Loop>& loops, CN_Material* material) {
    CN_Polygon& polygon = *m_mesh.addPolygon();
    for (const Loop& loop : loops)
        for (std::size_t i = 0; i < loop.size(); ++i)
            polygon.addEdge(loop[i], loop[(i + 1) % loop.size()], i == 0 && &loop != &loops.front());
    const Vector normal = CN_areaVector(polygon).normalized();
    polygon.setNormal(normal);
    polygon.setWorldNormal(normal);
    polygon.setReferenceNormal(normal);
    polygon.updatePointOnPlane();
    polygon.setNumVertices(polygon.getEdgeList().count());
    polygon.setNumHoles(static_cast<int>(loops.size()) - 1);
    polygon.setPolyMode(PT_SOLID);
    polygon.setMaterial(material);
    double u = 1, v = 1;
    if (material)
        material->getTiles(u, v, true);
    const CN_Edge& first = *polygon.getEdgeList().first();
    const Vector along = first.dir().normalized();
    polygon.editUVSpace(0) = {Matrix(along * u, along.cross(normal) * v, normal), first.getLocal(0), {}};
    return polygon;
}

void MeshBuilder::addBox(const Vector& least, const Vector& sizes, bool inward, CN_Material* material) {
    // A corner's number has a bit for each axis on which it is at the far end: x 1, y 2, z 4.
    std::array<int, 8> corners;
    for (std::size_t i = 0; i < corners.size(); ++i)
        corners[i] = addVertex(
            {least.x + ((i & 1) ? sizes.x : 0), least.y + ((i & 2) ? sizes.y : 0), least.z + ((i & 4) ? sizes.z : 0)});
    constexpr std::array<std::array<std::size_t, 4>, 6> FACES{{
        {0, 4, 5, 1}, // floor
        {2, 3, 7, 6}, // ceiling
        {0, 2, 6, 4}, // least x
        {4, 6, 7, 5}, // greatest z
        {1, 5, 7, 3}, // greatest x
        {0, 1, 3, 2}, // least z
    }};
    for (const auto& face : FACES) {
        Loop loop;
        for (const std::size_t corner : face)
            loop.push_back(corners[corner]);
        if (!inward)
            std::reverse(loop.begin(), loop.end());
        addPolygon({loop}, material);
    }
}

void MeshBuilder::finish() {
    m_mesh.handleOwnHierarchy();
    m_mesh.triangulizeAll(true);
    refreshMesh(m_mesh);
}

void refreshMesh(CN_Mesh& mesh) {
    mesh.handleOwnHierarchy();
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        if (polygon.isUVDirty() || !polygon.isUVCalculated())
            polygon.calculateUVCoordinates();
        polygon.buildBoundingBox(true);
    }
    mesh.calculateBoundingBox();
}

} // namespace cairn::host
