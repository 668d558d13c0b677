#include "cairn/entities/hierarchy_utils.h"

#include "cairn/document/document.h"
#include "cairn/document/perf_counter.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/for_each.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/prefab.h"
#include "cairn/entities/prefab_content.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/fsm/message_tests.h"

#include <fmt/format.h>

#include <vector>

namespace cairn {

namespace {

// Indices into the host's image list, and what is added to them.
constexpr int IMAGE_ROOM = 1;
constexpr int IMAGE_DYNAMIC_MESH = 7;
constexpr int IMAGE_DYNAMIC_TRIMESH = 8;
constexpr int IMAGE_TRIGGER_MESH = 11;
constexpr int IMAGE_STEP_INVISIBLE = 23;
constexpr int IMAGE_STEP_NON_EDITABLE = 46;

/// The entity or its nearest ancestor that is a prefab content, or null.
const CN_LevelEntity* contentAround(const CN_LevelEntity* entity) {
    while (entity && entity->getEntityId() != CN_KIND_PREFAB_CONTENT)
        entity = entity->getParent();
    return entity;
}

CN_LevelEntityPrefab* prefabOf(const CN_LevelEntity* content) {
    return content ? dynamic_cast<CN_LevelEntityPrefab*>(content->getParent()) : nullptr;
}

bool isRoom(const CN_LevelEntity* entity) {
    const auto* mesh = dynamic_cast<const CN_LevelEntityMesh*>(entity);
    return mesh && mesh->isRoom();
}

bool isTrigger(const CN_LevelEntity* entity) {
    const auto* mesh = dynamic_cast<const CN_Mesh*>(entity);
    return mesh && mesh->isTrigger();
}

/// The index for the kind and its state.
int plainImageIndex(const CN_LevelEntity* entity) {
    const auto* mesh = dynamic_cast<const CN_MeshInterface*>(entity);
    const bool dynamic = mesh && mesh->isDynamic();
    switch (entity->getEntityId()) {
    case CN_KIND_MESH:
        if (dynamic)
            return IMAGE_DYNAMIC_MESH;
        return isTrigger(entity) ? IMAGE_TRIGGER_MESH : isRoom(entity) ? IMAGE_ROOM : entity->getImageIndex();
    case CN_KIND_TRIMESH:
        return dynamic ? IMAGE_DYNAMIC_TRIMESH : entity->getImageIndex();
    default:
        return entity->getImageIndex();
    }
}

/// True for a prefab that is not editable and for what stands in one.
bool isInNonEditablePrefab(const CN_LevelEntity* entity) {
    const auto* prefab = dynamic_cast<const CN_LevelEntityPrefab*>(entity);
    if (prefab && !prefab->isEditable())
        return true;
    const CN_LevelEntityPrefab* around = prefabOf(contentAround(entity));
    return around && !around->isEditable();
}

/// Gathers the prefabs that an entity's machine names.
class GatherReferencedPrefabs : public CN_ForEachConst {
  public:
    explicit GatherReferencedPrefabs(std::set<const CN_LevelEntity*>& prefabs) : m_prefabs(prefabs) {}

    void operator()(const CN_LevelEntity* entity) override {
        if (const E_FSM* const machine = entity->getFSM())
            machine->forEachMessage(FSMPred_PrefabReferenced(m_prefabs));
    }

