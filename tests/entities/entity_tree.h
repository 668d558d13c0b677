#pragma once

#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/level_entity.h"

#include <memory>

/// Small trees of entities, built by hand.
namespace cairn::test {

inline std::unique_ptr<CN_LevelEntity> makeEntity(int kind, CN_Document* document = nullptr) {
    return std::unique_ptr<CN_LevelEntity>(CN_EntityFactory::instance()->createEntity(kind, document));
}

/// A new entity of the kind below `parent`, which owns it.
inline CN_LevelEntity* addChild(CN_LevelEntity& parent, int kind, const CString& name) {
    CN_LevelEntity* child = makeEntity(kind, parent.getDocument()).release();
    child->setName(name, false);
    parent.add(child, false);
    return child;
}

/// A document with its root and player.
struct LevelDocument : CN_Document {
    LevelDocument() { createCairnLevelEntities(); }
    CN_LevelEntity& root() { return *accessLevel(); }
};

inline std::string qualifiedName(const CN_LevelEntity* entity) { return toString(entity->getQualifiedName()); }

} // namespace cairn::test
