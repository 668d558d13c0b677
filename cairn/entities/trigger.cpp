#include "cairn/entities/trigger.h"

#include "cairn/entities/parenting.h"
#include "cairn/entities/visitors.h"
#include "cairn/fsm/fsm.h"

namespace cairn {

CN_LevelEntityTrigger::CN_LevelEntityTrigger() : CN_UISphereEntity(CN_KIND_TRIGGER, 10) { initializeMembers(); }

CN_LevelEntityTrigger::CN_LevelEntityTrigger(const CN_LevelEntityTrigger& other)
    : CN_UISphereEntity(other), m_properties(other.m_properties) {
    createFSM();
    requestSphereRenderer();
}

CN_LevelEntityTrigger& CN_LevelEntityTrigger::operator=(const CN_LevelEntityTrigger& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        m_properties = other.m_properties;
        createFSM();
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityTrigger::initializeMembers() {
    m_properties.initialize();
    setRadius(m_properties.radius);
    createFSM();
}

CN_LevelEntity* CN_LevelEntityTrigger::clone() { return new CN_LevelEntityTrigger(*this); }

void CN_LevelEntityTrigger::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_TriggerACVisitor>(visitor, *this);
}

// The record of the sphere, then that of the settings, which have their radius from the sphere.

void CN_LevelEntityTrigger::saveEntitySpecificData(F_MemoryFile& file) {
    CN_UISphereEntity::saveEntitySpecificData(file);
    m_properties.save(file);
}

void CN_LevelEntityTrigger::loadEntitySpecificData(F_MemoryFile& file) {
    CN_UISphereEntity::loadEntitySpecificData(file);
    m_properties.load(file);
    m_properties.radius = getRadius();
}

void CN_LevelEntityTrigger::setRadius(double radius) {
    m_properties.radius = radius;
    CN_UISphereEntity::setRadius(radius);
}

void CN_LevelEntityTrigger::setTriggerProperties(const CN_TriggerProperties& properties) {
    m_properties = properties;
    setRadius(properties.radius);
}

void CN_LevelEntityTrigger::createFSM() {
    if (hasFSM())
        return;
    CN_LevelEntity::createFSM();
    m_fsm->createMessageHandler("T_Activate");
}

I_Color CN_LevelEntityTrigger::getColor() { return I_Color(32, 64, 64); }

bool CN_LevelEntityTrigger::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId); }

} // namespace cairn
