#include "cairn/entities/level_entity.h"

#include "cairn/containers/pointer_set.h"
#include "cairn/document/change_scope.h"
#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/host_interfaces.h"
#include "cairn/document/level_file_library.h"
#include "cairn/document/selection.h"
#include "cairn/entities/child_names.h"
#include "cairn/entities/enemy.h"
#include "cairn/entities/for_each.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/visitors.h"
#include "cairn/foundation/immortal.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/fsm/fsm.h"

#include <vector>

namespace cairn {

namespace {

/// Every entity there is. It is never destroyed: prototypes die at the very end of the process and sign off here.
F_PointerSet<CN_LevelEntity>& liveEntities() {
    static F_Immortal<F_PointerSet<CN_LevelEntity>> entities;
    return entities.get();
}

/// The next process-unique number: the top bit set and never 0xFFFFFFFF, which stands for a dead entity.
std::uint32_t nextProcessNumber() {
    static std::uint32_t count = 0;
    return 0x80000000u | (count++ % 0x7FFFFFFFu);
}

} // namespace

CN_LevelEntity::CN_LevelEntity() : m_processNumber(nextProcessNumber()) { liveEntities().insert(this); }

CN_LevelEntity::CN_LevelEntity(int entityId, int imageIndex) : CN_LevelEntity() {
    m_entityId = entityId;
    m_imageIndex = imageIndex;
}

CN_LevelEntity::CN_LevelEntity(const CN_LevelEntity& other) : CN_LevelEntity() { copyFields(other); }

CN_LevelEntity& CN_LevelEntity::operator=(const CN_LevelEntity& other) {
    if (this == &other)
        return *this;
    copyFields(other);
    m_objectDirty = true;
    m_expanded = false;
    deleteFSM();
    m_renderer.reset();
    if (m_parent)
        setName(other.m_name, true);
    else
        m_qualifiedName.clear();
    return *this;
}

void CN_LevelEntity::copyFields(const CN_LevelEntity& other) {
    m_position = other.m_position;
    m_worldPosition = other.m_worldPosition;
    m_rotation = other.m_rotation;
    m_worldRotation = other.m_worldRotation;
    m_invWorldRotation = other.m_invWorldRotation;
    m_boundingMin = other.m_boundingMin;
    m_boundingMax = other.m_boundingMax;
    m_boundingRadius = other.m_boundingRadius;
    m_document = other.m_document;
    if (!m_parent) // below which names are one of a kind
        storeName(other.m_name);
    m_generalProperties = other.m_generalProperties;
    m_imageIndex = other.m_imageIndex;
    m_entityId = other.m_entityId;
}

CN_LevelEntity::~CN_LevelEntity() {
    deleteDescendants();
    m_fsm.reset();
    m_renderer.reset();
    if (CN_Document* document = getLivingDocument())
        document->forgetEntity(this);
    auto& loaded = CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap;
    if (const auto it = m_loadedId ? loaded.find(m_loadedId) : loaded.end(); it != loaded.end() && it->second == this)
        loaded.erase(it);
    liveEntities().erase(this);
}

/// Deletes from the leaves up, so that no destructor has children left and the stack stays flat however deep the tree is.
/// An entity below a child dies before the child's destructor begins, not amid it as it would by recursion.
void CN_LevelEntity::deleteDescendants() {
    CN_LevelEntity* at = this;
    for (;;) {
        if (at->m_children.empty()) {
            if (at == this)
                return;
            at = at->m_parent;
            continue;
        }
        CN_LevelEntity* child = at->m_children.front();
        if (child && !child->m_children.empty()) {
            at = child;
            continue;
        }
        at->m_childNames.reset();
        at->m_children.pop_front();
        if (child) {
            child->m_parent = nullptr;
            child->m_listed = false;
            delete child;
        }
    }
}

bool CN_LevelEntity::hasCriticalFlag(int entityId) {
    return entityId == CN_KIND_AI_NODE || entityId == CN_KIND_MESH || entityId == CN_KIND_TRIMESH ||
           entityId == CN_KIND_PREFAB;
}

std::uint32_t CN_LevelEntity::getSerialisationId(const CN_LevelEntity* entity) {
    if (!entity)
        return 0;
    if (!isAlive(entity))
        return 0xFFFFFFFFu;
    return entity->m_saveNumber ? entity->m_saveNumber : entity->m_processNumber;
}

bool CN_LevelEntity::isAlive(const CN_LevelEntity* entity) { return liveEntities().contains(entity); }

void CN_LevelEntity::acceptACVisitor(CN_AcyclicLevelVisitor& visitor) {
    CN_acceptAs<CN_EntityACVisitor>(visitor, *this);
}

int CN_LevelEntity::getImageIndex() const { return m_imageIndex; }

int CN_LevelEntity::getEntityId() const { return m_entityId; }

CN_PreIterator CN_LevelEntity::createIterator() { return CN_PreIterator(m_children); }

CN_ChildIterator CN_LevelEntity::createChildIterator() { return CN_ChildIterator(m_children); }

CN_ConstPreIterator CN_LevelEntity::createConstIterator() const { return CN_ConstPreIterator(m_children); }

CN_ConstChildIterator CN_LevelEntity::createConstChildIterator() const { return CN_ConstChildIterator(m_children); }

void CN_LevelEntity::forEachEntity(CN_ForEach* forEach) {
    (*forEach)(this);
    CN_PreIterator it(m_children);
    for (it.begin(); !it.end(); ++it)
        if (*it)
            (*forEach)(*it);
}

void CN_LevelEntity::forEachEntity(CN_ForEachConst* forEach) const {
    (*forEach)(this);
    CN_ConstPreIterator it(m_children);
    for (it.begin(); !it.end(); ++it)
        if (*it)
            (*forEach)(*it);
}

bool CN_LevelEntity::canAdd(CN_LevelEntity* child) {
    return child && onCanAdd(child->getEntityId()) && child->mayStandBelow(*this);
}

bool CN_LevelEntity::mayStandBelow(const CN_LevelEntity&) const { return true; }

void CN_LevelEntity::add(CN_LevelEntity* child, bool makeChild) {
    if (!child || child == this || child->m_parent == this || child->m_entityId == CN_KIND_LEVEL)
        return; // a level is its document's: nothing else may own it
    if (!child->m_children.empty() && isParent(child))
        return;
    ChildList listing{child}; // the room that standing here takes is there ahead of any change
    CN_LevelEntity* oldParent = child->m_parent;
    const CN_ChangeScope change(oldParent ? m_document : nullptr);
    if (oldParent)
        oldParent->remove(child);
    const auto list = [&] {
        countEnemy(child, 1);
        child->m_place = listing.begin();
        m_children.splice(m_children.end(), listing);
        child->m_listed = true;
        tellChildNames([child](CN_ChildNames& names) { names.add(child); });
    };
    child->m_parent = this;
    try {
        child->setName(child->getName(), true);
    } catch (...) {
        if (oldParent)
            list(); // under any name rather than without an owner
        else
            child->m_parent = nullptr;
        throw;
    }
    list();
    const CN_ChangeScope placing(m_document);
    if (CN_HierarchyManagerInterface* manager = CN_LevelFileLibrary::getHierarchyManagerInterface())
        manager->onEntityAdded(child);
    if (m_renderer && child->m_renderer)
        child->m_objectDirty = true;
    if (makeChild)
        this->makeChild(child, oldParent);
}

void CN_LevelEntity::addOwned(std::unique_ptr<CN_LevelEntity> child, bool makeChild) {
    // On the way out, whichever it is: a host's callback may throw when the child stands in the tree already.
    struct Handover {
        std::unique_ptr<CN_LevelEntity>& child;
        ~Handover() {
            if (child && child->m_listed)
                static_cast<void>(child.release());
        }
    };
    const Handover handover{child};
    add(child.get(), makeChild);
}

void CN_LevelEntity::remove(CN_LevelEntity* child) {
    if (!child || child->m_parent != this || !child->m_listed)
        return;
    countEnemy(child, -1);
    tellChildNames([child](CN_ChildNames& names) { names.remove(child); });
    child->m_parent = nullptr;
    child->m_listed = false;
    m_children.erase(child->m_place);
    if (CN_HierarchyManagerInterface* manager = CN_LevelFileLibrary::getHierarchyManagerInterface())
        manager->onEntityRemoved(child);
}

/// Changes the count of the child's AI character group, where it is an enemy and the document knows the group. Enemies
/// below the child keep theirs.
void CN_LevelEntity::countEnemy(CN_LevelEntity* child, int step) {
    if (child->getEntityId() != CN_KIND_ENEMY)
        return;
    const auto* enemy = dynamic_cast<const CN_LevelEntityEnemy*>(child);
    CN_Document* document = getLivingDocument();
    if (!enemy || !document)
        return;
    auto& groups = document->accessAICharacterGroups();
    if (const auto it = groups.find(enemy->getGroup()); it != groups.end())
        it->second += step;
}

CN_LevelEntity* CN_LevelEntity::getParent() const { return m_parent; }

bool CN_LevelEntity::isParent(const CN_LevelEntity* ancestor) const {
    if (!ancestor)
        return false;
    const CN_LevelEntity* at = m_parent;
    while (at && at != ancestor)
        at = at->m_parent;
    return at != nullptr;
}

bool CN_LevelEntity::isVisible() const { return m_generalProperties.isVisible(); }

void CN_LevelEntity::setVisible(bool visible) { m_generalProperties.setVisible(visible); }

bool CN_LevelEntity::isExpanded() const { return m_expanded; }

void CN_LevelEntity::setExpanded(bool expanded) { m_expanded = expanded; }

CN_Document* CN_LevelEntity::getLivingDocument() const {
    return CN_Document::isAlive(m_document) ? m_document : nullptr;
}

bool CN_LevelEntity::selected() const {
    const CN_Document* document = getLivingDocument();
    return document && document->getSelection() && document->getSelection()->isInSelection(this);
}

CN_LevelEntityMesh* CN_LevelEntity::getNewMesh() {
    std::unique_ptr<CN_LevelEntity> entity(CN_EntityFactory::instance()->createEntity(CN_KIND_MESH, m_document));
    auto* mesh = dynamic_cast<CN_LevelEntityMesh*>(entity.get());
    if (mesh)
        addOwned(std::move(entity), true);
    return mesh;
}

void CN_LevelEntity::setRenderer(CN_EntityRendererInterface* renderer) { m_renderer.reset(renderer); }

CN_EntityRendererFactory* CN_LevelEntity::getFactoryOfMissingRenderer() const {
    return m_renderer ? nullptr : CN_LevelFileLibrary::instance()->entityRendererFactory;
}

void CN_LevelEntity::invalidateObject(bool deep) {
    m_objectDirty = true;
    for (CN_LevelEntity* child : m_children)
        if (child)
            child->invalidateObject(deep);
}

void CN_LevelEntity::invalidateMapping() {
    for (CN_LevelEntity* child : m_children)
        if (child)
            child->invalidateMapping();
}

void CN_LevelEntity::invalidatePosition() {
    m_objectDirty = true;
    for (CN_LevelEntity* child : m_children)
        if (child)
            child->invalidatePosition();
}

bool CN_LevelEntity::canBeMessageTarget() const { return hasFSM(); }

void CN_LevelEntity::deleteFSM() { m_fsm.reset(); }

void CN_LevelEntity::createFSM() {
    if (!m_fsm)
        m_fsm = std::make_unique<E_FSM>(this, true, true);
}

void CN_LevelEntity::assignFSMTo(E_FSM* fsm) {
    static_cast<void>(m_fsm.release()); // the caller has seen to the one that was there
    m_fsm.reset(fsm);
}

E_FSM* CN_LevelEntity::releaseFSM() { return m_fsm.release(); }

bool CN_LevelEntity::isInExcludedFromGameSubtree() const {
    for (const CN_LevelEntity* at = this; at; at = at->m_parent)
        if (at->isExcludedFromGame())
            return true;
    return false;
}

bool CN_LevelEntity::isInExportRegroupingEnabledSubtree() const {
    for (const CN_LevelEntity* at = this; at; at = at->m_parent)
        if (at->isExportRegroupingEnabled())
            return true;
    return false;
}

bool CN_LevelEntity::isGameplayCritical() const {
    return isGameplayCritical_traverseUp() || isGameplayCritical_traverseDown();
}

/// What an entity is a part of may be critical. The root counts as such, so that every mesh directly below it is
/// critical, and a mesh in a room is by its own flag alone.
bool CN_LevelEntity::isGameplayCritical_traverseUp() const {
    for (const CN_LevelEntity* at = this; at; at = at->m_parent) {
        if (hasCriticalFlag(at->m_entityId)) {
            if (at->m_generalProperties.isGameplayCritical())
                return true;
            const auto* parentMesh = dynamic_cast<const CN_LevelEntityMesh*>(at->m_parent);
            if (parentMesh && parentMesh->isRoom())
                return false;
        } else if (at->m_entityId != CN_KIND_POLYGON_GROUP && at->m_entityId != CN_KIND_RADIOSITY_LIGHT &&
                   at->m_entityId != CN_KIND_PREFAB_CONTENT) {
            return true;
        }
    }
    return false;
}

/// What stands below an entity may be critical.
bool CN_LevelEntity::isGameplayCritical_traverseDown() const {
    std::vector<const CN_LevelEntity*> open{this};
    while (!open.empty()) {
        const CN_LevelEntity* at = open.back();
        open.pop_back();
        if (!at || at->m_entityId == CN_KIND_POLYGON_GROUP || at->m_entityId == CN_KIND_RADIOSITY_LIGHT)
            continue;
        const bool ownFlag = hasCriticalFlag(at->m_entityId);
        if (ownFlag ? at->m_generalProperties.isGameplayCritical() : at->m_entityId != CN_KIND_PREFAB_CONTENT)
            return true;
        open.insert(open.end(), at->m_children.begin(), at->m_children.end());
    }
    return false;
}

} // namespace cairn
