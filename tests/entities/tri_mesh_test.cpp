#include "cairn/animation/keyframes.h"
#include "cairn/document/shared_db.h"
#include "cairn/entities/hierarchy_utils.h"
#include "cairn/entities/tri_mesh.h"
#include "cairn/fsm/fsm.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/materials/material.h"
#include "tests/entities/entity_tree.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_animations.h"
#include "tests/support/old_mesh_entities.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

using Vector = CN_LevelEntity::Vector;

/// A floor of two triangles from 0, 0 to 2, 2 at each of the heights, which face up, below a level.
struct FloorLevel : test::LevelDocument {
    explicit FloorLevel(const std::vector<double>& heights = {0})
        : mesh(dynamic_cast<CN_LevelEntityTriMesh&>(*test::addChild(root(), CN_KIND_TRIMESH, "Floor"))) {
        for (const double y : heights) {
            const int first = static_cast<int>(mesh.getVertices().size());
            for (const Vector& position : {Vector(0, y, 0), Vector(0, y, 2), Vector(2, y, 2), Vector(2, y, 0)}) {
                mesh.accessVertices().emplace_back();
                mesh.accessVertices().back().position = mesh.accessVertices().back().secondPosition = position;
            }
            for (const auto& [b, c] : {std::pair{1, 2}, std::pair{2, 3}}) {
                CN_TMTriangle triangle;
                triangle.setParent(&mesh);
                triangle.setVertex(0, first);
                triangle.setVertex(1, first + b);
                triangle.setVertex(2, first + c);
                mesh.accessTriangles().push_back(triangle);
            }
        }
        mesh.calculateBoundingBox();
    }
    CN_Material* addMaterial(const char* name) {
        CN_MaterialsCategory* category = accessMaterials().find("Default");
        if (!category)
            category = accessMaterials().addCategory(&accessTextures(), "Default");
        return category->add(0, name, nullptr);
    }

    CN_LevelEntityTriMesh& mesh;
};

struct Hit {
    bool met;
    Vector point;
    double distance;
};

Hit cast(CN_LevelEntityTriMesh& mesh, const Vector& origin, const Vector& direction, bool cull = false,
         bool local = false, CN_RayFilter filter = nullptr) {
    Hit hit{false, {}, 100};
    hit.met = mesh.intersectRay(hit.point, hit.distance, origin, direction, cull, local, filter);
    return hit;
}

TEST(TriMesh, IsMetByRaysFromTheSideThatItFaces) {
    FloorLevel level({0, 1});
    const Vector down(0, -1, 0), up(0, 1, 0);
    Hit hit = cast(level.mesh, {0.5, 5, 1.5}, down, true);
    EXPECT_TRUE(hit.met);
    EXPECT_EQ(hit.point, Vector(0.5, 1, 1.5));
    EXPECT_EQ(hit.distance, 4);
    EXPECT_EQ(level.mesh.getLastHitTriangle(), &level.mesh.getTriangles()[2]);
    EXPECT_FALSE(cast(level.mesh, {0.5, -5, 1.5}, up, true).met) << "from behind";
    EXPECT_EQ(cast(level.mesh, {1.5, -5, 0.5}, up).point, Vector(1.5, 0, 0.5));
    EXPECT_EQ(cast(level.mesh, {1, 5, 1}, down).distance, 4);
    EXPECT_EQ(level.mesh.getLastHitTriangle(), &level.mesh.getTriangles()[2]) << "the first of two that share an edge";
    EXPECT_FALSE(cast(level.mesh, {0.5, 1, -5}, {0, 0, 1}).met) << "along the plane";
    EXPECT_FALSE(cast(level.mesh, {0.5, 1, 1.5}, up).met) << "from the plane itself";

    level.mesh.setRotation(CN_LevelEntity::Matrix::rotationZ(1.570796327));
    level.mesh.setPosition({10, 0, 0});
    const Vector across =
        level.mesh.vectorWorldToObject({0, 0, 0}) + level.mesh.worldTransform(down) - Vector(10, 0, 0);
    hit = cast(level.mesh, level.mesh.worldTransform({0.5, 5, 1.5}), across, true);
    ASSERT_TRUE(hit.met);
    EXPECT_LT((hit.point - level.mesh.worldTransform({0.5, 1, 1.5})).length(), 1e-9);
    EXPECT_EQ(cast(level.mesh, {0.5, 5, 1.5}, down, true, true).point, Vector(0.5, 1, 1.5)) << "in its own space";

    level.mesh.setVisible(false);
    EXPECT_FALSE(cast(level.mesh, {0.5, 5, 1.5}, down, true, true).met);
}

