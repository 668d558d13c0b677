#include "cairn/foundation/shared_string.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <set>

namespace cairn {
namespace {

TEST(SharedString, EqualTextsShareOneIndexInTheOrderOfTheirComing) {
    F_SharedStringPool pool;
    const F_SharedString walk = pool.share("use_walk"), run = pool.share("run"), again = pool.share("use_walk");
    EXPECT_EQ(walk, again);
    EXPECT_NE(walk, pool.share("USE_walk"));
    EXPECT_TRUE(F_SharedStringShortLess()(walk, run));
    EXPECT_EQ((std::set<F_SharedString, F_SharedStringShortLess>{run, again, walk}.size()), 2u);
    const string& text = pool.getString(walk);
    for (int i = 0; i < 1000; ++i)
        pool.share(std::to_string(i));
    EXPECT_EQ(&pool.getString(again), &text);
    EXPECT_EQ(text, "use_walk");
    EXPECT_EQ(pool.getString(F_SharedString()), "");
}

TEST(SharedString, RefusesStringsOfOthers) {
    F_SharedStringPool pool, other;
    const F_SharedString foreign = (other.share("a"), other.share("b"));
    EXPECT_EQ(test::failureText([&] { pool.getString(foreign); }), "Shared string 1 is not of this pool of 0");
}

} // namespace
} // namespace cairn
