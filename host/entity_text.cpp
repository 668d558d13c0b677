#include "host/entity_text.h"

#include "cairn/document/entity_factory.h"

namespace cairn::host {

std::string kindName(int entityId) {
    const string name = CN_EntityFactory::instance()->getEntityTypeName(entityId);
    return name.empty() ? getEntityClassName(entityId) : name;
}

std::string qualifiedName(const CN_LevelEntity& entity) {
    return entity.getParent() ? toString(entity.getQualifiedName()) : std::string("::");
}

std::string plainName(const CN_LevelEntity& entity) { return entity.getName().str(); }

} // namespace cairn::host