TEST(TriMesh, IsNotMetWhereTheFilterTakesTheMaterialOrAnIndexIsBeyondTheVertices) {
    FloorLevel level({0, 1});
    static const CN_Material* s_hidden;
    s_hidden = level.addMaterial("");
    level.mesh.accessTriangles()[2].setMaterial(level.addMaterial(""));
    level.mesh.accessTriangles()[3].setMaterial(nullptr);
    s_hidden = level.mesh.getTriangles()[2].getMaterial();
    static bool s_dynamic;
    const CN_RayFilter filter = [](const CN_Polygon* polygon, const CN_Material* material, bool dynamic) {
        EXPECT_EQ(polygon, nullptr);
        EXPECT_EQ(dynamic, s_dynamic);
        return material == s_hidden;
    };
    for (const bool dynamic : {true, false}) {
        s_dynamic = dynamic;
        level.mesh.setDynamic(dynamic);
        EXPECT_EQ(cast(level.mesh, {0.5, 5, 1.5}, {0, -1, 0}, true, false, filter).distance, 5);
        EXPECT_EQ(level.mesh.getLastHitTriangle(), &level.mesh.getTriangles()[0]);
    }

    CN_TMTriangle& triangle = level.mesh.accessTriangles()[2];
    for (const int index : {-1, 8, std::numeric_limits<int>::max()}) {
        triangle.setVertex(1, index);
        EXPECT_EQ(cast(level.mesh, {0.5, 5, 1.5}, {0, -1, 0}).distance, 5);
        Vector out(7, 7, 7);
        triangle.getCenter(out);
        triangle.getNormal(out);
        EXPECT_EQ(out, Vector(7, 7, 7));
        EXPECT_EQ(triangle.getClosestEdge({}), std::pair(-1, -1));
    }
    level.mesh.setGeometryDirty(false);
    level.mesh.discardGeometry(false); // the triangles stay, without corners
    EXPECT_TRUE(level.mesh.isGeometryDirty());
    EXPECT_EQ(level.mesh.getTriangles().size(), 4u);
    EXPECT_EQ(s_hidden->getUseCount(), 1);
    EXPECT_FALSE(cast(level.mesh, {0.5, 5, 1.5}, {0, -1, 0}).met);
    EXPECT_EQ(level.mesh.getRenderer(), nullptr) << "there is no factory";
    level.mesh.discardGeometry(true);
    EXPECT_EQ(level.mesh.getLastHitTriangle(), nullptr);
    EXPECT_EQ(s_hidden->getUseCount(), 0);
}

TEST(TriMesh, TrianglesKnowTheirPlaceInTheWorld) {
    FloorLevel level;
    level.mesh.setPosition({10, 0, 0});
    const CN_TMTriangle& triangle = level.mesh.getTriangles()[0]; // 0 0, 0 2, 2 2
    Vector out;
    triangle.getCenter(out);
    EXPECT_LT((out - Vector(10 + 2.0 / 3, 0, 4.0 / 3)).length(), 1e-12);
    triangle.getNormal(out);
    EXPECT_EQ(out, Vector(0, 4, 0));
    EXPECT_EQ(triangle.getClosestEdge({10.25, 0, 1}), std::pair(0, 1));
    EXPECT_EQ(triangle.getClosestEdge({11, 3, 1.75}), std::pair(1, 2));
    EXPECT_EQ(triangle.getClosestEdge({12, 0, 1}), std::pair(2, 0));
    EXPECT_EQ(triangle.getClosestEdge({-90, 0, -200}), std::pair(-1, -1));

    Vector min, max;
    CN_HierarchyUtils::calculateBoundingBoxLocal(&level.mesh, min, max);
    level.mesh.calculateBoundingBox();
    EXPECT_EQ(min, level.mesh.getLocalMin());
    EXPECT_EQ(level.mesh.getLocalMax(), Vector(2, 0, 2));
    EXPECT_EQ(level.mesh.getBoundingMax(), Vector(12, 0, 2));
    EXPECT_EQ(level.mesh.getBoundingRadius(), static_cast<double>(static_cast<float>(std::sqrt(8.0))));
}

TEST(TriMesh, KeepsItsGeometryAndKeyframesInTheWorldWhenItsOriginMoves) {
    FloorLevel level;
    level.mesh.setPosition({1, 2, 3});
    level.mesh.makeDynamic(true);
    const auto at = [&](const M_Matrix4x3Template<double>& placement) {
        return level.mesh.getVertices()[2].secondPosition * placement;
    };
    const auto keyframe = [&] { return level.mesh.getKeyframes()->find("Keyframe_0")->getMatrix(); };
    const Vector before = level.mesh.worldTransform(level.mesh.getVertices()[2].position), keyBefore = at(keyframe());
    level.mesh.setGeometryDirty(false);
    level.mesh.changeSpaceExplicit({CN_LevelEntity::Matrix::rotationY(0.5), {7, 8, 9}});
    EXPECT_EQ(level.mesh.getPosition(), Vector(7, 8, 9));
    EXPECT_LT((level.mesh.worldTransform(level.mesh.getVertices()[2].position) - before).length(), 1e-12);
    EXPECT_LT((at(keyframe()) - keyBefore).length(), 1e-12);
    EXPECT_TRUE(level.mesh.isGeometryDirty());

    const Vector now = level.mesh.getVertices()[2].position;
    level.mesh.changeSpaceExplicit({CN_LevelEntity::Matrix({}, {}, {}), {}});
    EXPECT_EQ(level.mesh.getVertices()[2].position, now) << "a rotation without inverse";
}

