#include "cairn/geometry/planar/line_cut.h"
#include "cairn/geometry/planar/loop_sweep.h"
#include "cairn/geometry/planar/polygon2d.h"
#include "tests/support/planar_shapes.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

using test::PlanarLoop;
using test::PlanarPoint;
using test::PlanarShape;
using test::RandomShapes;
using test::reversed;
using test::square;

constexpr double SNAP = 1e-5;

/// A piece of a cut: its outline and its holes, each from its first corner on.
using Piece = PlanarShape;

/// One side of a line.
struct Half {
    gpc_polygon area;
    CN_2DPolygon loops{nullptr, SNAP, {}};
    bool isClean = true; ///< loops are the area's contours

    std::vector<Piece> pieces() {
        isClean = loops.createFrom(&area);
        std::vector<Piece> all;
        const auto pointsOf = [](const LassoContainer& loop) {
            PlanarLoop points;
            for (const CN_2DEdge& edge : loop.edges)
                points.push_back(edge.point(0));
            return points;
        };
        while (const LassoContainer* const outline = loops.getNextTopLevel()) {
            all.push_back({pointsOf(*outline)});
            for (const LassoContainer* const hole : outline->holes)
                all.back().push_back(pointsOf(*hole));
        }
        return all;
    }
};

void clip(const gpc_polygon& area, const PlanarPoint& at, const PlanarPoint& along, Half& right, Half& left) {
    constexpr double REACH = 45; // a rectangle that is not much larger than the area: what is as low depends on both
    const PlanarPoint aside = PlanarPoint(along.y, -along.x) * REACH, way = along * REACH;
    gpc_polygon rectangle;
    test::addContour(rectangle, {at - way, at + way, at + way + aside, at - way + aside}, 0);
    gpc_polygon_clip(GPC_INT, &area, &rectangle, &right.area);
    gpc_polygon_clip(GPC_DIFF, &area, &rectangle, &left.area);
}

/// Holds pieces against those of the clipper: their order, their holes, and where they start. Corners of `whole` are the same
/// to the last bit.
void expectSamePieces(const std::vector<Piece>& got, Half& clipped, const PlanarShape& whole) {
    const std::vector<Piece> expected = clipped.pieces();
    ASSERT_EQ(got.size(), expected.size());
    for (std::size_t piece = 0; piece < got.size(); ++piece) {
        ASSERT_EQ(got[piece].size(), expected[piece].size());
        for (std::size_t loop = 0; loop < got[piece].size(); ++loop) {
            ASSERT_EQ(got[piece][loop].size(), expected[piece][loop].size());
            for (std::size_t i = 0; i < got[piece][loop].size(); ++i) {
                const PlanarPoint &corner = got[piece][loop][i], &other = expected[piece][loop][i];
                ASSERT_LT((corner - other).length(), 1e-7); // where the line runs nearly along a side
                const bool isKept = std::any_of(whole.begin(), whole.end(), [&](const PlanarLoop& from) {
                    return std::find(from.begin(), from.end(), other) != from.end();
                });
                ASSERT_TRUE(!isKept || corner == other);
            }
        }
    }
}

/// Cuts both ways and holds one against the other. False where the cut was refused.
bool checkCut(const PlanarShape& shape, const PlanarPoint& at, const PlanarPoint& along) {
    gpc_polygon area;
    for (const PlanarLoop& loop : shape)
        test::addContour(area, loop, 0);
    Half right, left, clippedRight, clippedLeft;
    if (!CN_cutByLine(area, at, along, right.area, left.area))
        return false;
    const std::vector<Piece> rightPieces = right.pieces(), leftPieces = left.pieces();
    if (!right.isClean || !left.isClean)
        return false;
    clip(area, at, along, clippedRight, clippedLeft);
    expectSamePieces(rightPieces, clippedRight, shape);
    expectSamePieces(leftPieces, clippedLeft, shape);
    return true;
}

/// Teeth that stand on a bar, all as high.
PlanarLoop comb(int teeth) {
    PlanarLoop loop{{0, 0}};
    for (int i = 0; i < teeth; ++i)
        for (const PlanarPoint& corner : {PlanarPoint(0, 4), {1, 4}, {1, 1}, {2, 1}})
            loop.push_back(corner + PlanarPoint(2 * i, 0));
    loop.pop_back();
    loop.back().y = 0;
    return loop;
}

/// A square with windows in rows.
PlanarShape windows(int across) {
    PlanarShape shape{square(0, 0, 2 * across + 1)};
    for (int i = 0; i < across * across; ++i)
        shape.push_back(reversed(square(2 * (i % across) + 1, 2 * (i / across) + 1, 1)));
    return shape;
}

