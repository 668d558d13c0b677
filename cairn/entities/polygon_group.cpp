#include "cairn/entities/polygon_group.h"

#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityPolygonGroup::CN_LevelEntityPolygonGroup() : CN_VirtualNode(CN_KIND_POLYGON_GROUP, 4) {}

CN_LevelEntityPolygonGroup::CN_LevelEntityPolygonGroup(const CN_LevelEntityPolygonGroup& other)
    : CN_VirtualNode(other) {}

CN_LevelEntityPolygonGroup& CN_LevelEntityPolygonGroup::operator=(const CN_LevelEntityPolygonGroup& other) {
    if (this != &other) {
        CN_VirtualNode::operator=(other);
    }
    return *this;
}

CN_LevelEntity* CN_LevelEntityPolygonGroup::clone() { return new CN_LevelEntityPolygonGroup(*this); }

void CN_LevelEntityPolygonGroup::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_PolygonGroupACVisitor>(visitor, *this);
}

void CN_LevelEntityPolygonGroup::loadEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityPolygonGroup::saveEntitySpecificData(F_MemoryFile&) {}

// Without a record there are no indices to turn.

void CN_LevelEntityPolygonGroup::generatePointersFromPolygonIndices() {}

void CN_LevelEntityPolygonGroup::generatePolygonIndicesFromPointers() {}

bool CN_LevelEntityPolygonGroup::onCanAdd(int) { return false; }

} // namespace cairn
