#include "tests/support/naive_planar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace cairn {
namespace {

using test::PlanarPoint;
using Points = std::vector<PlanarPoint>;
using Sides = std::vector<CN_Side>;

constexpr double SNAP = 1e-5;

TEST(SideSplitter, SplitsAtThePointsThatLieOnASide) {
    constexpr double NONE = std::numeric_limits<double>::quiet_NaN(), INF = std::numeric_limits<double>::infinity();
    const struct {
        const char* name;
        Points others; ///< besides the ends of a side from (0, 0) to (4, 0)
        std::vector<int> chain;
    } cases[] = {
        {"nothing else", {}, {0, 1}},
        {"in order along the side", {{3, 0}, {1, 0}, {2, 0}}, {0, 3, 4, 2, 1}},
        {"within two tolerances", {{2, 1.9 * SNAP}}, {0, 2, 1}},
        {"just beyond", {{1, 2.1 * SNAP}, {2, -2.1 * SNAP}}, {0, 1}},
        {"a half meets what the whole did not", {{1, 1.9 * SNAP}, {3, 2.1 * SNAP}}, {0, 2, 3, 1}},
        {"a tolerance from the ends",
         {{0.9 * SNAP, 0}, {1.1 * SNAP, 0}, {4 - 0.9 * SNAP, 0}, {4 - 1.1 * SNAP, 0}},
         {0, 3, 5, 1}},
        {"beyond the ends", {{-1, 0}, {5, 0}}, {0, 1}},
        {"one beside the other", {{2, SNAP}, {2, -SNAP}}, {0, 2, 1}},
        {"no numbers", {{NONE, 0}, {2, NONE}, {INF, 0}, {-INF, INF}, {2, 0}}, {0, 6, 1}},
    };
    for (const auto& c : cases) {
        Points points{{0, 0}, {4, 0}};
        points.insert(points.end(), c.others.begin(), c.others.end());
        Sides expected;
        for (std::size_t i = 1; i < c.chain.size(); ++i)
            expected.push_back({c.chain[i - 1], c.chain[i], 7});
        EXPECT_EQ(CN_splitSides(points, {{0, 1, 7}}, SNAP), expected) << c.name;
    }
    EXPECT_EQ(CN_splitSides({{0, 0}, {1.9 * SNAP, 0}, {0.95 * SNAP, 0}}, {{0, 1, 0}}, SNAP), (Sides{{0, 1, 0}}));
}

/// Near lattice points, along an arc that is flat enough for halves to meet points that the whole did not, and in the order
/// of a side and against it.
TEST(SideSplitter, SplitsAsAWalkOfAllPointsWould) {
    test::RandomShapes random(11);
    std::size_t splits = 0;
    for (int round = 0; round < 400; ++round) {
        Points points;
        const double size = round % 2 ? 1 : 1000, turn = random.number(0, 6.3);
        const PlanarPoint u(std::cos(turn), std::sin(turn)), v(-u.y, u.x);
        const int count = random.count(3, 80);
        for (int i = 0; i < count; ++i) {
            const double along = random.count(0, 6), flat = along * (6 - along) * SNAP * random.count(0, 3) / 4;
            const double aside = round % 3 ? random.count(0, 3) : flat;
            const PlanarPoint jitter(random.number(-2, 2) * SNAP, random.number(-2, 2) * SNAP);
            points.push_back((u * along + v * (aside / (round % 3 ? 1 : size))) * size + jitter);
        }
        if (round % 5 == 0)
            std::sort(points.begin(), points.end(), [&](const PlanarPoint& a, const PlanarPoint& b) {
                return round % 10 ? a.dot(u) < b.dot(u) : b.dot(u) < a.dot(u);
            });
        Sides sides;
        for (int i = 0; i < count; ++i)
            sides.push_back({random.count(0, count - 1), random.count(0, count - 1), i});
        std::erase_if(sides, [](const CN_Side& side) { return side.from == side.to; });
        const Sides parts = CN_splitSides(points, sides, SNAP);
        ASSERT_EQ(parts, test::naiveSplitSides(points, sides, SNAP)) << round;
        splits += parts.size() - sides.size();
    }
    EXPECT_GT(splits, 10000u);
}

} // namespace
} // namespace cairn
