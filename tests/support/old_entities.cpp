#include "tests/support/old_entities.h"

#include "cairn/foundation/memory_file.h"

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

} // namespace cairn::test
