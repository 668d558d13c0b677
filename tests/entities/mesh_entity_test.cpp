#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/mesh_properties.h"
#include "cairn/lighting/volume_lighting.h"
#include "tests/entities/entity_tree.h"
#include "tests/support/level_bytes.h"
#include "tests/support/sample_mesh.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

test::Bytes savedRecord(CN_LevelEntity& entity) {
    F_MemoryFile file;
    entity.saveEntitySpecificData(file);
    return test::bytesOf(file);
}

void loadRecord(CN_LevelEntity& entity, const test::Bytes& bytes) {
    F_MemoryFile file(bytes.data(), bytes.size(), false);
    entity.loadEntitySpecificData(file);
    EXPECT_EQ(file.getRemaining(), 0u);
}

/// Volume lighting of one grid of a single point, or of none.
std::unique_ptr<CN_VolumeLighting> lighting(bool grid) {
    F_MemoryFile file;
    file.createChunk(0, 1);
    file << (grid ? 1u : 0u);
    if (grid) {
        file << 1 << 1 << 1 << M_Vector3Template<float>() << M_Vector3Template<float>(1, 1, 1);
        const LightingData point;
        file.write(point.b, sizeof point.b);
    }
    file.closeChunk();
    file.toRead();
    auto made = std::make_unique<CN_VolumeLighting>();
    made->load(file);
    return made;
}

/// The record of a mesh without the chunk around it, as older versions wrote it.
test::Bytes bareRecord(CN_LevelEntityMesh& mesh) {
    F_MemoryFile file;
    mesh.CN_Mesh::saveEntitySpecificData(file);
    return test::bytesOf(file);
}

TEST(MeshEntity, KeepsVolumeLightingThatHasAGrid) {
    CN_LevelEntityMesh mesh, plain, lit;
    test::addTriangles(mesh, 1);
    const test::Bytes unlit = savedRecord(mesh);
    mesh.replaceVolumeLighting(lighting(true).release());
    const CN_VolumeLighting* const held = mesh.getVolumeLighting();
    mesh.replaceVolumeLighting(const_cast<CN_VolumeLighting*>(held));
    EXPECT_EQ(mesh.getVolumeLighting(), held);
    const test::Bytes record = savedRecord(mesh);

    loadRecord(lit, record);
    ASSERT_TRUE(lit.getVolumeLighting());
    EXPECT_EQ(savedRecord(lit), record);
    const CN_LevelEntityMesh copy(lit);
    ASSERT_TRUE(copy.getVolumeLighting());
    EXPECT_NE(copy.getVolumeLighting(), lit.getVolumeLighting());
    plain = lit;
    EXPECT_EQ(savedRecord(plain), record);

    lit.replaceVolumeLighting(lighting(false).release());
    EXPECT_EQ(lit.getVolumeLighting(), nullptr);
    EXPECT_EQ(savedRecord(lit), unlit);
    F_MemoryFile empty; // the flag is set, and no grid follows
    empty.createChunk(1, 0);
    mesh.CN_Mesh::saveEntitySpecificData(empty);
    empty << true;
    lighting(false)->save(empty);
    empty.closeChunk();
    loadRecord(plain, test::bytesOf(empty));
    EXPECT_EQ(plain.getVolumeLighting(), nullptr);
}

TEST(MeshEntity, ReadsTheRecordWithoutAChunkAround) {
    CN_LevelEntityMesh mesh, again;
    test::addTriangles(mesh, 2);
    again.replaceVolumeLighting(lighting(true).release());
    loadRecord(again, bareRecord(mesh));
    EXPECT_EQ(again.getPolygonList().count(), 2);
    EXPECT_EQ(again.getVolumeLighting(), nullptr);
    EXPECT_EQ(savedRecord(again), savedRecord(mesh));
}

TEST(MeshEntity, IsARoomDirectlyBelowTheRootWithAnExitIntoAnotherMesh) {
    test::LevelDocument level;
    auto& mesh = dynamic_cast<CN_LevelEntityMesh&>(*test::addChild(level.root(), CN_KIND_MESH, "A"));
    auto& other = dynamic_cast<CN_LevelEntityMesh&>(*test::addChild(level.root(), CN_KIND_MESH, "B"));
    CN_Polygon* const exit = test::addTriangles(mesh, 2);
    EXPECT_FALSE(mesh.isRoom());
    exit->setExitDestination(&mesh.accessPolygonList()[1]);
    EXPECT_FALSE(mesh.isRoom()) << "it leads back";
    exit->setExitDestination(test::addTriangles(other, 1));
    EXPECT_TRUE(mesh.isRoom());

    // The settings' hull counts for what is neither a room nor a part of a mesh, and collides.
    CN_MeshProperties properties;
    properties.setBoundingBoxHull(true);
    EXPECT_TRUE(properties.getBoundingBoxHull(nullptr));
    EXPECT_FALSE(properties.getBoundingBoxHull(&mesh));
    EXPECT_TRUE(properties.getBoundingBoxHull(&other));
    other.add(&mesh, false);
    EXPECT_FALSE(mesh.isRoom());
    EXPECT_FALSE(properties.getBoundingBoxHull(&mesh));
    properties.collideC = false;
    EXPECT_FALSE(properties.getBoundingBoxHull(&other));
    EXPECT_TRUE(properties.getBoundingBoxHull(nullptr));
}

} // namespace
} // namespace cairn