  private:
    std::set<const CN_LevelEntity*>& m_prefabs; ///< not owned
};

/// `own` where the entity has the property itself, else `inherited` where it lies in a subtree that has it.
int overlayStep(bool has, bool inSubtree, int own, int inherited) { return has ? own : inSubtree ? inherited : 0; }

/// True for a position in the mesh's box in the world, its bounds included. The box is renewed where the mesh has changed or
/// moved since it was last asked for what is inside.
bool isInBoundingBox(CN_Mesh& mesh, const CN_LevelEntity::Vector& position) {
    if (mesh.isBSPDirty())
        mesh.calculateBoundingBox();
    const CN_LevelEntity::Vector &low = mesh.getBoundingMin(), &high = mesh.getBoundingMax();
    return position.x >= low.x && position.x <= high.x && position.y >= low.y && position.y <= high.y &&
           position.z >= low.z && position.z <= high.z;
}

/// Where a path begins: at `base`, or at the root of its level.
const CN_LevelEntity* startOfPath(const istring& path, const CN_LevelEntity* base) {
    if (base && base->getParent() && !view(path).starts_with("::"))
        return base;
    return CN_HierarchyUtils::getLevel(base);
}

/// Takes the first step, with the "::" ahead of it, off the path; the "::" behind it stays.
std::string_view takeStep(std::string_view& path) {
    if (path.starts_with("::"))
        path.remove_prefix(2);
    const std::string_view step = path.substr(0, path.find("::"));
    path.remove_prefix(step.size());
    return step;
}

} // namespace

CN_LevelEntity* CN_HierarchyUtils::getFirstNonSelectedParent(const CN_LevelEntity* entity,
                                                             const CN_Selection* selection) {
    CN_LevelEntity* at = entity ? entity->getParent() : nullptr;
    while (at && selection && selection->isInSelection(at))
        at = at->getParent();
    return at;
}

CN_LevelEntity* CN_HierarchyUtils::getFirstSelectedParent(const CN_LevelEntity* entity, const CN_Selection* selection) {
    CN_LevelEntity* at = entity && selection ? entity->getParent() : nullptr;
    while (at && !selection->isInSelection(at))
        at = at->getParent();
    return at;
}

CN_MeshInterface* CN_HierarchyUtils::getFirstDynamicParentOrSelf(CN_LevelEntity* entity) {
    for (; entity; entity = entity->getParent()) {
        auto* mesh = dynamic_cast<CN_MeshInterface*>(entity);
        if (mesh && mesh->isDynamic())
            return mesh;
    }
    return nullptr;
}

CN_CairnLevel* CN_HierarchyUtils::getLevel(const CN_LevelEntity* entity) {
    CN_Document* document = entity ? entity->getDocument() : nullptr;
    return CN_Document::isAlive(document) ? document->accessLevel() : nullptr;
}

CN_LevelEntity* CN_HierarchyUtils::getTopLevelParent(const CN_LevelEntity* entity) {
    const CN_LevelEntity* at = entity;
    while (at && at->getParent() && at->getParent()->getEntityId() != CN_KIND_LEVEL)
        at = at->getParent();
    return at && at->getParent() ? const_cast<CN_LevelEntity*>(at) : nullptr;
}

CN_LevelEntityMesh* CN_HierarchyUtils::getRoomContaining(const CN_LevelEntity* entity) {
    auto* mesh = dynamic_cast<CN_LevelEntityMesh*>(getTopLevelParent(entity));
    return mesh && mesh->isRoom() ? mesh : nullptr;
}

CN_LevelEntityMesh* CN_HierarchyUtils::getRoomContainingPosition(const Vector& position, const CN_LevelEntity* entity) {
    CN_LevelEntityMesh* const own = getRoomContaining(entity);
    if (own && own->isPositionInside(position))
        return own;
    const CN_LevelEntity* const level = getLevel(entity);
    if (!level)
        return nullptr;
    for (CN_LevelEntity* const child : level->getChildren()) {
        auto* const room = dynamic_cast<CN_LevelEntityMesh*>(child);
        if (room && room != own && room->isRoom() && isInBoundingBox(*room, position) &&
            room->isPositionInside(position))
            return room;
    }
    return nullptr;
}

CN_LevelEntityPrefab* CN_HierarchyUtils::findParentPrefab(const CN_LevelEntity* entity) {
    if (!entity)
        return nullptr;
    if (entity->getEntityId() == CN_KIND_PREFAB)
        return dynamic_cast<CN_LevelEntityPrefab*>(const_cast<CN_LevelEntity*>(entity));
    return prefabOf(contentAround(entity));
}

CN_LevelEntityPrefab* CN_HierarchyUtils::getParentPrefab(const CN_LevelEntity* entity, bool editable) {
    CN_LevelEntityPrefab* prefab = findParentPrefab(entity);
    return prefab && prefab->isEditable() == editable ? prefab : nullptr;
}

bool CN_HierarchyUtils::isNonEditablePrefabContent(const CN_LevelEntity* entity) {
    const CN_LevelEntity* content = contentAround(entity);
    if (!content || content == entity)
        return content != nullptr;
    const CN_LevelEntityPrefab* prefab = prefabOf(content);
    return prefab && !prefab->isEditable();
}

bool CN_HierarchyUtils::areAllTopLevelEntitiesRooms(const CN_Document* document, bool selectionOnly, int& count) {
    count = 0;
    const CN_LevelEntity* level = document ? document->getLevel() : nullptr;
    if (!level)
        return true;
    for (const CN_LevelEntity* child : level->getChildren()) {
        const bool counts = child && child->getEntityId() != CN_KIND_PLAYER && (!selectionOnly || child->selected());
        if (counts && !isRoom(child))
            ++count;
    }
    return count == 0;
}

bool CN_HierarchyUtils::canExportLevelOrSelection(const CN_Document* document, bool selectionOnly, string& error) {
    int count = 0;
    if (!areAllTopLevelEntitiesRooms(document, selectionOnly, count)) {
        error =
            selectionOnly
                ? fmt::format("Can't export. The selection has {} top level entities that are not grouped to a room!",
                              count)
                : fmt::format("Can't export. There are {} top level entities that are not grouped to a room!", count);
        return false;
    }
    const CN_Selection* selection = document ? document->getSelection() : nullptr;
    if (selectionOnly && selection && !selection->areAllSelectedParantedToSelectedRoom()) {
        error = "Can't export. There are entities selected that are not grouped to a room, which is selected!";
        return false;
    }
    return true;
}

void CN_HierarchyUtils::gatherReferencedPrefabs(const CN_Document* document, std::set<const CN_LevelEntity*>& prefabs) {
    prefabs.clear();
    const CN_LevelEntity* const level = document ? document->getLevel() : nullptr;
    if (!level)
        return;
    GatherReferencedPrefabs gather(prefabs);
    CN_ConstPreIterator it = level->createConstIterator();
    for (it.begin(); !it.end(); ++it)
        gather(*it);
}

int CN_HierarchyUtils::getImageIndex(const CN_LevelEntity* entity, bool plain, int* overlay) {
    int index = plainImageIndex(entity);
    if (plain)
        return index;
    if (!entity->isVisible())
        index += IMAGE_STEP_INVISIBLE;
    if (isInNonEditablePrefab(entity))
        index += IMAGE_STEP_NON_EDITABLE;
    if (overlay)
        *overlay = overlayStep(entity->isExcludedFromGame(), entity->isInExcludedFromGameSubtree(), 1, 2) +
                   overlayStep(entity->isExportRegroupingEnabled(), entity->isInExportRegroupingEnabledSubtree(), 3, 6);
    return index;
}

int CN_HierarchyUtils::getEntityDepth(const CN_LevelEntity* entity) {
    int depth = 0;
    for (const CN_LevelEntity* at = entity ? entity->getParent() : nullptr; at; at = at->getParent())
        ++depth;
    return depth;
}

void CN_HierarchyUtils::calculateBoundingBoxLocal(const CN_MeshInterface* mesh, Vector& min, Vector& max) {
    min = Vector(CN_UNSET_BOUND, CN_UNSET_BOUND, CN_UNSET_BOUND);
    max = -min;
    if (const auto* const editable = dynamic_cast<const CN_Mesh*>(mesh)) {
        for (const CN_Polygon& polygon : editable->getPolygonList()) {
            for (const CN_Vertex* const vertex : polygon.getVertexBuffer())
                CN_LevelEntity::checkBoundingBox(vertex->local, min, max);
            if (polygon.getVertexBuffer().empty())
                for (const CN_Edge& edge : polygon.getEdgeList())
                    CN_LevelEntity::checkBoundingBox(edge.getLocal(0), min, max);
        }
    } else if (const auto* const triangles = dynamic_cast<const CN_LevelEntityTriMesh*>(mesh)) {
        for (const CN_TMVertex& vertex : triangles->getVertices())
            CN_LevelEntity::checkBoundingBox(vertex.position, min, max);
    }
}

std::string CN_HierarchyUtils::makeFullyQualifiedName(const CN_LevelEntity* entity) {
    std::vector<const CN_LevelEntity*> path;
    for (; entity && entity->getParent(); entity = entity->getParent())
        path.push_back(entity);
    std::string text;
    for (auto it = path.rbegin(); it != path.rend(); ++it)
        text.append("::").append((*it)->getName().view());
    return text;
}

const char* CN_HierarchyUtils::getFullyQualifiedName(const CN_LevelEntity* entity) {
    static std::string text;
    text = makeFullyQualifiedName(entity);
    return text.c_str();
}

CN_LevelEntity* CN_HierarchyUtils::mapNameToObject(const istring& name, const CN_LevelEntity** deepest,
                                                   const CN_LevelEntity* base) {
    ++s_mapNameCalls;
    const CN_PerfCounter counter(&s_mapNameTime);
    const CN_LevelEntity* ignored = nullptr;
    const CN_LevelEntity*& reached = deepest ? *deepest : ignored;
    reached = base;
    if (name == "this")
        return const_cast<CN_LevelEntity*>(base);
    CN_LevelEntity* at = const_cast<CN_LevelEntity*>(startOfPath(name, base));
    reached = at;
    std::string_view rest = view(name);
    while (at && !rest.empty()) {
        const std::string_view step = takeStep(rest);
        CN_LevelEntity* const next =
            asciiEqualNoCase(step, "parent") ? at->getParent() : at->hasChildNamed(CString(step));
        if (!next && !asciiEqualNoCase(step, "parent"))
            return nullptr;
        at = next;
        reached = at;
    }
    return at;
}

CN_LevelEntity* CN_LevelEntity::mapNameToObject(const istring& name, const CN_LevelEntity** deepest) const {
    return CN_HierarchyUtils::mapNameToObject(name, deepest, this);
}

bool CN_LevelEntity::getObjectReferenceFromMessageString(const CN_LevelEntity* target, const istring& text,
                                                         int& position, int& length) const {
    std::string_view rest = view(text);
    rest = rest.substr(0, rest.find("->"));
    const std::string_view whole = rest;
    const auto mark = [&](std::string_view step) {
        position = static_cast<int>(step.data() - whole.data());
        length = static_cast<int>(step.size());
    };
    position = length = 0;
    if (target == this && asciiEqualNoCase(rest, "this")) {
        mark(rest);
        return true;
    }
    const CN_LevelEntity* at = startOfPath(text, this);
    while (at && !rest.empty()) {
        const std::string_view step = takeStep(rest);
        mark(step);
        if (asciiEqualNoCase(step, "parent")) {
            at = at->getParent();
            if (at && at == target)
                return true;
            continue;
        }
        const CN_LevelEntity* named = nullptr;
        const auto look = [&](const CN_LevelEntity* entity) {
            if (entity != target && !named && entity->getName().view() == step)
                named = entity;
            return entity == target || named;
        };
        if (!look(at)) {
            CN_ConstPreIterator it = at->createConstIterator();
            for (it.begin(); !it.end() && !look(*it);)
                ++it;
            if (!it.end() && *it == target)
                return true;
        } else if (at == target)
            return true;
        at = named;
    }
    length = 0;
    return false;
}

} // namespace cairn
