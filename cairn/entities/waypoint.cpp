#include "cairn/entities/waypoint.h"

#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityWaypoint::CN_LevelEntityWaypoint() : CN_UISphereEntity(CN_KIND_WAYPOINT, 16) { initializeMembers(); }

CN_LevelEntityWaypoint::CN_LevelEntityWaypoint(const CN_LevelEntityWaypoint& other) : CN_UISphereEntity(other) {
    requestSphereRenderer();
}

CN_LevelEntityWaypoint& CN_LevelEntityWaypoint::operator=(const CN_LevelEntityWaypoint& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityWaypoint::initializeMembers() { setRadius(0.5); }

CN_LevelEntity* CN_LevelEntityWaypoint::clone() { return new CN_LevelEntityWaypoint(*this); }

void CN_LevelEntityWaypoint::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_WaypointACVisitor>(visitor, *this);
}

void CN_LevelEntityWaypoint::loadEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityWaypoint::saveEntitySpecificData(F_MemoryFile&) {}

I_Color CN_LevelEntityWaypoint::getColor() { return I_Color(255, 128, 0); }

bool CN_LevelEntityWaypoint::onCanAdd(int) { return false; }

} // namespace cairn
