#include "tests/support/old_mesh_entities.h"

#include "cairn/entities/ui_sphere_entity.h"
#include "cairn/foundation/memory_file.h"
#include "tests/support/old_entities.h"

namespace cairn::test {

namespace {

void writeBareMeshProperties(F_MemoryFile& file, int meshVersion) {
    constexpr bool COLLIDE = false, LIT = true, FLAG = true, NO_FLAG_D = false;
    if (meshVersion > 1)
        file << COLLIDE;
    file << LIT;
    if (meshVersion > 1)
        file << FLAG << FLAG << COLLIDE << FLAG << COLLIDE << NO_FLAG_D;
    if (meshVersion > 3)
        file << FLAG << FLAG;
    if (meshVersion > 4)
        file << "second";
}

} // namespace

void writeOldMeshProperties(F_MemoryFile& file, int meshVersion, int version) {
    if (meshVersion <= 5)
        return writeBareMeshProperties(file, meshVersion);
    file.createChunk(0, version);
    writeBareMeshProperties(file, meshVersion);
    if (version > 1)
        file << true;
    if (version > 2)
        file << true;
    if (version > 3)
        file << "stone";
    if (version > 4)
        file << true;
    if (version > 5)
        file << true;
    file.closeChunk();
}

void writeOldTriggerProperties(F_MemoryFile& file, int version) {
    file.createChunk(0, version);
    file << true << false << true << false << true;
    if (version > 2)
        file << true;
    if (version > 1)
        file << "Pull";
    file.closeChunk();
}

void writeOldPortal(F_MemoryFile& file, int version, unsigned int polygon) {
    file.createChunk(0, version);
    file << polygon;
    if (version > 1)
        file << true;
    if (version > 2)
        file << true;
    file.closeChunk();
}

void writeOldPolygonGroup(F_MemoryFile& file, int version, const std::vector<unsigned int>& polygons) {
    file.createChunk(0, version);
    file.writeCount(polygons.size());
    for (const unsigned int polygon : polygons)
        file << polygon;
    file << true << true << 30.0f << 0.5f << true;
    if (version > 1)
        file << true;
    file.closeChunk();
}

void writeOwnRecordOfNew(F_MemoryFile& file, int kind) {
    const auto writeProperties = [&file] {
        file.createChunk(0, 6);
        file << true << false << false << false << true << false << true << true << false << false;
        file << "" << false << false << "" << false << false;
        file.closeChunk();
    };
    switch (kind) {
    case CN_KIND_MESH:
        file.createChunk(1, 0);
        file.createChunk(0, 9);
        file << false << 0u << 0u << false;
        writeProperties();
        file << false;
        file.closeChunk();
        file << false;
        file.closeChunk();
        break;
    case CN_KIND_TRIGGER:
        writeSphere(file, "", 0.5);
        writeOldTriggerProperties(file, 3);
        break;
    case CN_KIND_ENEMY:
        writeOldEnemy(file, 2, "", "Default");
        break;
    case CN_KIND_PLAYER:
        writeOldPlayer(file, "PLAYER_GROUP");
        break;
    case CN_KIND_FSM:
        writeOldFSMEntity(file, CN_SMALL_SPHERE_RADIUS);
        break;
    case CN_KIND_PREFAB:
        writeOldPrefab(file, 3, "", true, 0.25);
        break;
    case CN_KIND_TRIMESH:
        file.createChunk(0, 3);
        writeProperties();
        file << ""
             << "" << false << 0u << 0u << 0xFFFFFFFFul;
        file.closeChunk();
        break;
    default:
        break;
    }
}

} // namespace cairn::test
