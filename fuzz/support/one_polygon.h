#pragma once

#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"

namespace cairn::fuzz {

/// A level with one mesh, which has one polygon that looks up and has no corners yet.
struct OnePolygon {
    CN_Document document;
    CN_LevelEntityMesh* mesh; ///< not owned
    CN_Polygon* polygon;      ///< not owned

    OnePolygon() {
        document.createCairnLevelEntities();
        mesh = document.accessLevel()->getNewMesh();
        polygon = mesh->addPolygon();
        polygon->setNormal({0, 1, 0});
    }
};

} // namespace cairn::fuzz
