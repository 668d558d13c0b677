#include "cairn/entities/polygon_group.h"
#include "tests/support/naive_upkeep.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

namespace cairn {
namespace {

using test::ShelfDocument;
using Vector = M_Vector3Template<double>;

TEST(PolygonQueries, LinearWithinTheTolerance) {
    struct Case {
        const char* name;
        std::vector<Vector> corners;
        bool linear;
    };
    const Case cases[] = {
        {"no corner", {}, true},
        {"two", {{0, 0, 0}, {1, 0, 0}}, true},
        {"on a line", {{0, 0, 0}, {4, 0, 0}, {2, 0, 0.9e-5}}, true},
        {"off it", {{0, 0, 0}, {4, 0, 0}, {2, 0, 1e-4}}, false},
        {"one place", {{1, 0, 0}, {1, 0, 0}, {1, 0, 0}}, false},
        {"a square", {{0, 0, 0}, {0, 0, 1}, {1, 0, 1}, {1, 0, 0}}, false},
    };
    for (const Case& c : cases) {
        ShelfDocument document;
        CN_Polygon& polygon = *test::addFixture(document, "Line")->addPolygon();
        for (const Vector& corner : c.corners)
            polygon.addVertex(corner);
        polygon.constructEdges();
        const test::ProcessStateGuard guard;
        EXPECT_EQ(polygon.linear(), c.linear) << c.name;
        EXPECT_EQ(guard.log().starts_with("Linear polygon found (md = 0.0000"), c.linear && c.corners.size() > 2);
    }
    CN_Polygon free(nullptr);
    free.setNumVertices(3);
    EXPECT_FALSE(free.linear()) << "corners that have no edges yet";
}

TEST(PolygonQueries, WhereAPolygonIs) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::boxRoom(document);
    mesh.setPosition({10, 0, 0});
    mesh.handleOwnHierarchy();
    CN_Polygon& floor = mesh.accessPolygonList()[0];
    Vector center(9, 9, 9);
    floor.getCenter(center);
    EXPECT_EQ(center, Vector(14, 0, 3));
    EXPECT_EQ(floor.lengthAlong({0, 0, 7}), 6);
    EXPECT_EQ(floor.lengthAlong({0, 1, 0}), 0);
    EXPECT_EQ(floor.findFarthestVertex({8, 0, 6}), &mesh.getVertexList()[0]);
    EXPECT_EQ(floor.findFarthestVertex({4, 0, 3}), &mesh.getVertexList()[0]) << "the first of four";
    EXPECT_EQ(floor.findSelectedEdge({10.5, 0, 3}), &floor.getEdgeList()[0]);
    EXPECT_EQ(floor.findSelectedEdge({17, 2, 3}), &floor.getEdgeList()[2]);
    EXPECT_EQ(floor.findSelectedEdge({14, 0, 3}), &floor.getEdgeList()[1]) << "z = 6 and z = 0 are as near";
    EXPECT_EQ(floor.findSelectedEdge({9, 0, 7}), nullptr) << "beside all of them";

    CN_Polygon& empty = *mesh.addPolygon();
    empty.getCenter(center);
    EXPECT_EQ(center, Vector());
    EXPECT_EQ(empty.lengthAlong({1, 0, 0}), 0);
    EXPECT_EQ(empty.findFarthestVertex({}), nullptr);
}

TEST(PolygonQueries, BoxesMeetWithTheirMargins) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::tPair(document);
    CN_Polygon &a = mesh.accessPolygonList()[0], &b = mesh.accessPolygonList()[1];
    constexpr double MARGIN = static_cast<double>(0.1F);
    EXPECT_EQ(a.getBoundingBox().minX, -MARGIN);
    EXPECT_EQ(a.getBoundingBox().maxZ, 4 + MARGIN);
    EXPECT_EQ(a.getBoundingBox().minY, -MARGIN);
    EXPECT_TRUE(a.bbIntersect(&b));
    for (const auto& [gap, meets] : {std::pair(0.19, true), {0.21, false}}) {
        for (const int corner : {0, 3})
            mesh.accessVertexList()[corner].local.z = gap;
        a.buildBoundingBox(true);
        mesh.accessVertexList()[0].local.z = 0;
        b.buildBoundingBox(true);
        EXPECT_EQ(a.bbIntersect(&b), meets) << gap;
    }
    mesh.accessVertexList()[0].local.x = 1e300;
    a.buildBoundingBox(true);
    EXPECT_EQ(a.getBoundingBox().maxX, static_cast<double>(std::numeric_limits<float>::max()));
    mesh.setPosition({100, 0, 0});
    mesh.handleOwnHierarchy();
    b.buildBoundingBox(false);
    EXPECT_EQ(b.getBoundingBox().minX, static_cast<double>(100.0F) - MARGIN);
    EXPECT_FALSE(CN_Polygon(nullptr).bbIntersect(&b));
}

