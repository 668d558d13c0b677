#include "tests/support/old_entities.h"

#include "cairn/foundation/memory_file.h"
#include "tests/support/level_bytes.h"
#include "tests/support/test_data.h"

namespace cairn::test {

void writeSphere(F_MemoryFile& file, const std::string& sharedDBName, double radius) {
    file.createChunk(0, 1);
    file << sharedDBName << radius;
    file.closeChunk();
}

void writeOldEnemy(F_MemoryFile& file, int version, const std::string& group, const std::string& animation) {
    writeSphere(file, "Brute", 2);
    if (version == 0)
        return;
    file.createChunk(0, version);
    file << group;
    if (version > 1)
        file << animation;
    file.closeChunk();
}

void writeOldPlayer(F_MemoryFile& file, const std::string& group) {
    file.createChunk(0, 1);
    file << group;
    file.closeChunk();
}

void writeOldFSMEntity(F_MemoryFile& file, double radius) {
    file.createChunk(0, 1);
    file << radius;
    file.closeChunk();
}

void writeOldPrefab(F_MemoryFile& file, int version, const std::string& type, bool editable, double radius) {
    file.createChunk(0, version);
    file << type << editable << radius;
    file.closeChunk();
}

void writeOldPrefabContent(F_MemoryFile& file) {
    file.createChunk(0, 1);
    file << 7;
    file.closeChunk();
}

std::filesystem::path StoredEntity::path() const { return projectFile("tests/data/records/" + name + ".record"); }

std::vector<StoredEntity> storedEntities() {
    std::vector<StoredEntity> stored;
    const auto add = [&](const std::string& name, int kind, auto&& write) {
        F_MemoryFile file;
        write(file);
        stored.push_back({name, kind, bytesOf(file)});
    };
    add("enemy_bare", CN_KIND_ENEMY, [](F_MemoryFile& file) { writeOldEnemy(file, 0, "", ""); });
    for (const int version : {1, 2})
        add("enemy_" + std::to_string(version), CN_KIND_ENEMY,
            [version](F_MemoryFile& file) { writeOldEnemy(file, version, "Guards", "Wave"); });
    add("player_1", CN_KIND_PLAYER, [](F_MemoryFile& file) { writeOldPlayer(file, "Guards"); });
    add("fsm_entity_1", CN_KIND_FSM, [](F_MemoryFile& file) { writeOldFSMEntity(file, 2); });
    for (const int version : {2, 3})
        add("prefab_" + std::to_string(version), CN_KIND_PREFAB,
            [version](F_MemoryFile& file) { writeOldPrefab(file, version, "Crane", false, 3); });
    add("prefab_content_1", CN_KIND_PREFAB_CONTENT, writeOldPrefabContent);
    return stored;
}

} // namespace cairn::test
