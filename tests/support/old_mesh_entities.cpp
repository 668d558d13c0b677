#include "tests/support/old_mesh_entities.h"

#include "cairn/entities/ui_sphere_entity.h"
#include "cairn/foundation/memory_file.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_entities.h"
#include "tests/support/test_data.h"

#include <functional>

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

void writeVertex(F_MemoryFile& file, const M_Vector3Template<double>& position) {
    file.createChunk(0, 1);
    file << position << M_Vector3Template<double>(7, 8, 9);
    for (const int channel : {3, 2, 1})
        file << static_cast<unsigned char>(channel);
    file << M_Vector2Template<double>(0.5, 0.25);
    file.closeChunk();
}

void writeTriangle(F_MemoryFile& file, int version) {
    file.createChunk(0, version);
    file << 0 << 1 << 2;
    if (version <= 1)
        for (int i = 0; i < 6; ++i)
            file << 77;
    for (const float corner : {1.0f, 2.0f, 3.0f})
        file << M_Vector2Template<float>(corner, -corner);
    file << "Old"
         << "Stone" << 42;
    file.closeChunk();
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

void writeOldTriMesh(F_MemoryFile& file, int version, int triangleVersion) {
    file.createChunk(0, version);
    file.createChunk(0, 6);
    const bool COLLIDE_A = false, COLLIDE_B = true, COLLIDE_C = true;
    file << COLLIDE_C << false << false << false << COLLIDE_B << false << COLLIDE_A << true << false << false;
    file << "" << false << false << "stone" << false << false;
    file.closeChunk();
    file << "object"
         << "file.max" << false;
    file << 4u;
    for (const M_Vector3Template<double>& position : {M_Vector3Template<double>(), {0, 0, 1}, {1, 0, 0}, {0, 3, 4}})
        writeVertex(file, position);
    file << 1u;
    writeTriangle(file, triangleVersion);
    file << 9ul;
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

std::vector<StoredMeshEntity> storedMeshEntities(const std::string& record) {
    std::vector<StoredMeshEntity> stored;
    const auto add = [&](int first, int last, const std::function<void(F_MemoryFile&, int)>& write) {
        for (int version = first; version <= last; ++version) {
            F_MemoryFile file;
            write(file, version);
            const std::string number = version < 0 ? "bare_" + std::to_string(-version) : std::to_string(version);
            stored.push_back({record + "_" + number, version, bytesOf(file)});
        }
    };
    if (record == "mesh_properties") {
        add(-5, -1, [](F_MemoryFile& file, int version) { writeOldMeshProperties(file, -version, 0); });
        add(1, 6, [](F_MemoryFile& file, int version) { writeOldMeshProperties(file, 9, version); });
    } else if (record == "trigger") {
        add(1, 3, writeOldTriggerProperties);
    } else if (record == "portal") {
        add(1, 3, [](F_MemoryFile& file, int version) { writeOldPortal(file, version, 1); });
    } else if (record == "polygroup") {
        add(1, 2, [](F_MemoryFile& file, int version) { writeOldPolygonGroup(file, version, {2, 0}); });
    } else if (record == "trimesh") {
        add(1, 3, [](F_MemoryFile& file, int version) { writeOldTriMesh(file, version, 2); });
    } else if (record == "tmtriangle") {
        add(1, 1, [](F_MemoryFile& file, int version) { writeOldTriMesh(file, 3, version); });
    }
    return stored;
}

std::filesystem::path storedMeshEntityPath(const std::string& name) {
    return projectFile("tests/data/records/" + name + ".record");
}

} // namespace cairn::test
