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
    int number = 0;
    CN_PreIterator it = level->createIterator();
    for (it.begin(); !it.end(); ++it) {
        CN_Mesh* const mesh = (*it)->getEntityId() == CN_KIND_MESH ? dynamic_cast<CN_Mesh*>(*it) : nullptr;
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
