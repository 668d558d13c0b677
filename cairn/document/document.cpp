#include "cairn/document/document.h"

#include "cairn/document/camera.h"
#include "cairn/document/change_scope.h"
#include "cairn/document/entity_factory.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/entities/mesh_interface.h"
#include "cairn/foundation/immortal.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/polygon/polygon.h"
#include "cairn/geometry/validate.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/platform/handlers.h"

#include <cassert>
#include <new>
#include <span>
#include <unordered_set>
#include <utility>

namespace cairn {

namespace {

constexpr const char* PLAYER_NAME = "player";
/// About what the common record of an entity takes in a file: room that a save makes ahead.
constexpr std::size_t COMMON_ENTITY_BYTES = 256;

/// The documents that are alive. Never destroyed: entities of static objects ask for it at the very end.
std::unordered_set<const CN_Document*>& aliveDocuments() {
    static F_Immortal<std::unordered_set<const CN_Document*>> documents;
    return documents.get();
}

std::unique_ptr<CN_LevelEntity> createEntity(int kind, CN_Document* document) {
    std::unique_ptr<CN_LevelEntity> entity(CN_EntityFactory::instance()->createEntity(kind, document));
    if (!entity)
        throw new F_Exception(formatText("An entity of the kind %d cannot be made", kind));
    return entity;
}

/// Meshes that are about to die use no material any more.
void dropMaterialUses(CN_LevelEntity& root) {
    CN_PreIterator it = root.createIterator();
    for (it.begin(); !it.end(); ++it)
        if (auto* const mesh = dynamic_cast<CN_MeshInterface*>(*it))
            mesh->updateMaterialRefCounts(false);
}

} // namespace

CN_Document_Exception_InvalidFileFormat::CN_Document_Exception_InvalidFileFormat(int got)
    : F_Exception(
          formatText("Invalid file format. Was expection version [%d] got [%d]!", CAIRN_CN_DOCUMENT_VERSION, got)),
      m_got(got) {}

CN_Document_Exception_InvalidPrefabFormat::CN_Document_Exception_InvalidPrefabFormat(int got, int expected)
    : F_Exception(formatText("Invalid prefab format. Was expecting version [%d] got [%d]!", expected, got)) {}

/// Keeps what the whole process shares for the reading of one tree: empty at the start, empty again afterwards.
class CN_Document::TreeReading {
  public:
    explicit TreeReading(CN_Document& document) : m_document(document) {
        resetShared();
        CN_Polygon::m_suiRunningDocIndex = 0;
        m_document.m_collectingBroken = true;
        m_document.m_brokenEntities.clear();
        m_document.m_brokenFSMs.clear();
    }
    ~TreeReading() {
        m_document.m_collectingBroken = false;
        m_document.m_brokenEntities.clear();
        resetShared();
    }
    TreeReading(const TreeReading&) = delete;
    TreeReading& operator=(const TreeReading&) = delete;

  private:
    static void resetShared() {
        CN_ExitDestinationPointerDeserializer::instance()->reset();
        CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.clear();
    }

    CN_Document& m_document;
};

/// Numbers the entities of a level from 1 in pre-order for its life, which is that of one save.
class CN_Document::SaveNumbers {
  public:
    /// `entities` are those of the level, in pre-order.
    explicit SaveNumbers(std::span<CN_LevelEntity* const> entities) : m_entities(entities) {
        for (std::size_t i = 0; i < m_entities.size(); ++i)
            m_entities[i]->setSaveNumber(static_cast<std::uint32_t>(i + 1));
    }
    ~SaveNumbers() {
        for (CN_LevelEntity* entity : m_entities)
            entity->setSaveNumber(0);
    }
    SaveNumbers(const SaveNumbers&) = delete;
    SaveNumbers& operator=(const SaveNumbers&) = delete;

