#include "cairn/containers/pointer_set.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <set>

using namespace cairn;

TEST(PointerSet, AgreesWithASetThroughRandomChanges) {
    static std::array<double, 300> pointees;
    std::mt19937 random(3);
    F_PointerSet<double> some;
    std::set<const double*> all;
    const auto compare = [&] {
        ASSERT_EQ(some.size(), all.size());
        for (const double& pointee : pointees)
            ASSERT_EQ(some.contains(&pointee), all.count(&pointee) > 0);
    };
    compare();
    for (unsigned i = 0; i < 3000; ++i) {
        const double* const pointer = &pointees[random() % pointees.size()];
        const bool grows = random() % 4 > i / 1000; // then it shrinks
        ASSERT_EQ(grows ? some.insert(pointer) : some.erase(pointer),
                  grows ? all.insert(pointer).second : all.erase(pointer) > 0);
        if (i % 10 == 0)
            compare();
    }
    EXPECT_FALSE(some.insert(nullptr) || some.contains(nullptr) || some.erase(nullptr));
}
