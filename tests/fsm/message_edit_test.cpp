#include "tests/support/message_model.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

using namespace cairn;

namespace {

/// Edits a level in batches of random length, and compares it with its model after each, its save now and then.
void editAtRandom(std::size_t machines, int edits, std::size_t longestBatch, unsigned seed) {
    std::printf("seed %u\n", seed);
    constexpr int SAVES = 5;
    std::mt19937 random(seed);
    const auto choose = [&](std::size_t below) { return random() % below; };
    test::MessageModel model(machines, choose);
    ASSERT_EQ(model.findFault(), "");
    for (int done = 0, saves = 0; done < edits;) {
        for (std::size_t batch = 1 + choose(longestBatch); batch > 0 && done < edits; --batch, ++done)
            model.edit();
        const bool saving = done >= edits * static_cast<double>(saves) / SAVES || done == edits;
        if (saving) {
            ASSERT_EQ(model.findLoadFault(true), "") << "before the update, after " << done << " edits";
        }
        ASSERT_EQ(model.findFault(), "") << "after " << done << " edits";
        if (!saving)
            continue;
        ++saves;
        ASSERT_EQ(model.findLoadFault(false), "") << "after " << done << " edits";
        ASSERT_EQ(model.findFault(), "") << "after a save";
    }
    EXPECT_GE(model.countMachines(), machines / 5) << "there was little to edit";
}

} // namespace

TEST(MessageEdits, EveryReferenceStaysTrueThroughRandomEdits) {
    for (const unsigned seed : {1u, 2u, 3u})
        editAtRandom(50, 5000, 100, seed);
}

TEST(MessageEdits, HundredThousandEditsOfThousandMachines) { editAtRandom(1000, 100000, 4000, 4); }
