#include "cairn/geometry/ngon.h"
#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/planar/planar_picture.h"
#include "cairn/geometry/planar/polygon2d.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/naive_planar.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace cairn {
namespace {

using test::addContour;
using test::fromLowest;
using test::PlanarLoop;
using test::PlanarPoint;
using test::PlanarShape;
using test::reversed;
using test::square;
using Vector = M_Vector3Template<double>;

constexpr double SNAP = 1e-5;

/// A polygon on the ground whose plane has U along +X and V along +Z, so that its points are those of the shape.
struct Ground {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "ground");
    CN_Polygon* polygon = mesh.addPolygon();

    explicit Ground(const PlanarShape& shape = {}) {
        polygon->setNormal({0, 1, 0});
        polygon->setReferenceNormal({0, 1, 0});
        for (const PlanarLoop& loop : shape) {
            const int first = mesh.getVertexList().count(), n = static_cast<int>(loop.size());
            for (const PlanarPoint& p : loop)
                mesh.addVertex({p.x, 0, p.y});
            for (int i = 0; i < n; ++i)
                polygon->addEdge(first + i, first + (i + 1) % n, false);
        }
    }
    CN_2DPolygon planar() { return {polygon, SNAP}; }
};

PlanarLoop pointsOf(const LassoContainer& lasso) {
    PlanarLoop loop;
    for (const CN_2DEdge& edge : lasso.edges)
        loop.push_back(edge.point(0));
    return loop;
}

double triangleArea(const CN_2DPolygon& planar) {
    double sum = 0;
    for (int t = 0; t < planar.getNumTriangles(); ++t) {
        PlanarLoop corners;
        for (int i = 0; i < 3; ++i)
            corners.push_back(planar.getVertices()[static_cast<std::size_t>(
                planar.getTriangles()[static_cast<std::size_t>(3 * t + i)])]);
        sum += test::rightArea(corners);
    }
    return sum;
}

TEST(PlanarPolygon, LaysAPolygonOut) {
    Ground ground({square(0, 0, 4), reversed(square(1, 1, 2))});
    CN_2DPolygon planar = ground.planar();
    EXPECT_EQ(planar.valid(), 1);
    EXPECT_EQ(planar.getNumVertices(), 8);
    EXPECT_EQ(planar.getNumEdges(), 8);
    EXPECT_EQ(planar.getVertices()[2], PlanarPoint(4, 4));
    EXPECT_EQ(planar.toLocal({3, 2}), Vector(3, 0, 2));
    EXPECT_EQ(planar.ref(5), 5);
    EXPECT_THROW(planar.ref(8), std::out_of_range);
    EXPECT_EQ(planar.isClockwise(), 1);
    EXPECT_EQ(planar.triangulate(), 1);
    EXPECT_EQ(planar.getNumTriangles(), 8);
    EXPECT_DOUBLE_EQ(triangleArea(planar), 12);

    CN_2DPolygon copy = planar;
    planar = Ground({square(0, 0, 1)}).planar();
    EXPECT_EQ(copy.getNumTriangles(), 8);
    EXPECT_EQ(copy.getEdges().first()->getParent(), &copy);
    EXPECT_EQ(copy.getEdges().last()->point(1), PlanarPoint(3, 1));
}

TEST(PlanarPolygon, ACopyKeepsConnections) {
    Ground ground({square(0, 0, 4)});
    CN_2DPolygon planar = ground.planar();
    CN_2DEdge diagonal;
    diagonal.set(1, 3, &planar, -1);
    planar.makeConnection(&diagonal);
    planar.clearConnection(0, 1);
    planar.connect(2, 0, planar.accessEdges().last());
    CN_2DPolygon assigned = Ground().planar();
    assigned = planar;
    for (CN_2DPolygon copy : {planar, assigned}) {
        EXPECT_EQ(copy.edge(1, 3), &diagonal) << "an edge of the caller";
        EXPECT_FALSE(copy.connected(0, 1));
        EXPECT_EQ(copy.edgeRef(0, 1), 1) << "the edge is there all the same";
        EXPECT_EQ(copy.edge(2, 0), copy.getEdges().last());
        copy.removeEdge(copy.accessEdges().first());
        EXPECT_EQ(copy.edgeRef(0, 1), 0);
    }
    EXPECT_EQ(planar.edgeRef(0, 1), 1);
}

