#include "cairn/entities/dyn_pointlight.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityDynPointlight::CN_LevelEntityDynPointlight() : CN_UISphereEntity(CN_KIND_DYN_POINTLIGHT, 15) {
    initializeMembers();
}

CN_LevelEntityDynPointlight::CN_LevelEntityDynPointlight(const CN_LevelEntityDynPointlight& other)
    : CN_UISphereEntity(other), m_properties(other.m_properties) {
    requestRenderer();
}

CN_LevelEntityDynPointlight& CN_LevelEntityDynPointlight::operator=(const CN_LevelEntityDynPointlight& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        m_properties = other.m_properties;
        requestRenderer();
    }
    return *this;
}

void CN_LevelEntityDynPointlight::initializeMembers() {
    setRadius(0.5);
    setSharedDBName("Pointlight", false);
    m_properties.initialize();
}

CN_LevelEntity* CN_LevelEntityDynPointlight::clone() { return new CN_LevelEntityDynPointlight(*this); }

void CN_LevelEntityDynPointlight::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_DynPointlightACVisitor>(visitor, *this);
}

// Version 1: red, green, blue, alpha, intensity, falloff; behind the record of the sphere.

void CN_LevelEntityDynPointlight::saveEntitySpecificData(F_MemoryFile& file) {
    CN_UISphereEntity::saveEntitySpecificData(file);
    file.createChunk(0, CAIRN_LVL_ENTITY_DYNPOINTLIGHT_VERSION);
    file << m_properties.color.red << m_properties.color.green << m_properties.color.blue << m_properties.color.alpha;
    file << m_properties.intensity;
    file << m_properties.falloff;
    file.closeChunk();
}

void CN_LevelEntityDynPointlight::loadEntitySpecificData(F_MemoryFile& file) {
    CN_UISphereEntity::loadEntitySpecificData(file);
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& body = chunk.getMemoryFile();
    CN_DynPointlightProperties read;
    body >> read.color.red >> read.color.green >> read.color.blue >> read.color.alpha;
    body >> read.intensity;
    body >> read.falloff;
    m_properties = read;
    file.skipChunk();
}

I_Color CN_LevelEntityDynPointlight::getColor() { return I_Color(m_properties.color); }

bool CN_LevelEntityDynPointlight::onCanAdd(int) { return false; }

void CN_LevelEntityDynPointlight::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createDynPointlightRenderer(this));
}

} // namespace cairn
