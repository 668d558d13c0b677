#include "cairn/animation/animation.h"
#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/foundation/file.h"
#include "tests/entities/entity_tree.h"
#include "tests/support/hostile_bytes.h"
#include "tests/support/level_bytes.h"
#include "tests/support/old_animations.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <stdexcept>

namespace cairn {
namespace {

using test::Bytes;
using test::failureText;
using Placement = M_Matrix4x3Template<double>;
using Matrix = M_Matrix3Template<double>;

Bytes saved(const CN_Animation& animation) {
    F_MemoryFile file;
    animation.saveAnimations(file);
    return test::bytesOf(file);
}

void load(CN_Animation& animation, std::span<const unsigned char> bytes) {
    F_MemoryFile file(bytes.data(), bytes.size(), false);
    animation.loadAnimations(file);
    EXPECT_EQ(file.getRemaining(), 0u);
}

/// What loads must save, and load again to the same bytes.
void loadAndSaveTwice(std::span<const unsigned char> bytes) {
    F_MemoryFile file(bytes.data(), bytes.size(), false);
    CN_Animation animation, again;
    animation.loadAnimations(file);
    const Bytes once = saved(animation);
    load(again, once);
    if (saved(again) != once)
        throw std::logic_error("animations that load do not come back from their save as they were");
}

TEST(Animation, MakesAnEntityDynamicAndStaticAgain) {
    CN_LevelEntityMesh mesh;
    CN_Animation animation;
    EXPECT_NE(animation.findRecordFault(), "");
    EXPECT_FALSE(animation.addKeyframe(&mesh, "x"));
    mesh.setPosition({1, 2, 3});
    animation.makeDynamic(&mesh);
    for (const string& name :
         {animation.getCurrentKeyframe(), animation.getDefaultKeyframe(), animation.getLightingKeyframe()})
        EXPECT_EQ(name, "Keyframe_0");

    mesh.setPosition({4, 5, 6});
    mesh.setRotation(Matrix::rotationX(1));
    EXPECT_TRUE(animation.addKeyframe(&mesh, "there"));
    animation.gotoKeyframe(&mesh, "Keyframe_0");
    EXPECT_EQ(mesh.getPosition(), CN_LevelEntity::Vector(1, 2, 3));
    EXPECT_EQ(mesh.getRotation(), Matrix());
    EXPECT_TRUE(animation.addKeyframe(&mesh, "there")) << "and the one there stays";
    animation.gotoKeyframe(&mesh, "there");
    EXPECT_EQ(mesh.getRotation(), Matrix::rotationX(1));
    animation.gotoKeyframe(&mesh, "There");
    EXPECT_EQ(animation.getCurrentKeyframe(), "there");

    animation.makeDynamic(&mesh);
    EXPECT_EQ(animation.getDefaultKeyframe(), "Keyframe_1");
    mesh.setPosition({});
    animation.makeStatic(&mesh);
    EXPECT_EQ(mesh.getPosition(), CN_LevelEntity::Vector(4, 5, 6));
    EXPECT_EQ(animation.getKeyframes(), nullptr);
    EXPECT_EQ(animation.getAnimations(), nullptr);
    EXPECT_EQ(animation.getDefaultKeyframe(), "");
}

TEST(Animation, IsCopiedDeeplyWithItsOwnKeyframes) {
    CN_Animation animation, assigned;
    load(animation, test::storedAnimations().front().bytes());
    const Bytes before = saved(animation);
    CN_Animation copy(animation);
    assigned = animation;
    animation.transformKeyframes(Placement(Matrix(), {10, 0, 0}));
    EXPECT_EQ(animation.getKeyframes()->find("b")->getMatrix().translation.x, 13);
    animation.setKeyframes(new CN_Keyframes);
    animation.accessAnimations()->updateKeyframes();
    for (CN_Animation* other : {&copy, &assigned}) {
        EXPECT_EQ(saved(*other), before);
        other->accessKeyframes()->find("b")->setMatrix(Placement());
        other->accessAnimations()->updateKeyframes();
        EXPECT_EQ(other->getAnimations()->find(toIString("move"))->getMatrixAt(9).translation.x, 0);
    }
    auto* const animations = new CN_MeshAnimations(nullptr);
    copy.setAnimations(animations);
    EXPECT_TRUE(animations->insert(toIString("new"), animations->allocate()));
    animations->find(toIString("NEW"))->setStartFrame("b");
    EXPECT_EQ(copy.findRecordFault(), "");
}

TEST(Animation, DISABLED_StoreEveryForm) {
    for (const test::StoredAnimations& stored : test::storedAnimations())
        F_File::replace(stored.path().string(), stored.bytes());
}

TEST(Animation, LoadsEveryStoredForm) {
    for (const test::StoredAnimations& stored : test::storedAnimations()) {
        SCOPED_TRACE(stored.name);
        const auto bytes = F_File::readAll(stored.path().string());
        EXPECT_EQ(Bytes(bytes.begin(), bytes.end()), stored.bytes());
        CN_Animation animation;
        load(animation, stored.bytes());
        EXPECT_EQ(animation.getKeyframes()->getCount(), 2);
        EXPECT_EQ(animation.getCurrentKeyframe(), "b");
        EXPECT_EQ(animation.getDefaultKeyframe(), "a");
        EXPECT_EQ(animation.getLightingKeyframe(), stored.animations.chunk ? "b" : "a");
        const CN_MeshAnimation* const move = animation.getAnimations()->find(toIString("MOVE"));
        ASSERT_TRUE(move);
        EXPECT_EQ(move->getLength(), 2);
        EXPECT_EQ(move->getStartFrame(), "a");
        EXPECT_EQ(move->getPositionGraph().getInterpolation(), U_GraphEdit::CATMULL_ROM);
        EXPECT_EQ(move->getPositionGraph().getSamples(),
                  stored.animations.graphVersion > 2 ? test::OLD_GRAPH_SAMPLES : 16);
        EXPECT_EQ(move->getMatrixAt(2).translation, M_Vector3Template<float>(3, 4, 0));
        EXPECT_NEAR(move->getMatrixAt(1).translation.y, 1, 0.3) << "the curve sags, as far as the samples tell";
        loadAndSaveTwice(stored.bytes());
    }
}

TEST(Animation, LoadsOverWhatItHeldAndLightsAtTheDefaultWhereTheKeyframeIsGone) {
    CN_Animation animation;
    for (int time = 0; time < 2; ++time) {
        F_MemoryFile file;
        test::writeOldAnimations(file, {.lighting = "gone"});
        load(animation, test::bytesOf(file));
        EXPECT_EQ(animation.getKeyframes()->getCount(), 2);
        EXPECT_EQ(animation.getLightingKeyframe(), "a");
    }
    const Bytes before = saved(animation);
    EXPECT_NE(failureText([&] { load(animation, std::span(before).first(before.size() - 5)); }), "(nothing thrown)");
    EXPECT_EQ(saved(animation), before) << "a load that fails changes nothing";
}

TEST(Animation, KeepsTheSamplesReadWhereAKeyframeIsGone) {
    F_MemoryFile file;
    test::writeOldAnimations(file, {.start = "gone"});
    CN_Animation animation;
    load(animation, test::bytesOf(file));
    const CN_MeshAnimation* const move = animation.getAnimations()->find(toIString("Move"));
    ASSERT_TRUE(move);
    EXPECT_EQ(move->getStartFrame(), "gone");
    const M_Vector3Template<float> halfWay(1.5f, 2, 0); // of two samples, where the curve sags
    EXPECT_LT((move->getMatrixAt(1).translation - halfWay).length(), 1e-5f);
    loadAndSaveTwice(test::bytesOf(file));
}

TEST(Animation, GoesToAKeyframeWithItsChildrenAndIsThereLast) {
    /// Notes the keyframe at which its mesh says to stand whenever it is placed in the world.
    struct Watching : CN_LevelEntityMesh {
        explicit Watching(const CN_Animation& animation) : m_animation(animation) {}
        void handleHierarchy(const Vector& position, const Matrix& rotation, bool force) override {
            m_seen += m_animation.getCurrentKeyframe() + " ";
            CN_LevelEntityMesh::handleHierarchy(position, rotation, force);
        }
        const CN_Animation& m_animation;
        string m_seen;
    };
    test::LevelDocument level;
    CN_LevelEntity& room = *test::addChild(level.root(), CN_KIND_MESH, "Room");
    room.setPosition({10, 0, 0});
    CN_Animation animation;
    auto* const mesh = new Watching(animation);
    mesh->setDocument(&level);
    room.add(mesh, false);
    CN_LevelEntity& child = *test::addChild(*mesh, CN_KIND_WAYPOINT, "Way");
    child.setPosition({0, 0, 1});
    animation.makeDynamic(mesh);
    animation.accessKeyframes()->insert(
        "there", new CN_Keyframe(Placement(Matrix({0, 0, 1}, {0, 1, 0}, {-1, 0, 0}), {1, 2, 3})));
    mesh->m_seen.clear();
    animation.gotoKeyframe(mesh, "there");
    EXPECT_EQ(mesh->m_seen, "Keyframe_0 Keyframe_0 ");
    EXPECT_EQ(animation.getCurrentKeyframe(), "there");
    EXPECT_EQ(child.getWorldPosition(), CN_LevelEntity::Vector(10, 2, 3)) << "turned with its parent";
    animation.gotoKeyframe(mesh, animation.getDefaultKeyframe());
    EXPECT_EQ(child.getWorldPosition(), CN_LevelEntity::Vector(10, 0, 1));
    room.remove(mesh);
    delete mesh;
}

TEST(Animation, RefusesToReadAndWriteWhatIsNotFinite) {
    const Placement broken({}, {0, std::numeric_limits<double>::infinity(), 0});
    CN_Keyframe keyframe(broken);
    F_MemoryFile file;
    keyframe.save(file);
    file.toRead();
    EXPECT_NE(failureText([&] { keyframe.load(file); }).find("not finite"), std::string::npos);

    CN_Animation animation;
    load(animation, test::storedAnimations().front().bytes());
    animation.accessAnimations()->getFirst()->setLength(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(animation.findRecordFault(), "its animation \"Move\" is not finite");
    animation.accessKeyframes()->find("b")->setMatrix(broken);
    EXPECT_EQ(animation.findRecordFault(), "its keyframe \"b\" is not finite");
    F_MemoryFile refused;
    EXPECT_NE(failureText([&] { animation.saveAnimations(refused); }), "(nothing thrown)");
    EXPECT_EQ(refused.getSize(), 0u);
}

TEST(Animation, TakesOrRefusesDamagedBytes) {
    for (const test::StoredAnimations& stored : test::storedAnimations()) {
        if (const char* folder = std::getenv("CAIRN_FUZZ_SEED_DIR")) {
            const std::filesystem::path seeds = std::filesystem::path(folder) / "animation_load";
            std::filesystem::create_directories(seeds);
            F_File::replace((seeds / stored.name).string(), stored.bytes());
        }
        const test::HostileBytesResult result = test::driveHostileBytes(stored.bytes(), loadAndSaveTwice);
        EXPECT_EQ(result.text(), "") << stored.name;
        EXPECT_GT(result.taken, 0u);
        EXPECT_GT(result.refused, 0u);
    }
}

} // namespace
} // namespace cairn
