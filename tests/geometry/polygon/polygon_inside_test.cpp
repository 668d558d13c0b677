#include "tests/support/naive_inside.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

using test::ShelfDocument;
using Vector = M_Vector3Template<double>;

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

double distanceFromOutline(const CN_Polygon& polygon, const Vector& p) {
    double least = std::numeric_limits<double>::infinity();
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        const double t = std::clamp((p - edge.getLocal(0)).dot(edge.dir()) / edge.dir().lengthSquared(), 0.0, 1.0);
        least = std::min(least, (edge.getLocal(0) + edge.dir() * t - p).length());
    }
    return least;
}

/// 8 x 8 from the origin, looking up, with a hole from (2, 2) to (4, 4).
struct FloorWithHole {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::pillarRoom(document);
    CN_Polygon& polygon = mesh.accessPolygonList()[0];
};

TEST(PolygonInside, PointsInOnAndBesideAFloorWithAHole) {
    struct Case {
        const char* name;
        Vector point;
        bool inside, onSkin, inOrOn;
    };
    const Case cases[] = {
        {"inside", {6, 0, 6}, true, false, true},
        {"at the height of corners", {1, 0, 2}, true, false, true},
        {"in the hole", {3, 0, 3}, false, false, false},
        {"beyond", {9, 0, 4}, false, false, false},
        {"on a corner", {0, 0, 8}, false, true, true},
        {"on a corner of the hole", {4, 0, 2}, false, true, true},
        {"on an edge", {8, 0, 5}, false, true, true},
        {"on the hole's edge", {3, 0, 4}, false, true, true},
        {"on an edge's line beyond it", {8, 0, 9}, false, false, false},
        {"beside an edge inside", {7.99995, 0, 5}, false, false, true},
        {"beside an edge outside", {8.00005, 0, 5}, false, false, true},
        {"next to it", {7.9998, 0, 5}, true, false, true},
        {"beyond a corner", {8.00005, 0, 8.00005}, false, false, true},
        {"little above", {6, 0.00009, 6}, true, false, true},
        {"above", {6, 0.0002, 6}, true, false, false},
        {"above the edge", {8, 0.0002, 5}, false, false, false},
        {"nowhere", {NOT_A_NUMBER, 0, 6}, false, false, false},
    };
    FloorWithHole floor;
    for (const bool knowsExtent : {true, false}) {
        floor.polygon.setUVCalculated(knowsExtent);
        for (const Case& c : cases) {
            SCOPED_TRACE(c.name);
            EXPECT_EQ(floor.polygon.pointInPoly(c.point, true), c.inside);
            EXPECT_EQ(floor.polygon.pointSkinsPolygon(c.point), c.onSkin);
            EXPECT_EQ(floor.polygon.vertexIsInPolygon(&c.point), c.inOrOn);
        }
    }
    floor.mesh.setPosition({100, 0, 0});
    floor.mesh.handleOwnHierarchy();
    EXPECT_TRUE(floor.polygon.pointInPoly({106, 0, 6}, false));
    EXPECT_FALSE(floor.polygon.pointInPoly({6, 0, 6}, false));
}

TEST(PolygonInside, TheExtentTellsOnlyWhileItHolds) {
    FloorWithHole floor;
    CN_UVSpace& space = floor.polygon.accessUVSpaces()[0];
    space.max.x = space.min.x;
    EXPECT_FALSE(floor.polygon.pointInPoly({6, 0, 6}, true));
    space.min = CN_UVSpace().min;
    space.max = CN_UVSpace().max;
    EXPECT_TRUE(floor.polygon.pointInPoly({6, 0, 6}, true)) << "an empty extent tells nothing";
    space.max = space.min = {};
    floor.polygon.editUVSpace(0);
    EXPECT_TRUE(floor.polygon.pointInPoly({6, 0, 6}, true)) << "the space may have changed";
}

TEST(PolygonInside, WhatHasNoAreaHoldsNothing) {
    FloorWithHole floor;
    const Vector inside(6, 0, 6);
    for (const Vector& normal : {Vector(), Vector(0, NOT_A_NUMBER, 0)}) {
        floor.polygon.setNormal(normal);
        EXPECT_FALSE(floor.polygon.pointInPoly(inside, true));
        EXPECT_FALSE(floor.polygon.pointSkinsPolygon({0, 0, 0}));
        EXPECT_FALSE(floor.polygon.vertexIsInPolygon(&inside));
        EXPECT_FALSE(floor.polygon.rangeIntersects(inside, {9, 0, 0}));
        Vector out;
        EXPECT_FALSE(floor.polygon.intersectPlane(out, {0, -1, 0}, {6, 1, 6}, nullptr, true));
        EXPECT_FALSE(floor.polygon.getTriangleList().first()->intersectEdge(out, out, inside, {9, 0, 9}, 0.001));
        floor.polygon.buildBoundingBox(true);
        EXPECT_FALSE(floor.polygon.polygonIntersects(&floor.mesh.accessPolygonList()[2]));
    }
    CN_Polygon& empty = *floor.mesh.addPolygon();
    empty.setNormal({0, 1, 0});
    EXPECT_FALSE(empty.pointInPoly(inside, true));
    EXPECT_FALSE(empty.vertexIsInPolygon(&inside));
    EXPECT_FALSE(empty.rangeIntersects(inside, {1, 0, 0}));
}

