#include "cairn/document/document.h"
#include "cairn/document/entity_factory.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/entities/load_scope.h"
#include "cairn/entities/virtual_node.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/system.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/fsm/fsm.h"
#include "cairn/geometry/mesh/mesh.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace cairn {

namespace {

/// The least that an entity takes in a file: its id, an empty chunk and the count of its children.
constexpr std::size_t MIN_ENTITY_RECORD = 4 + F_MemoryFile::CHUNK_HEADER_SIZE + 4;

/// How far an element of R^T R may be from the identity's: files hold rotations that were rounded to single precision
/// and multiplied many times.
constexpr double ROTATION_TOLERANCE = 0.001;

/// How many entities are being saved around this one: the outermost checks the whole subtree.
class SaveScope {
  public:
    SaveScope() { ++s_depth; }
    ~SaveScope() { --s_depth; }
    SaveScope(const SaveScope&) = delete;
    SaveScope& operator=(const SaveScope&) = delete;

    static bool isSaving() { return s_depth > 0; }

  private:
    inline static int s_depth = 0;
};

void logMatrix(const char* label, const M_Matrix3Template<double>& m) {
    const auto& [a, b, c] = m.rows;
    F_System::verbose("(%7.3f %7.3f %7.3f)\n", a.x, a.y, a.z);
    F_System::verbose("%s = (%7.3f %7.3f %7.3f)\n", label, b.x, b.y, b.z);
    F_System::verbose("(%7.3f %7.3f %7.3f)\n", c.x, c.y, c.z);
}

/// Why no file may hold an entity of this id below that parent; null where it may.
const char* refusalBelow(const CN_LevelEntity* parent, int entityId) {
    switch (entityId) {
    case CN_KIND_LEVEL:
        return "a level cannot stand below another entity";
    case CN_KIND_POLYGON_GROUP:
    case CN_KIND_RADIOSITY_LIGHT:
    case CN_KIND_PORTAL:
        return dynamic_cast<const CN_Mesh*>(parent) ? nullptr : "it can stand below a mesh only";
    default:
        return nullptr;
    }
}

/// The entity for a text, whatever its name is.
std::string shownPath(std::string path) {
    if (path.empty())
        path = "::";
    return path;
}

} // namespace

std::string CN_LevelEntity::getLoadPath() const {
    std::vector<const CN_LevelEntity*> entities;
    const LoadScope* scope = LoadScope::innermost();
    for (; scope && scope->outer(); scope = scope->outer())
        entities.push_back(&scope->entity());
    std::string path(scope ? view(scope->entity().m_qualifiedName) : view(m_qualifiedName));
    for (auto it = entities.rbegin(); it != entities.rend(); ++it)
        path.append("::").append((*it)->m_name.view());
    return shownPath(std::move(path));
}

void CN_LevelEntity::advanceWaitCursor() const {
    if (CN_Document* document = getLivingDocument())
        document->advanceWaitCursor();
}

void CN_LevelEntity::load(F_MemoryFile& file) {
    const LoadScope scope(*this);
    try {
        loadRecord(file, scope);
    } catch (...) {
        if (!scope.outer())
            generateNamesOfFailedLoad();
        throw;
    }
    if (!scope.outer())
        generateLoadedNames();
    if (m_entityId == CN_KIND_LEVEL)
        handleParenting(false);
}

void CN_LevelEntity::loadRecord(F_MemoryFile& file, const LoadScope& scope) {
    advanceWaitCursor();
    const std::size_t unreadBefore = file.getUnreadBytes();
    loadCommonEntityData(file);
    if (scope.depth() >= CN_MAX_ENTITY_DEPTH)
        file.fail(fmt::format("The entity \"{}\" is nested deeper than {} levels", getLoadPath(), CN_MAX_ENTITY_DEPTH));
    loadEntitySpecificData(file);
    reportUnread(file.getUnreadBytes() - unreadBefore);
    loadChildren(file);
}

void CN_LevelEntity::save(F_MemoryFile& file) {
    if (SaveScope::isSaving() || m_saveNumber != 0) { // a document has checked before it gave numbers
        saveRecord(file);
        return;
    }
    checkAheadOfSave();
    file.writeWhole([&] { saveRecord(file); });
}

void CN_LevelEntity::saveRecord(F_MemoryFile& file) {
    const SaveScope scope;
    advanceWaitCursor();
    saveCommonEntityData(file);
    saveEntitySpecificData(file);
    saveChildren(file);
}

