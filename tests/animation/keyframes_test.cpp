#include "cairn/animation/keyframes.h"

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

TEST(Keyframes, ChangeTheirNames) {
    CN_Keyframes keyframes;
    string name;
    for (int n = 0; n < 3; ++n) {
        keyframes.getNextUniqueName(name, "Keyframe_");
        keyframes.insert(name, at(n));
    }
    EXPECT_EQ(name, "Keyframe_2");
    keyframes.free(keyframes.erase("Keyframe_1"));
    keyframes.getNextUniqueName(name, "Keyframe_");
    EXPECT_EQ(name, "Keyframe_1") << "the lowest free number";

    keyframes.getFirst();
    EXPECT_FALSE(keyframes.reindex("Keyframe_2", "Keyframe_0")) << "another has it";
    EXPECT_FALSE(keyframes.reindex("a", "gone"));
    EXPECT_TRUE(keyframes.reindex("z", "Keyframe_0"));
    EXPECT_EQ(*keyframes.getCurrentKey(), "z");
    EXPECT_EQ(xOf(keyframes.find("z")), 0);
    EXPECT_EQ(xOf(keyframes.find("Keyframe_2")), 2);
    EXPECT_EQ(keyframes.getCount(), 2);
}

TEST(Keyframes, AddWhatIsReadToWhatIsHeld) {
    CN_Keyframes keyframes, other;
    keyframes.insert("a", at(1));
    other.insert("a", at(2));
    other.insert("b", at(3));
    F_MemoryFile file;
    other.save(file);
    EXPECT_EQ(file.getSize(), 4u + 2 * (4 + 1 + 96));
    file.toRead();
    keyframes.load(file);
    EXPECT_EQ(xOf(keyframes.find("a")), 1);
    EXPECT_EQ(xOf(keyframes.find("b")), 3);
}
