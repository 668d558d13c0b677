#include "cairn/entities/prefab.h"

#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/selection.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/prefab_content.h"
#include "cairn/entities/visitors.h"
#include "cairn/foundation/exception.h"

#include <cmath>
#include <utility>

namespace cairn {

CN_LevelEntityPrefab::Content::Content(CN_LevelEntityPrefabContent* content)
    : m_content(content), m_processNumber(content ? content->getProcessNumber() : 0) {}

CN_LevelEntityPrefabContent* CN_LevelEntityPrefab::Content::get() const {
    return isAlive(m_content) && m_content->getProcessNumber() == m_processNumber ? m_content : nullptr;
}

CN_LevelEntityPrefab::CN_LevelEntityPrefab() : CN_UISphereEntity(CN_KIND_PREFAB, 6) { initializeMembers(); }

CN_LevelEntityPrefab::CN_LevelEntityPrefab(const CN_LevelEntityPrefab& other)
    : CN_UISphereEntity(other), m_prefabType(other.m_prefabType) {
    createFSM();
    requestSphereRenderer();
}

CN_LevelEntityPrefab& CN_LevelEntityPrefab::operator=(const CN_LevelEntityPrefab& other) {
    if (this != &other) {
        CN_UISphereEntity::operator=(other);
        m_editable = other.m_editable;
        m_prefabType = other.m_prefabType;
        m_content = other.m_content;
        createFSM();
        requestSphereRenderer();
    }
    return *this;
}

void CN_LevelEntityPrefab::initializeMembers() {
    setRadius(0.25);
    createFSM();
}

CN_LevelEntity* CN_LevelEntityPrefab::clone() { return new CN_LevelEntityPrefab(*this); }

void CN_LevelEntityPrefab::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_PrefabACVisitor>(visitor, *this);
}

void CN_LevelEntityPrefab::load(F_MemoryFile& file) {
    CN_LevelEntity::load(file);
    m_content = Content();
    for (CN_LevelEntity* const child : m_children)
        if (child->getEntityId() == CN_KIND_PREFAB_CONTENT) {
            m_content = Content(dynamic_cast<CN_LevelEntityPrefabContent*>(child));
            break;
        }
}

// No record of the sphere, but a chunk.
//   3: type, whether it is editable, radius
//   earlier ones are refused
// Levels of this library's first versions have no chunk.

void CN_LevelEntityPrefab::saveEntitySpecificData(F_MemoryFile& file) {
    file.createChunk(0, CAIRN_LVL_ENTITY_PREFAB_VERSION);
    file << m_prefabType;
    file << m_editable;
    file << getRadius();
    file.closeChunk();
}

void CN_LevelEntityPrefab::loadEntitySpecificData(F_MemoryFile& file) {
    if (!file.beginsLikeChunk()) {
        setRadius(getRadius()); // the bound goes with it, as it does once it is saved
        return;
    }
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    if (chunk.getVersion() < CAIRN_LVL_ENTITY_PREFAB_VERSION)
        throw new CN_Document_Exception_InvalidPrefabFormat(chunk.getVersion(), CAIRN_LVL_ENTITY_PREFAB_VERSION);
    F_MemoryFile& in = chunk.getMemoryFile();
    double radius = 0;
    in >> m_prefabType >> m_editable >> radius;
    if (!std::isfinite(radius))
        in.fail("The radius of the prefab \"" + toString(getName()) + "\" is not finite");
    setRadius(radius);
    file.skipChunk();
}

void CN_LevelEntityPrefab::createPrefabContent() {
    std::unique_ptr<CN_LevelEntity> made(
        CN_EntityFactory::instance()->createEntity(CN_KIND_PREFAB_CONTENT, getDocument()));
    auto* const content = dynamic_cast<CN_LevelEntityPrefabContent*>(made.get());
    if (!content)
        throw new F_Exception("The kind registered for prefab contents is another");
    content->coincideWith(*this);
    const Content before = std::exchange(m_content, Content(content));
    try {
        addOwned(std::move(made), false);
    } catch (...) {
        if (!isAlive(content))
            m_content = before;
        throw;
    }
}

void CN_LevelEntityPrefab::addContentToSelection(bool add, CN_Selection* selection) {
    CN_LevelEntityPrefabContent* const content = accessPrefabContent();
    if (!content || !selection)
        return;
    if (add)
        selection->add(content);
    else
        selection->remove(content);
    if (!m_editable)
        selection->addSubTrees(add, content);
}

I_Color CN_LevelEntityPrefab::getColor() { return I_Color(195, 110, 170); }

bool CN_LevelEntityPrefab::onCanAdd(int entityId) { return CN_isOrdinaryChild(entityId); }

} // namespace cairn
