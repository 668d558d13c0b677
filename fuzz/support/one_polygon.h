#pragma once

#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"

#include <memory>

namespace cairn::fuzz {

/// A level with one mesh, which has one polygon that looks up and has no corners yet.
struct OnePolygon {
    CN_Document document;
    CN_LevelEntityMesh* mesh; ///< not owned
    CN_Polygon* polygon;      ///< not owned

    OnePolygon() {
        document.createCairnLevelEntities();
        auto owned = std::make_unique<CN_LevelEntityMesh>();
        mesh = owned.get();
        mesh->setDocument(&document);
        document.accessLevel()->addOwned(std::move(owned), false);
        polygon = mesh->addPolygon();
        polygon->setNormal({0, 1, 0});
    }
};

} // namespace cairn::fuzz
