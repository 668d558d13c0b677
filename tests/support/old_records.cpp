#include "tests/support/old_records.h"

#include "cairn/foundation/memory_file.h"
#include "tests/support/old_materials.h"
#include "tests/support/old_mesh_entities.h"
#include "tests/support/test_data.h"

#include <limits>
#include <utility>

namespace cairn::test {

namespace {

void writeVersion(F_MemoryFile& file, const OldLevel& level) {
    if (level.versionChunk)
        file.createChunk(0, 1);
    file << level.sentinel << level.formatVersion;
    if (level.versionChunk) {
        file << level.build;
        file.closeChunk();
    }
}

void writeNoTextures(F_MemoryFile& file) {
    file.createChunk(0, 1);
    file << 0u;
    file.closeChunk();
}

void writeNoMaterials(F_MemoryFile& file) { file << 0u; }

void writeNoLightmaps(F_MemoryFile& file, bool chunk) {
    if (!chunk) {
        file << 0;
        return;
    }
    file.createChunk(0, 1);
    file << 0;
    file.createChunk(0, 1);
    file << 100.0f << 10.0f << 200.0f << 0.5f;
    file.closeChunk();
    file.closeChunk();
}

void writeNumbers(F_MemoryFile& file, const std::vector<unsigned int>& numbers) {
    file.writeTaggedCount(F_MemoryFile::TAG_VECTOR, numbers.size());
    for (const unsigned int number : numbers)
        file << number;
}

void writeSelection(F_MemoryFile& file, const OldLevel& level) {
    constexpr unsigned char NOTHING = 0, BARE = 1, CHUNK = 2;
    switch (level.selection) {
    case OldLevel::Selection::NOTHING:
        file << NOTHING;
        return;
    case OldLevel::Selection::BARE:
        file << BARE;
        writeNumbers(file, level.selected);
        return;
    case OldLevel::Selection::CHUNK:
        file << CHUNK;
        file.createChunk(0, 1);
        file << static_cast<unsigned char>(level.selected.empty() ? 0 : 1);
        if (!level.selected.empty())
            writeNumbers(file, level.selected);
        file << static_cast<unsigned char>(1);
        file.closeChunk();
    }
}

void writeCamera(F_MemoryFile& file) {
    file << M_Vector3Template<double>(1, 2, 3) << M_Vector3Template<float>(0.5f, 0.25f, 0.0f) << 2.0;
}

void writeGroupNames(F_MemoryFile& file, const std::vector<std::string>& groups) {
    file.createChunk(0, 1);
    file.writeCount(groups.size());
    for (const std::string& group : groups)
        file << group;
    file.closeChunk();
}

/// The kinds whose own record stands now, each once, in common records of `version`.
OldEntity treeOfVersion(int version) {
    OldEntity root{.kind = CN_KIND_LEVEL, .name = "World_Group", .version = version, .identity = 1};
    root.children = {
        {.kind = CN_KIND_WAYPOINT, .name = "Way", .identity = 2, .position = {1, 2, 3}, .boundingRadius = 0.5},
        {.kind = CN_KIND_JUMPPOINT,
         .name = "Jump",
         .identity = 3,
         .rotation = M_Matrix3Template<double>::rotationY(0.5),
         .boundingRadius = 0.5,
         .visible = false,
         .exportRegrouping = true,
         .critical = false},
        {.kind = CN_KIND_AI_NODE, .name = "Node", .identity = 4, .boundingRadius = 0.5, .excluded = true},
        {.kind = CN_KIND_DYN_POINTLIGHT,
         .name = "Light",
         .identity = 5,
         .boundingRadius = 0.5,
         .reserved = true,
         .ownRecord = dynPointlightRecord(0.5)},
        {.kind = CN_KIND_VOL_LIGHTING_BOX,
         .name = "Box",
         .identity = 6,
         .ownRecord = volLightingBoxRecord(4, 2),
         .children = {{.kind = CN_KIND_VOL_LIGHTING_BOX,
                       .name = "Inner",
                       .version = version,
                       .identity = 7,
                       .position = {1, 0, 0},
                       .ownRecord = volLightingBoxRecord(1, 1)}}},
    };
    for (OldEntity& child : root.children)
        child.version = version;
    return root;
}

} // namespace

void writeOldPreferences(F_MemoryFile& file, int version, const OldPreferences& p) {
    file.createChunk(0, version);
    file << 9u << p.backplane << 0.5 << 60.0 << false << 2 << 4u << p.angleSnap;
    if (version > 4)
        file << p.angleSteps;
    if (version <= 5)
        file << true;
    file << "0.5;1;2" << 64u << 4.0 << false;
    if (version <= 1)
        file << true;
    file << 128u;
    if (version <= 1)
        file << 1u << 2u << 3.0;
    file << 50.0 << 0x102030ul << p.lightIntensity << 10.0f << 1.0f;
    if (version > 2)
        file << p.ignorePortals;
    if (version > 3)
        file << p.exportParams;
    if (version > 5)
        writeColor(file, p.background);
    file.closeChunk();
}

void writeOldEntity(F_MemoryFile& file, const OldEntity& entity) {
    constexpr double MOST = std::numeric_limits<double>::max();
    file << entity.kind;
    file.createChunk(0, entity.version);
    if (entity.version > 1)
        file << entity.identity;
    file << entity.position << entity.rotation;
    file << M_Vector3Template<double>(MOST, MOST, MOST) << M_Vector3Template<double>(-MOST, -MOST, -MOST);
    file << entity.boundingRadius << entity.visible << entity.excluded << entity.reserved;
    if (entity.version > 2)
        file << entity.exportRegrouping;
    if (entity.version > 3)
        file << entity.critical;
    file << entity.name << false;
    file.closeChunk();
    if (entity.ownRecord)
        entity.ownRecord(file);
    else
        writeOwnRecordOfNew(file, entity.kind);
    file.writeCount(entity.children.size());
    for (const OldEntity& child : entity.children)
        writeOldEntity(file, child);
}

Bytes makeLevel(const OldLevel& level) {
    F_MemoryFile file;
    writeVersion(file, level);
    level.textures ? level.textures(file) : writeNoTextures(file);
    level.materials ? level.materials(file) : writeNoMaterials(file);
    writeNoLightmaps(file, level.lightmapChunk);
    writeOldPreferences(file, level.preferencesVersion);
    writeOldEntity(file, level.root);
    writeSelection(file, level);
    writeCamera(file);
    if (level.groupNames)
        writeGroupNames(file, level.groups);
    const auto* bytes = static_cast<const unsigned char*>(file.getAddress());
    return {bytes, bytes + file.getSize()};
}

std::function<void(F_MemoryFile&)> dynPointlightRecord(double radius) {
    return [radius](F_MemoryFile& file) {
        file.createChunk(0, 1);
        file << "Pointlight" << radius;
        file.closeChunk();
        file.createChunk(0, 1);
        file << 255.0f << 128.0f << 0.0f << 255.0f << 2.0f << 20.0f;
        file.closeChunk();
    };
}

std::function<void(F_MemoryFile&)> volLightingBoxRecord(double size, int resolution) {
    return [size, resolution](F_MemoryFile& file) {
        file.createChunk(0, 1);
        file << M_Vector3Template<double>(size, size, size) << resolution;
        file.closeChunk();
    };
}

std::vector<StoredRecord> storedRecords() {
    const OldLevel newest{
        .root = treeOfVersion(CAIRN_LVL_ENTITY_VERSION), .selected = {2, 5}, .groups = {"", "guards", "PLAYER_GROUP"}};
    std::vector<StoredRecord> records{{"newest", newest}};
    const auto add = [&](const std::string& name, auto&& change) {
        records.push_back({name, newest});
        change(records.back().level);
    };
    add("version_bare", [](OldLevel& level) { level.versionChunk = false; });
    add("lightmap_pool_bare", [](OldLevel& level) { level.lightmapChunk = false; });
    for (int version = 1; version < CAIRN_DOC_PREFERENCES_VERSION; ++version)
        add("preferences_" + std::to_string(version),
            [version](OldLevel& level) { level.preferencesVersion = version; });
    for (int version = 1; version < CAIRN_LVL_ENTITY_VERSION; ++version)
        add("entity_" + std::to_string(version), [version](OldLevel& level) { level.root = treeOfVersion(version); });
    add("selection_bare", [](OldLevel& level) { level.selection = OldLevel::Selection::BARE; });
    add("selection_nothing", [](OldLevel& level) { level.selection = OldLevel::Selection::NOTHING; });
    add("group_names_missing", [](OldLevel& level) { level.groupNames = false; });
    for (StoredRecord& record : storedMaterialRecords(newest))
        records.push_back(std::move(record));
    return records;
}

std::filesystem::path storedRecordPath(const std::string& name) {
    return projectFile("tests/data/records/" + name + ".cairn");
}

} // namespace cairn::test
