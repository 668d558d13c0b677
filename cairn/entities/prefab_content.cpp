#include "cairn/entities/prefab_content.h"

#include "cairn/document/host_interfaces.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/virtual_node.h"
#include "cairn/entities/visitors.h"

#include <algorithm>

namespace cairn {

namespace {

using Vector = CN_LevelEntity::Vector;

Vector leastOf(const Vector& a, const Vector& b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
}

Vector greatestOf(const Vector& a, const Vector& b) {
    return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}

} // namespace

CN_LevelEntityPrefabContent::CN_LevelEntityPrefabContent() : CN_LevelEntity(CN_KIND_PREFAB_CONTENT, 2) {}

CN_LevelEntityPrefabContent::CN_LevelEntityPrefabContent(const CN_LevelEntityPrefabContent& other)
    : CN_LevelEntity(other) {
    requestRenderer();
}

CN_LevelEntityPrefabContent& CN_LevelEntityPrefabContent::operator=(const CN_LevelEntityPrefabContent& other) {
    if (this != &other) {
        CN_LevelEntity::operator=(other);
        requestRenderer();
    }
    return *this;
}

void CN_LevelEntityPrefabContent::requestRenderer() {
    if (CN_EntityRendererFactory* const factory = getFactoryOfMissingRenderer())
        setRenderer(factory->createPrefabContentRenderer(this));
}

CN_LevelEntity* CN_LevelEntityPrefabContent::clone() { return new CN_LevelEntityPrefabContent(*this); }

void CN_LevelEntityPrefabContent::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_PrefabContentACVisitor>(visitor, *this);
}

// Nothing; older files have a chunk without a meaning.

void CN_LevelEntityPrefabContent::saveEntitySpecificData(F_MemoryFile&) {}

void CN_LevelEntityPrefabContent::loadEntitySpecificData(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    if (!chunk.isValid())
        return;
    chunk.getMemoryFile().dropRest();
    file.skipChunk();
}

void CN_LevelEntityPrefabContent::coincideWith(const CN_LevelEntity& prefab) {
    m_position = Vector();
    m_rotation = Matrix();
    m_worldPosition = prefab.getWorldPosition();
    m_worldRotation = prefab.getWorldRotation();
    m_invWorldRotation = prefab.getInvWorldRotation();
    m_generalProperties = prefab.getGeneralProperties();
    m_name = "prefab";
}

// Minimum with minimum and maximum with maximum: an unset box, whose minimum lies above its maximum, widens nothing.
void CN_LevelEntityPrefabContent::calculateBoundingBox() {
    m_boundingMin = Vector(CN_UNSET_BOUND, CN_UNSET_BOUND, CN_UNSET_BOUND);
    m_boundingMax = -m_boundingMin;
    CN_PreIterator it = createIterator();
    for (it.begin(); !it.end(); ++it) {
        if (dynamic_cast<const CN_VirtualNode*>(*it))
            continue;
        m_boundingMin = leastOf(m_boundingMin, it->getBoundingMin());
        m_boundingMax = greatestOf(m_boundingMax, it->getBoundingMax());
    }
}

bool CN_LevelEntityPrefabContent::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId, false); }

} // namespace cairn
