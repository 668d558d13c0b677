#include "cairn/entities/portal.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityPortal::CN_LevelEntityPortal() : CN_VirtualNode(CN_KIND_PORTAL, 5) {}

CN_LevelEntityPortal::CN_LevelEntityPortal(const CN_LevelEntityPortal& other) : CN_VirtualNode(other) {
    requestRenderer();
}

CN_LevelEntityPortal& CN_LevelEntityPortal::operator=(const CN_LevelEntityPortal& other) {
    if (this != &other) {
        CN_VirtualNode::operator=(other);
        requestRenderer();
    }
    return *this;
}

void CN_LevelEntityPortal::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createPortalRenderer(this));
}

CN_LevelEntity* CN_LevelEntityPortal::clone() { return new CN_LevelEntityPortal(*this); }

void CN_LevelEntityPortal::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_PortalACVisitor>(visitor, *this);
}

void CN_LevelEntityPortal::loadEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityPortal::saveEntitySpecificData(F_MemoryFile&) {}

// Without a record there are no indices to turn.

void CN_LevelEntityPortal::generatePointersFromPolygonIndices() {}

void CN_LevelEntityPortal::generatePolygonIndicesFromPointers() {}

bool CN_LevelEntityPortal::onCanAdd(int) { return false; }

} // namespace cairn
