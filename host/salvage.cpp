#include "host/salvage.h"

#include "cairn/document/camera.h"
#include "cairn/document/level_file.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/portal.h"
#include "cairn/fsm/change_manager.h"
#include "cairn/geometry/exits.h"
#include "cairn/geometry/polygon/polygon.h"
#include "cairn/lighting/lightmap.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "host/salvage_entities.h"
#include "host/salvage_mending.h"
#include "host/salvage_records.h"

#include <fmt/format.h>

#include <algorithm>

namespace cairn::host {

namespace {

using State = F_FoundChunk::State;

constexpr std::size_t CAMERA = 3 * 8 + 3 * 4 + 8; ///< its bytes, which stand bare

const char* nameOf(LevelPart part) {
    switch (part) {
    case LevelPart::VERSION:
        return "version";
    case LevelPart::TEXTURES:
        return "textures";
    case LevelPart::CATEGORY:
        return "category of materials";
    case LevelPart::MATERIAL:
        return "material";
    case LevelPart::LIGHTMAPS:
        return "lightmap pool";
    case LevelPart::PREFERENCES:
        return "preferences";
    default:
        return "record";
    }
}

/// What a process keeps for the load of one level: clean at both ends, whatever happens between.
struct LoadState {
    LoadState() {
        reset();
        CN_Polygon::m_suiRunningDocIndex = 0;
    }
    ~LoadState() { reset(); }
    LoadState(const LoadState&) = delete;
    LoadState& operator=(const LoadState&) = delete;

    static void reset() {
        CN_ExitDestinationPointerDeserializer::instance()->reset();
        CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap.clear();
    }
};

/// Runs `read`; false, and why in `fault`, where it throws.
template <class Read> bool succeeds(Read&& read, std::string* fault = nullptr) {
    try {
        read();
        return true;
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        if (fault)
            *fault = e->getErrorMessage();
        return false;
    }
}

Bytes viewOf(const F_MemoryFile& file) {
    return {static_cast<const unsigned char*>(file.getAddress()), file.getSize()};
}

/// One level that does not load.
class LevelSalvage {
  public:
    LevelSalvage(Bytes bytes, CN_Document& document)
        : m_bytes(bytes), m_remains(mapRemains(bytes)), m_document(document) {}

    bool hasAnything() const { return !m_remains.isEmpty(); }

    void run(Salvage& salvage) {
        const LoadState state;
        m_document.createCairnLevelEntities();
        readVersion();
        readTextures();
        readMaterials();
        readLightmaps();
        readPreferences();
        reportStrays();
        EntitySalvage entities(m_bytes, m_remains, m_document, m_lost);
        entities.run();
        MendingNeeds needs;
        needs.entitiesLost = entities.isAnyLost();
        needs.tell = [&entities](const CN_LevelEntityPortal& portal, const std::string& reason) {
            entities.tell(portal, reason);
        };
        mendReferences(m_document, needs);
        readSelection(entities);
        readCamera();
        readGroups();
        reportBehind();
        entities.report();
        salvage.kept = entities.countKept();
        salvage.lost = std::move(m_lost);
        std::stable_sort(salvage.lost.begin(), salvage.lost.end(),
                         [](const LostPart& a, const LostPart& b) { return a.offset < b.offset; });
    }

  private:
    const F_FoundChunk* find(LevelPart part) const {
        for (const SectionRemains& section : m_remains.sections)
            if (section.part == part)
                return &section.chunk;
        return nullptr;
    }
    /// Reads a section's chunk, with its checksums made right where `damagedToo` allows that.
    template <class Read> bool readChunk(const F_FoundChunk* chunk, bool damagedToo, Read&& read) {
        if (!chunk || (!chunk->isWhole() && (!damagedToo || chunk->state == State::HEADER_DAMAGED)))
            return false;
        F_MemoryFile file;
        if (chunk->isWhole())
            file.construct(m_bytes.data() + chunk->offset, chunk->end - chunk->offset, false);
        else {
            rewrap(m_bytes, *chunk, file);
            file.toRead();
        }
        return succeeds([&] { read(file); });
    }
    void lose(const F_FoundChunk& chunk, std::string name, std::string reason) {
        m_lost.push_back({chunk.offset, chunk.end - chunk.offset, std::move(name), std::move(reason)});
    }
    void loseSection(LevelPart part, const std::string& instead) {
        if (const F_FoundChunk* const chunk = find(part))
            lose(*chunk, nameOf(part), fmt::format("the section is damaged: {}", instead));
        else
            m_lost.push_back({0, 0, nameOf(part), fmt::format("the section is not there: {}", instead)});
    }

