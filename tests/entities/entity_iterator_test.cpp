#include "cairn/entities/entity_iterator.h"
#include "tests/entities/entity_tree.h"

#include <gmock/gmock.h>

namespace cairn::test {
namespace {

using testing::ElementsAre;

std::vector<std::string> namesOf(CN_ConstEntityIterator&& it) {
    std::vector<std::string> names;
    for (it.begin(); !it.end(); ++it)
        names.push_back(it->getName().str());
    return names;
}

/// root -> a -> (b -> c), d; e
struct SmallTree {
    std::unique_ptr<CN_LevelEntity> root = makeEntity(CN_KIND_LEVEL);
    CN_LevelEntity* a = addChild(*root, CN_KIND_MESH, "a");
    CN_LevelEntity* b = addChild(*a, CN_KIND_MESH, "b");
    CN_LevelEntity* c = addChild(*b, CN_KIND_WAYPOINT, "c");
    CN_LevelEntity* d = addChild(*a, CN_KIND_WAYPOINT, "d");
    CN_LevelEntity* e = addChild(*root, CN_KIND_WAYPOINT, "e");
};

TEST(EntityIterator, WalksWithoutTheStart) {
    SmallTree tree;
    EXPECT_THAT(namesOf(tree.root->createConstIterator()), ElementsAre("a", "b", "c", "d", "e"));
    EXPECT_THAT(namesOf(tree.a->createConstIterator()), ElementsAre("b", "c", "d"));
    EXPECT_THAT(namesOf(tree.root->createConstChildIterator()), ElementsAre("a", "e"));
    EXPECT_THAT(namesOf(tree.e->createConstIterator()), ElementsAre());
}

TEST(EntityIterator, IsAtTheEndBeforeBeginAndStaysThere) {
    SmallTree tree;
    CN_PreIterator it = tree.root->createIterator();
    EXPECT_TRUE(it.end());
    ++it;
    EXPECT_TRUE(it.end());
    EXPECT_EQ(*it, nullptr);
    EXPECT_FALSE(it != tree.e->createIterator()) << "two at the end are alike";
}

TEST(EntityIterator, CopiesStandOnTheirOwnInShallowAndDeepTrees) {
    auto root = makeEntity(CN_KIND_LEVEL);
    CN_LevelEntity* at = root.get();
    for (int i = 0; i < 70; ++i)
        at = addChild(*at, CN_KIND_MESH, "m");
    addChild(*root, CN_KIND_WAYPOINT, "last");
    for (const int depth : {3, 68}) {
        auto walker = std::make_unique<CN_PreIterator>(root->createIterator());
        walker->begin();
        for (int i = 0; i < depth; ++i)
            ++*walker;
        CN_PreIterator copy = *walker;
        CN_PreIterator assigned = root->createIterator();
        assigned = copy;
        EXPECT_FALSE(copy != *walker);
        walker.reset();
        for (CN_PreIterator* it : {&copy, &assigned}) {
            int left = 0;
            for (; !it->end(); ++*it)
                ++left;
            EXPECT_EQ(left, 71 - depth);
        }
    }
}

} // namespace
} // namespace cairn::test