TEST(PolygonQueries, EdgesShareAStretch) {
    struct Case {
        const char* name;
        Vector from, to;
        bool shares;
        Vector point, vector;
    };
    // Against the edge from (0, 0, 0) to (8, 0, 0).
    const Case cases[] = {
        {"itself back", {8, 0, 0}, {0, 0, 0}, true, {0, 0, 0}, {8, 0, 0}},
        {"a part", {6, 0, 0}, {2, 0, 0}, true, {2, 0, 0}, {4, 0, 0}},
        {"over the end", {-1, 0, 0}, {3, 0, 0}, true, {0, 0, 0}, {3, 0, 0}},
        {"within the tolerance", {1, 0.0009, 0}, {3, 0, 0}, true, {1, 0, 0}, {2, 0, 0}},
        {"beyond it", {1, 0.0011, 0}, {3, 0, 0}, false, {}, {}},
        {"too short", {7.9995, 0, 0}, {9, 0, 0}, false, {}, {}},
        {"end to end", {8, 0, 0}, {9, 0, 0}, false, {}, {}},
        {"across", {4, 0, -1}, {4, 0, 1}, false, {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::addFixture(document, "Edges");
        for (const Vector& corner : {Vector(0, 0, 0), {8, 0, 0}, c.from, c.to})
            mesh.addVertex(corner);
        CN_Polygon& polygon = *mesh.addPolygon();
        CN_Edge &edge = *polygon.addEdge(0, 1, false), &other = *polygon.addEdge(2, 3, false);
        Vector point(7, 7, 7), vector(7, 7, 7);
        const bool same = c.vector == Vector(8, 0, 0);
        EXPECT_EQ(edge.sharesSpace(&other, point, vector), same) << "no normal in the world";
        EXPECT_EQ(point, same ? Vector() : Vector(7, 7, 7));
        polygon.setNormal({0, 1, 0});
        EXPECT_EQ(edge.sharesSpaceLocal(&other, point, vector), c.shares);
        polygon.setWorldNormal({0, 1, 0});
        point = vector = {};
        EXPECT_EQ(edge.sharesSpace(&other, point, vector), c.shares);
        EXPECT_NEAR((point - c.point).length(), 0, 1e-12);
        EXPECT_NEAR((vector - c.vector).length(), 0, 1e-12);
        EXPECT_EQ(edge == other, same);
    }
}

std::vector<int> neighborsOf(const CN_LevelEntityMesh& mesh, const CN_Polygon& polygon) {
    std::vector<int> places;
    for (const CN_Polygon* const neighbor : polygon.getSharedEdgeList())
        places.push_back(mesh.findPolygonIndex(neighbor));
    return places;
}

void expectNeighborsOfTheListWalk(CN_LevelEntityMesh& mesh) {
    std::vector<std::vector<int>> expected, ofEach, ofAll;
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        expected.push_back(test::naiveSharedEdgeList(polygon));
        polygon.createSharedEdgeList();
        ofEach.push_back(neighborsOf(mesh, polygon));
    }
    EXPECT_EQ(ofEach, expected);
    mesh.createSharedEdgeLists();
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        ofAll.push_back(neighborsOf(mesh, polygon));
    EXPECT_EQ(ofAll, expected);
}

TEST(PolygonQueries, NeighborsAreThoseOfTheListWalk) {
    ShelfDocument document;
    CN_LevelEntityMesh& split = *test::splitBox(document, test::Split::T_JUNCTION);
    split.createSharedEdgeLists();
    EXPECT_EQ(neighborsOf(split, split.getPolygonList()[0]), (std::vector<int>{2, 3, 4, 5, 6}))
        << "the floor meets both halves of the wall";
    for (const test::ShelfMesh& sample : test::meshShelf())
        if (sample.polygons <= 100) {
            SCOPED_TRACE(sample.name);
            expectNeighborsOfTheListWalk(*sample.build(document));
        }
    // Triangles between places on a grid that is off by up to the tolerance, with boxes and normals of any kind; some places
    // are no numbers.
    for (unsigned int seed = 0; seed < 16; ++seed) {
        SCOPED_TRACE(seed);
        test::RandomPolygons random(seed);
        CN_LevelEntityMesh& mesh = *test::addFixture(document, "Heap");
        const double size = seed % 4 == 0 ? 0.001 : 1;
        for (int i = 0; i < 60; ++i) {
            CN_Polygon& polygon = random.addToHeap(mesh, size, i % 8 == 0);
            if (random.count(0, 2) == 0)
                polygon.setWorldNormal({random.number(-1, 1), random.number(0, 0.01), random.number(-1, 1)});
        }
        expectNeighborsOfTheListWalk(mesh);
    }
}

TEST(PolygonQueries, DumpTellsTheShape) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::unitFloor(document);
    CN_Polygon& floor = mesh.accessPolygonList()[0];
    auto group = std::make_unique<CN_LevelEntityPolygonGroup>();
    group->setName("Smooth", false);
    group->addPolygon(&floor);
    mesh.addOwned(std::move(group), false);
    const test::ProcessStateGuard guard;
    floor.dump();
    for (const char* const part :
         {"POLYGON: 4 vertices, parent Floor, index -1\n", "Poly mode: PT_SOLID\n",
          "normal (0.000000000, 1.000000000, 0.000000000)\n", "pointonplane\n(0.500000000, 0.000000000, 0.500000000)\n",
          "edges (local)\n(0.000000000, 1.000000): (0.000000000, 0.000000000, 0.000000000) - "
          "(0.000000000, 0.000000000, 1.000000000)\n",
          "edges (world)\n(0.000000000, 1.000000): (0.000000, 0.000000, 0.000000) - (0.000000, 0.000000, 1.000000)\n",
          "Member of 1 groups:\n", " (Smooth)\n--------\n"})
        EXPECT_NE(guard.log().find(part), std::string::npos) << part << "in\n" << guard.log();
}

} // namespace
} // namespace cairn
