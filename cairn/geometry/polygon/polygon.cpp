#include "cairn/geometry/polygon/polygon.h"

#include "cairn/content/shared_db_items.h"
#include "cairn/document/document.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/materials/material.h"

#include <algorithm>

namespace cairn {

const int CN_Polygon::CAIRN_POLYGON_VERSION;
const int CN_Polygon::NON_EXIT_INDEX;
double CN_Polygon::s_dEdgeThickness = 0.0001;
double CN_Polygon::s_dSplitTolerance = 0.0005;
bool CN_Polygon::s_bLightmapIDsAreValidAtLoadTime = true;
unsigned int CN_Polygon::m_saveFeatures = 0x36DFF;
unsigned int CN_Polygon::m_loadFeatures = 0x36DFF;
unsigned int CN_Polygon::m_suiRunningDocIndex = 0;
unsigned int CN_Polygon::s_uiTriangleIndex = 0;

CN_Polygon::CN_Polygon(CN_Mesh* parent) : m_parent(parent) {
    PlanarSpace& space = m_uvSpaces[0].space;
    const CN_Document* const document = getDocument();
    const double scale = document ? document->getPreferences().getDefaultUVScale() : 1;
    if (scale != 1 && scale != 0) {
        M_Matrix3Template<double> matrix = space.getMatrix();
        matrix.row(0) *= scale;
        matrix.row(1) *= scale;
        space.setMatrix(matrix);
    }
    if (m_parent)
        m_parent->setUVDirty(true);
}

CN_Polygon::CN_Polygon(const CN_Polygon& other) : m_parent(other.m_parent) {
    copyFields(other);
    if (other.m_countedLightmap == m_lightmapMapping.getLightmapID())
        referenceLightmap();
}

CN_Polygon& CN_Polygon::operator=(const CN_Polygon& other) {
    if (this == &other)
        return *this;
    // What knows it by its number and counts it in its document goes while it has these.
    leaveDeserializer();
    CN_Document* const document = getDocument();
    const unsigned long counted = std::exchange(m_countedLightmap, NO_INDEX);
    m_parent = other.m_parent;
    try {
        copyFields(other);
    } catch (...) {
        dereferenceLightmap(document, counted);
        throw;
    }
    if (other.m_countedLightmap == m_lightmapMapping.getLightmapID())
        referenceLightmap();
    // The new reference is taken first, so that a lightmap of both lives on.
    dereferenceLightmap(document, counted);
    return *this;
}

CN_Polygon::~CN_Polygon() {
    leaveDeserializer();
    forgetExits();
    CN_VirtualNode::forgetPolygon(this);
    while (!m_groups.empty()) {
        CN_LevelEntityPolygonGroup* const group = *m_groups.begin();
        m_groups.erase(m_groups.begin());
        group->removePolygon(this);
    }
    dereferenceLightmap(getDocument(), m_countedLightmap);
}

/// All but the parent, the groups, the marks of walks and loads, and the lightmap's reference.
void CN_Polygon::copyFields(const CN_Polygon& other) {
    m_attachedEntity = other.m_attachedEntity;
    m_attachedNumber = other.m_attachedNumber;
    if (m_lists || other.m_lists) {
        accessLists().vertexBuffer = other.lists().vertexBuffer;
        accessSharedEdgeList() = other.lists().sharedEdgeList;
        accessLists().ngonList = other.lists().ngonList;
    }
    m_normal = other.m_normal;
    m_worldNormal = other.m_worldNormal;
    m_referenceNormal = other.m_referenceNormal;
    m_numVertices = other.m_numVertices;
    m_numHoles = other.m_numHoles;
    m_triangleList = other.m_triangleList;
    m_triangulationKey = other.m_triangulationKey;
    m_edgeList = other.m_edgeList;
    m_boundingBox = other.m_boundingBox;
    adoptParts();
    m_selected = other.m_selected;
    m_visited = false;
    m_uvCalculated = other.m_uvCalculated;
    m_uvDirty = other.m_uvDirty;
    m_mappingDirty = other.m_mappingDirty;
    m_pointOnPlane = other.m_pointOnPlane;
    m_additionalPoint = other.m_additionalPoint;
    m_material = other.m_material;
    m_lightmapMapping = other.m_lightmapMapping;
    m_polygonIndex = other.m_polygonIndex;
    m_uvSpaces = other.m_uvSpaces;
    m_polyMode = other.m_polyMode;
    m_renderMaterial = other.m_renderMaterial;
    std::copy(std::begin(other.m_renderTextures), std::end(other.m_renderTextures), m_renderTextures);
    setExitDestination(other.m_exitDestination); // last: a copy that was not finished would be known to the partner
}

void CN_Polygon::adoptParts() {
    for (CN_Edge& edge : m_edgeList)
        edge.setParent(this);
    for (CN_Triangle& triangle : m_triangleList)
        triangle.setParent(this);
    if (m_lists)
        for (CN_Ngon& ngon : m_lists->ngonList)
            ngon.setSourcePolygon(this);
}

const CN_Polygon::Lists& CN_Polygon::noLists() {
    static const Lists none;
    return none;
}

F_DLList<CN_Polygon*>& CN_Polygon::accessSharedEdgeList() {
    if (m_parent)
        m_parent->m_hasSharedEdgeLists = true;
    return accessLists().sharedEdgeList;
}

CN_Polygon::Lists& CN_Polygon::accessLists() {
    if (!m_lists)
        m_lists = std::make_unique<Lists>();
    return *m_lists;
}

/// The document of the mesh; null for a mesh of none, and where it has died.
CN_Document* CN_Polygon::getDocument() const {
    CN_Document* const document = m_parent ? m_parent->getDocument() : nullptr;
    return CN_Document::isAlive(document) ? document : nullptr;
}

CN_Mesh& CN_Polygon::requireMesh() const {
    if (!m_parent)
        throw new F_Exception("A polygon of no mesh has no corners");
    return *m_parent;
}

void CN_Polygon::setAttachedEntity(CN_LevelEntity* entity) {
    m_attachedEntity = entity;
    m_attachedNumber = entity ? entity->getProcessNumber() : 0;
}

/// The attached entity; null where it has died, and where another one lives at its address now.
CN_LevelEntity* CN_Polygon::findAttachedEntity() const {
    const bool lives =
        CN_LevelEntity::isAlive(m_attachedEntity) && m_attachedEntity->getProcessNumber() == m_attachedNumber;
    return lives ? m_attachedEntity : nullptr;
}

CN_LevelEntityRadiosityLight* CN_Polygon::getRadiosityLight() const {
    return dynamic_cast<CN_LevelEntityRadiosityLight*>(findAttachedEntity());
}

CN_LevelEntityPortal* CN_Polygon::getLevelEntityPortal() const {
    return isExitPolygon() ? dynamic_cast<CN_LevelEntityPortal*>(findAttachedEntity()) : nullptr;
}

bool CN_Polygon::isSmoothed() const {
    return std::any_of(m_groups.begin(), m_groups.end(),
                       [](const CN_LevelEntityPolygonGroup* group) { return group->isSmooth(); });
}

bool CN_Polygon::isFrozenLightmap() const {
    return std::any_of(m_groups.begin(), m_groups.end(),
                       [](const CN_LevelEntityPolygonGroup* group) { return group->isFreezeLightmaps(); });
}

void CN_Polygon::setMaterial(CN_Material* material) {
    if (material == m_material)
        return;
    if (material && material->hasLightLayer())
        addUVSpace(2); // ahead of the counts: it may fail
    if (m_material)
        m_material->decrementUseCount();
    m_material = material;
    if (m_material) {
        if (!m_material->hasLightLayer())
            deleteUVSpace(2);
        m_material->incrementUseCount();
        markMappingDirty();
    }
    markUVDirty();
}

void CN_Polygon::setLightmap(unsigned long id) {
    id = CN_lightmapID(id);
    CN_Document* const document = getDocument();
    if (id != NO_LIGHTMAP && !document)
        throw new F_Exception("A polygon of no document has no lightmap");
    if (document)
        document->accessLightmaps()->referenceLightmap(id);
    dereferenceLightmap(document, m_countedLightmap);
    m_countedLightmap = static_cast<std::uint32_t>(id);
    m_lightmapMapping.setValidLightmapID(id);
    if (id == NO_LIGHTMAP)
        m_lightmapMapping.m_lightmapValid = false;
}

/// Counts this polygon on the mapping's lightmap, where the document's pool has it.
void CN_Polygon::referenceLightmap() {
    const unsigned long id = m_lightmapMapping.getLightmapID();
    CN_Document* const document = getDocument();
    if (id == NO_LIGHTMAP || !document || !document->getLightmaps()->getLightmap(id))
        return;
    document->accessLightmaps()->referenceLightmap(id);
    m_countedLightmap = static_cast<std::uint32_t>(id);
}

/// Gives a reference back that was counted in the document, which may be null.
void CN_Polygon::dereferenceLightmap(CN_Document* document, unsigned long id) {
    // The host may have deleted the lightmap whoever used it.
    if (id != NO_LIGHTMAP && document && document->getLightmaps() && document->getLightmaps()->getLightmap(id))
        document->accessLightmaps()->dereferenceLightmap(id);
}

bool CN_Polygon::needsToBeLit() const {
    if (!m_material || !m_parent || m_polyMode != PT_SOLID || !m_parent->isVisible())
        return false;
    if (m_parent->isDynamic() && !m_parent->getMeshProperties().lightDynamic)
        return false;
    const Y_SharedDBSurfaceMaterial* const surface = m_material->getY_SharedDBSurfaceMaterial();
    return !surface || surface->drawPolygons();
}

void CN_Polygon::markUVDirty() {
    m_uvDirty = true;
    if (m_parent)
        m_parent->setUVDirty(true);
}

void CN_Polygon::markMappingDirty() {
    m_mappingDirty = true;
    if (m_parent)
        m_parent->setMappingDirty(true);
}

} // namespace cairn
