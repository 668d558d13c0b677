#include "cairn/animation/animation.h"
#include "cairn/animation/keyframes.h"
#include "cairn/animation/mesh_animations.h"

#include <gtest/gtest.h>

using namespace cairn;

using Placement = M_Matrix4x3Template<double>;

namespace {

CN_Keyframe* at(double x) { return new CN_Keyframe(Placement({}, {x, 0, 0})); }

double xOf(const CN_Keyframe* keyframe) { return keyframe->getMatrix().translation.x; }

} // namespace

TEST(Keyframes, AreNamedWithCaseAndWalkedInOrder) {
    CN_Keyframes keyframes;
    EXPECT_EQ(keyframes.getFirst(), nullptr);
    EXPECT_TRUE(keyframes.insert("b", at(1)));
    EXPECT_TRUE(keyframes.insert("B", at(2)));
    EXPECT_TRUE(keyframes.insert("a", at(3)));
    EXPECT_FALSE(keyframes.insert("a", keyframes.hold(at(4)))) << "the one there stays";
    EXPECT_EQ(keyframes.getCount(), 3);
    EXPECT_EQ(xOf(keyframes.find("a")), 3);
    EXPECT_EQ(keyframes.find("A"), nullptr);

    std::vector<string> names;
    keyframes.getNames(names);
    EXPECT_EQ(names, (std::vector<string>{"B", "a", "b"}));
    std::vector<string> walked;
    for (CN_Keyframe* keyframe = keyframes.getFirst(); keyframe; keyframe = keyframes.getNext())
        walked.push_back(*keyframes.getCurrentKey());
    EXPECT_EQ(walked, names);
    EXPECT_EQ(keyframes.getNext(), nullptr);

    keyframes.getFirst();
    const CN_Keyframes::Held erased = keyframes.hold(keyframes.erase("B"));
    EXPECT_EQ(xOf(erased.get()), 2);
    EXPECT_EQ(*keyframes.getCurrentKey(), "a");
    EXPECT_EQ(keyframes.erase("B"), nullptr);
    keyframes.killAll();
    EXPECT_EQ(keyframes.getCount(), 0);
    EXPECT_EQ(keyframes.getCurrentKey(), nullptr);
}

TEST(Animation, CopiesItsKeyframesDeeply) {
    CN_Animation animation;
    animation.setKeyframes(new CN_Keyframes);
    animation.accessKeyframes()->insert("a", at(1));
    CN_Animation copy(animation), assigned;
    assigned = animation;
    animation.transformKeyframes(Placement({}, {10, 0, 0}));
    EXPECT_EQ(xOf(animation.getKeyframes()->find("a")), 11);
    EXPECT_EQ(xOf(copy.getKeyframes()->find("a")), 1);
    EXPECT_EQ(xOf(assigned.getKeyframes()->find("a")), 1);
    animation.setKeyframes(nullptr);
    EXPECT_EQ(animation.getKeyframes(), nullptr);
}