    void readVersion() {
        const F_FoundChunk* const chunk = find(LevelPart::VERSION);
        if (readChunk(chunk, false, [this](F_MemoryFile& file) { m_document.loadDocumentVersion(file); }))
            return;
        const std::size_t end =
            m_remains.sections.empty() ? m_remains.treeBegin : m_remains.sections.front().chunk.offset;
        if (!chunk && readsWhole(m_bytes.first(std::min(end, m_bytes.size())), [this](F_MemoryFile& file) {
                m_document.loadDocumentVersion(file); // older files have it bare
                return true;
            }))
            return;
        loseSection(LevelPart::VERSION, "the newest form is assumed");
    }

    void readTextures() {
        const F_FoundChunk* const chunk = find(LevelPart::TEXTURES);
        CN_TextureList& textures = m_document.accessTextures();
        unsigned int count = 0;
        readChunk(chunk, true, [&](F_MemoryFile& file) {
            F_MemoryFile::Chunk opened;
            file.openChunk(opened, 0);
            opened.getMemoryFile() >> count;
        });
        if (!readChunk(chunk, true, [&](F_MemoryFile& file) { file >> textures; }))
            loseSection(LevelPart::TEXTURES, "there are none");
        else if (!chunk->isWhole())
            loseSection(LevelPart::TEXTURES, fmt::format("{} textures of {} were read, of which one may be wrong",
                                                         textures.list().count(), count));
        m_document.accessMaterials().setList(&textures);
    }

    /// Gathers what is whole into one section and has it loaded.
    void readMaterials() {
        struct Category {
            CString name;
            std::vector<const F_FoundChunk*> materials;
        };
        std::vector<Category> categories;
        for (const SectionRemains& section : m_remains.sections) {
            const F_FoundChunk& chunk = section.chunk;
            if (section.part == LevelPart::CATEGORY) {
                categories.push_back({readCategoryName(chunk), {}});
            } else if (section.part == LevelPart::MATERIAL) {
                if (categories.empty())
                    categories.push_back({CString("Recovered"), {}});
                if (chunk.isWhole())
                    categories.back().materials.push_back(&chunk);
                else
                    lose(chunk, readMaterialName(chunk), "a material: its record is damaged");
            }
        }
        F_MemoryFile file;
        file.writeCount(categories.size());
        for (const Category& category : categories) {
            file.createChunk(0, CAIRN_MATERIALS_CATEGORY_VERSION);
            file.writeCount(category.materials.size());
            file << category.name;
            file.closeChunk();
            for (const F_FoundChunk* const material : category.materials)
                append(file, bytesOf(m_bytes, *material));
        }
        file.toRead();
        file >> m_document.accessMaterials();
        for (const Category& category : categories)
            for (const F_FoundChunk* const material : category.materials) {
                const std::string name = readMaterialName(*material);
                if (!m_document.getMaterials().find(category.name, CString(name)))
                    lose(*material, name, "a material: its textures are lost");
            }
    }
    CString readCategoryName(const F_FoundChunk& chunk) {
        CString name;
        readChunk(&chunk, true, [&](F_MemoryFile& file) {
            F_MemoryFile::Chunk opened;
            unsigned int count = 0;
            file.openChunk(opened, 0);
            opened.getMemoryFile() >> count >> name;
        });
        if (chunk.isWhole())
            return name;
        name = CString(readableName(name));
        lose(chunk, name.str(), "a category of materials: its record is damaged; its materials are kept");
        return name.IsEmpty() ? CString("Recovered") : name;
    }
    std::string readMaterialName(const F_FoundChunk& chunk) {
        CString name;
        readChunk(&chunk, true, [&](F_MemoryFile& file) {
            F_MemoryFile::Chunk opened;
            file.openChunk(opened, 0);
            opened.getMemoryFile() >> name;
        });
        return chunk.isWhole() ? name.str() : readableName(name);
    }

