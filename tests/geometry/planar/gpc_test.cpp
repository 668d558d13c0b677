#include "cairn/geometry/planar/gpc.h"
#include "tests/support/planar_shapes.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace cairn {
namespace {

using test::PlanarLoop;
using test::PlanarPoint;
using test::PlanarShape;
using test::reversed;
using test::square;

/// What an operation gives.
struct Clipped {
    PlanarShape loops;
    std::vector<int> holes;

    Clipped(gpc_op operation, const PlanarShape& a, const PlanarShape& b) {
        gpc_polygon subject, clip, result;
        for (const PlanarLoop& loop : a)
            test::addContour(subject, loop, 0);
        for (const PlanarLoop& loop : b)
            test::addContour(clip, loop, 0);
        test::addContour(result, {{9, 9}, {8, 8}, {9, 8}}, 0); // goes
        gpc_polygon_clip(operation, &subject, &clip, &result);
        for (int c = 0; c < result.num_contours; ++c) {
            loops.emplace_back();
            for (int i = 0; i < result.contour[c].num_vertices; ++i)
                loops.back().emplace_back(result.contour[c].vertex[i].x, result.contour[c].vertex[i].y);
            holes.push_back(result.hole[c]);
        }
    }
    double area() const { return test::rightArea(loops); }
};

TEST(Clipping, OperationsGiveOutlinesAndHoles) {
    const PlanarLoop big = square(0, 0, 4), inner = square(1, 1, 2), corner = square(3, 3, 2);
    const struct {
        const char* name;
        gpc_op operation;
        PlanarShape a, b, result;
        std::vector<int> holes;
    } cases[] = {
        {"overlap", GPC_INT, {big}, {corner}, {square(3, 3, 1)}, {0}},
        {"ring", GPC_DIFF, {big}, {inner}, {big, reversed(inner)}, {0, 1}},
        {"the same given as flags", GPC_UNION, {reversed(inner), big}, {}, {big, reversed(inner)}, {0, 1}},
        {"island", GPC_DIFF, {big, inner}, {square(1.5, 1.5, 1)}, {big, reversed(inner)}, {0, 1}},
        {"island stays",
         GPC_UNION,
         {big, inner},
         {square(1.5, 1.5, 1)},
         {big, reversed(inner), square(1.5, 1.5, 1)},
         {0, 1, 0}},
        {"nothing left", GPC_DIFF, {inner}, {big}, {}, {}},
        {"nothing given", GPC_UNION, {}, {}, {}, {}},
        {"too few corners", GPC_UNION, {{{0, 0}, {1, 1}}}, {big}, {big}, {0}},
        {"both but what they share", GPC_XOR, {big}, {inner}, {big, reversed(inner)}, {0, 1}},
    };
    for (const auto& c : cases) {
        const Clipped clipped(c.operation, c.a, c.b);
        EXPECT_EQ(clipped.holes, c.holes) << c.name;
        ASSERT_EQ(clipped.loops.size(), c.result.size()) << c.name;
        for (std::size_t i = 0; i < c.result.size(); ++i)
            EXPECT_EQ(clipped.loops[i], test::fromLowest(c.result[i])) << c.name;
    }
}

TEST(Clipping, WhatIsNotFiniteGivesNothing) {
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        EXPECT_TRUE(Clipped(GPC_UNION, {square(0, 0, 4)}, {{{0, 0}, {0, bad}, {1, 1}}}).loops.empty());
    EXPECT_TRUE(Clipped(GPC_UNION, {{{-1e308, 0}, {0, 1e308}, {1e308, 0}}}, {}).loops.empty());
    EXPECT_TRUE(Clipped(GPC_UNION, {square(1, 1, 0)}, {}).loops.empty());
}

TEST(Clipping, ContoursThatCrossRunTheirWays) {
    // The second one crosses itself and both, and runs along the first one's side.
    const Clipped clipped(GPC_UNION, {square(0, 0, 8), {{2, 2}, {10, 9}, {0, 8}, {12, 4}, {0, 4}, {0, 2}, {0, 0}}}, {});
    EXPECT_FALSE(clipped.loops.empty());
    for (std::size_t i = 0; i < clipped.loops.size(); ++i)
        EXPECT_EQ(test::rightArea(clipped.loops[i]) < 0, clipped.holes[i] != 0);
}

/// Pieces of a cut add up, outlines and holes run their ways, and corners that were there stay to the last bit, wherever the
/// area lies and however large it is.
TEST(Clipping, RandomCutsLoseNothing) {
    test::RandomShapes shapes(5);
    for (int round = 0; round < 1000; ++round) {
        const double size = std::pow(10.0, shapes.count(-6, 6));
        const PlanarPoint place =
            PlanarPoint(shapes.number(-1, 1), shapes.number(-1, 1)) * (round % 4 ? size : 100 * size);
        PlanarShape shape = shapes.next();
        PlanarLoop cut = shapes.star({shapes.number(-15, 15), shapes.number(-15, 15)}, 3, 15, 4);
        std::set<std::pair<double, double>> corners;
        const auto move = [&](PlanarLoop& loop) {
            for (PlanarPoint& p : loop) {
                p = p * size + place;
                corners.emplace(p.x, p.y);
            }
        };
        for (PlanarLoop& loop : shape)
            move(loop);
        move(cut);
        const Clipped in(GPC_INT, shape, {cut}), out(GPC_DIFF, shape, {cut});
        const double area = test::rightArea(shape);
        ASSERT_NEAR(in.area() + out.area(), area, 1e-9 * area + 1e-12 * size * place.length()) << round;
        std::size_t kept = 0;
        for (const Clipped* const piece : {&in, &out}) {
            for (std::size_t i = 0; i < piece->loops.size(); ++i) {
                ASSERT_EQ(test::rightArea(piece->loops[i]) < 0, piece->holes[i] != 0) << round;
                for (const PlanarPoint& p : piece->loops[i])
                    kept += corners.count({p.x, p.y});
            }
        }
        std::size_t before = 0;
        for (const PlanarLoop& loop : shape)
            before += loop.size();
        ASSERT_GE(kept, before) << round;
    }
}

} // namespace
} // namespace cairn
