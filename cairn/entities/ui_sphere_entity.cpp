#include "cairn/entities/ui_sphere_entity.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/document/shared_db.h"
#include "cairn/entities/finite_box.h"

#include <cmath>

namespace cairn {

CN_UISphereEntity::CN_UISphereEntity(int entityId, int imageIndex) : CN_LevelEntity(entityId, imageIndex) {}

void CN_UISphereEntity::requestSphereRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createUISphereRenderer(this));
}

void CN_UISphereEntity::setRadius(double radius) {
    m_radius = radius;
    m_boundingRadius = radius;
    invalidateObject(true);
}

void CN_UISphereEntity::setSharedDBName(const string& name, bool check) {
    CN_SharedDB* const database = check && !name.empty() ? CN_SharedDB::instance() : nullptr;
    if (database)
        database->getCheckedSharedDBName(getEntityId(), name, m_sharedDBName);
    else
        m_sharedDBName = name;
}

// Version 1: shared database name, radius.

void CN_UISphereEntity::saveEntitySpecificData(F_MemoryFile& file) {
    file.createChunk(0, CAIRN_LVL_ENTITY_UISPHERE_VERSION);
    file << toCString(m_sharedDBName);
    file << m_radius;
    file.closeChunk();
}

void CN_UISphereEntity::loadEntitySpecificData(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& body = chunk.getMemoryFile();
    CString name;
    double radius = 0;
    body >> name;
    body >> radius;
    if (!std::isfinite(radius))
        body.fail("The radius of the entity \"" + toString(getName()) + "\" is not finite");
    setSharedDBName(toString(name), CN_SharedDB::instance() != nullptr);
    m_radius = radius;
    file.skipChunk();
}

string CN_UISphereEntity::findRecordFault() const {
    return std::isfinite(m_radius) ? string() : string("its radius is not finite");
}

void CN_UISphereEntity::calculateBoundingBox() {
    const Vector reach(m_radius, m_radius, m_radius);
    m_boundingMin = CN_finite(m_worldPosition - reach);
    m_boundingMax = CN_finite(m_worldPosition + reach);
}

void CN_UISphereEntity::invalidateObject(bool deep) {
    CN_LevelEntity::invalidateObject(deep);
    calculateBoundingBox();
}

void CN_UISphereEntity::handleHierarchy(const Vector& parentPosition, const Matrix& parentRotation, bool force) {
    m_worldPosition = m_position * parentRotation + parentPosition;
    m_worldRotation = m_rotation * parentRotation;
    m_invWorldRotation = m_worldRotation.transposed();
    calculateBoundingBox();
    for (CN_LevelEntity* const child : m_children)
        child->handleHierarchy(m_worldPosition, m_worldRotation, force);
}

bool CN_UISphereEntity::intersectRay(Vector& point, double& distance, const Vector& origin, const Vector& direction,
                                     bool, bool local, CN_RayFilter) {
    if (!isVisible() || m_boundingRadius == 0)
        return false;
    const Vector o = local ? origin : origin - m_worldPosition;
    const double b = 2 * o.dot(direction);
    const double c = o.dot(o) - m_boundingRadius * m_boundingRadius;
    const double discriminant = b * b - 4 * c;
    if (!(discriminant >= 0))
        return false;
    const double root = std::sqrt(discriminant);
    const double entry = (-b - root) / 2, exit = (root - b) / 2;
    const double t = entry >= 0 ? entry : exit;
    if (!(t >= 0 && t <= distance))
        return false;
    point = origin + direction * t;
    distance = t;
    return true;
}

} // namespace cairn
