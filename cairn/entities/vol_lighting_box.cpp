#include "cairn/entities/vol_lighting_box.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/finite_box.h"
#include "cairn/entities/visitors.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cairn {

CN_LevelEntityVolLightingBox::CN_LevelEntityVolLightingBox() : CN_LevelEntity(CN_KIND_VOL_LIGHTING_BOX, 22) {}

CN_LevelEntityVolLightingBox::CN_LevelEntityVolLightingBox(const CN_LevelEntityVolLightingBox& other)
    : CN_LevelEntity(other), m_size(other.m_size), m_resolution(other.m_resolution) {
    requestRenderer();
}

CN_LevelEntityVolLightingBox& CN_LevelEntityVolLightingBox::operator=(const CN_LevelEntityVolLightingBox& other) {
    if (this != &other) {
        CN_LevelEntity::operator=(other);
        m_size = other.m_size;
        m_resolution = other.m_resolution;
        requestRenderer();
    }
    return *this;
}

void CN_LevelEntityVolLightingBox::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createVolLightingBoxRenderer(this));
}

CN_LevelEntity* CN_LevelEntityVolLightingBox::clone() { return new CN_LevelEntityVolLightingBox(*this); }

void CN_LevelEntityVolLightingBox::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_VolLightingBoxACVisitor>(visitor, *this);
}

// Version 1: size, resolution.

void CN_LevelEntityVolLightingBox::saveEntitySpecificData(F_MemoryFile& file) {
    file.createChunk(0, CAIRN_LVL_ENTITY_VOLLIGHTINGBOX_VERSION);
    file << m_size;
    file << m_resolution;
    file.closeChunk();
}

void CN_LevelEntityVolLightingBox::loadEntitySpecificData(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& body = chunk.getMemoryFile();
    Vector size;
    int resolution = 0;
    body >> size;
    body >> resolution;
    if (!size.isFinite())
        body.fail("The size of the entity \"" + toString(getName()) + "\" is not finite");
    m_size = size;
    m_resolution = resolution;
    file.skipChunk();
}

string CN_LevelEntityVolLightingBox::findRecordFault() const {
    return m_size.isFinite() ? string() : string("its size is not finite");
}

bool CN_LevelEntityVolLightingBox::intersectRay(Vector& point, double& distance, const Vector& origin,
                                                const Vector& direction, bool, bool, CN_RayFilter) {
    if (!isVisible())
        return false;
    constexpr double largest = std::numeric_limits<double>::max();
    const Vector toCentre = m_worldPosition - origin;
    double entry = -largest, exit = largest;
    bool bounded = false;
    for (int i = 0; i < 3; ++i) {
        const Vector axis = m_worldRotation.row(i).normalized();
        const double half = m_size[i] / 2;
        const double e = axis.dot(toCentre), f = axis.dot(direction);
        // A broken rotation is kept and a place may be set to anything: no ray meets such a box.
        if (!axis.isFinite() || axis == Vector() || !std::isfinite(e) || !std::isfinite(f))
            return false;
        if (f != 0) {
            bounded = true;
            const double t1 = (e + half) / f, t2 = (e - half) / f;
            entry = std::max(entry, std::min(t1, t2));
            exit = std::min(exit, std::max(t1, t2));
            if (entry > exit || exit < 0)
                return false;
        } else if (-e - half > 0 || half - e < 0) {
            return false;
        }
    }
    const double t = entry > 0 ? entry : exit;
    if (!bounded || !(t <= distance))
        return false;
    point = origin + direction * t;
    distance = t;
    return true;
}

bool CN_LevelEntityVolLightingBox::inside(const Vector& point) const {
    const Vector local = worldToObject(point);
    return std::abs(local.x) < m_size.x / 2 && std::abs(local.y) < m_size.y / 2 && std::abs(local.z) < m_size.z / 2;
}

void CN_LevelEntityVolLightingBox::calculateBoundingBox() {
    constexpr double largest = std::numeric_limits<double>::max();
    Vector min(largest, largest, largest), max = -min;
    for (int corner = 0; corner < 8; ++corner) {
        const Vector local(corner & 1 ? m_size.x / 2 : -m_size.x / 2, corner & 2 ? m_size.y / 2 : -m_size.y / 2,
                           corner & 4 ? m_size.z / 2 : -m_size.z / 2);
        checkBoundingBox(CN_finite(worldTransform(local)), min, max);
    }
    m_boundingMin = min;
    m_boundingMax = max;
}

bool CN_LevelEntityVolLightingBox::onCanAdd(int entityId) { return entityId == CN_KIND_VOL_LIGHTING_BOX; }

} // namespace cairn