    void readLightmaps() {
        const F_FoundChunk* const chunk = find(LevelPart::LIGHTMAPS);
        CN_LightmapPoolInterface& pool = *m_document.accessLightmaps();
        if (chunk && chunk->isWhole() && readChunk(chunk, false, [&](F_MemoryFile& file) { pool.load(file); }))
            return;
        if (!chunk && readBareLightmaps(pool))
            return;
        auto* const made = dynamic_cast<CN_LightmapPool*>(&pool);
        std::size_t count = 0, taken = 0;
        readChunk(made ? chunk : nullptr, true, [&](F_MemoryFile& file) {
            F_MemoryFile::Chunk opened;
            file.openChunk(opened, 0);
            F_MemoryFile& in = opened.getMemoryFile();
            count = in.readCount(1);
            for (; taken < count; ++taken)
                readLightmap(*made, in);
        });
        loseSection(LevelPart::LIGHTMAPS,
                    taken > 0 ? fmt::format("{} lightmaps of {} were read, of which one may be wrong", taken, count)
                              : "there are no lightmaps");
    }
    /// Throws where none can be read.
    static void readLightmap(CN_LightmapPool& pool, F_MemoryFile& file) {
        unsigned long id = 0;
        file >> id;
        CN_Lightmap* const lightmap = pool.allocateNew(id);
        try {
            lightmap->load(file);
        } catch (...) {
            pool.deleteLightmap(id);
            throw;
        }
    }
    /// Older files have them bare, between the materials and the preferences.
    bool readBareLightmaps(CN_LightmapPoolInterface& pool) {
        for (std::size_t i = 1; i < m_remains.sections.size(); ++i) {
            if (m_remains.sections[i].part != LevelPart::PREFERENCES)
                continue;
            const std::size_t end = m_remains.sections[i].chunk.offset;
            const std::size_t begin =
                m_remains.sections[i - 1].chunk.end + (m_remains.sections[i - 1].part == LevelPart::TEXTURES ? 4 : 0);
            return begin < end && readsWhole(m_bytes.subspan(begin, end - begin), [&pool](F_MemoryFile& file) {
                       pool.load(file);
                       return true;
                   });
        }
        return false;
    }

    void readPreferences() {
        if (!readChunk(find(LevelPart::PREFERENCES), false,
                       [this](F_MemoryFile& file) { m_document.accessPreferences().loadDocumentPreferences(file); }))
            loseSection(LevelPart::PREFERENCES, "the defaults are taken");
        m_document.accessPreferences().repairNumbers();
    }

    void reportStrays() {
        for (const SectionRemains& section : m_remains.sections)
            if (section.part == LevelPart::UNKNOWN)
                lose(section.chunk, "", "a record of a thing whose beginning is lost");
    }

    void readSelection(EntitySalvage& entities) {
        const auto& chunk = m_remains.selection;
        std::vector<unsigned int> numbers;
        const bool isRead = readChunk(chunk ? &*chunk : nullptr, false, [&](F_MemoryFile& file) {
            F_MemoryFile::Chunk opened;
            file.openChunk(opened, 0);
            F_MemoryFile& in = opened.getMemoryFile();
            unsigned char hasNumbers = 0, withChildren = 0;
            in >> hasNumbers;
            if (hasNumbers == 1)
                numbers.resize(in.readTaggedCount(F_MemoryFile::TAG_VECTOR, sizeof(unsigned int)));
            for (unsigned int& number : numbers)
                in >> number;
            in >> withChildren;
            m_document.setAutoSelectChildren(withChildren == 1);
        });
        if (!isRead)
            return chunk ? lose(*chunk, "selection", "the section is damaged: nothing is selected") : void();
        const std::vector<CN_LevelEntity*> selected = entities.findNumbered(numbers);
        for (CN_LevelEntity* const entity : selected)
            m_document.accessSelection()->add(entity);
        if (selected.size() < numbers.size())
            lose(*chunk, "selection",
                 fmt::format("{} of {} selected entities are lost", numbers.size() - selected.size(), numbers.size()));
    }

