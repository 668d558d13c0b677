#pragma once

#include "cairn/document/preferences.h"
#include "cairn/entities/level_entity.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// Writers of level files as older versions wrote them, which no save makes any more.
namespace cairn::test {

using Bytes = std::vector<unsigned char>;

/// An entity as it shall stand in a file, its children included.
struct OldEntity {
    int kind = CN_KIND_WAYPOINT;
    std::string name = {};
    int version = CAIRN_LVL_ENTITY_VERSION; ///< of the common record
    unsigned long identity = 0;             ///< stored above version 1
    M_Vector3Template<double> position = {};
    M_Matrix3Template<double> rotation = {};
    double boundingRadius = 0;
    bool visible = true, excluded = false, reserved = false;
    bool exportRegrouping = false;                     ///< stored above version 2
    bool critical = true;                              ///< stored above version 3
    std::function<void(F_MemoryFile&)> ownRecord = {}; ///< the kind's record; else a new one's
    std::vector<OldEntity> children = {};
};

/// A level file as it shall be.
struct OldLevel {
    enum class Selection {
        CHUNK,   ///< the newest form
        NOTHING, ///< marker 0 and nothing more
        BARE     ///< another marker and the numbers without a chunk
    };

    bool versionChunk = true; ///< else sentinel and format version stand bare
    std::string sentinel = "CAIRN1.1";
    int formatVersion = 3;
    std::string build = "Build 25";
    std::function<void(F_MemoryFile&)> textures = {};  ///< the section of the textures; none where it is empty
    std::function<void(F_MemoryFile&)> materials = {}; ///< likewise
    bool lightmapChunk = true;                         ///< else the count stands bare, and no curve
    int preferencesVersion = CAIRN_DOC_PREFERENCES_VERSION;
    OldEntity root = {.kind = CN_KIND_LEVEL, .name = "World_Group"};
    Selection selection = Selection::CHUNK;
    std::vector<unsigned int> selected = {};
    bool groupNames = true; ///< else the file ends before them
    std::vector<std::string> groups = {"", "PLAYER_GROUP"};
};

/// The numbers in `writeOldPreferences`' record that are not the defaults.
struct OldPreferences {
    double backplane = 500;
    double angleSnap = 7.5;
    std::string angleSteps = "1;7.5";               ///< stored above version 4
    bool ignorePortals = true;                      ///< stored above version 2
    std::string exportParams = "-fast  -out level"; ///< stored above version 3
    I_Color background = I_Color(1, 2, 3, 4);       ///< stored above version 5
    float lightIntensity = 50;
};

void writeOldPreferences(F_MemoryFile& file, int version, const OldPreferences& preferences = {});
/// The id and the complete record of the entity, its children's included.
void writeOldEntity(F_MemoryFile& file, const OldEntity& entity);
/// A whole level file.
Bytes makeLevel(const OldLevel& level);

/// The own records of kinds, for `OldEntity::ownRecord`.
std::function<void(F_MemoryFile&)> dynPointlightRecord(double radius);
std::function<void(F_MemoryFile&)> volLightingBoxRecord(double size, int resolution);

/// An old form of which one file is stored in tests/data/records.
struct StoredRecord {
    std::string name; ///< of the file, without its ending
    OldLevel level;
};

/// Every stored form, the newest one included.
std::vector<StoredRecord> storedRecords();
std::filesystem::path storedRecordPath(const std::string& name);

} // namespace cairn::test