/// Axes that are too long for their length to be told in numbers.
TEST(PlanarPolygon, TooFewCornersNeedNoPlane) {
    for (const int corners : {0, 1, 2, 3}) {
        Ground ground;
        ground.polygon->editUVSpace(0).setMatrix({{1e200, 0, 0}, {0, 0, -1}, {0, 1, 0}});
        for (int i = 0; i < corners; ++i)
            ground.polygon->addVertex({i * 1.0, 0, i * i * 1.0});
        if (corners < 3)
            EXPECT_EQ(ground.planar().valid(), 0) << corners;
        else
            EXPECT_NE(test::failureText([&] { ground.planar(); }), "(nothing thrown)");
    }
}

TEST(PlanarPolygon, PointsThatCoincideAreOneVertex) {
    const struct {
        const char* name;
        PlanarShape shape;
        int vertices, edges, triangles;
    } cases[] = {
        {"two corners near to one another", {{{0, 0}, {0, 4}, {5e-6, 4}, {4, 4}, {4, 0}}}, 4, 4, 2},
        {"just not near", {{{0, 0}, {0, 4}, {2e-5, 4}, {4, 4}, {4, 0}}}, 5, 5, 3},
        {"hole that touches a corner", {square(0, 0, 4), {{0, 0}, {2, 1}, {1, 2}}}, 6, 7, 5},
        {"two corners", {{{0, 0}, {4, 4}}}, 0, 0, 0},
        {"two distinct ones", {{{0, 0}, {4, 4}, {4, 4}}}, 2, 2, 0},
    };
    for (const auto& c : cases) {
        Ground ground(c.shape);
        CN_2DPolygon planar = ground.planar();
        EXPECT_EQ(planar.getNumVertices(), c.vertices) << c.name;
        EXPECT_EQ(planar.getNumEdges(), c.edges) << c.name;
        EXPECT_EQ(planar.triangulate(), 1);
        EXPECT_EQ(planar.getNumTriangles(), c.triangles) << c.name;
    }
    EXPECT_EQ(Ground({{{0, 0}, {4, 4}}}).planar().valid(), 0);
    EXPECT_EQ(Ground().planar().valid(), 0);
    // Many points, near and far, merge as a walk of all of them would have it.
    test::RandomShapes shapes(6);
    PlanarLoop loop, merged;
    for (int i = 0; i < 3000; ++i) {
        const PlanarPoint p(shapes.count(0, 3) + shapes.number(0, 2e-4), shapes.count(0, 3) + shapes.number(0, 2e-4));
        loop.push_back(p);
        if (std::none_of(merged.begin(), merged.end(), [&](const PlanarPoint& q) {
                return (q - PlanarPoint(p.x - loop[0].x, p.y - loop[0].y)).length() < SNAP;
            }))
            merged.emplace_back(p.x - loop[0].x, p.y - loop[0].y);
    }
    Ground ground({loop});
    EXPECT_EQ(ground.planar().getVertices(), merged);
}

TEST(PlanarPolygon, CornersInTheBufferAreAnOpenChain) {
    Ground ground;
    for (const Vector& corner : {Vector(0, 0, 0), Vector(0, 0, 4), Vector(4, 0, 4), Vector(4, 0, 0)})
        ground.polygon->addVertex(corner);
    CN_2DPolygon planar = ground.planar();
    EXPECT_EQ(planar.getNumEdges(), 3);
    EXPECT_EQ(planar.isClockwise(), 1);
    EXPECT_EQ(planar.checkSimplicity(1), 1);
    EXPECT_EQ(planar.checkIncompleteSimplicity({2, 0, 2}), 1);
    EXPECT_EQ(planar.checkIncompleteSimplicity({5, 0, 3}), 0);
    ground.polygon->flipVertexOrder();
    EXPECT_EQ(ground.planar().isClockwise(), 0);
    ground.polygon->addVertex(Vector(-2, 0, 2));
    ground.polygon->addVertex(Vector(2, 0, 2));
    EXPECT_EQ(ground.planar().checkSimplicity(0), 0) << "the last edge crosses the third";
}

