#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"
#include "tests/support/level_bytes.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

using Placement = M_Matrix4x3Template<double>;
using Matrix = M_Matrix3Template<double>;

class MeshAnimation : public testing::Test {
  protected:
    MeshAnimation() {
        put("a", {});
        put("b", {Matrix::rotationY(1), {3, 4, 0}});
        put("also a", {});
        put("back", {Matrix::rotationY(4), {0, 0, 0}});
        put("far", {{}, {1e300, 0, 0}});
        animations.insert(toIString("move"), animation);
        animation->setLength(2);
        between("a", "b");
    }
    void put(const string& name, const Placement& placement) {
        keyframes.free(keyframes.erase(name));
        keyframes.insert(name, new CN_Keyframe(placement));
    }
    void between(const string& start, const string& end) {
        animation->setStartFrame(start);
        animation->setEndFrame(end);
        animation->updateAllGraphs();
    }
    void expectAt(float time, double angle, const M_Vector3Template<float>& position) {
        const M_Matrix4x3Template<float> matrix = animation->getMatrixAt(time);
        const Matrix rotation = Matrix::rotationY(angle);
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(matrix.rotation.at(r, c), rotation.at(r, c), 1e-5) << "at " << time;
        EXPECT_NEAR((matrix.translation - position).length(), 0, 0.02) << "at " << time; // a byte's step and more
    }

    CN_Keyframes keyframes;
    CN_MeshAnimations animations{&keyframes};
    CN_MeshAnimation* animation = animations.allocate();
};

TEST_F(MeshAnimation, MovesFromKeyframeToKeyframe) {
    expectAt(-1, 0, {});
    expectAt(0, 0, {});
    expectAt(0.4f, 0.2, {0.6f, 0.8f, 0});
    expectAt(1, 0.5, {1.5f, 2, 0});
    expectAt(2, 1, {3, 4, 0});
    expectAt(7, 1, {3, 4, 0});
    EXPECT_EQ(animation->getPositionGraph().evaluate(1, 0), 5);

    animation->setLength(0);
    expectAt(0, 0, {});
    expectAt(0.01f, 1, {3, 4, 0});

    animation->setLength(2);
    between("a", "back");
    expectAt(1, (4 - 2 * 3.14159265358979) / 2, {}); // the shorter way, on the spot
    between("a", "also a");
    expectAt(1, 0, {});
}

TEST_F(MeshAnimation, ScalesItsPositionCurveToTheDistance) {
    U_GraphEdit& graph = animation->getPositionGraph();
    graph.addNode({0.5f, {4}});
    put("b", {{}, {6.1, 8, 0}});
    animations.updateKeyframes();
    const float distance = graph.getYMax();
    EXPECT_NEAR(distance, 10.06, 0.01);
    EXPECT_EQ(graph.evaluate(1, 0), distance);
    EXPECT_NEAR(graph.evaluate(0.5f, 0), distance * 0.8, 1e-5);

    between("a", "also a");
    EXPECT_EQ(graph.getYMax(), 0);
    EXPECT_EQ(graph.getNodes().count(), 3);
    graph.setSamples(3);
    between("a", "b");
    EXPECT_EQ(graph.getNodes().count(), 2) << "a curve that was flat is straight";
    EXPECT_EQ(graph.evaluate(1, 0), distance);
    EXPECT_EQ(graph.getSamples(), 16);

    between("a", "far");
    EXPECT_TRUE(animation->isFinite());
    EXPECT_EQ(graph.getYMax(), std::numeric_limits<float>::max());
}

// What no host makes, but a file may hold: a second update must not change it any more.
TEST_F(MeshAnimation, SettlesACurveThatDoesNotEndAtItsLastNode) {
    struct Case {
        const char* what;
        std::vector<U_GraphEditNode> nodes;
        float yMin, yMax;
    };
    constexpr float NONE = std::numeric_limits<float>::quiet_NaN();
    for (const Case& c : {Case{"ends early", {{0, {0}}, {0.4f, {1}}, {0.5f, {3}}, {0.7f, {2}}}, 0, 9},
                          {"ends late", {{-2, {1}}, {0.3f, {0.7f}}, {1.7f, {0.3f}}, {3, {9}}}, 0, 1},
                          {"no order", {{1, {3}}, {0, {7}}, {0.5f, {0.1f}}}, 0, 5},
                          {"range above 0", {{0, {0}}, {1, {1}}}, 2, 5},
                          {"range below 0", {{0, {0}}, {1, {1}}}, -5, -2},
                          {"no numbers", {{NONE, {1}}, {0, {NONE}}, {1, {2}}}, 0, NONE}}) {
        SCOPED_TRACE(c.what);
        U_GraphEdit& graph = animation->getPositionGraph();
        graph.clear();
        for (const U_GraphEditNode& node : c.nodes)
            graph.accessNodes().add(node);
        graph.setYRange(c.yMin, c.yMax);
        F_MemoryFile once, twice;
        animations.updateKeyframes();
        animations.save(once);
        animations.updateKeyframes();
        animations.save(twice);
        EXPECT_EQ(test::bytesOf(once), test::bytesOf(twice));
    }
}

TEST_F(MeshAnimation, KeepsItsPlacementsWhereAKeyframeIsMissing) {
    animation->setEndFrame("gone");
    EXPECT_EQ(animation->getEndFrame(), "gone");
    keyframes.killAll();
    animations.updateKeyframes();
    expectAt(2, 1, {3, 4, 0});
    animations.setKeyframes(nullptr);
    animations.updateKeyframes();
    expectAt(1, 0.5, {1.5f, 2, 0});
    EXPECT_TRUE(animations.keyframeInUse("gone"));
    EXPECT_TRUE(animations.keyframeInUse("a"));
    EXPECT_FALSE(animations.keyframeInUse("A"));
}

TEST_F(MeshAnimation, IsNamedWithoutCaseAndResetAddsNodes) {
    EXPECT_FALSE(animations.insert(toIString("MOVE"), animations.hold(animations.allocate())));
    EXPECT_TRUE(animations.reindex(toIString("Move"), toIString("mOvE")));
    EXPECT_EQ(view(animations.getFirst() ? *animations.getCurrentKey() : istring()), "Move");
    animation->reset();
    EXPECT_EQ(animation->getLength(), 0);
    EXPECT_EQ(animation->getRotationGraph().getNodes().count(), 4);
    EXPECT_EQ(animation->getPositionGraph().getYMax(), 1);
}

} // namespace
} // namespace cairn
