#include "cairn/entities/radiosity_light.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/visitors.h"
#include "cairn/foundation/exception.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/platform/handlers.h"

namespace cairn {

CN_LevelEntityRadiosityLight::CN_LevelEntityRadiosityLight() : CN_VirtualNode(CN_KIND_RADIOSITY_LIGHT, 3) {}

CN_LevelEntityRadiosityLight::CN_LevelEntityRadiosityLight(const CN_LevelEntityRadiosityLight& other)
    : CN_VirtualNode(other), m_radiosityPolygon(other.m_radiosityPolygon), m_polygonIndex(other.m_polygonIndex),
      m_properties(other.m_properties) {
    requestRenderer();
}

CN_LevelEntityRadiosityLight& CN_LevelEntityRadiosityLight::operator=(const CN_LevelEntityRadiosityLight& other) {
    if (this != &other) {
        CN_VirtualNode::operator=(other);
        m_radiosityPolygon = other.m_radiosityPolygon;
        m_polygonIndex = other.m_polygonIndex;
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
    generatePolygonIndicesFromPointers();
    file.createChunk(0, CAIRN_LVL_ENTITY_RADIOSITYLIGHT_VERSION);
    writeColor(file, m_properties.color);
    file << m_properties.intensity;
    file << m_properties.hotspotAngle;
    file << m_properties.falloffAngle;
    file << m_polygonIndex;
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
    m_properties = read;
    m_polygonIndex = polygonIndex;
    file.skipChunk();
}

string CN_LevelEntityRadiosityLight::findRecordFault() const {
    return dynamic_cast<const CN_Mesh*>(getParent())
               ? string("it stands on a polygon, and the polygons of a mesh cannot be saved yet")
               : string();
}

void CN_LevelEntityRadiosityLight::setRadiosityPolygon(CN_Polygon* polygon) {
    m_radiosityPolygon = polygon;
    if (polygon)
        polygon->setAttachedEntity(this);
}

void CN_LevelEntityRadiosityLight::generatePointersFromPolygonIndices() {
    auto* const mesh = dynamic_cast<CN_Mesh*>(getParent());
    if (!mesh)
        throw new F_Exception("The radiosity light \"" + toString(getName()) + "\" is no child of a mesh");
    CN_Mesh::PolygonList& polygons = mesh->accessPolygonList();
    if (m_polygonIndex >= static_cast<unsigned int>(polygons.count())) {
        CString text;
        text.Format("RadiosityPolygon idx %d not found in parent mesh '%s'. Exiting..",
                    static_cast<int>(m_polygonIndex), mesh->getName().GetString());
        AfxMessageBox(text);
        terminateAfterMessage(text);
    }
    setRadiosityPolygon(&polygons[static_cast<int>(m_polygonIndex)]);
}

void CN_LevelEntityRadiosityLight::generatePolygonIndicesFromPointers() {
    const CN_Mesh* mesh = m_radiosityPolygon ? m_radiosityPolygon->getParent() : nullptr;
    const int index = mesh ? mesh->findPolygonIndex(m_radiosityPolygon) : -1;
    if (index >= 0)
        m_polygonIndex = static_cast<unsigned int>(index);
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
