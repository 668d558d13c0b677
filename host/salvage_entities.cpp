#include "host/salvage_entities.h"

#include "cairn/document/entity_factory.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/parenting.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/entities/virtual_node.h"
#include "cairn/geometry/mesh/mesh.h"
#include "host/entity_text.h"
#include "host/salvage_records.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <utility>

namespace cairn::host {

namespace {

using Placement = SalvagedEntity::Placement;
using Vector = CN_LevelEntity::Vector;
using State = F_FoundChunk::State;

constexpr int NO_PARENT = TreeShape::NO_PARENT;
/// What all names may take in the end: half of what a load allows, as some change yet.
constexpr std::size_t MOST_NAME_BYTES = std::size_t{32} << 20;
constexpr std::size_t NAME_ROOM = 16; ///< for "Recovered", numbers behind names and separators

bool isNode(int kind) { return kind >= CN_KIND_POLYGON_GROUP && kind <= CN_KIND_PORTAL; }

std::unique_ptr<CN_LevelEntity> create(int kind, CN_Document& document) {
    std::unique_ptr<CN_LevelEntity> entity(CN_EntityFactory::instance()->createEntity(kind, &document));
    if (!entity)
        throw new F_Exception(fmt::format("An entity of the kind {} cannot be made", kind));
    return entity;
}

/// What is wrong with the records of an entity that is not whole.
std::string faultOf(const EntityRemains& remains) {
    if (!remains.common)
        return "the header of its record is damaged";
    const auto describe = [](const F_FoundChunk& chunk) -> const char* {
        switch (chunk.state) {
        case State::HEADER_DAMAGED:
            return "the header of its record is damaged";
        case State::CUT:
            return "its record is cut short";
        default:
            return "its record is damaged: the checksum is wrong";
        }
    };
    if (!remains.common->isWhole())
        return describe(*remains.common);
    for (const F_FoundChunk& chunk : remains.own)
        if (!chunk.isWhole())
            return describe(chunk);
    return "a part of its record is missing";
}

WorldBox storedBox(const CN_LevelEntity& entity) { return {entity.getBoundingMin(), entity.getBoundingMax()}; }

/// The box that an entity would have in the world at that place, as far as it is known what it is made of: all other kinds
/// have their place in its middle.
WorldBox boxAt(CN_LevelEntity& entity, const WorldBox& stored, const Placement& world) {
    WorldBox box;
    const auto widen = [&](const Vector& local) { CN_LevelEntity::checkBoundingBox(local * world, box.min, box.max); };
    if (const auto* const mesh = dynamic_cast<const CN_Mesh*>(&entity)) {
        for (const CN_Polygon& polygon : mesh->getPolygonList())
            for (const CN_Edge& edge : polygon.getEdgeList())
                widen(edge.getVertex(0).local);
    } else if (const auto* const triangles = dynamic_cast<const CN_LevelEntityTriMesh*>(&entity)) {
        for (const CN_TMVertex& vertex : triangles->getVertices())
            widen(vertex.position);
    } else {
        const Vector half = (stored.max - stored.min) * 0.5;
        box = {world.translation - half, world.translation + half};
    }
    return box;
}

/// Where an entity stands in the world, by its stored box alone: that of a parent is not known. None where the box tells
/// nothing, or that its parent is turned.
std::optional<Vector> placeByBox(CN_LevelEntity& entity, const WorldBox& stored) {
    if (isNode(entity.getEntityId()) || !stored.isSet() || !stored.centre().isFinite())
        return std::nullopt;
    WorldBox here = boxAt(entity, stored, Placement(entity.getRotation(), {}));
    if (!here.isSet())
        return std::nullopt;
    const Vector place = stored.centre() - here.centre();
    here.min += place;
    here.max += place;
    return here.agrees(stored) ? std::optional(place) : std::nullopt;
}

} // namespace

/// Knows where entities stand by their places and boxes.
class EntitySalvage::Witness : public TreeWitness {
  public:
    explicit Witness(std::vector<SalvagedEntity>& all) : m_all(all) {}

