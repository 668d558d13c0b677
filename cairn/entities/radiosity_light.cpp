#include "cairn/entities/radiosity_light.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/visitors.h"

namespace cairn {

CN_LevelEntityRadiosityLight::CN_LevelEntityRadiosityLight()
    : CN_PolygonNode(CN_KIND_RADIOSITY_LIGHT, 3, "RadiosityPolygon idx") {}

CN_LevelEntityRadiosityLight::CN_LevelEntityRadiosityLight(const CN_LevelEntityRadiosityLight& other)
    : CN_PolygonNode(other), m_properties(other.m_properties) {
    requestRenderer();
}

CN_LevelEntityRadiosityLight& CN_LevelEntityRadiosityLight::operator=(const CN_LevelEntityRadiosityLight& other) {
    if (this != &other) {
        CN_PolygonNode::operator=(other);
        m_properties = other.m_properties;
        requestRenderer();
    }
    return *this;
}

void CN_LevelEntityRadiosityLight::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createRadiosityLightRenderer(this));
}

CN_LevelEntity* CN_LevelEntityRadiosityLight::clone() { return new CN_LevelEntityRadiosityLight(*this); }

void CN_LevelEntityRadiosityLight::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_RadiosityLightACVisitor>(visitor, *this);
}

// Version 1: colour, intensity, hotspot angle, falloff angle, polygon index.

void CN_LevelEntityRadiosityLight::saveEntitySpecificData(F_MemoryFile& file) {
    const unsigned int index = findRecordIndex();
    file.createChunk(0, CAIRN_LVL_ENTITY_RADIOSITYLIGHT_VERSION);
    writeColor(file, m_properties.color);
    file << m_properties.intensity;
    file << m_properties.hotspotAngle;
    file << m_properties.falloffAngle;
    file << index;
    file.closeChunk();
}

void CN_LevelEntityRadiosityLight::loadEntitySpecificData(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& body = chunk.getMemoryFile();
    CN_RLightProperties read;
    unsigned int polygonIndex = 0;
    readColor(body, read.color);
    body >> read.intensity;
    body >> read.hotspotAngle;
    body >> read.falloffAngle;
    body >> polygonIndex;
    if (read.hotspotAngle == 0 && read.falloffAngle == 0)
        read.hotspotAngle = read.falloffAngle = 180;
    file.skipChunk();
    m_properties = read;
    setPolygon(nullptr);
    setPolygonIndex(polygonIndex);
}

bool CN_LevelEntityRadiosityLight::onCanAdd(int) { return false; }

void CN_RLightProperties::initialize() {
    const CN_RLightProperties defaults;
    color = I_Color(defaults.color.red, defaults.color.green, defaults.color.blue, color.alpha);
    intensity = defaults.intensity;
    hotspotAngle = defaults.hotspotAngle;
    falloffAngle = defaults.falloffAngle;
}

} // namespace cairn