TEST(PlanarPolygon, WindingIsThatOfAVote) {
    test::RandomShapes shapes(7);
    test::RayVote vote(8);
    for (int round = 0; round < 300; ++round) {
        PlanarShape shape = shapes.next();
        if (round % 2)
            for (PlanarLoop& loop : shape)
                std::reverse(loop.begin(), loop.end());
        Ground ground(shape);
        const CN_2DPolygon planar = ground.planar();
        const CN_2DEdge& edge = *planar.getEdges().first();
        const PlanarPoint beside = edge.point(0) + edge.getDirection() * 0.7 + edge.getNormal() * 1e-6;
        ASSERT_EQ(planar.isClockwise() != 0, vote.isInside(shape, beside + shape[0][0])) << round;
    }
    EXPECT_EQ(Ground({{{0, 0}, {1, 0}, {2, 1e-13}}}).planar().isClockwise(), 1) << "too thin to tell";
}

TEST(PlanarPolygon, EdgesMeetAndPass) {
    Ground ground({{{0, 0}, {0, 4}, {4, 4}, {4, 0}, {2, 2}, {2, 6}, {0, 2}, {-4, 2}, {0, 6}}});
    CN_2DPolygon planar = ground.planar();
    const auto made = [&](int a, int b) {
        CN_2DEdge edge;
        edge.set(a, b, &planar, -1);
        return edge;
    };
    const struct {
        int a, b, c, d;
        bool intersects, parallel, overlaps;
    } cases[] = {
        {0, 1, 7, 4, true, false, false},                                    // crossing
        {0, 1, 7, 6, false, false, false},                                   // ends on it: the end is beyond
        {0, 1, 6, 7, true, false, false},                                    // starts on it
        {0, 1, 3, 2, false, true, false},  {0, 1, 6, 8, true, true, true},   // along a stretch
        {0, 6, 1, 8, false, true, false},  {0, 1, 1, 8, false, true, false}, // a vertex of both
    };
    for (const auto& c : cases) {
        const CN_2DEdge one = made(c.a, c.b), other = made(c.c, c.d);
        EXPECT_EQ(one.intersects(other), c.intersects) << c.a << c.b << c.c << c.d;
        EXPECT_EQ(one.parallel(other), c.parallel) << c.a << c.b << c.c << c.d;
        EXPECT_EQ(one.overlaps(other), c.overlaps) << c.a << c.b << c.c << c.d;
    }
    CN_2DEdge edge = made(0, 1);
    EXPECT_EQ(edge.getNormal(), PlanarPoint(1, 0));
    EXPECT_TRUE(edge.front(2, 4));
    EXPECT_FALSE(edge.front(2, 4.5));
    EXPECT_EQ(edge.vectorIntersects({-1, 2}, {1, 0}, false), 1);
    EXPECT_EQ(edge.vectorIntersects({-2, 2}, {1, 0}, true), 0);
    EXPECT_EQ(edge.vectorIntersects({-1, 2}, {-1, 0}, false), 0) << "behind the ray";
    EXPECT_EQ(edge.vectorIntersects({-1, 2}, {1e-6, 1}, false), 0) << "along the edge";
    EXPECT_EQ(edge.vectorIntersects({-1, 0}, {1, 0}, false), 1) << "its start";
    EXPECT_EQ(edge.vectorIntersects({-1, 4}, {1, 0}, false), 0) << "its end";
    EXPECT_EQ(edge.vectorIntersects({0, 4}, {1, 0}, false), 0);
    edge.swap();
    EXPECT_EQ(edge.getNormal(), PlanarPoint(-1, 0));
    EXPECT_THROW(made(0, 9), std::out_of_range);

    EXPECT_TRUE(planar.connected(1, 0));
    EXPECT_EQ(planar.edgeRef(0, 1), 1);
    EXPECT_EQ(planar.edgeRef(1, 0), 0);
    CN_2DEdge* const second = planar.addEdge(0, 1, nullptr);
    EXPECT_EQ(planar.edgeRef(0, 1), 2);
    EXPECT_EQ(planar.edge(0, 1), second);
    planar.removeEdge(second);
    EXPECT_EQ(planar.edgeRef(0, 1), 1);
    planar.clearConnection(0, 1);
    EXPECT_FALSE(planar.connected(0, 1));
    planar.removeEdge(planar.accessEdges().first());
    EXPECT_EQ(planar.edgeRef(0, 1), 0);
    EXPECT_EQ(planar.checkSimplicity(0), 0);
    EXPECT_EQ(Ground({square(0, 0, 4)}).planar().checkSimplicity(1), 1);
}

struct ContourCase {
    const char* name;
    PlanarShape contours;
    std::vector<int> flags;
    PlanarShape outlines, holes; ///< holes by their parents' order
};