TEST(LineCut, TakesWhatLevelsAreMadeOf) {
    const PlanarPoint right(1, 0), up(0, 1), slanted(0.6, 0.8);
    const PlanarShape rings{square(0, 0, 8), square(1, 1, 6), square(2, 2, 4), square(3, 3, 2)};
    const PlanarShape ell{{{0, 0}, {0, 8}, {4, 8}, {4, 4}, {8, 4}, {8, 0}}};
    const struct {
        const char* name;
        PlanarShape shape;
        PlanarPoint at, along;
    } cases[] = {
        {"through a square", {square(0, 0, 4)}, {1, 1}, up},
        {"from corner to corner", {square(0, 0, 4)}, {2, 2}, PlanarPoint(1, 1) * std::sqrt(0.5)},
        {"along a side", {square(0, 0, 4)}, {4, 1}, up},
        {"at a corner", {square(0, 0, 4)}, {0, 0}, PlanarPoint(1, -1) * std::sqrt(0.5)},
        {"beside it", {square(0, 0, 4)}, {5, 1}, up},
        {"along a notch", ell, {4, 1}, up},
        {"along the other notch", ell, {1, 4}, right},
        {"through the notch's corner", ell, {4, 4}, slanted},
        {"across teeth", {comb(9)}, {0, 2.5}, right},
        {"between teeth", {comb(9)}, {5.5, 1}, up},
        {"slanted over teeth", {comb(9)}, {5.5, 1}, slanted},
        {"between windows", windows(5), {0, 2.5}, right},
        {"through windows", windows(5), {1.5, 0}, up},
        {"slanted over windows", windows(5), {2.5, 2.25}, slanted},
        {"rings in rings", rings, {4, 3.5}, slanted},
        {"beside the inner ring", rings, {2.5, 0}, up},
    };
    for (const auto& c : cases)
        for (const double way : {1.0, -1.0}) {
            SCOPED_TRACE(c.name);
            EXPECT_TRUE(checkCut(c.shape, c.at, c.along * way));
        }
}

TEST(LineCut, RefusesWhatOnlyTheClipperCanTell) {
    const PlanarLoop big = square(0, 0, 4);
    const struct {
        const char* name;
        PlanarShape shape;
    } cases[] = {
        {"two corners", {big, {{1, 1}, {2, 2}}}},
        {"no area", {{{0, 0}, {1, 1}, {2, 2}}}},
        {"out and back", {{{0, 0}, {0, 4}, {4, 4}, {4, 0}, {6, 0}}}},
        {"bow", {{{0, 0}, {4, 4}, {4, 0}, {0, 4}}}},
        {"twice around", {{{0, 0}, {0, 4}, {4, 4}, {4, 0}, {-1, -1}, {-1, 5}, {5, 5}, {5, -1}}}},
        {"loops that cross", {big, square(3, 3, 4)}},
        {"a corner on a side", {big, {{0, 2}, {1, 3}, {1, 1}}}},
        {"a corner shared", {big, {{4, 4}, {3, 2}, {2, 3}}}},
        {"the same twice", {big, big}},
        {"a corner just off the line", {{{0, 0}, {1.5 + 1e-9, 4}, {4, 0}}}},
        {"a hole that touches the line", {big, {{1.5, 2}, {2, 3}, {2, 1}}}},
        {"a window's side on the line", {big, reversed(square(1.5, 1, 1))}},
        {"nothing", {}},
    };
    for (const auto& c : cases)
        EXPECT_FALSE(checkCut(c.shape, {1.5, 0}, {0, 1})) << c.name;
    EXPECT_FALSE(checkCut({comb(9)}, {0, 1}, {1, 0})) << "the gaps between teeth on the line";
}