TEST(PolygonInside, PointsAreWhereARayAtRandomFindsThem) {
    ShelfDocument document;
    test::RandomPolygons random(1);
    std::vector<const CN_Polygon*> polygons;
    for (const test::ShelfMesh& sample : test::meshShelf())
        if (sample.polygons <= 100)
            for (const CN_Polygon& polygon : sample.build(document)->getPolygonList())
                polygons.push_back(&polygon);
    CN_LevelEntityMesh& stars = *test::addFixture(document, "Stars");
    for (int i = 0; i < 100; ++i)
        polygons.push_back(random.add(stars));
    test::NaiveInside oracle(1);
    int inside = 0, asked = 0;
    for (const CN_Polygon* const polygon : polygons) {
        const CN_Polygon::PlanarSpace space = polygon->getSpace();
        for (int i = 0; i < 50; ++i) {
            // Between two corners, so that about half are inside, and at the height of a corner now and then.
            const int edges = polygon->getEdgeList().count();
            const auto corner = [&] {
                return space.toUV(polygon->getEdgeList()[random.count(0, edges - 1)].getLocal(0));
            };
            const auto a = corner(), b = corner();
            auto at = a + (b - a) * random.number(-0.2, 1.2);
            if (i % 2)
                at.y = a.y;
            const Vector point = space.fromUV(at) + polygon->getNormal() * random.number(-1, 1);
            const Vector onPlane = space.fromUV(at);
            const double distance = distanceFromOutline(*polygon, onPlane);
            const bool answer = polygon->pointInPoly(point, true);
            if (distance < 0.9 * CN_Polygon::s_dEdgeThickness) {
                EXPECT_FALSE(answer);
            }
            if (distance < 1e-3)
                continue;
            ASSERT_EQ(answer, oracle.isInside(*polygon, onPlane)) << at.x << ' ' << at.y;
            inside += answer ? 1 : 0;
            ++asked;
        }
    }
    EXPECT_GT(inside, asked / 4);
    EXPECT_LT(inside, asked * 3 / 4);
}

TEST(PolygonInside, EdgesInAndAtAPolygon) {
    struct Case {
        const char* name;
        Vector from, to;
        bool isIn, connects;
    };
    const Case cases[] = {
        {"within", {1, 0, 1}, {6, 0, 1}, true, false},
        {"on the outline", {0, 0, 0}, {0, 0, 8}, true, false},
        {"over the hole", {1, 0, 3}, {6, 0, 3}, true, false}, // its ends count alone
        {"out", {6, 0, 6}, {9, 0, 6}, false, true},
        {"in", {9, 0, 6}, {6, 0, 6}, false, true},
        {"up", {6, 0, 6}, {6, 1, 6}, false, true},
        {"away", {9, 0, 6}, {9, 1, 6}, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FloorWithHole floor;
        CN_Polygon& line = *floor.mesh.addPolygon();
        const CN_Edge& edge = *line.addEdge(c.from, c.to);
        EXPECT_EQ(floor.polygon.edgeIsInPolygon(&edge), c.isIn);
        EXPECT_EQ(floor.polygon.edgeConnectsToPolygon(&edge), c.connects);
        EXPECT_EQ(line.sharesEdges(&floor.polygon), c.isIn);
    }
}

TEST(PolygonInside, StretchesThatLeaveTheArea) {
    struct Case {
        const char* name;
        Vector start, vector;
        bool intersects, runs;
    };
    const Case cases[] = {
        {"within", {5, 0, 5}, {2, 0, 2}, false, false},
        {"out", {5, 0, 5}, {9, 0, 0}, true, true},
        {"through", {-1, 0, 6}, {10, 0, 0}, true, true},
        {"in", {-1, 0, 6}, {3, 0, 0}, false, false},
        {"in through the hole", {1, 0, 3}, {2, 0, 0}, true, true},
        {"beside", {-1, 0, 9}, {10, 0, 0}, false, false},
        {"along an edge", {8, 0, 1}, {0, 0, 5}, false, false},
        {"from an edge to the inside", {8, 0, 6}, {-2, 0, 0}, false, false},
        {"to an edge", {6, 0, 6}, {2, 0, 0}, false, false},
        {"little off the plane", {5, 0.0002, 5}, {9, 0, 0}, true, true},
        {"off the plane", {5, 0.0003, 5}, {9, 0, 0}, true, false},
        {"leaving the plane", {5, 0, 5}, {9, 1, 0}, true, false},
        {"without length", {5, 0, 5}, {0, 0, 0}, false, false},
        {"nowhere", {5, 0, 5}, {NOT_A_NUMBER, 0, 0}, false, false},
    };
    FloorWithHole floor;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(floor.polygon.rangeIntersects(c.start, c.vector), c.intersects);
        EXPECT_EQ(floor.polygon.edgeRunsInPolygon(c.start, c.vector), c.runs);
    }
}

