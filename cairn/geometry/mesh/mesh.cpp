#include "cairn/geometry/mesh/mesh.h"

#include "cairn/animation/keyframes.h"
#include "cairn/document/change_scope.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/bsp/tree.h"
#include "cairn/materials/material.h"

#include <utility>

namespace cairn {

CN_Mesh::CN_Mesh(int entityId, int imageIndex, CN_Document* document)
    : CN_LevelEntity(entityId, imageIndex), m_boundingBox({CN_UNSET_BOUND, CN_UNSET_BOUND, CN_UNSET_BOUND},
                                                          {-CN_UNSET_BOUND, -CN_UNSET_BOUND, -CN_UNSET_BOUND}) {
    setDocument(document);
    initializeMembers();
}

CN_Mesh::CN_Mesh(const CN_Mesh& other) : CN_LevelEntity(other), CN_MovableMesh(other) { copyGeometry(other); }

CN_Mesh& CN_Mesh::operator=(const CN_Mesh& other) {
    if (this != &other) {
        dropPolygons(); // which count on what their own document has
        CN_LevelEntity::operator=(other);
        CN_MovableMesh::operator=(other);
        copyGeometry(other);
    }
    return *this;
}

// What stands on polygons dies with the children, after them.
CN_Mesh::~CN_Mesh() = default;

void CN_Mesh::initializeMembers() { m_generalProperties.setGameplayCritical(false); }

void CN_Mesh::dropPolygons() {
    updateMaterialRefCounts(false);
    m_lastHitPolygon = nullptr;
    m_polygonList.clear();
}

/// All that this class adds to the entity but the groups, which are children, as is what stands on the polygons: copied
/// children are bound by `CN_VirtualNode`. The copied polygons count on their materials.
void CN_Mesh::copyGeometry(const CN_Mesh& other) {
    m_centerOfArea = other.m_centerOfArea;
    m_vertexList = other.m_vertexList;
    m_polygonList = other.m_polygonList;
    for (CN_Polygon& polygon : m_polygonList)
        adopt(polygon, other);
    updateMaterialRefCounts(true);
    m_geometryDirty = m_bspDirty = true;
    m_boundingBSP.reset();
    m_uvDirty = other.m_uvDirty;
    m_mappingDirty = true;
    m_facesFlipped = other.m_facesFlipped;
    m_lastHitPolygon = nullptr;
    setTriggerProperties(other.m_triggerProperties.get());
    m_boundingBox = other.m_boundingBox;
}

/// Makes a polygon that was copied from `other` one of this mesh: nothing in it points into the original any more.
void CN_Mesh::adopt(CN_Polygon& polygon, const CN_Mesh& other) {
    polygon.setParent(this);
    polygon.setAttachedEntity(nullptr);
    polygon.setAdditionalPoint(nullptr);
    polygon.deSelect();
    polygon.setRenderMaterial(nullptr);
    for (CN_RenderTexture*& texture : polygon.m_renderTextures)
        texture = nullptr;
    if (!polygon.m_lists)
        return;
    polygon.m_lists->sharedEdgeList.clear();
    F_DLList<CN_Vertex*>& corners = polygon.m_lists->vertexBuffer;
    for (CN_Vertex*& corner : corners) {
        const int index = other.m_vertexList.indexOf(corner);
        if (index >= 0) {
            corner = &m_vertexList[index];
            continue;
        }
        corners.remove(&corner); // it was no vertex of the original's either
        --polygon.m_numVertices;
    }
}

bool CN_Mesh::onCanAdd(int) { return false; }

void CN_Mesh::add(CN_LevelEntity* child, bool makeChild) {
    auto* const group = dynamic_cast<CN_LevelEntityPolygonGroup*>(child);
    if (!group) {
        CN_LevelEntity::add(child, makeChild);
        return;
    }
    // The group may be refused, and a host's callback may throw when it stands in the tree already.
    struct Joining {
        CN_Mesh& mesh;
        CN_LevelEntityPolygonGroup* group;
        ~Joining() {
            if (group->getParent() != &mesh)
                mesh.m_polygonGroups.erase(group);
        }
    } const joining{*this, group};
    m_polygonGroups.insert(group);
    CN_LevelEntity::add(child, makeChild);
}

void CN_Mesh::remove(CN_LevelEntity* child) {
    if (child && child->getParent() == this)
        if (auto* const group = dynamic_cast<CN_LevelEntityPolygonGroup*>(child))
            m_polygonGroups.erase(group);
    CN_LevelEntity::remove(child);
}

void CN_Mesh::handleHierarchy(const Vector& parentPosition, const Matrix& parentRotation, bool force) {
    if (!force && !isVisible())
        return;
    const Vector position = m_worldPosition;
    const Matrix rotation = m_worldRotation;
    placeInWorld(parentPosition, parentRotation);
    if (!(m_worldPosition == position && m_worldRotation == rotation))
        m_bspDirty = true;
    for (CN_Polygon& polygon : m_polygonList)
        polygon.setWorldNormal(polygon.getNormal() * m_worldRotation);
    transform();
    placeChildrenInWorld(force);
}

void CN_Mesh::invalidateObject(bool deep) {
    if (deep)
        setGeometryDirty();
    CN_LevelEntity::invalidateObject(deep);
}

void CN_Mesh::invalidateMapping() {
    m_uvDirty = m_mappingDirty = true;
    for (CN_Polygon& polygon : m_polygonList) {
        polygon.setUVDirty(true);
        polygon.setMappingDirty(true);
    }
    CN_LevelEntity::invalidateMapping();
}

void CN_Mesh::createFSM() {
    CN_LevelEntity::createFSM();
    if (isDynamic())
        m_fsm->createDynamicMeshHandlers();
    else if (isTrigger())
        m_fsm->createMessageHandler("T_Activate");
}

void CN_Mesh::updateMaterialRefCounts(bool add) {
    for (const CN_Polygon& polygon : m_polygonList) {
        CN_Material* const material = polygon.getMaterial();
        if (material && add)
            material->incrementUseCount();
        else if (material)
            material->decrementUseCount();
    }
}

CN_Polygon* CN_Mesh::addPolygon() {
    CN_Polygon& polygon = m_polygonList.emplace(this);
    setGeometryDirty();
    return &polygon;
}

/// Destroys the polygon, which others' shared edge lists no longer name, and forgets it; nobody is told.
void CN_Mesh::dropPolygon(CN_Polygon* polygon) {
    if (m_lastHitPolygon == polygon)
        m_lastHitPolygon = nullptr;
    polygon->setMaterial(nullptr);
    m_polygonList.remove(polygon);
    setGeometryDirty();
}

/// Who shares edges changes, and may go. Where many polygons go the first one has done it for all.
void CN_Mesh::dropSharedEdgeLists() {
    if (!std::exchange(m_hasSharedEdgeLists, false))
        return;
    for (CN_Polygon& polygon : m_polygonList)
        if (polygon.m_lists)
            polygon.m_lists->sharedEdgeList.clear();
}

bool CN_Mesh::deletePolygon(CN_Polygon* polygon) {
    dropSharedEdgeLists();
    dropPolygon(polygon);
    if (m_polygonList.empty())
        return false;
    invalidateObject(true);
    return true;
}

std::vector<const CN_Polygon*> CN_Mesh::getWrittenPolygons() const {
    std::vector<const CN_Polygon*> written;
    written.reserve(static_cast<std::size_t>(m_polygonList.count()));
    for (const CN_Polygon& polygon : m_polygonList)
        if (!polygon.getEdgeList().empty())
            written.push_back(&polygon);
    return written;
}

int CN_Mesh::findWrittenIndex(const CN_Polygon* polygon) const {
    int place = 0;
    for (const CN_Polygon& other : m_polygonList) {
        if (other.getEdgeList().empty())
            continue;
        if (&other == polygon)
            return place;
        ++place;
    }
    return -1;
}

void CN_Mesh::texturize(CN_Material* material, bool applyTiles) {
    const CN_ChangeScope change(getDocument());
    for (CN_Polygon& polygon : m_polygonList) {
        if (polygon.getPolyMode() == PT_EXIT)
            continue;
        polygon.setMaterial(material);
        if (!applyTiles || !material)
            continue;
        const int key = polygon.getUVSpaceID();
        double u = 0, v = 0;
        material->getTiles(u, v, key == 0);
        CN_Polygon::PlanarSpace& space = polygon.editUVSpace(key);
        Matrix matrix = space.getMatrix();
        matrix.row(0) = matrix.row(0).normalized() * u;
        matrix.row(1) = matrix.row(1).normalized() * v;
        // A tile without extent leaves the axes as they are.
        if (matrix.isInvertible())
            space.setMatrix(matrix);
    }
}

CN_LevelEntityPolygonGroup* CN_Mesh::addNewPolygroup(const CN_LevelEntityPolygonGroup* group, bool copyMembers) {
    auto owned = std::make_unique<CN_LevelEntityPolygonGroup>(*group);
    CN_LevelEntityPolygonGroup* const copy = owned.get();
    copy->setDocument(getDocument());
    copy->clearPolygonIndices();
    if (copyMembers)
        for (CN_Polygon* const polygon : group->getSet())
            if (polygon->getParent() == this)
                copy->addPolygon(polygon);
    addOwned(std::move(owned), true);
    return copy;
}

void CN_Mesh::setTriggerProperties(const CN_TriggerProperties* properties) {
    m_triggerProperties = properties ? std::make_unique<CN_TriggerProperties>(*properties) : nullptr;
}

} // namespace cairn