/// The same loops as by way of the clipper, in any place and for any start and sense of the loops.
TEST(LineCut, CutsAsTheClipperDoes) {
    RandomShapes random(31);
    int taken = 0, loose = 0;
    for (int round = 0; round < 4000; ++round) {
        SCOPED_TRACE(round);
        PlanarShape shape = random.next();
        const bool isOnGrid = round % 2 == 1;
        const PlanarPoint place(isOnGrid ? 16 : random.number(-100, 100), random.number(-3, 3));
        for (PlanarLoop& loop : shape) {
            for (PlanarPoint& corner : loop)
                corner = isOnGrid ? PlanarPoint(std::round(corner.x), std::round(corner.y)) : corner + place;
            std::rotate(loop.begin(), loop.begin() + random.count(0, static_cast<int>(loop.size()) - 1), loop.end());
            if (random.count(0, 1) == 1)
                loop = reversed(loop);
        }
        const double angle = random.number(0, 6.3), axis = random.count(0, 3);
        const PlanarPoint slanted(std::cos(angle), std::sin(angle));
        const PlanarPoint along(axis == 0 ? 1 : axis == 1 ? -1 : 0, axis == 2 ? 1 : axis == 3 ? -1 : 0);
        const PlanarPoint from(random.count(-12, 12), random.count(-12, 12));
        const bool isTaken = isOnGrid ? checkCut(shape, from, along) : checkCut(shape, from + place, slanted);
        taken += isTaken ? 1 : 0;
        loose += isTaken || isOnGrid ? 0 : 1;
        if (testing::Test::HasFailure())
            return;
    }
    EXPECT_GT(taken, 2500);
    EXPECT_LT(loose, 10) << "next to nothing of what is in no special place";
}

bool touch(const PlanarPoint& a, const PlanarPoint& b, const PlanarPoint& c, const PlanarPoint& d) {
    const auto side = [](const PlanarPoint& p, const PlanarPoint& q, const PlanarPoint& r) {
        const double turn = (q - p).cross(r - p);
        return turn > 0 ? 1 : turn < 0 ? -1 : 0;
    };
    const auto boxesMeet = [](double a0, double a1, double b0, double b1) {
        return std::max(std::min(a0, a1), std::min(b0, b1)) <= std::min(std::max(a0, a1), std::max(b0, b1));
    };
    return side(a, b, c) * side(a, b, d) <= 0 && side(c, d, a) * side(c, d, b) <= 0 && boxesMeet(a.x, b.x, c.x, d.x) &&
           boxesMeet(a.y, b.y, c.y, d.y);
}

/// By all pairs of sides, whose ends are whole numbers.
bool areApart(const PlanarShape& shape) {
    struct Side {
        PlanarPoint from, to;
        std::size_t loop, place;
    };
    std::vector<Side> sides;
    for (std::size_t loop = 0; loop < shape.size(); ++loop)
        for (std::size_t i = 0; i < shape[loop].size(); ++i)
            sides.push_back({shape[loop][i], shape[loop][(i + 1) % shape[loop].size()], loop, i});
    for (const Side& a : sides)
        for (const Side& b : sides) {
            const bool isSame = a.loop == b.loop && a.place == b.place;
            const bool follows = a.loop == b.loop && (a.place + 1) % shape[a.loop].size() == b.place;
            const bool leads = a.loop == b.loop && (b.place + 1) % shape[a.loop].size() == a.place;
            if (isSame    ? a.from == a.to
                : follows ? (a.to - a.from).cross(b.to - b.from) == 0 && (a.to - a.from).dot(b.to - b.from) < 0
                          : !leads && touch(a.from, a.to, b.from, b.to))
                return false;
        }
    return true;
}

TEST(LoopSweep, TellsLoopsThatAreApartAndTurnsThem) {
    RandomShapes random(32);
    test::RayVote vote(33);
    int apart = 0;
    for (int round = 0; round < 4000; ++round) {
        const double spread = random.count(4, 40);
        PlanarShape shape;
        CN_PlanarLoops loops{{}, {0}};
        for (int left = random.count(1, 3); left > 0; --left) {
            const PlanarPoint center(random.count(-20, 20) / spread, random.count(-20, 20) / spread);
            shape.push_back(random.star(center, 0.3 * left, 1.2 * left, random.count(3, 9)));
            for (PlanarPoint& corner : shape.back())
                corner = {std::round(corner.x * spread), std::round(corner.y * spread)};
            if (random.count(0, 1) == 1)
                shape.back() = reversed(shape.back());
            loops.corners.insert(loops.corners.end(), shape.back().begin(), shape.back().end());
            loops.firsts.push_back(static_cast<int>(loops.corners.size()));
        }
        ASSERT_EQ(CN_turnLoops(loops), areApart(shape)) << round;
        if (!areApart(shape))
            continue;
        ++apart;
        for (int loop = 0; loop < loops.count(); ++loop) {
            const PlanarLoop turned(loops.corners.begin() + loops.first(loop),
                                    loops.corners.begin() + loops.first(loop + 1));
            PlanarShape others = shape;
            others.erase(others.begin() + loop);
            ASSERT_EQ(test::rightArea(turned) < 0, vote.isInside(others, turned[0])) << round;
        }
    }
    EXPECT_GT(apart, 1000);
    EXPECT_LT(apart, 3000);
}

} // namespace
} // namespace cairn