  private:
    std::span<CN_LevelEntity* const> m_entities; ///< not owned
};

CN_Document::CN_Document() {
    F_withFoundationExceptions([this] {
        resetGroups();
        m_selection = std::make_unique<CN_Selection>();
        m_materials.construct();
        m_textures.construct();
        m_textures.setLoadReport(&m_loadReport);
        m_materials.setLoadReport(&m_loadReport);
        m_lightmaps = std::make_unique<CN_LightmapPool>();
        m_lightmaps->construct();
        m_camera = std::make_unique<CN_Camera>();
        aliveDocuments().insert(this);
    });
    m_constructed = true;
}

CN_Document::~CN_Document() {
    deleteLevel(); // whose materials die as well
    m_selection.reset();
    m_camera.reset();
    m_lightmaps.reset();
    m_materials.destruct();
    m_textures.destruct();
    CN_FSMChangeManager::instance()->forgetDocument(this);
    aliveDocuments().erase(this);
}

bool CN_Document::isAlive(const CN_Document* document) { return document && aliveDocuments().count(document) > 0; }

void CN_Document::createCairnLevelEntities() {
    const CN_ChangeScope change(this);
    if (m_level) {
        deleteCairnLevelEntities();
        resetGroups();
    }
    m_level = static_cast<CN_CairnLevel*>(createEntity(CN_KIND_LEVEL, this).release());
    m_level->setName("World_Group", false);
    addPlayer(true);
}

/// Makes the level's player.
void CN_Document::addPlayer(bool makeChild) {
    auto player = createEntity(CN_KIND_PLAYER, this);
    m_player = player.get();
    m_player->setName(PLAYER_NAME, false);
    m_level->addOwned(std::move(player), makeChild);
}

void CN_Document::resetGroups() { m_groups = {{"", 0}, {"PLAYER_GROUP", 0}}; }

void CN_Document::deleteCairnLevelEntities() {
    if (m_level)
        dropMaterialUses(*m_level);
    deleteLevel();
}

void CN_Document::deleteLevel() {
    // What names entities of the level goes first, so that each dying entity has little to be forgotten in.
    m_brokenEntities.clear();
    m_brokenFSMs.clear();
    m_lastHidden.clear();
    m_selection->clear();
    // Entities may ask for the level while they die.
    delete m_level;
    m_level = nullptr;
    m_player = nullptr;
}

void CN_Document::forgetEntity(const CN_LevelEntity* entity) {
    m_lastHidden.erase(const_cast<CN_LevelEntity*>(entity));
    m_brokenEntities.forget(entity);
    m_brokenFSMs.forget(entity);
    if (m_player == entity)
        m_player = nullptr;
    if (m_level == entity)
        m_level = nullptr;
}

void CN_Document::RecordedEntities::add(const CN_LevelEntity* entity) {
    get(); // an address may have belonged to one that died
    m_list.push_back(entity);
    m_stale = true; // unless it is among the living, too
    m_alive.insert(entity);
    m_stale = false;
}

void CN_Document::RecordedEntities::clear() {
    m_list.clear();
    m_alive.clear();
    m_stale = false;
}

const CN_Document::EntityList& CN_Document::RecordedEntities::get() const {
    if (m_stale)
        std::erase_if(m_list, [this](const CN_LevelEntity* entity) { return !m_alive.contains(entity); });
    m_stale = false;
    return m_list;
}

void CN_Document::addBrokenEntity(const CN_LevelEntity* entity) {
    if (m_collectingBroken)
        m_brokenEntities.add(entity);
}

void CN_Document::showMessage(int severity, const CString& message) {
    if (m_errorCallback)
        m_errorCallback(severity, message);
}

// The sections of a level file, one after the other: version, textures, materials, lightmap pool, preferences, root
// entity (its id first) with the whole tree, selection, camera, group names.

void CN_Document::save(F_MemoryFile& file) {
    if (!m_level)
        throw new F_Exception("The document holds no level that could be saved");
    F_withFoundationExceptions([&] {
        // The tree is walked once: what only needs its entities goes along the list, which waits less for memory.
        const std::vector<CN_LevelEntity*> entities = m_level->checkAheadOfSave();
        m_textures.checkSavable();
        m_materials.checkSavable();
        const SaveNumbers numbers(entities);
        CN_PolygonValidator::instance()->enumerateWrittenPolygons(entities);
        file.reserve(entities.size() * COMMON_ENTITY_BYTES);
        file.writeWhole([&] { saveSections(file); });
    });
}

void CN_Document::saveSections(F_MemoryFile& file) {
    saveDocumentVersion(file);
    file << m_textures;
    file << m_materials;
    m_lightmaps->save(file);
    m_preferences.saveDocumentPreferences(file);
    m_level->save(file);
    m_selection->save(file, this);
    m_camera->save(file);
    saveGroupNames(file);
}

void CN_Document::load(F_MemoryFile& file) {
    if (m_level)
        throw new F_Exception("The document holds a level already; one can only be loaded into an empty document");
    m_loadReport.clear();
    m_loading = true;
    try {
        F_withFoundationExceptions([&] { loadSections(file); });
        assert(CN_isConsistent(*this)); // here, as it takes memory, too
    } catch (...) {
        m_loading = false;
        setMustBeDiscarded();
        m_loadReport.resolve();
        throw;
    }
    m_loading = false;
    m_loadReport.resolve();
}

void CN_Document::loadSections(F_MemoryFile& file) {
    readSection(file, "version", [&] { loadDocumentVersion(file); });
    readSection(file, "textures", [&] { file >> m_textures; });
    m_materials.setList(&m_textures);
    readSection(file, "materials", [&] { file >> m_materials; });
    readSection(file, "lightmaps", [&] { m_lightmaps->load(file); });
    readSection(file, "preferences", [&] { m_preferences.loadDocumentPreferences(file); });
    int rootKind = 0;
    file >> rootKind;
    if (rootKind != CN_KIND_LEVEL)
        file.fail(formatText("The root entity is of the kind %d; only %d is a level", rootKind, CN_KIND_LEVEL));
    {
        const TreeReading reading(*this);
        loadLevel(file);
        readSection(file, "selection", [&] { m_selection->load(file, this); });
        readSection(file, "camera", [&] { m_camera->load(file); });
        readSection(file, "group names", [&] { loadGroupNames(file); });
    }
    repairSettings();
}

/// Reads one section, and reports what a newer writer put into it.
template <class Read> void CN_Document::readSection(F_MemoryFile& file, const char* name, Read&& read) {
    const std::size_t before = file.getUnreadBytes();
    read();
    if (const std::size_t unread = file.getUnreadBytes() - before; unread > 0)
        m_loadReport.add("newer-data", nullptr, -1,
                         formatText("%zu bytes of the section of the %s come from a newer version and would be lost "
                                    "in a save",
                                    unread, name));
}

/// Reads the tree and binds what its records name by number.
void CN_Document::loadLevel(F_MemoryFile& file) {
    m_level = static_cast<CN_CairnLevel*>(createEntity(CN_KIND_LEVEL, this).release());
    try {
        m_level->load(file);
    } catch (...) {
        bindPart();
        throw;
    }
    findPlayer();
    reportBrokenEntities();
    for (const CN_LevelEntity* entity : m_brokenFSMs.get())
        m_loadReport.add("fsm-default-state", entity, -1,
                         "The default state is no state of the machine; it has none now");
    m_collectingBroken = false;
    CN_ExitDestinationPointerDeserializer::instance()->deserialize(m_level, m_materials.getDefaultMaterial());
    CN_FSMChangeManager::instance()->deserializeFSMs(m_level, false);
}

/// What was read whole before a fault keeps its exits and the targets of its messages, for a host that goes on with it. Its own
/// failure must not hide the fault.
void CN_Document::bindPart() {
    try {
        CN_ExitDestinationPointerDeserializer::instance()->deserializePart(m_level, m_materials.getDefaultMaterial());
        CN_FSMChangeManager::instance()->deserializeFSMs(m_level, false);
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
    } catch (const std::bad_alloc&) {
    }
}

void CN_Document::findPlayer() {
    m_player = m_level->hasChildNamed(PLAYER_NAME);
    if (m_player)
        return;
    addPlayer(false);
    m_loadReport.add("repaired", m_player, -1, "The level had no player; one was made");
}

void CN_Document::reportBrokenEntities() {
    if (m_brokenEntities.empty())
        return;
    CString message = "The following entities have a broken rotation matrix! Contact a programmer immediately!!";
    for (const CN_LevelEntity* entity : m_brokenEntities.get()) {
        message += CString("\n" + CN_HierarchyUtils::makeFullyQualifiedName(entity));
        m_loadReport.add("broken-rotation", entity, -1, "The rotation is not orthonormal");
    }
    m_brokenEntities.clear();
    AfxMessageBox(message);
}

/// A number that is infinite or NaN is not worth a level where it only tells how the level is shown.
void CN_Document::repairSettings() {
    if (const string names = m_preferences.repairNumbers(); !names.empty())
        m_loadReport.add("repaired", nullptr, -1,
                         "Preferences that were no finite numbers have their defaults: " + names);
    if (!m_camera->isFinite()) {
        m_camera->reset();
        m_loadReport.add("repaired", nullptr, -1, "The camera's place was no finite one; it was reset");
    }
}

// Version 1: sentinel, format version, build text.
// Without a chunk: sentinel and format version.

void CN_Document::saveDocumentVersion(F_MemoryFile& file) {
    file.createChunk(0, CAIRN_DOCUMENT_VERSION);
    file << g_strSentinel << CAIRN_CN_DOCUMENT_VERSION << m_buildText;
    file.closeChunk();
}

void CN_Document::loadDocumentVersion(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    F_MemoryFile& in = chunk.isValid() ? chunk.getMemoryFile() : file;
    CString sentinel;
    int formatVersion = 0;
    if (!chunk.isValid() || chunk.getVersion() < 1) {
        m_buildText = "Before Build 22";
        try {
            in >> sentinel >> formatVersion;
        } catch (F_MemoryException_Allocation*) {
            throw;
        } catch (F_Exception* e) {
            const F_ExceptionGuard guard(e);
            throw new CN_Document_Exception_InvalidFileFormat(-1);
        }
    } else {
        in >> sentinel >> formatVersion >> m_buildText;
    }
    if (chunk.isValid())
        file.skipChunk();
    if (sentinel != g_strSentinel || formatVersion != CAIRN_CN_DOCUMENT_VERSION)
        throw new CN_Document_Exception_InvalidFileFormat(formatVersion);
}

// Version 1: count, names in the order of the map. The numbers of enemies follow from the tree.
// Older files end before it.

void CN_Document::saveGroupNames(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_DOCUMENT_VERSION);
    file.writeCount(m_groups.size());
    for (const auto& [name, count] : m_groups)
        file << name;
    file.closeChunk();
}

void CN_Document::loadGroupNames(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    if (!chunk.isValid())
        return;
    F_MemoryFile& in = chunk.getMemoryFile();
    istring name;
    for (std::size_t left = in.readCount(sizeof(unsigned int)); left > 0; --left) {
        in >> name;
        m_groups.emplace(name, 0);
    }
    file.skipChunk();
}

} // namespace cairn