TEST(TriMesh, GainsItsMachineWithItsMotionAndComesBackWithIt) {
    FloorLevel level;
    level.mesh.createFSM();
    EXPECT_EQ(level.mesh.getFSM()->getMessageHandlerCount(), 1);
    level.mesh.makeDynamic(true);
    EXPECT_TRUE(level.mesh.getFSM()->hasMessageHandler("DO_OnDeath"));
    const test::Bytes saved = test::saveLevel(level);
    CN_Document again;
    test::loadLevel(again, saved);
    EXPECT_EQ(test::reportCodes(again), "");
    EXPECT_EQ(test::saveLevel(again), saved);
}

TEST(TriMesh, CountsMaterialsAndTheLightmapThatALoadFinds) {
    const test::ProcessStateGuard process;
    FloorLevel level;
    CN_Material* const standard = level.addMaterial("");
    CN_Material* const stone = level.addMaterial("");
    stone->setName("Stone");
    auto& pool = dynamic_cast<CN_LightmapPool&>(*level.accessLightmaps());
    pool.allocateNew(5);
    level.mesh.accessTriangles()[0].setMaterial(stone);
    F_MemoryFile file;
    level.mesh.setLightmapID(5);
    level.mesh.saveEntitySpecificData(file);
    EXPECT_EQ(stone->getUseCount(), 1);
    for (int i = 0; i < 2; ++i) { // the second load replaces what the first one has read
        file.toRead();
        level.mesh.loadEntitySpecificData(file);
        EXPECT_EQ(level.mesh.getTriangles()[0].getMaterial(), stone);
        EXPECT_EQ(level.mesh.getTriangles()[1].getMaterial(), standard);
        EXPECT_EQ(stone->getUseCount(), 1);
        EXPECT_EQ(standard->getUseCount(), 1);
    }
    EXPECT_EQ(pool.getLightmap(5)->getRefCount(), 2);
    CN_LevelEntityTriMesh copy(level.mesh);
    EXPECT_EQ(copy.getTriangles()[0].getParent(), &copy);
    EXPECT_EQ(stone->getUseCount(), 2);
    EXPECT_EQ(standard->getUseCount(), 2);
    copy = CN_LevelEntityTriMesh();
    EXPECT_EQ(stone->getUseCount(), 1);
    copy.setLightmapID(static_cast<unsigned long>(-1));
    EXPECT_EQ(copy.getLightmapID(), NO_LIGHTMAP);
    EXPECT_NE(test::failureText([&] { copy.setLightmapID(NO_LIGHTMAP + 6); }), "(nothing thrown)");

    EXPECT_EQ(test::reportCodes(level), "");
    stone->setName("Brick"); // the record's name is not there any more
    file.toRead();
    level.mesh.loadEntitySpecificData(file);
    EXPECT_EQ(level.mesh.getTriangles()[0].getMaterial(), standard);
    EXPECT_EQ(test::reportCodes(level), "repaired");

    copy.setLightmapID(6); // the pool lacks it: it stays as a number
    F_MemoryFile unknown;
    copy.saveEntitySpecificData(unknown);
    unknown.toRead();
    level.mesh.loadEntitySpecificData(unknown);
    EXPECT_EQ(level.mesh.getLightmapID(), 6u);
    EXPECT_NE(process.log().find("the lightmap 6, which is not there"), std::string::npos);
}

TEST(TriMesh, TellsOfAnimationsThatALoadDrops) {
    FloorLevel level;
    F_MemoryFile file;
    file.createChunk(0, CAIRN_LVL_ENTITY_TRIMESH_VERSION);
    level.mesh.getMeshProperties().save(file);
    file << ""
         << "" << true;
    test::writeOldAnimations(file, {.twice = true});
    file << 0u << 0u << NO_LIGHTMAP;
    file.closeChunk();
    file.toRead();
    level.mesh.loadEntitySpecificData(file);
    EXPECT_EQ(level.mesh.getKeyframes()->getCount(), 2);
    EXPECT_EQ(test::reportCodes(level), "repaired");
}

TEST(TriMesh, RefusesPlacesThatAreNotFinite) {
    FloorLevel level;
    level.mesh.accessVertices()[3].secondPosition.y = std::numeric_limits<double>::infinity();
    F_MemoryFile file;
    EXPECT_EQ(test::failureText([&] { level.save(file); }),
              "The entity \"::Floor\" cannot be saved: its vertex 3 is not finite");
    EXPECT_EQ(file.getSize(), 0u);
    level.mesh.saveEntitySpecificData(file);
    file.toRead();
    CN_LevelEntityTriMesh mesh;
    EXPECT_EQ(test::failureText([&] { mesh.loadEntitySpecificData(file); }).find("A vertex of a triangle mesh is not "),
              0u);
}

} // namespace
} // namespace cairn