TEST(PlanarPolygon, ContoursBecomeLoops) {
    constexpr double BEYOND_GAP = 4 + 1e-6;
    const PlanarLoop big = square(0, 0, 4);
    const ContourCase cases[] = {
        {"ring", {big, reversed(square(1, 1, 2))}, {0, 1}, {big}, {reversed(square(1, 1, 2))}},
        {"neighbours", {big, square(4, 0, 4)}, {0, 0}, {{{0, 0}, {0, 4}, {8, 4}, {8, 0}}}, {}},
        {"neighbours of two sizes",
         {big, square(4, 1, 2)},
         {0, 0},
         {{{0, 0}, {0, 4}, {4, 4}, {4, 3}, {6, 3}, {6, 1}, {4, 1}, {4, 0}}},
         {}},
        {"neighbours but for a gap",
         {big, square(BEYOND_GAP, 0, 4)},
         {0, 0},
         {{{0, 0}, {0, 4}, {BEYOND_GAP + 4, 4}, {BEYOND_GAP + 4, 0}}},
         {}},
        {"apart", {big, square(5, 0, 1)}, {0, 0}, {big, square(5, 0, 1)}, {}},
        {"apart but for a corner", {big, square(4, 4, 1)}, {0, 0}, {big, square(4, 4, 1)}, {}},
        {"four that close a ring",
         {{{0, 0}, {0, 6}, {2, 6}, {2, 0}},
          {{2, 4}, {2, 6}, {6, 6}, {6, 4}},
          {{4, 0}, {4, 4}, {6, 4}, {6, 0}},
          {{2, 0}, {2, 2}, {4, 2}, {4, 0}}},
         {0, 0, 0, 0},
         {square(0, 0, 6)},
         {reversed(square(2, 2, 2))}},
        {"hole tied to the outline",
         {{{0, 0}, {0, 4}, {4, 4}, {4, 0}, {3, 1}, {3, 3}, {1, 3}, {1, 1}, {3, 1}, {4, 0}}},
         {0},
         {big},
         {reversed(square(1, 1, 2))}},
        {"two that meet where it crosses itself",
         {{{0, 0}, {0, 4}, {4, 2}, {6, 1}, {6, 3}, {4, 2}}},
         {0},
         {{{0, 0}, {0, 4}, {4, 2}}, {{6, 1}, {4, 2}, {6, 3}}},
         {}},
        {"corners on lines", {{{0, 0}, {0, 1}, {0, 4}, {4, 4}, {4, 0}, {2, 0}}}, {0}, {big}, {}},
        {"spike", {{{0, 0}, {0, 4}, {2, 4}, {2, 6}, {2, 4}, {4, 4}, {4, 0}}}, {0}, {big}, {}},
        {"spike onto another's side",
         {{{0, 5}, {0, 9}, {4, 9}, {4, 5}, {2, 5}, {2, 4}, {2, 5}}, big},
         {0, 0},
         {square(0, 5, 4), big},
         {}},
        {"island in a hole",
         {square(0, 0, 8), reversed(square(1, 1, 6)), square(2, 2, 4), reversed(square(3, 3, 2))},
         {0, 1, 0, 1},
         {square(0, 0, 8), square(2, 2, 4)},
         {reversed(square(1, 1, 6)), reversed(square(3, 3, 2))}},
        {"hole in nothing", {big, reversed(square(9, 9, 1))}, {0, 1}, {big}, {}},
        {"nothing", {}, {}, {}, {}},
        {"no area", {{{0, 0}, {1, 1}, {2, 2}}, {{1, 1}, {1, 1}, {1, 1}}}, {0, 0}, {}, {}},
    };
    for (const ContourCase& c : cases) {
        Ground ground;
        CN_2DPolygon planar = ground.planar();
        gpc_polygon contours;
        for (std::size_t i = 0; i < c.contours.size(); ++i)
            addContour(contours, c.contours[i], c.flags[i]);
        planar.createFrom(&contours);
        EXPECT_EQ(planar.valid(), 1);
        PlanarShape outlines, holes;
        while (const LassoContainer* const outline = planar.getNextTopLevel()) {
            outlines.push_back(fromLowest(pointsOf(*outline)));
            for (const LassoContainer* const hole : outline->holes)
                holes.push_back(fromLowest(pointsOf(*hole)));
        }
        PlanarShape expectedHoles;
        for (const PlanarLoop& hole : c.holes)
            expectedHoles.push_back(fromLowest(hole));
        EXPECT_EQ(outlines, c.outlines) << c.name;
        EXPECT_EQ(holes, expectedHoles) << c.name;
        const CN_2DPolygon copy = planar;
        planar.triangulate();
        EXPECT_EQ(copy.getLassos().count(), planar.getLassos().count());
        for (const LassoContainer& lasso : copy.getLassos())
            EXPECT_TRUE(!lasso.parent || copy.getLassos().contains(lasso.parent)) << c.name;
    }
}

