#include "cairn/geometry/planar/point_merger.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

TEST(PointMerger, PointsThatAreNotFiniteAreNearTheirEqualsAlone) {
    constexpr double NONE = std::numeric_limits<double>::quiet_NaN(), INF = std::numeric_limits<double>::infinity();
    for (const std::size_t expected : {10u, 1000u}) { // walked and looked up
        std::vector<CN_PointMerger::Point> points;
        CN_PointMerger merger(points, 1e-5, expected);
        EXPECT_EQ(merger.add({0, 0}), 0);
        EXPECT_EQ(merger.add({INF, 0}), 1);
        EXPECT_EQ(merger.add({NONE, 0}), 2);
        EXPECT_EQ(merger.add({NONE, 0}), 3);
        EXPECT_EQ(merger.add({-INF, 0}), 4);
        EXPECT_EQ(merger.add({INF, 1e-6}), 5);
        EXPECT_EQ(merger.add({INF, 0}), 1);
        EXPECT_EQ(merger.add({1e-6, 0}), 0);
        EXPECT_EQ(points.size(), 6u);
    }
}

} // namespace
} // namespace cairn