TEST(PolygonInside, RaysMeetThePlane) {
    FloorWithHole floor;
    Vector out(7, 7, 7);
    double t = 7;
    EXPECT_TRUE(floor.polygon.intersectPlane(out, {1, -2, 0}, {1, 4, 1}, &t, true));
    EXPECT_EQ(out, Vector(3, 0, 1));
    EXPECT_EQ(t, 2);
    EXPECT_TRUE(floor.polygon.intersectPlane(out, {0, 1, 0}, {30, -3, 1}, nullptr, true))
        << "from behind, beyond the edges";
    EXPECT_EQ(out, Vector(30, 0, 1));
    for (const auto& [direction, origin] : {std::pair(Vector(0, 1, 0), Vector(1, 4, 1)),
                                            {{0, -1, 0}, {1, 0, 1}},
                                            {{1, 0, 0}, {1, 4, 1}},
                                            {{0, -1, 0}, {1, NOT_A_NUMBER, 1}}})
        EXPECT_FALSE(floor.polygon.intersectPlane(out, direction, origin, &t, true));
    EXPECT_EQ(out, Vector(30, 0, 1));
    EXPECT_EQ(t, 2);

    CN_LevelEntityMesh& rotated = *test::rotatedRoom(floor.document);
    const CN_Polygon& ground = rotated.accessPolygonList()[0];
    const Vector origin = rotated.worldTransform({1, 3, 2}),
                 direction = Vector(0, -1.5, 0.5) * rotated.getWorldRotation();
    EXPECT_TRUE(ground.intersectPlane(out, direction, origin, &t, false));
    EXPECT_NEAR((out - rotated.worldTransform({1, 0, 3})).length(), 0, 1e-12);
    EXPECT_NEAR(t, 2, 1e-12);
}

TEST(PolygonInside, PiecesClipStretches) {
    struct Case {
        const char* name;
        Vector start, end;
        bool hits;
        Vector from, to;
    };
    // Against the unit floor, which is one piece.
    const Case cases[] = {
        {"through", {-1, 0, 0.5}, {2, 0, 0.5}, true, {0, 0, 0.5}, {1, 0, 0.5}},
        {"back", {2, 0, 0.5}, {-1, 0, 0.5}, true, {1, 0, 0.5}, {0, 0, 0.5}},
        {"within", {0.25, 0, 0.5}, {0.5, 0, 0.25}, true, {0.25, 0, 0.5}, {0.5, 0, 0.25}},
        {"above", {-1, 3, 0.5}, {2, 5, 0.5}, true, {0, 0, 0.5}, {1, 0, 0.5}},
        {"a corner", {-1, 0, 0.75}, {0.5, 0, 2.25}, false, {}, {}},
        {"beside", {-1, 0, 1.5}, {2, 0, 1.5}, false, {}, {}},
        {"past a corner", {-1, 0, 1.5}, {0.5, 0, 3}, false, {}, {}},
        {"within the thickness", {-1, 0, 1.0009}, {2, 0, 1.0009}, true, {0, 0, 1.0009}, {1, 0, 1.0009}},
        {"beyond the thickness", {-1, 0, 1.0011}, {2, 0, 1.0011}, false, {}, {}},
        {"an edge", {0, 0, 0}, {0, 0, 1}, true, {0, 0, 0}, {0, 0, 1}},
        {"one place inside", {0.5, 0, 0.5}, {0.5, 0, 0.5}, true, {0.5, 0, 0.5}, {0.5, 0, 0.5}},
        {"one place outside", {5, 0, 5}, {5, 0, 5}, false, {5, 0, 5}, {5, 0, 5}},
        {"nowhere", {0.5, 0, NOT_A_NUMBER}, {0.5, 0, 0.5}, false, {}, {}},
    };
    ShelfDocument document;
    const CN_Triangle& piece = *test::unitFloor(document)->accessPolygonList()[0].getTriangleList().first();
    ASSERT_EQ(piece.getVertices().size(), 4u);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Vector from, to;
        EXPECT_EQ(piece.intersectEdge(from, to, c.start, c.end, 0.001), c.hits);
        EXPECT_NEAR((from - c.from).length(), 0, 1e-12);
        EXPECT_NEAR((to - c.to).length(), 0, 1e-12);
    }
    const test::ProcessStateGuard guard;
    Vector from, to;
    EXPECT_FALSE(piece.intersectEdge(from, to, {0.5, 0, 0.5}, {0.5, 0, 0.500001}, 0.001));
    EXPECT_EQ(guard.log(), "Intersectedge failed because length was 0.000001000000\n");
}

} // namespace
} // namespace cairn