/// Two squares that meet but for a gap are one outline: the clipper joins them, or leaves them apart and the loops are fused.
TEST(PlanarPolygon, ClippedNeighboursBecomeOneLoop) {
    for (const double turn : {0.0, 0.3, 1.1}) {
        for (const double gap : {0.0, 1e-12, 1e-9, 1e-6}) {
            const auto placed = [&](PlanarLoop loop) {
                for (PlanarPoint& p : loop)
                    p = PlanarPoint(std::cos(turn), std::sin(turn)) * p.x +
                        PlanarPoint(-std::sin(turn), std::cos(turn)) * p.y + PlanarPoint(100 * turn, 0);
                return loop;
            };
            gpc_polygon one, other, both;
            addContour(one, placed(square(0, 0, 4)), 0);
            addContour(other, placed(square(4 + gap, 1, 2)), 0);
            gpc_polygon_clip(GPC_UNION, &one, &other, &both);
            CN_2DPolygon planar = Ground().planar();
            planar.createFrom(&both);
            EXPECT_EQ(planar.getLassos().count(), 1) << turn << " " << gap;
            EXPECT_EQ(planar.getNumEdges(), 8) << turn << " " << gap;
            EXPECT_EQ(planar.isClockwise(), 1);
            planar.triangulate();
            EXPECT_EQ(planar.getNumTriangles(), 6) << turn << " " << gap;
            EXPECT_NEAR(triangleArea(planar), 20, 1e-4);
        }
    }
}

TEST(PlanarPolygon, RedundantVerticesGoAsInAWalkThatErasesThem) {
    test::RandomShapes random(12);
    int gone = 0;
    for (int round = 0; round < 2000; ++round) {
        // Steps on a small lattice: out and back, straight on, and over vertices that are there.
        PlanarLoop lattice;
        for (int i = 0; i < 9; ++i)
            lattice.emplace_back(i % 3, i / 3);
        Ground ground({lattice});
        CN_2DPolygon planar = ground.planar();
        planar.accessEdges().clear();
        std::vector<int> loop;
        for (int i = random.count(2, 14); i > 0; --i)
            if (const int next = random.count(0, 8); loop.empty() || (next != loop.back() && next != loop.front()))
                loop.push_back(next);
        LassoContainer& lasso = planar.accessLassos().emplace();
        for (std::size_t i = 0; i < loop.size() && loop.size() > 1; ++i)
            lasso.edges.add(*planar.addEdge(loop[i], loop[(i + 1) % loop.size()], nullptr));
        planar.deleteRedundantVertices(lasso);
        std::vector<int> left;
        for (const CN_2DEdge& edge : lasso.edges)
            left.push_back(edge.index(0));
        ASSERT_EQ(left, test::naiveRedundantVertices(planar.getVertices(), loop, SNAP)) << round;
        gone += static_cast<int>(loop.size() - left.size());
    }
    EXPECT_GT(gone, 2000);
}

TEST(PlanarPolygon, TellsHolesByWhereTheyLie) {
    Ground ground;
    CN_2DPolygon planar = ground.planar();
    gpc_polygon contours;
    for (const PlanarLoop& loop : {square(0, 0, 8), square(1, 1, 6), square(2, 2, 2), square(5, 5, 1)})
        addContour(contours, loop, 0);
    planar.createFrom(&contours);
    planar.connectLassos2();
    std::vector<int> flags;
    for (const LassoContainer& lasso : planar.getLassos())
        flags.push_back(lasso.isHole);
    EXPECT_EQ(flags, (std::vector<int>{0, 1, 0, 0}));
    LassoContainer& outline = *planar.accessLassos().first();
    EXPECT_EQ(planar.getNextHole()->parent, &outline);
    EXPECT_EQ(planar.getNextHole(), nullptr);
    CN_2DEdge *from = nullptr, *to = nullptr;
    EXPECT_TRUE(planar.findConnection(outline, planar.accessLassos()[2], from, to) == false)
        << "a loop lies between the two";
    ASSERT_TRUE(planar.findConnection(planar.accessLassos()[2], planar.accessLassos()[3], from, to));
    EXPECT_EQ(from->point(0), PlanarPoint(4, 4));
    EXPECT_EQ(to->point(0), PlanarPoint(5, 5));
}