    Verdict ask(std::size_t node, std::size_t parent) override {
        const SalvagedEntity& one = m_all[node];
        const auto& around = m_all[parent].world;
        if (!one.detached || !one.local || !around || isNode(one.kind))
            return Verdict::UNKNOWN;
        const WorldBox& stored = one.box;
        if (!stored.isSet() || !stored.centre().isFinite())
            return Verdict::UNKNOWN;
        const WorldBox box = boxAt(*one.detached, stored, *one.local * *around);
        if (!box.isSet())
            return Verdict::UNKNOWN;
        return box.agrees(stored) ? Verdict::AGREES : Verdict::DISAGREES;
    }
    void settle(std::size_t node, int parent) override {
        SalvagedEntity& one = m_all[node];
        one.parent = parent;
        if (one.local && one.kind == CN_KIND_LEVEL)
            one.world = one.local;
        else if (one.local && parent != NO_PARENT && m_all[static_cast<std::size_t>(parent)].world)
            one.world = *one.local * *m_all[static_cast<std::size_t>(parent)].world;
        if (one.world && !one.world->isFinite())
            one.world.reset();
    }

  private:
    std::vector<SalvagedEntity>& m_all;
};

EntitySalvage::EntitySalvage(Bytes bytes, const LevelRemains& remains, CN_Document& document,
                             std::vector<LostPart>& lost)
    : m_bytes(bytes), m_remains(remains), m_document(document), m_lost(lost) {}

EntitySalvage::~EntitySalvage() = default;

void EntitySalvage::run() {
    readAll();
    findParents();
    attachAll();
}

// Reading.

void EntitySalvage::readAll() {
    for (const EntityRemains& remains : m_remains.entities) {
        SalvagedEntity& one = m_all.emplace_back();
        one.remains = remains;
        one.kind = isEntityKind(remains.kind) ? remains.kind : 0;
    }
    if (m_remains.hasRoot && !m_all.empty())
        m_all.front().kind = CN_KIND_LEVEL;
    for (SalvagedEntity& one : m_all) {
        read(one);
        m_document.advanceWaitCursor();
    }
}

void EntitySalvage::read(SalvagedEntity& one) {
    readPlace(one);
    if (!one.remains.isWhole())
        return lose(one, faultOf(one.remains));
    const int kind = findKind(one);
    if (kind == 0)
        return lose(one, one.fault.empty() ? faultOf(one.remains) : one.fault);
    const bool isRoot = m_remains.hasRoot && &one == &m_all.front();
    if (kind == CN_KIND_LEVEL && !isRoot) {
        one.detached.reset();
        return lose(one, "a level cannot stand below another entity");
    }
    one.kind = kind;
    one.fault.clear();
    if (kind != one.remains.kind)
        m_lost.push_back({one.remains.offset - std::min<std::size_t>(one.remains.offset, 4), 4, one.name,
                          fmt::format("the number of its kind is damaged; it is kept as a {}", kindName(kind))});
}

/// Reads what the common record tells, damaged as it may be.
void EntitySalvage::readPlace(SalvagedEntity& one) {
    if (!one.remains.common || one.remains.common->state == State::HEADER_DAMAGED)
        return;
    const std::unique_ptr<CN_LevelEntity> common = readCommonRecord(m_bytes, *one.remains.common);
    if (!common)
        return;
    one.name = readableName(common->getName());
    if (!one.remains.common->isWhole())
        return;
    one.local = Placement(common->getRotation(), common->getPosition());
    one.box = storedBox(*common);
}

/// The kind by which the records read, with the entity in `detached`; 0 for none. The id that stands there counts first, then
/// those that differ from it least. Several kinds have no record of their own: what stands around the entity must fit them, too.
int EntitySalvage::findKind(SalvagedEntity& one) {
    const bool isRoot = m_remains.hasRoot && &one == &m_all.front();
    std::vector<int> kinds;
    for (int kind = CN_KIND_MESH; kind <= CN_KIND_VOL_LIGHTING_BOX; ++kind)
        if (isEntityKind(kind) && (kind == CN_KIND_LEVEL) == isRoot)
            kinds.push_back(kind);
    if (!isRoot && !one.remains.isEndKnown && isEntityKind(one.remains.kind))
        kinds = {one.remains.kind}; // with fewer chunks it might pass for another
    const auto bitsOff = [&one](int kind) {
        return std::popcount(static_cast<unsigned int>(kind) ^ static_cast<unsigned int>(one.remains.kind));
    };
    const bool isFirstOfPrefab = &one != &m_all.front() && (&one - 1)->kind == CN_KIND_PREFAB;
    const auto isOdd = [&](int kind) {
        // These two take any record for theirs.
        return (kind == CN_KIND_PREFAB_CONTENT && (!isFirstOfPrefab || !one.remains.own.empty())) ||
               (kind == CN_KIND_PLAYER && one.name != "player") ||
               (holdsNothing(kind) && one.remains.children.value_or(0) > 0);
    };
    std::stable_sort(kinds.begin(), kinds.end(),
                     [&](int a, int b) { return std::pair(isOdd(a), bitsOff(a)) < std::pair(isOdd(b), bitsOff(b)); });
    for (const bool mayLeave : {false, true})
        for (const int kind : kinds)
            if ((!mayLeave || kind == one.remains.kind) && readAs(one, kind, mayLeave))
                return kind;
    return 0;
}

/// True where the records are those of that kind and nothing is left over; with `mayLeave` a newer writer's additional
/// data may be.
bool EntitySalvage::readAs(SalvagedEntity& one, int kind, bool mayLeave) {
    one.detached = create(kind, m_document);
    try {
        F_MemoryFile file;
        writeAlone(one, file);
        one.detached->load(file);
        if (file.getRemaining() == 0 && (mayLeave || file.getUnreadBytes() == 0) &&
            (one.remains.isEndKnown || isComplete(one)))
            return true;
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        if (kind == one.remains.kind)
            one.fault = e->getErrorMessage();
    }
    one.detached.reset();
    return false;
}

/// The entity's record without children.
void EntitySalvage::writeAlone(const SalvagedEntity& one, F_MemoryFile& file) const {
    append(file, m_bytes.subspan(one.remains.offset, one.remains.end - one.remains.offset));
    file.writeCount(0);
    file.toRead();
}

/// True where the entity, which was read, has as many chunks as the newest form has: none is missing behind them.
bool EntitySalvage::isComplete(SalvagedEntity& one) const {
    if (isNode(one.kind) || isNode(one.detached->getEntityId()))
        return one.remains.own.size() == 1; // it cannot be saved without its mesh
    F_MemoryFile saved;
    one.detached->save(saved);
    return F_findChunks({static_cast<const unsigned char*>(saved.getAddress()), saved.getSize()}).size() ==
           1 + one.remains.own.size();
}

void EntitySalvage::findParents() {
    std::vector<TreeNode> nodes;
    for (const SalvagedEntity& one : m_all)
        nodes.push_back({one.kind, one.remains.children, one.remains.isHoleAhead});
    Witness witness(m_all);
    m_shape = inferTree(nodes, m_remains.hasRoot, m_remains.hasTreeEnd, witness);
}

// The tree.

void EntitySalvage::attachAll() {
    CN_LevelEntity& root = *m_document.accessLevel();
    if (CN_LevelEntity* const made = m_document.accessPlayer()) { // the file's own comes
        root.remove(made);
        delete made;
    }
    if (m_remains.hasRoot && !m_all.empty() && m_all.front().detached)
        takeRoot(m_all.front());
    m_depths[&root] = {0, 0};
    for (SalvagedEntity& one : m_all)
        if (one.detached)
            attach(one);
    if (!root.hasChildNamed("player")) {
        std::unique_ptr<CN_LevelEntity> player = create(CN_KIND_PLAYER, m_document);
        player->setName("player", false);
        root.addOwned(std::move(player), false);
    }
    settleOrphans();
}

/// Gives the document's root what was read: the document owns the one that it has.
void EntitySalvage::takeRoot(SalvagedEntity& one) {
    F_MemoryFile file;
    writeAlone(one, file);
    one.detached.reset(); // its identity is free again
    one.entity = m_document.accessLevel();
    one.entity->load(file);
}

void EntitySalvage::attach(SalvagedEntity& one) {
    SalvagedEntity* const parent = one.parent == NO_PARENT ? nullptr : &m_all[static_cast<std::size_t>(one.parent)];
    if (parent && parent->entity && hasRoom(one, *parent->entity))
        return attachTo(one, *parent->entity);
    const bool isBelowRoot = parent && parent == &m_all.front() && m_remains.hasRoot;
    if (isBelowRoot && !parent->entity)
        return attachTo(one, *m_document.accessLevel());
    if (isNode(one.kind)) {
        one.detached.reset();
        return lose(one, "its mesh is lost");
    }
    attachOrphan(one, parent && !parent->entity ? parent : nullptr);
}

void EntitySalvage::attachTo(SalvagedEntity& one, CN_LevelEntity& parent) {
    one.entity = one.detached.get();
    m_places[one.entity] = static_cast<std::size_t>(&one - m_all.data());
    parent.addOwned(std::move(one.detached), false);
    const auto [depth, bytes] = m_depths[&parent];
    m_depths[one.entity] = {depth + 1, bytes + one.entity->getName().view().size() + 2};
    m_nameBytes += m_depths[one.entity].second;
    auto* const node = dynamic_cast<CN_VirtualNode*>(one.entity);
    if (!node)
        return;
    try {
        node->generatePointersFromPolygonIndices();
        if (m_shape.isExact || takeDoor(*node))
            return;
        one.fault = "its mesh is lost";
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        one.fault = e->getErrorMessage();
    }
    parent.remove(one.entity);
    delete std::exchange(one.entity, nullptr);
}

/// Where parents were found by other ways than counts alone: false for a portal that stands on no exit, or on one that has its
/// portal, as it can only be another mesh's.
bool EntitySalvage::takeDoor(CN_VirtualNode& node) {
    auto* const portal = dynamic_cast<CN_LevelEntityPortal*>(&node);
    if (!portal)
        return true;
    CN_Polygon* const exit = portal->getPortalPolygon();
    CN_LevelEntityPortal*& known = m_doors[exit];
    if (exit->getExitDestinationIndex() != CN_Polygon::NON_EXIT_INDEX && !known) {
        known = portal;
        return true;
    }
    portal->setPortalPolygon(nullptr);
    if (known)
        known->setPortalPolygon(exit);
    return false;
}

/// False where a level would be too deep or its names too long with the entity there.
bool EntitySalvage::hasRoom(const SalvagedEntity& one, const CN_LevelEntity& parent) {
    const auto [depth, bytes] = m_depths[&parent];
    return depth + 1 < CN_MAX_ENTITY_DEPTH &&
           m_nameBytes + bytes + one.detached->getName().view().size() + NAME_ROOM <= MOST_NAME_BYTES;
}

/// Puts an entity whose parent is lost below "Recovered", or below the root where it may stand nowhere else: by way of a
/// stand-in for the parent where its place is known.
void EntitySalvage::attachOrphan(SalvagedEntity& one, SalvagedEntity* lostParent) {
    CN_LevelEntity& last = orphanParent(one, lostParent);
    if (!hasRoom(one, last)) {
        one.detached.reset();
        return lose(one, "the names of the level take too much room");
    }
    m_orphans.push_back(&one);
    const bool isWithinPrefab = one.kind == CN_KIND_PREFAB_CONTENT;
    if (lostParent && lostParent->world && !isWithinPrefab) {
        CN_LevelEntity& parent = standIn(static_cast<std::size_t>(lostParent - m_all.data()));
        m_depths[&parent] = m_depths[&last];
        attachTo(one, parent);
        return;
    }
    attachTo(one, last);
    one.world.reset();
    if (isWithinPrefab)
        return;
    if (const std::optional<Vector> place = placeByBox(*one.entity, one.box))
        one.world = Placement(one.entity->getRotation(), *place);
}

/// Where an entity without a parent may stand.
CN_LevelEntity& EntitySalvage::orphanParent(const SalvagedEntity& one, const SalvagedEntity* lostParent) {
    CN_LevelEntity& root = *m_document.accessLevel();
    if (one.kind == CN_KIND_PREFAB_CONTENT) { // no other kind holds it
        CN_LevelEntity*& prefab = m_prefabs[lostParent ? lostParent : &one];
        if (!prefab) {
            std::unique_ptr<CN_LevelEntity> made = create(CN_KIND_PREFAB, m_document);
            prefab = made.get();
            prefab->setName(CString(lostParent && !lostParent->name.empty() ? lostParent->name : "Prefab"), false);
            recovered().addOwned(std::move(made), false);
            m_depths[prefab] = {2, 2 * NAME_ROOM + prefab->getName().view().size()};
            if (lostParent && lostParent->world)
                m_placed.emplace_back(prefab, *lostParent->world);
        }
        return *prefab;
    }
    return CN_isOrdinaryChild(one.kind) ? recovered() : root;
}

CN_LevelEntity& EntitySalvage::recovered() {
    if (!m_recovered) {
        m_recovered = create(CN_KIND_FSM, m_document).release(); // in the tree at the end, when all names are taken
        m_recovered->setName("Recovered", false);
        m_depths[m_recovered] = {1, NAME_ROOM};
    }
    return *m_recovered;
}

CN_LevelEntity& EntitySalvage::standIn(std::size_t lost) {
    CN_LevelEntity*& entity = m_standIns[lost];
    if (!entity) {
        entity = create(CN_KIND_FSM, m_document).release();
        entity->setName("Lost", false);
    }
    return *entity;
}

/// Puts what was kept apart into the tree, and everything to its place in the world.
void EntitySalvage::settleOrphans() {
    CN_LevelEntity& root = *m_document.accessLevel();
    if (m_recovered)
        root.addOwned(std::unique_ptr<CN_LevelEntity>(m_recovered), false);
    for (const auto& [lost, entity] : m_standIns)
        root.addOwned(std::unique_ptr<CN_LevelEntity>(entity), false);
    root.handleParenting(true);
    const Placement toRoot = Placement(root.getWorldRotation(), root.getWorldPosition()).inverse();
    for (const auto& [lost, entity] : m_standIns)
        m_placed.emplace_back(entity, *m_all[lost].world);
    for (const auto& [entity, world] : m_placed) {
        const Placement place = world * toRoot;
        if (!place.isFinite())
            continue;
        entity->setRotation(place.rotation);
        entity->setPosition(place.translation);
    }
    for (SalvagedEntity* const orphan : m_orphans) {
        if (!orphan->entity)
            continue;
        CN_LevelEntity* const parent = orphan->entity->getParent();
        if (orphan->kind == CN_KIND_PREFAB_CONTENT)
            continue;
        if (parent != m_recovered && parent != &root)
            (CN_isOrdinaryChild(orphan->kind) ? *m_recovered : root).add(orphan->entity, true);
        else if (orphan->world && toRoot.isFinite())
            orphan->entity->setPosition(orphan->world->translation * toRoot);
    }
    for (const auto& [lost, entity] : m_standIns) {
        root.remove(entity);
        delete entity;
    }
    m_standIns.clear();
    root.handleParenting(true);
}

// What became of them.

std::size_t EntitySalvage::countKept() const {
    return static_cast<std::size_t>(
        std::count_if(m_all.begin(), m_all.end(), [](const SalvagedEntity& one) { return one.entity != nullptr; }));
}

void EntitySalvage::lose(SalvagedEntity& one, const std::string& why) { one.fault = why; }

void EntitySalvage::tell(const CN_LevelEntity& entity, const std::string& reason) {
    const SalvagedEntity& one = m_all[m_places.at(&entity)];
    m_lost.push_back({one.remains.offset, one.remains.end - one.remains.offset, one.name, reason});
}

bool EntitySalvage::isAnyLost() const {
    return !m_shape.isExact || m_shape.missing > 0 || !m_remains.hasTreeEnd || countKept() < m_all.size() ||
           m_recovered;
}

void EntitySalvage::report() {
    for (const SalvagedEntity& one : m_all)
        if (!one.entity) {
            const std::string what = one.kind == 0 ? "an entity" : fmt::format("a {}", kindName(one.kind));
            m_lost.push_back({one.remains.offset, one.remains.end - one.remains.offset, one.name,
                              fmt::format("{}: {}", what, one.fault)});
        }
    reportCounts();
    if (!m_remains.hasTreeEnd)
        m_lost.push_back(
            {m_remains.treeEnd, m_bytes.size() - m_remains.treeEnd, "",
             m_shape.missing > 0
                 ? fmt::format("the tree breaks off: at least {} more entities were to come", m_shape.missing)
                 : "the tree breaks off"});
    else if (!m_shape.isExact)
        m_lost.push_back({m_remains.treeBegin, m_remains.treeEnd - m_remains.treeBegin, "",
                          "the counts of children do not fit the entities: parents were found by places in the world"});
}

/// Counts of children that were found to be wrong.
void EntitySalvage::reportCounts() {
    if (!m_shape.isExact || !m_remains.hasTreeEnd)
        return;
    std::vector<unsigned int> counts(m_all.size());
    for (const SalvagedEntity& one : m_all)
        if (one.parent != NO_PARENT)
            ++counts[static_cast<std::size_t>(one.parent)];
    for (std::size_t i = 0; i < m_all.size(); ++i)
        if (m_all[i].remains.children && *m_all[i].remains.children != counts[i])
            m_lost.push_back({m_all[i].remains.end, 4, m_all[i].name,
                              fmt::format("the count of its children is damaged; by all others it is {}", counts[i])});
}

std::vector<CN_LevelEntity*> EntitySalvage::findNumbered(const std::vector<unsigned int>& numbers) const {
    std::vector<CN_LevelEntity*> found;
    if (!m_shape.isExact || !m_remains.hasTreeEnd)
        return found;
    std::vector<std::vector<std::size_t>> children(m_all.size());
    for (std::size_t i = 1; i < m_all.size(); ++i)
        children[static_cast<std::size_t>(m_all[i].parent)].push_back(i);
    std::vector<std::size_t> pending{0};
    unsigned int number = 0;
    for (auto next = numbers.begin(); !pending.empty() && next != numbers.end(); ++number) {
        const std::size_t at = pending.back();
        pending.pop_back();
        if (*next == number) {
            if (m_all[at].entity)
                found.push_back(m_all[at].entity);
            ++next;
        }
        pending.insert(pending.end(), children[at].begin(), children[at].end());
    }
    return found;
}

} // namespace cairn::host
