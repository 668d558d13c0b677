#include "cairn/containers/sorted_vector.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace cairn {
namespace {

struct Greater {
    bool operator()(int a, int b) const { return a > b; }
};

TEST(F_SortedVectorTest, BehavesAsAMap) {
    F_SortedVector<int, short, Greater> sorted;
    std::map<int, short, Greater> model;
    std::mt19937 random(3);
    for (short step = 0; step < 1000; ++step) {
        const int key = static_cast<int>(random() % 60);
        if (random() % 3 == 0) {
            ASSERT_EQ(sorted.erase(key), model.erase(key) == 1);
        } else {
            const auto [place, isNew] = sorted.insert(key, step);
            const auto [expected, expectedNew] = model.insert({key, step});
            ASSERT_EQ(isNew, expectedNew);
            ASSERT_EQ(place->second, expected->second);
        }
        ASSERT_EQ(sorted.contains(key), model.count(key) == 1);
        ASSERT_TRUE(
            std::equal(sorted.begin(), sorted.end(), model.begin(), model.end(),
                       [](const auto& a, const auto& b) { return a.first == b.first && a.second == b.second; }));
    }
    *sorted.findValue(sorted[0].first) = -7;
    EXPECT_EQ(sorted.begin()->second, -7);
    EXPECT_EQ(sorted.findValue(99), nullptr);
}

} // namespace
} // namespace cairn