/// Whether the loops hold, by vote, what lies to the right of the edge's middle.
bool isBeside(test::RayVote& vote, const CN_2DEdge& edge, const PlanarShape& loops) {
    const PlanarPoint middle = (edge.point(0) + edge.point(1)) * 0.5;
    return vote.isInside(loops, middle + edge.getNormal() * SNAP);
}

TEST(PlanarPolygon, LoopsHoldWhatAVoteSays) {
    test::RandomShapes shapes(21);
    test::RayVote vote(22);
    int held = 0;
    for (int round = 0; round < 40; ++round) {
        PlanarShape shape = shapes.next();
        shape.push_back(shapes.star({50, 3}, 1, 9, 7)); // no hole is in it
        gpc_polygon contours;
        for (std::size_t i = 0; i < shape.size(); ++i)
            addContour(contours, shape[i], i > 0 && i + 1 < shape.size());
        CN_2DPolygon planar = Ground().planar();
        planar.createFrom(&contours);
        ASSERT_EQ(planar.getLassos().count(), static_cast<int>(shape.size()));
        for (const LassoContainer& lasso : planar.getLassos()) {
            PlanarShape others;
            for (const LassoContainer& other : planar.getLassos())
                if (&other != &lasso)
                    others.push_back(pointsOf(other));
            for (const CN_2DEdge& edge : lasso.edges) {
                ASSERT_EQ(planar.intersectAll(edge, lasso.lassoId) != 0, isBeside(vote, edge, others)) << round;
                for (const LassoContainer& other : planar.getLassos()) {
                    const bool inside = isBeside(vote, edge, {pointsOf(other)});
                    ASSERT_EQ(CN_2DPolygon::intersectLasso(edge, other) != 0, inside) << round;
                    held += inside && &other != &lasso;
                }
            }
        }
    }
    EXPECT_GT(held, 500);
}

TEST(PlanarPolygon, ClosesOutlinesGreedily) {
    Ground ground({square(0, 0, 4)});
    CN_2DPolygon planar = ground.planar();
    // Seen from an edge that runs the other way, the square lies to the left.
    CN_2DEdge back;
    back.set(1, 0, &planar, -1);
    EXPECT_EQ(planar.findBestVertex(back), 2);
    EXPECT_EQ(planar.findBestVertex(*planar.getEdges().first()), -1);
    std::vector<CN_2DEdge*> path{planar.accessEdges().first()};
    EXPECT_FALSE(planar.shortestPathRecursion(path, 4));
    EXPECT_EQ(path.size(), 1u);
    EXPECT_TRUE(planar.shortestPathRecursion(path, 5));
    EXPECT_EQ(path.size(), 4u);
    planar.makeTriangle(planar.addEdge(1, 0, nullptr), 2);
    EXPECT_EQ(planar.getTriangles(), (std::vector<int>{1, 2, 0}));
    EXPECT_FALSE(planar.connected(1, 2) && planar.edgeRef(2, 1)) << "sides that cancel go";
    EXPECT_EQ(planar.edgeRef(2, 0), 1);
}

TEST(PlanarPolygon, WritesPolygons) {
    Ground ground({square(0, 0, 4), reversed(square(1, 1, 2))});
    ground.polygon->updatePointOnPlane();
    gpc_polygon contours;
    ground.polygon->create_gpc_polygon(&contours, ground.planar().getSpace());
    EXPECT_EQ(contours.num_contours, 2);
    EXPECT_EQ(contours.hole[0], 0);
    EXPECT_EQ(contours.hole[1], 1);
    for (const int flip : {0, 1}) {
        CN_2DPolygon planar = ground.planar();
        planar.createFrom(&contours);
        const int vertices = ground.mesh.getVertexList().count();
        const std::vector<CN_Polygon*> polygons = planar.outputPolygons(&ground.mesh, flip, true);
        ASSERT_EQ(polygons.size(), 1u);
        CN_Polygon& polygon = *polygons[0];
        EXPECT_EQ(ground.mesh.getVertexList().count(), vertices + 8);
        EXPECT_EQ(polygon.numVertices(), 8);
        EXPECT_EQ(polygon.getNumHoles(), 1);
        EXPECT_EQ(polygon.getNormal(), Vector(0, flip ? -1 : 1, 0));
        EXPECT_EQ(polygon.getTriangleList().empty(), flip == 0);
        const std::vector<CN_Polygon::Lasso> lassos = polygon.getLassos();
        ASSERT_EQ(lassos.size(), 2u);
        if (!flip) {
            EXPECT_FALSE(lassos[0][0]->isHoleStart());
            EXPECT_TRUE(lassos[1][0]->isHoleStart());
            EXPECT_EQ(lassos[0][3]->index(1), lassos[0][0]->index(0));
            polygon.triangulize(false);
        }
        EXPECT_DOUBLE_EQ(polygon.calcArea(), 12);
    }
}