// The common record: the entity id, then chunk 0 of
//   4: gameplay critical is stored; before it is false for the kinds that carry it themselves, true for all others
//   3: export regrouping is stored; before it is false
//   2: the identity is stored; before nothing can refer to the entity
//   1: the rest
void CN_LevelEntity::loadCommonEntityData(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    const int version = chunk.getVersion();

    unsigned long identity = 0;
    if (version > 1)
        in >> identity;
    if (identity != 0) {
        m_loadedId = static_cast<std::uint32_t>(identity);
        CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.emplace(m_loadedId, this);
    }
    in >> m_position;
    in >> m_rotation;
    in >> m_boundingMin;
    in >> m_boundingMax;
    in >> m_boundingRadius;
    bool visible = true, excluded = false, reserved = false, regrouping = false, critical = true;
    in >> visible >> excluded >> reserved;
    if (version > 2)
        in >> regrouping;
    if (version > 3)
        in >> critical;
    else
        critical = !hasCriticalFlag(m_entityId);
    m_generalProperties.setVisible(visible);
    m_generalProperties.setExcludedFromGame(excluded);
    m_generalProperties.setReserved(reserved);
    m_generalProperties.setExportRegroupingEnabled(regrouping);
    m_generalProperties.setGameplayCritical(critical);
    CString name;
    in >> name;
    storeName(name);
    if (const char* what = findNotFinite())
        in.fail(fmt::format("The {} of the entity \"{}\" is not finite", what, getLoadPath()));
    checkRotation();
    bool hasMachine = false;
    in >> hasMachine;
    if (hasMachine) {
        createFSM();
        in.readEmbedded([this](F_MemoryFile& machine) { m_fsm->load(machine); });
    }
    file.skipChunk();
}

void CN_LevelEntity::saveCommonEntityData(F_MemoryFile& file) {
    file << m_entityId;
    file.createChunk(0, CAIRN_LVL_ENTITY_VERSION);
    file << static_cast<unsigned long>(m_saveNumber ? m_saveNumber : m_processNumber);
    file << m_position;
    file << m_rotation;
    file << m_boundingMin;
    file << m_boundingMax;
    file << m_boundingRadius;
    const CN_GeneralEntityProperties& properties = m_generalProperties;
    file << properties.isVisible() << properties.isExcludedFromGame() << properties.isReserved();
    file << properties.isExportRegroupingEnabled();
    file << properties.isGameplayCritical();
    file << m_name;
    file << hasFSM();
    if (hasFSM())
        file.writeEmbedded([this](F_MemoryFile& machine) { m_fsm->save(machine); });
    file.closeChunk();
}

void CN_LevelEntity::loadChildren(F_MemoryFile& file) {
    const std::size_t count = file.readCount(MIN_ENTITY_RECORD);
    for (std::size_t i = 0; i < count; ++i) {
        int entityId = 0;
        file >> entityId;
        std::unique_ptr<CN_LevelEntity> child = createChild(entityId, file);
        child->load(file);
        CN_LevelEntity* attached = adoptLoaded(std::move(child));
        if (auto* node = dynamic_cast<CN_VirtualNode*>(attached))
            node->generatePointersFromPolygonIndices();
    }
}

void CN_LevelEntity::saveChildren(F_MemoryFile& file) {
    const auto isStored = [](const CN_LevelEntity* child) { return !CN_VirtualNode::isLeftOut(child); };
    file.writeCount(static_cast<std::size_t>(std::count_if(m_children.begin(), m_children.end(), isStored)));
    std::optional<CN_VirtualNode::WrittenPlaces> places;
    if (const auto* const mesh = m_children.empty() ? nullptr : dynamic_cast<const CN_Mesh*>(this))
        places.emplace(*mesh);
    for (CN_LevelEntity* child : m_children)
        if (isStored(child))
            child->save(file);
        else
            reportLeftOut(child);
}

/// Tells the user of a child that the record cannot hold.
void CN_LevelEntity::reportLeftOut(const CN_LevelEntity* child) const {
    if (CN_Document* document = getLivingDocument())
        document->showMessage(2, CString(fmt::format("\"{}\" is not saved: it stands on no polygon that is saved",
                                                     CN_HierarchyUtils::makeFullyQualifiedName(child))));
}

/// A new entity for the child that stands in the file; throws where there can be none.
std::unique_ptr<CN_LevelEntity> CN_LevelEntity::createChild(int entityId, F_MemoryFile& file) {
    const char* refusal = refusalBelow(this, entityId);
    std::unique_ptr<CN_LevelEntity> child;
    if (!refusal)
        child.reset(CN_EntityFactory::instance()->createEntity(entityId, m_document));
    if (!child)
        file.fail(fmt::format("A child of \"{}\" has the entity type {}, which cannot be made here: {}", getLoadPath(),
                              entityId, refusal ? refusal : "no such entity can be created"));
    return child;
}