    /// Stands bare behind the selection.
    void readCamera() {
        CN_Camera& camera = *m_document.accessCNCamera();
        const std::size_t begin = m_remains.groups       ? m_remains.groups->offset - CAMERA
                                  : m_remains.selection  ? m_remains.selection->end
                                  : m_remains.hasTreeEnd ? m_remains.treeEnd + 4 + 1
                                                         : m_bytes.size();
        const bool isApart = !m_remains.selection || m_remains.selection->state == State::HEADER_DAMAGED ||
                             m_remains.selection->end == begin;
        const bool isRead = isApart && begin <= m_bytes.size() && m_bytes.size() - begin >= CAMERA && succeeds([&] {
                                F_MemoryFile file(m_bytes.data() + begin, CAMERA, false);
                                camera.load(file);
                            });
        if (isRead && camera.isFinite())
            return;
        camera.reset();
        const std::size_t at = std::min(begin, m_bytes.size());
        m_lost.push_back({at, std::min(CAMERA, m_bytes.size() - at), "camera", "it stands where a new one does"});
    }

    void readGroups() {
        const auto& chunk = m_remains.groups;
        const bool isRead = readChunk(chunk ? &*chunk : nullptr, false, [this](F_MemoryFile& file) {
            F_MemoryFile::Chunk opened;
            file.openChunk(opened, 0);
            F_MemoryFile& in = opened.getMemoryFile();
            istring name;
            for (std::size_t left = in.readCount(sizeof(unsigned int)); left > 0; --left) {
                in >> name;
                m_document.accessAICharacterGroups().emplace(name, 0);
            }
        });
        if (!isRead && chunk)
            lose(*chunk, "group names", "the section is damaged: those that enemies name are kept");
    }

    void reportBehind() {
        if (!m_remains.groups || !m_remains.groups->isWhole())
            return;
        const std::size_t end = m_remains.groups->end, left = m_bytes.size() - end;
        if (left != 0 && left != CN_LevelFile::SEAL_SIZE)
            m_lost.push_back({end, left, "seal", "what stands behind the last section is no seal"});
    }

    Bytes m_bytes;
    LevelRemains m_remains;
    CN_Document& m_document;
    std::vector<LostPart> m_lost;
};

/// True where the bytes from `end` on are none or the seal of those before.
bool isSealRight(Bytes bytes, std::size_t end) {
    if (end == bytes.size())
        return true;
    F_MemoryFile sealed(static_cast<unsigned int>(bytes.size()));
    append(sealed, bytes.first(end));
    CN_LevelFile::seal(sealed);
    const Bytes right = viewOf(sealed);
    return std::equal(right.begin(), right.end(), bytes.begin(), bytes.end());
}

std::size_t countEntities(CN_Document& document) {
    std::size_t count = 1;
    CN_PreIterator it = document.accessLevel()->createIterator();
    for (it.begin(); !it.end(); ++it)
        ++count;
    return count;
}

/// True where the level loads as it is; else `fault` says why not.
bool loadWhole(Bytes bytes, Salvage& salvage, std::string& fault) {
    F_MemoryFile file(bytes.data(), bytes.size(), false);
    if (!succeeds([&] { salvage.document->load(file); }, &fault))
        return false;
    salvage.kept = countEntities(*salvage.document);
    for (const CN_LoadFinding& finding : salvage.document->getLoadReport().getFindings())
        if (finding.code == "repaired" || finding.code == "fsm-default-state" || finding.code == "newer-data")
            salvage.lost.push_back({0, bytes.size(), finding.entity, finding.text});
    const std::size_t end = file.getPosition();
    if (!isSealRight(bytes, end))
        salvage.lost.push_back(
            {end, bytes.size() - end, "seal",
             "it is not that of the bytes before: one of them that no other checksum covers may be wrong"});
    return true;
}

} // namespace

Salvage salvageLevel(std::span<const unsigned char> bytes, const DocumentMaker& makeDocument) {
    Salvage salvage;
    salvage.document = makeDocument();
    std::string fault;
    if (loadWhole(bytes, salvage, fault))
        return salvage;
    salvage.document = makeDocument();
    LevelSalvage salvaging(bytes, *salvage.document);
    if (!salvaging.hasAnything()) {
        salvage.document.reset();
        return salvage;
    }
    salvaging.run(salvage);
    if (salvage.lost.empty())
        salvage.lost.push_back({0, bytes.size(), "", "something is damaged that is not missed: " + fault});
    // Once saved and loaded it is what everybody will load.
    F_MemoryFile saved;
    salvage.document->save(saved);
    saved.toRead();
    salvage.document = makeDocument();
    salvage.document->load(saved);
    return salvage;
}

} // namespace cairn::host