TEST(PlanarPolygon, WritesPolygonsOfAnotherMeshInTheWorld) {
    Ground ground({square(0, 0, 4)});
    ground.polygon->updatePointOnPlane();
    // A quarter about Z: the ground's X runs up, what looked up looks along -X.
    ground.mesh.setRotation({{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}});
    ground.mesh.setPosition({10, 20, 30});
    ground.mesh.handleOwnHierarchy();
    ASSERT_EQ(ground.polygon->getWorldNormal(), Vector(-1, 0, 0));
    CN_LevelEntityMesh& target = *test::addFixture(ground.document, "target");

    const CN_2DPolygon::PlanarSpace world({{0, 1, 0}, {0, 0, 1}, {-1, 0, 0}}, {10, 20, 30}, {0, 0});
    CN_2DPolygon planar(ground.polygon, SNAP, world);
    gpc_polygon contours;
    addContour(contours, square(1, 1, 3), 0);
    planar.createFrom(&contours);
    const std::vector<CN_Polygon*> polygons = planar.outputPolygons(&target, false, false);
    ASSERT_EQ(polygons.size(), 1u);
    CN_Polygon& polygon = *polygons[0];
    EXPECT_EQ(polygon.getEdgeList().first()->getLocal(0), Vector(10, 21, 31));
    EXPECT_EQ(polygon.getNormal(), Vector(-1, 0, 0));
    EXPECT_EQ(polygon.getReferenceNormal(), Vector(-1, 0, 0));
    EXPECT_EQ(polygon.getPointOnPlane(), Vector(10, 22.5, 32.5)) << "the middle of its own corners";
    // Its texture runs over the world as the source's did.
    const auto before = ground.polygon->getUVSpace(0).toUV({3, 0, 2}), after = polygon.getUVSpace(0).toUV({10, 23, 32});
    EXPECT_EQ(before, after);
    polygon.triangulize(false);
    EXPECT_DOUBLE_EQ(polygon.calcArea(), 9);
}

TEST(PlanarPolygon, PiecesOfAPolygonAreUnited) {
    Ground ground({square(0, 0, 4)});
    for (const double x : {0.0, 2.0, 7.0}) {
        CN_Ngon& piece = ground.polygon->accessNgonList().emplace();
        for (const PlanarPoint& p : square(x, 0, 2))
            piece.addVertex({p.x, 0, p.y});
        piece.setLocal(true);
    }
    CN_2DPolygon planar = ground.planar();
    EXPECT_EQ(planar.getLassos().count(), 2);
    EXPECT_EQ(planar.getNumEdges(), 8);
    planar.triangulate();
    EXPECT_DOUBLE_EQ(triangleArea(planar), 12);
    EXPECT_EQ(planar.ref(0), -1);
}

TEST(PlanarPolygon, HasItsPictureTaken) {
    const test::TemporaryFolder folder;
    const test::ProcessStateGuard guard;
    Ground ground({square(0, 0, 4)});
    CN_2DPolygon planar = ground.planar();
    planar.triangulate();
    ground.polygon->setPolygonIndex(12);
    const string path = CN_writePlanarPicture(planar, folder.path("").c_str(), "wall");
    EXPECT_EQ(guard.log(), "Created SVG file " + std::string(path));
    const string picture = CN_drawPlanarPolygon(planar);
    EXPECT_NE(picture.find("Polygon 12"), string::npos);
    EXPECT_NE(picture.find("<polygon"), string::npos);
    EXPECT_NE(test::failureText([&] { CN_writePlanarPicture(planar, "/no/such/folder", "wall"); }), "(nothing thrown)");
}

} // namespace
} // namespace cairn
