#include "cairn/geometry/exits.h"

#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

CN_PolygonValidator* CN_PolygonValidator::instance() {
    static CN_PolygonValidator validator;
    return &validator;
}

void CN_PolygonValidator::enumeratePolygons(CN_Document* document, std::vector<CN_Polygon*>* list) {
    CN_LevelEntity* const level = document ? document->accessLevel() : nullptr;
    if (!level)
        return;
    std::vector<CN_LevelEntity*> entities;
    CN_PreIterator it = level->createIterator();
    for (it.begin(); !it.end(); ++it)
        entities.push_back(*it);
    enumeratePolygons(entities, list);
}

void CN_PolygonValidator::enumeratePolygons(std::span<CN_LevelEntity* const> entities, std::vector<CN_Polygon*>* list) {
    int number = 0;
    for (CN_LevelEntity* entity : entities) {
        CN_Mesh* const mesh = entity->getEntityId() == CN_KIND_MESH ? dynamic_cast<CN_Mesh*>(entity) : nullptr;
        if (!mesh)
            continue;
        for (CN_Polygon& polygon : mesh->accessPolygonList()) {
            polygon.setPolygonIndex(number++);
            if (list)
                list->push_back(&polygon);
        }
    }
}

CN_ExitDestinationPointerDeserializer* CN_ExitDestinationPointerDeserializer::instance() {
    static CN_ExitDestinationPointerDeserializer deserializer;
    return &deserializer;
}

} // namespace cairn
