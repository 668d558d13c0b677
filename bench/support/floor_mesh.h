#pragma once

#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"

#include <cmath>
#include <memory>

namespace cairn::bench {

/// A level with one mesh.
struct MeshLevel {
    CN_Document document;
    CN_LevelEntityMesh* mesh;

    MeshLevel() {
        document.createCairnLevelEntities();
        mesh = document.accessLevel()->getNewMesh();
    }
};

/// Adds a rectangle on the ground that looks up, with corners of its own.
inline CN_Polygon& addQuad(CN_LevelEntityMesh& mesh, double x, double z, double width, double depth) {
    using Vector = CN_LevelEntity::Vector;
    CN_Polygon& polygon = *mesh.addPolygon();
    for (const Vector& corner : {Vector(x, 0, z), {x, 0, z + depth}, {x + width, 0, z + depth}, {x + width, 0, z}})
        polygon.addVertex(corner);
    polygon.constructEdges();
    polygon.setNormal({0, 1, 0});
    polygon.setWorldNormal({0, 1, 0});
    polygon.setReferenceNormal({0, 1, 0});
    polygon.updatePointOnPlane();
    polygon.buildBoundingBox(true);
    return polygon;
}

/// A floor of so many unit squares.
inline std::shared_ptr<MeshLevel> makeFloor(int n) {
    auto level = std::make_shared<MeshLevel>();
    const int across = static_cast<int>(std::sqrt(n));
    for (int i = 0; i < n; ++i)
        addQuad(*level->mesh, i % across, i / across, 1, 1);
    return level;
}

} // namespace cairn::bench
