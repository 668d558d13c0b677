#include "cairn/geometry/planar/triangulator.h"
#include "tests/support/planar_shapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>

namespace cairn {
namespace {

using test::PlanarLoop;
using test::PlanarPoint;
using test::PlanarShape;

struct Triangles {
    std::vector<PlanarPoint> points;
    std::vector<CN_Segment> segments;
    std::vector<int> corners;

    explicit Triangles(const PlanarShape& shape) {
        for (const PlanarLoop& loop : shape) {
            const int first = static_cast<int>(points.size()), n = static_cast<int>(loop.size());
            for (int i = 0; i < n; ++i)
                segments.push_back({first + i, first + (i + 1) % n});
            points.insert(points.end(), loop.begin(), loop.end());
        }
        run();
    }
    void run() { CN_triangulateOutlines(points, segments, corners); }
    int count() const { return static_cast<int>(corners.size() / 3); }
    PlanarLoop at(int triangle) const {
        PlanarLoop loop;
        for (int i = 0; i < 3; ++i)
            loop.push_back(points[static_cast<std::size_t>(corners[static_cast<std::size_t>(3 * triangle + i)])]);
        return loop;
    }
    double area() const {
        double sum = 0;
        for (int t = 0; t < count(); ++t)
            sum += test::rightArea(at(t));
        return sum;
    }
};

const PlanarLoop SQUARE{{0, 0}, {0, 4}, {4, 4}, {4, 0}};

TEST(Triangulator, CoversWhatLiesRightOfTheEdges) {
    const struct {
        const char* name;
        PlanarShape shape;
        int count;
        double area;
    } cases[] = {
        {"square", {SQUARE}, 2, 16},
        {"notch", {{{0, 0}, {0, 4}, {2, 1}, {4, 4}, {4, 0}}}, 3, 10},
        {"hole", {SQUARE, {{1, 1}, {3, 1}, {3, 3}, {1, 3}}}, 8, 12},
        {"island in a hole",
         {SQUARE, {{0.5, 0.5}, {3.5, 0.5}, {3.5, 3.5}, {0.5, 3.5}}, {{1, 1}, {1, 2}, {2, 2}, {2, 1}}},
         10,
         8},
        {"hole that ends on the outline", {SQUARE, {{0, 2}, {2, 1}, {2, 3}}}, 6, 14},
        {"hole on two edges of the outline", {SQUARE, {{0, 2}, {2, 1}, {4, 2}, {2, 3}}}, 6, 12},
        {"two apart", {SQUARE, {{5, 0}, {5, 1}, {6, 1}, {6, 0}}}, 4, 17},
        {"wrong way round", {{{4, 0}, {4, 4}, {0, 4}, {0, 0}}}, 0, 0},
    };
    for (const auto& c : cases) {
        const Triangles triangles(c.shape);
        EXPECT_EQ(triangles.count(), c.count) << c.name;
        EXPECT_NEAR(triangles.area(), c.area, 1e-12) << c.name;
    }
}

TEST(Triangulator, RandomOutlinesWithHolesKeepTheirArea) {
    test::RandomShapes shapes(1);
    test::RayVote vote(2);
    for (int round = 0; round < 10000; ++round) {
        const PlanarShape shape = shapes.next();
        const Triangles triangles(shape);
        ASSERT_EQ(triangles.count(), static_cast<int>(triangles.points.size() + 2 * shape.size()) - 4) << round;
        double sum = 0;
        for (int t = 0; t < triangles.count(); ++t) {
            const PlanarLoop corners = triangles.at(t);
            const double area = test::rightArea(corners);
            ASSERT_GT(area, 0) << round << ": runs the wrong way";
            sum += area;
            const PlanarPoint middle = (corners[0] + corners[1] + corners[2]) * (1.0 / 3);
            ASSERT_TRUE(area < 1e-6 || vote.isInside(shape, middle)) << round << ": in a hole or a notch";
        }
        ASSERT_NEAR(sum, test::rightArea(shape), 1e-9 * sum) << round;
    }
}

TEST(Triangulator, WhatEnclosesNothingSoundHasNoTriangles) {
    constexpr double NONE = std::numeric_limits<double>::quiet_NaN(), INF = std::numeric_limits<double>::infinity();
    const struct {
        const char* name;
        PlanarShape shape;
    } cases[] = {
        {"nothing", {}},
        {"one point", {{{1, 1}}}},
        {"two points", {{{0, 0}, {1, 1}}}},
        {"one point four times", {{{1, 1}, {1, 1}, {1, 1}, {1, 1}}}},
        {"a line", {{{0, 0}, {1, 1}, {2, 2}, {3, 3}}}},
        {"a line but for rounding", {{{0, 0}, {0.1, 0.3}, {0.2, 0.6}, {0.7, 2.1}}}},
        {"bow", {{{0, 0}, {0, 4}, {4, 0}, {4, 4}}}},
        {"two squares that cross", {SQUARE, {{2, 2}, {2, 6}, {6, 6}, {6, 2}}}},
        {"no number", {{{0, 0}, {0, NONE}, {1, 1}}}},
        {"infinite", {{{0, 0}, {0, INF}, {1, 1}}}},
        // Rounding where these edges cross has led the library into an endless loop.
        {"edges that nearly meet at a point",
         {{{6.9388939039072284e-18, 0},
           {1.52587890625e-05, 2.3283064365386963e-10},
           {0.0001220703125, 0},
           {1.7347234759768071e-18, 6.103515625e-05},
           {0, 0},
           {0.00048828125, 0.00390625},
           {9.0949470177292824e-13, 0},
           {0, 6.9388939039072284e-18},
           {1.3877787807814457e-17, 0},
           {1.4901161193847656e-08, 4.76837158203125e-07},
           {0, 0.125},
           {5.9604644775390625e-08, 9.0949470177292824e-13}}}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Triangles(c.shape).count(), 0) << c.name;

    Triangles open({SQUARE});
    open.segments.pop_back();
    open.run();
    EXPECT_EQ(open.count(), 0);
    for (const int wrong : {-1, 4}) {
        open.segments = {{0, 1}, {1, 2}, {2, wrong}};
        open.run();
        EXPECT_EQ(open.count(), 0);
    }
}

TEST(Triangulator, SizeDoesNotMatter) {
    for (const double size : {1e-300, 1e-12, 1.0, 1e12, 1e300}) {
        PlanarLoop outline;
        for (const PlanarPoint& p : SQUARE)
            outline.push_back(p * size);
        outline.emplace_back(2 * size, 1 * size);
        EXPECT_EQ(Triangles({outline}).count(), 3) << size;
    }
    test::RandomShapes shapes(3);
    PlanarLoop many = shapes.star({}, 5, 10, 10000);
    EXPECT_EQ(Triangles({many}).count(), 9998);
    // All edges at one corner, and all corners on few lines.
    PlanarLoop fan, comb{{0, 0}};
    for (int i = 0; i < 2000; ++i) {
        fan.emplace_back(0, 0);
        fan.emplace_back(std::cos(i * -0.003), std::sin(i * -0.003));
        comb.insert(comb.end(), {{i * 2.0, 3}, {i * 2.0 + 1, 3}, {i * 2.0 + 1, 1}, {i * 2.0 + 2, 1}});
    }
    comb.emplace_back(4000, 0);
    EXPECT_EQ(Triangles({fan}).count(), 0) << "lines out and back";
    EXPECT_EQ(Triangles({comb}).count(), static_cast<int>(comb.size()) - 2);
}

TEST(Triangulator, OneOutlineHasOneTriangulation) {
    test::RandomShapes shapes(4);
    for (int round = 0; round < 20; ++round) {
        const PlanarShape shape = shapes.next();
        EXPECT_EQ(Triangles(shape).corners, Triangles(shape).corners);
    }
    EXPECT_EQ(Triangles({{{0, 0}, {0, 1}, {1, 1}, {1, 0}}}).corners, (std::vector<int>{1, 3, 0, 3, 1, 2}));
}

} // namespace
} // namespace cairn
