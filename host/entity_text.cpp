#include "host/entity_text.h"

#include "cairn/document/entity_factory.h"
#include "cairn/entities/mesh_entity.h"

namespace cairn::host {

std::string kindName(int entityId) {
    const string name = CN_EntityFactory::instance()->getEntityTypeName(entityId);
    return name.empty() ? getEntityClassName(entityId) : name;
}

std::string qualifiedName(const CN_LevelEntity& entity) {
    return entity.getParent() ? toString(entity.getQualifiedName()) : std::string("::");
}

std::string plainName(const CN_LevelEntity& entity) { return entity.getName().str(); }

std::vector<std::string> flagsOf(const CN_LevelEntity& entity) {
    std::vector<std::string> flags;
    if (const auto* mesh = dynamic_cast<const CN_LevelEntityMesh*>(&entity); mesh && mesh->isRoom())
        flags.emplace_back("room");
    if (const auto* mesh = dynamic_cast<const CN_MeshInterface*>(&entity); mesh && mesh->isDynamic())
        flags.emplace_back("dynamic");
    const auto* mesh = dynamic_cast<const CN_Mesh*>(&entity);
    if (entity.getEntityId() == CN_KIND_TRIGGER || (mesh && mesh->isTrigger()))
        flags.emplace_back("trigger");
    return flags;
}

} // namespace cairn::host
