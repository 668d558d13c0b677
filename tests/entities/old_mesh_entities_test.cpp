#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/entities/trigger.h"
#include "cairn/foundation/file.h"
#include "cairn/lighting/volume_lighting.h"
#include "tests/entities/entity_tree.h"
#include "tests/support/hostile_bytes.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_lighting.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/sample_mesh.h"
#include "tests/support/test_data.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace cairn {
namespace {

using test::Bytes;

/// A form of which one file is stored in tests/data/records.
struct StoredForm {
    std::string name; ///< of the file, without its ending
    int version;
    Bytes bytes;
};

/// The forms of one record, by version.
std::vector<StoredForm> storedForms(const std::string& record, int first, int last) {
    std::vector<StoredForm> forms;
    for (int version = first; version <= last; ++version) {
        const std::string name = record + "_" + std::to_string(version);
        const std::filesystem::path file = test::projectFile("tests/data/records/" + name + ".record");
        forms.push_back({name, version, F_File::readAll(file.string())});
    }
    return forms;
}

/// Hands a reading file over the bytes to `read`.
template <class Read> void readFrom(const Bytes& bytes, Read&& read) {
    F_MemoryFile file(bytes.data(), bytes.size(), false);
    read(file);
    EXPECT_EQ(file.getRemaining(), 0u);
}

template <class Write> Bytes written(Write&& write) {
    F_MemoryFile file;
    write(file);
    return test::bytesOf(file);
}

TEST(OldMeshEntities, SettingsKeepDefaultsForWhatAVersionLacks) {
    const auto expectMesh = [](const StoredForm& stored, int meshVersion, int version) {
        SCOPED_TRACE(stored.name);
        CN_MeshProperties expected;
        expected.lightDynamic = true;
        if (meshVersion > 1) {
            expected.collideA = expected.collideB = expected.collideC = expected.meshFlagD = false;
            expected.meshFlagA = expected.meshFlagB = expected.meshFlagC = true;
        }
        expected.meshFlagE = expected.meshFlagF = meshVersion > 3;
        expected.secondaryName = meshVersion > 4 ? "second" : "";
        expected.meshFlagG = version > 1;
        expected.meshFlagH = version > 2;
        expected.physicalMaterial = version > 3 ? "stone" : "";
        expected.meshFlagI = version > 4;
        expected.setBoundingBoxHull(version > 5);
        CN_MeshProperties properties, again;
        properties.meshFlagG = properties.meshFlagI = true; // what a version lacks is its default, not what was there
        readFrom(stored.bytes, [&](F_MemoryFile& file) { properties.load(file, meshVersion); });
        EXPECT_EQ(properties, expected);
        readFrom(written([&](F_MemoryFile& file) { properties.save(file); }),
                 [&](F_MemoryFile& file) { again.load(file, 9); });
        EXPECT_EQ(again, expected);
    };
    for (const StoredForm& stored : storedForms("mesh_properties_bare", 1, 5))
        expectMesh(stored, stored.version, 0);
    for (const StoredForm& stored : storedForms("mesh_properties", 1, 6))
        expectMesh(stored, 9, stored.version);
    for (const StoredForm& stored : storedForms("trigger", 1, 3)) {
        SCOPED_TRACE(stored.name);
        CN_TriggerProperties expected;
        expected.playerTrigger = expected.enemyTrigger = expected.lookAtTrigger = true;
        expected.visibilityTrigger = stored.version > 2;
        expected.animationName = stored.version > 1 ? "Pull" : "Default";
        CN_TriggerProperties properties, again;
        readFrom(stored.bytes, [&](F_MemoryFile& file) { properties.load(file); });
        EXPECT_EQ(properties, expected);
        readFrom(written([&](F_MemoryFile& file) { properties.save(file); }),
                 [&](F_MemoryFile& file) { again.load(file); });
        EXPECT_EQ(again, expected);
    }
}

/// A chunk of `count` flags of which the one of number `set` alone is true; `writeAhead` gets the number of each flag and
/// that of the end, to write what stands ahead of it.
template <class WriteAhead> Bytes chunkOfFlags(int version, int count, int set, WriteAhead&& writeAhead) {
    return written([&](F_MemoryFile& file) {
        file.createChunk(0, version);
        for (int i = 0; i < count; ++i) {
            writeAhead(file, i);
            file << (i == set);
        }
        writeAhead(file, count);
        file.closeChunk();
    });
}

/// Settings with all flags but the one of number `set` off; null stands for a flag that is no public member.
template <class Settings> Settings withOneFlag(std::span<bool Settings::*const> flags, int set) {
    Settings settings;
    for (int i = 0; bool Settings::*const flag : flags) {
        if (flag)
            settings.*flag = i == set;
        ++i;
    }
    return settings;
}

/// Expects that the bytes are read as the settings, and that those are written as the bytes.
template <class Settings, class... Version>
void expectRecord(const Bytes& bytes, const Settings& expected, Version... version) {
    Settings read;
    readFrom(bytes, [&](F_MemoryFile& file) { read.load(file, version...); });
    EXPECT_EQ(read, expected);
    EXPECT_EQ(written([&](F_MemoryFile& file) { read.save(file); }), bytes);
}

TEST(OldMeshEntities, EachFlagHasAPlaceOfItsOwn) {
    using Mesh = CN_MeshProperties;
    bool Mesh::*const meshFlags[] = {
        &Mesh::collideC,  &Mesh::lightDynamic, &Mesh::meshFlagA, &Mesh::meshFlagB, &Mesh::collideB,
        &Mesh::meshFlagC, &Mesh::collideA,     &Mesh::meshFlagD, &Mesh::meshFlagE, &Mesh::meshFlagF,
        &Mesh::meshFlagG, &Mesh::meshFlagH,    &Mesh::meshFlagI, nullptr};
    for (int set = 0; set < 14; ++set) {
        SCOPED_TRACE(set);
        auto expected = withOneFlag<Mesh>(meshFlags, set);
        expected.setBoundingBoxHull(set == 13);
        expected.secondaryName = "second";
        expected.physicalMaterial = "stone";
        const Bytes record = chunkOfFlags(6, 14, set, [](F_MemoryFile& file, int at) {
            if (at == 10 || at == 12)
                file << (at == 10 ? "second" : "stone");
        });
        expectRecord(record, expected, 9);
    }
    using Trigger = CN_TriggerProperties;
    bool Trigger::*const triggerFlags[] = {&Trigger::playerTrigger, &Trigger::useTrigger,
                                           &Trigger::enemyTrigger,  &Trigger::bulletTrigger,
                                           &Trigger::lookAtTrigger, &Trigger::visibilityTrigger};
    for (int set = 0; set < 6; ++set) {
        SCOPED_TRACE(set);
        auto expected = withOneFlag<Trigger>(triggerFlags, set);
        expected.animationName = "Pull";
        const Bytes record = chunkOfFlags(3, 6, set, [](F_MemoryFile& file, int at) {
            if (at == 6)
                file << "Pull";
        });
        expectRecord(record, expected);
    }
    using Group = CN_PolygroupProperties;
    bool Group::*const groupFlags[] = {&Group::smooth, &Group::smoothGeometry, &Group::freezeLightmaps,
                                       &Group::extraFlag};
    for (int set = 0; set < 4; ++set) {
        SCOPED_TRACE(set);
        auto expected = withOneFlag<Group>(groupFlags, set);
        expected.maxAngle = 30;
        expected.edgeLengthLimit = 0.5f;
        const Bytes record = chunkOfFlags(2, 4, set, [](F_MemoryFile& file, int at) {
            if (at == 0)
                file << 0u;
            if (at == 2)
                file << 30.0f << 0.5f;
        });
        CN_LevelEntityMesh mesh;
        auto* const group = new CN_LevelEntityPolygonGroup;
        mesh.add(group, false);
        readFrom(record, [&](F_MemoryFile& file) { group->loadEntitySpecificData(file); });
        EXPECT_EQ(group->getPolygroupProperties(), expected);
        EXPECT_EQ(written([&](F_MemoryFile& file) { group->saveEntitySpecificData(file); }), record);
    }
}

TEST(OldMeshEntities, PortalsAndGroupsKeepDefaultsForWhatAVersionLacks) {
    CN_LevelEntityMesh mesh;
    test::addTriangles(mesh, 3);
    for (const StoredForm& stored : storedForms("portal", 1, 3)) {
        SCOPED_TRACE(stored.name);
        const Bytes newest = written([&](F_MemoryFile& file) {
            file.createChunk(0, 3);
            file << 1u << (stored.version > 1) << (stored.version > 2);
            file.closeChunk();
        });
        for (const Bytes& record : {stored.bytes, newest}) {
            auto* const portal = new CN_LevelEntityPortal;
            mesh.add(portal, false);
            readFrom(record, [&](F_MemoryFile& file) { portal->loadEntitySpecificData(file); });
            EXPECT_EQ(portal->getPortalPolygon(), nullptr);
            portal->generatePointersFromPolygonIndices();
            EXPECT_EQ(portal->getPortalPolygon(), &mesh.accessPolygonList()[1]);
            EXPECT_EQ(portal->isIgnoredInGIS(), stored.version > 1);
            EXPECT_EQ(portal->isAlwaysClosed(), stored.version > 2);
            EXPECT_EQ(written([&](F_MemoryFile& file) { portal->saveEntitySpecificData(file); }), newest);
        }
    }
    for (const StoredForm& stored : storedForms("polygroup", 1, 2)) {
        SCOPED_TRACE(stored.name);
        const Bytes newest = written([&](F_MemoryFile& file) {
            file.createChunk(0, 2);
            file << 2u << 0u << 2u << true << true << 30.0f << 0.5f << true << (stored.version > 1);
            file.closeChunk();
        });
        using Indices = std::list<unsigned int>;
        for (const auto& [record, indices] :
             {std::pair(stored.bytes, Indices{2, 0}), std::pair(newest, Indices{0, 2})}) {
            auto* const group = new CN_LevelEntityPolygonGroup;
            mesh.add(group, false);
            readFrom(record, [&](F_MemoryFile& file) { group->loadEntitySpecificData(file); });
            EXPECT_EQ(group->getPolygonIndices(), indices);
            group->generatePointersFromPolygonIndices();
            EXPECT_TRUE(group->getPolygonIndices().empty());
            EXPECT_EQ(group->getSet(), (CN_LevelEntityPolygonGroup::PolygonSet{&mesh.accessPolygonList()[0],
                                                                               &mesh.accessPolygonList()[2]}));
            CN_PolygroupProperties expected;
            expected.smooth = expected.smoothGeometry = expected.freezeLightmaps = true;
            expected.maxAngle = 30;
            expected.edgeLengthLimit = 0.5f;
            expected.extraFlag = stored.version > 1;
            EXPECT_EQ(group->getPolygroupProperties(), expected);
            EXPECT_EQ(written([&](F_MemoryFile& file) { group->saveEntitySpecificData(file); }), newest);
        }
    }
}

TEST(OldMeshEntities, TriangleMeshesOfOldVersionsGetWhatTheirTimeMeant) {
    std::vector<StoredForm> forms = storedForms("trimesh", 1, 3);
    for (const StoredForm& stored : storedForms("tmtriangle", 1, 1)) // triangles of version 1 in a newest mesh
        forms.push_back({stored.name, CAIRN_LVL_ENTITY_TRIMESH_VERSION, stored.bytes});
    for (const StoredForm& stored : forms) {
        SCOPED_TRACE(stored.name);
        CN_LevelEntityTriMesh mesh;
        mesh.accessGeneralProperties().setGameplayCritical(false);
        readFrom(stored.bytes, [&](F_MemoryFile& file) { mesh.loadEntitySpecificData(file); });
        EXPECT_EQ(mesh.getGeneralProperties().isGameplayCritical(), stored.version <= 1);
        EXPECT_EQ(mesh.getMeshProperties().collideC, stored.version > 2);
        EXPECT_EQ(mesh.getMeshProperties().physicalMaterial, "") << "it stands still";
        EXPECT_EQ(mesh.getSourceObjectName(), "object");
        EXPECT_EQ(mesh.getSourceFileName(), "file.obj");
        EXPECT_EQ(mesh.getLightmapID(), 9u);
        ASSERT_EQ(mesh.getVertices().size(), 4u);
        const CN_TMVertex& vertex = mesh.getVertices()[3];
        EXPECT_EQ(vertex.position, (M_Vector3Template<double>(0, 3, 4)));
        EXPECT_EQ(vertex.secondPosition, (M_Vector3Template<double>(7, 8, 9)));
        EXPECT_EQ(Bytes(vertex.color, vertex.color + 4), (Bytes{1, 2, 3, 255}));
        EXPECT_EQ(vertex.uv.y, 0.25);
        ASSERT_EQ(mesh.getTriangles().size(), 1u);
        const CN_TMTriangle& triangle = mesh.getTriangles()[0];
        EXPECT_EQ(triangle.getVertex(2), 2);
        EXPECT_EQ(triangle.getCornerUV(2).x, 3);
        EXPECT_EQ(triangle.getExtraValue(), 42);
        EXPECT_EQ(triangle.getParent(), &mesh);

        const Bytes newest = written([&](F_MemoryFile& file) { mesh.saveEntitySpecificData(file); });
        CN_LevelEntityTriMesh again;
        readFrom(newest, [&](F_MemoryFile& file) { again.loadEntitySpecificData(file); });
        EXPECT_EQ(written([&](F_MemoryFile& file) { again.saveEntitySpecificData(file); }), newest);
    }
}

TEST(OldMeshEntities, ADamagedTriangleMeshIsTakenOrRefused) {
    const auto result =
        test::driveHostileBytes(storedForms("trimesh", 1, 1).front().bytes, [](std::span<const unsigned char> bytes) {
            CN_LevelEntityTriMesh mesh;
            F_MemoryFile file(bytes.data(), bytes.size(), false);
            mesh.loadEntitySpecificData(file);
            M_Vector3Template<double> point;
            double distance = 100;
            mesh.calculateBoundingBox();
            mesh.intersectRay(point, distance, {0.25, 5, 0.25}, {0, -1, 0}, false, false, nullptr);
            for (const CN_TMTriangle& triangle : mesh.getTriangles()) {
                triangle.getCenter(point);
                triangle.getNormal(point);
                triangle.getClosestEdge({});
            }
        });
    EXPECT_EQ(result.text(), "");
    EXPECT_GT(result.taken, 0u);
}

/// The record of an entity once it has been read from the bytes, below a mesh of three polygons.
Bytes readAndWritten(int kind, std::span<const unsigned char> bytes) {
    CN_LevelEntityMesh room;
    test::addTriangles(room, 3);
    CN_LevelEntity* const entity = test::makeEntity(kind).release();
    room.add(entity, false);
    F_MemoryFile file(bytes.data(), bytes.size(), false);
    entity->loadEntitySpecificData(file);
    if (auto* const node = dynamic_cast<CN_VirtualNode*>(entity))
        node->generatePointersFromPolygonIndices();
    return written([&](F_MemoryFile& saved) { entity->saveEntitySpecificData(saved); });
}

TEST(OldMeshEntities, ADamagedNodeTriggerOrLitMeshIsTakenOrRefused) {
    const test::ProcessStateGuard process; // an index beyond the polygons ends it
    CN_LevelEntityTrigger trigger;
    trigger.setSharedDBName("Key", false);
    CN_LevelEntityMesh lit;
    auto lighting = std::make_unique<CN_VolumeLighting>();
    test::loadLight(*lighting, test::makeVolumeLighting(1));
    lit.replaceVolumeLighting(lighting.release());
    const auto recordOf = [](CN_LevelEntity& entity) {
        return written([&](F_MemoryFile& file) { entity.saveEntitySpecificData(file); });
    };
    const std::pair<int, Bytes> records[] = {
        {CN_KIND_PORTAL, storedForms("portal", 3, 3).front().bytes},
        {CN_KIND_POLYGON_GROUP, storedForms("polygroup", 2, 2).front().bytes},
        {CN_KIND_RADIOSITY_LIGHT, written([](F_MemoryFile& file) {
             file.createChunk(0, 1);
             file << 0x04030201u << 1.0f << 2.0f << 3.0f << 1u;
             file.closeChunk();
         })},
        {CN_KIND_TRIGGER, recordOf(trigger)},
        {CN_KIND_MESH, recordOf(lit)},
    };
    for (const auto& [kind, record] : records) {
        SCOPED_TRACE(kind);
        const auto result = test::driveHostileBytes(record, [kind = kind](std::span<const unsigned char> bytes) {
            const Bytes saved = readAndWritten(kind, bytes);
            if (readAndWritten(kind, saved) != saved)
                throw std::logic_error("what loads does not come back from its save as it was");
        });
        EXPECT_EQ(result.text(), "");
        EXPECT_GT(result.taken, 0u);
        EXPECT_GT(result.refused, 0u);
    }
}

} // namespace
} // namespace cairn