/// Attaches a child that was read and tells the report where it had to be renamed.
CN_LevelEntity* CN_LevelEntity::adoptLoaded(std::unique_ptr<CN_LevelEntity> child) {
    struct Adoption {
        explicit Adoption(const CN_LevelEntity* child) : scope(LoadScope::accessInnermost()) {
            if (scope)
                scope->setAdopting(child);
        }
        ~Adoption() {
            if (scope)
                scope->setAdopting(nullptr);
        }
        LoadScope* scope;
    };

    CN_LevelEntity* attached = child.get();
    const CString stored = attached->m_name;
    const Adoption adoption(attached);
    addOwned(std::move(child), false);
    CN_Document* document = getLivingDocument();
    if (document && !(attached->m_name == stored))
        document->accessLoadReport().add(
            "repaired", attached, -1,
            fmt::format("The name \"{}\" became \"{}\": names are unique among siblings and not empty", stored.view(),
                        attached->m_name.view()));
    return attached;
}

/// What of the place or the bounding volume cannot be stored; null where all can.
const char* CN_LevelEntity::findNotFinite() const {
    if (!m_position.isFinite())
        return "position";
    if (!m_boundingMin.isFinite() || !m_boundingMax.isFinite())
        return "bounding box";
    return std::isfinite(m_boundingRadius) ? nullptr : "bounding radius";
}

/// Logs a rotation that is none and tells the document; it is kept. Only the upper left two by two are looked at.
void CN_LevelEntity::checkRotation() {
    const Matrix product = m_rotation.transposed() * m_rotation;
    bool broken = false;
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 2; ++column)
            // Written so that NaN is broken, too.
            broken |= !(std::abs(product.at(row, column) - (row == column ? 1 : 0)) <= ROTATION_TOLERANCE);
    if (!broken)
        return;
    logMatrix("AAt", product);
    logMatrix(m_name.GetString(), m_rotation);
    if (CN_Document* document = getLivingDocument())
        document->addBrokenEntity(this);
}

void CN_LevelEntity::reportUnread(std::size_t bytes) const {
    CN_Document* document = getLivingDocument();
    if (bytes > 0 && document)
        document->accessLoadReport().add(
            "newer-data", this, -1,
            fmt::format("{} bytes that a newer version wrote were passed over: a save loses them", bytes));
}

string CN_LevelEntity::findRecordFault() const { return {}; }

void CN_LevelEntity::refuseSave(const string& why) const {
    const std::string path = shownPath(CN_HierarchyUtils::makeFullyQualifiedName(this));
    throw new F_Exception(fmt::format("The entity \"{}\" cannot be saved: {}", path, why));
}

std::vector<CN_LevelEntity*> CN_LevelEntity::checkSavable() { return checkTree(&CN_LevelEntity::findRecordFault); }

std::vector<CN_LevelEntity*> CN_LevelEntity::checkAheadOfSave() { return checkTree(&CN_LevelEntity::findFaultAhead); }

std::vector<CN_LevelEntity*> CN_LevelEntity::checkTree(string (CN_LevelEntity::*findFault)() const) {
    const auto checkRecord = [findFault](const CN_LevelEntity* entity) {
        if (const char* what = entity->findNotFinite())
            entity->refuseSave(fmt::format("its {} is not finite", what));
        if (const string fault = (entity->*findFault)(); !fault.empty())
            entity->refuseSave(fault);
    };

    constexpr std::size_t NONE_LEFT_OUT = CN_MAX_ENTITY_DEPTH + 1;
    std::size_t leftOutDepth = NONE_LEFT_OUT; // of the entity that a save leaves out and in whose subtree the walk is
    checkRecord(this);
    std::vector<CN_LevelEntity*> entities{this};
    std::vector<std::size_t> nameBytes{0}; // of the qualified names above the entity that is looked at, by depth
    std::size_t totalBytes = 0;
    CN_PreIterator it(m_children);
    for (it.begin(); !it.end(); ++it) {
        CN_LevelEntity* entity = *it;
        const std::size_t depth = it.getDepth() + 1;
        if (depth > leftOutDepth)
            continue;
        leftOutDepth = CN_VirtualNode::isLeftOut(entity) ? depth : NONE_LEFT_OUT;
        if (leftOutDepth == depth)
            continue;
        if (depth >= CN_MAX_ENTITY_DEPTH)
            entity->refuseSave(fmt::format("it is nested deeper than {} levels", CN_MAX_ENTITY_DEPTH));
        if (const char* why = refusalBelow(entity->m_parent, entity->m_entityId))
            entity->refuseSave(why);
        if (!CN_EntityFactory::instance()->isKnown(entity->m_entityId))
            entity->refuseSave(fmt::format("no entity of type {} can be created", entity->m_entityId));
        checkRecord(entity);
        nameBytes.resize(depth);
        nameBytes.push_back(nameBytes.back() + 2 + entity->m_name.view().size());
        totalBytes += nameBytes.back();
        if (totalBytes > CN_MAX_QUALIFIED_NAME_BYTES)
            entity->refuseSave(fmt::format("the qualified names take more than {} bytes", CN_MAX_QUALIFIED_NAME_BYTES));
        entities.push_back(entity);
    }
    return entities;
}

} // namespace cairn
