#include "tests/support/message_model.h"

#include <gtest/gtest.h>

#include <random>

using namespace cairn;

namespace {

/// Edits a level in batches of random length, and compares it with its model after each, its save now and then.
void editAtRandom(std::size_t machines, int edits, unsigned seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    constexpr int SAVES = 5;
    std::mt19937 random(seed);
    const auto choose = [&](std::size_t below) { return random() % below; };
    test::MessageModel model(machines, choose);
    ASSERT_EQ(model.findFault(), "");
    for (int done = 0, saves = 0; done < edits;) {
        for (std::size_t batch = 1 + choose(100); batch > 0 && done < edits; --batch, ++done)
            model.edit();
        ASSERT_EQ(model.findFault(), "") << "after " << done << " edits";
        if (done < edits * static_cast<double>(saves) / SAVES && done < edits)
            continue;
        ++saves;
        ASSERT_EQ(model.findLoadFault(), "") << "after " << done << " edits";
        ASSERT_EQ(model.findFault(), "") << "after a save";
    }
}

} // namespace

TEST(MessageEdits, EveryReferenceStaysTrueThroughRandomEdits) {
    for (const unsigned seed : {1u, 2u, 3u, 4u})
        editAtRandom(100, 5000, seed);
}

// Takes more than a minute: run it by hand after changes of what keeps references.
TEST(MessageEdits, DISABLED_HundredThousandEditsOfThousandMachines) {
    const unsigned seed = std::random_device()();
    std::printf("seed %u\n", seed);
    editAtRandom(1000, 100000, seed);
}
