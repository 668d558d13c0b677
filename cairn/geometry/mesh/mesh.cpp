#include "cairn/geometry/mesh/mesh.h"

#include "cairn/animation/keyframes.h"
#include "cairn/fsm/fsm.h"

#include <limits>

namespace cairn {

CN_Mesh::CN_Mesh(int entityId, int imageIndex, CN_Document* document) : CN_LevelEntity(entityId, imageIndex) {
    setDocument(document);
    initializeMembers();
}

CN_Mesh::CN_Mesh(const CN_Mesh& other)
    : CN_LevelEntity(other), CN_MeshInterface(other), CN_AnimationInterface(other), m_polygonList(other.m_polygonList),
      m_dynamic(other.m_dynamic), m_animation(other.m_animation) {
    adoptPolygons();
}

CN_Mesh& CN_Mesh::operator=(const CN_Mesh& other) {
    if (this != &other) {
        CN_LevelEntity::operator=(other);
        m_polygonList = other.m_polygonList;
        m_dynamic = other.m_dynamic;
        m_animation = other.m_animation;
        adoptPolygons();
    }
    return *this;
}

void CN_Mesh::initializeMembers() { m_generalProperties.setGameplayCritical(false); }

void CN_Mesh::adoptPolygons() {
    for (CN_Polygon& polygon : m_polygonList)
        polygon.setParent(this);
}

bool CN_Mesh::onCanAdd(int) { return false; }

void CN_Mesh::createFSM() {
    CN_LevelEntity::createFSM();
    if (isDynamic())
        m_fsm->createDynamicMeshHandlers();
}

// Keyframes stand in the parent's space, so that a point of the mesh must land where it did at each of them.
void CN_Mesh::changeSpaceExplicit(const M_Matrix4x3Template<double>& m) {
    CN_Keyframes* const keyframes = m_dynamic ? accessKeyframes() : nullptr;
    const M_Matrix4x3Template<double> fromOwn = M_Matrix4x3Template(m_rotation, m_position).inverse();
    if (!m.rotation.inverse().isFinite() || (keyframes && !fromOwn.isFinite()))
        return;
    if (keyframes) {
        const auto toOldSpace = m * fromOwn;
        for (CN_Keyframe* keyframe = keyframes->getFirst(); keyframe; keyframe = keyframes->getNext())
            keyframe->setMatrix(toOldSpace * keyframe->getMatrix());
    }
    CN_LevelEntity::changeSpaceExplicit(m);
    handleOwnHierarchy();
    calculateBoundingBox();
}

CN_Polygon* CN_Mesh::addPolygon() { return &m_polygonList.emplace(this); }

// No polygon leads anywhere: polygons have no exits in this version.
bool CN_Mesh::hasExits() const { return false; }

// Polygons have no corners in this version that could widen the box.
void CN_Mesh::calculateBoundingBox() {
    constexpr double largest = std::numeric_limits<double>::max();
    m_boundingMin = Vector(largest, largest, largest);
    m_boundingMax = Vector(-largest, -largest, -largest);
    m_boundingRadius = 0;
}

} // namespace cairn
