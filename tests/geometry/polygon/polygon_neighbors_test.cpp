#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <utility>

namespace cairn {
namespace {

using test::ShelfDocument;
using Vector = M_Vector3Template<double>;

TEST(PolygonNeighbors, ColinearEitherWay) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Edges");
    CN_Polygon& polygon = *mesh.addPolygon();
    const CN_Edge& edge = *polygon.addEdge({0, 0, 0}, {8, 0, 0});
    EXPECT_TRUE(edge.colinear(*polygon.addEdge({5, 5, 5}, {1, 5, 5.003}), 0.001));
    EXPECT_FALSE(edge.colinear(*polygon.addEdge({5, 5, 5}, {1, 5, 5.005}), 0.001));
    CN_Edge none(0, 0);
    none.setParent(&polygon);
    EXPECT_FALSE(edge.colinear(none, 4));
}

TEST(PolygonNeighbors, CoplanarAndFacingTheSameWay) {
    ShelfDocument document;
    CN_LevelEntityMesh &floors = *test::tPair(document), &box = *test::boxRoom(document);
    CN_Polygon &a = floors.accessPolygonList()[0], &b = floors.accessPolygonList()[1];
    const CN_Polygon &floor = box.getPolygonList()[0], &ceiling = box.getPolygonList()[1];
    EXPECT_TRUE(a.coplanar(&b));
    EXPECT_TRUE(a.coplanar(&floor)) << "of another mesh";
    EXPECT_FALSE(a.coplanar(&ceiling));
    EXPECT_FALSE(a.coplanar(&box.getPolygonList()[2]));
    b.setPointOnPlane({2, 4e-6, -2});
    EXPECT_TRUE(a.coplanar(&b));
    b.setPointOnPlane({2, 6e-6, -2});
    EXPECT_FALSE(a.coplanar(&b));
    box.setPosition({0, -4, 0});
    box.handleOwnHierarchy();
    EXPECT_FALSE(a.coplanar(&ceiling)) << "in one plane now, but facing the other way";
}

std::vector<std::pair<int, int>> placesOf(const CN_LevelEntityMesh& mesh,
                                          const std::vector<std::pair<CN_Polygon*, CN_Polygon*>>& pairs) {
    std::vector<std::pair<int, int>> places;
    for (const auto& [first, second] : pairs)
        places.emplace_back(mesh.findPolygonIndex(first), mesh.findPolygonIndex(second));
    return places;
}

void expectNeighborsOfAllPairs(CN_LevelEntityMesh& mesh) {
    std::vector<std::pair<CN_Polygon*, CN_Polygon*>> expected;
    for (CN_Polygon& first : mesh.accessPolygonList())
        for (CN_Polygon& second : mesh.accessPolygonList())
            if (&first != &second && first.neighbor(&second))
                expected.emplace_back(&first, &second);
    EXPECT_EQ(placesOf(mesh, mesh.findNeighbors()), placesOf(mesh, expected));
}

TEST(PolygonNeighbors, EdgesThatRunBackAlongEachOther) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::tPair(document);
    CN_Polygon &a = mesh.accessPolygonList()[0], &b = mesh.accessPolygonList()[1];
    EXPECT_TRUE(a.neighbor(&b));
    EXPECT_TRUE(b.neighbor(&a));
    b.flipVertexOrder();
    EXPECT_FALSE(a.neighbor(&b)) << "the edges run the same way";
    b.flipVertexOrder();
    mesh.accessVertexList()[1].local.z = mesh.accessVertexList()[2].local.z = 100;
    mesh.accessVertexList()[0].local.z = mesh.accessVertexList()[3].local.z = 50;
    a.buildBoundingBox(true);
    mesh.accessVertexList()[0].local.z = mesh.accessVertexList()[3].local.z = 0;
    EXPECT_FALSE(a.neighbor(&b)) << "the boxes are apart";
}

TEST(PolygonNeighbors, FoundAtOnceAreThoseOfAllPairs) {
    ShelfDocument document;
    for (const test::ShelfMesh& sample : test::meshShelf())
        if (sample.polygons <= 100) {
            SCOPED_TRACE(sample.name);
            expectNeighborsOfAllPairs(*sample.build(document));
        }
    // Triangles between places on a grid that is off by up to the tolerance, some of which are no numbers.
    for (unsigned int seed = 0; seed < 16; ++seed) {
        SCOPED_TRACE(seed);
        test::RandomPolygons random(seed);
        CN_LevelEntityMesh& mesh = *test::addFixture(document, "Heap");
        const double size = seed % 4 == 0 ? 0.001 : 1;
        for (int i = 0; i < 60; ++i)
            random.addToHeap(mesh, size, i % 8 == 0);
        expectNeighborsOfAllPairs(mesh);
    }
}

/// A floor with a hole and a wall across it.
TEST(PolygonNeighbors, PolygonsThatPierceEachOther) {
    struct Case {
        const char* name;
        double low, high, from, to; ///< of the wall at z = 3: its height and where it stands along x
        bool intersects;
    };
    const Case cases[] = {
        {"through", -1, 1, 5, 7, true},
        {"through, wider than the floor", -1, 1, -3, 12, true},
        {"in the hole", -1, 1, 2.5, 3.5, false},
        {"at the hole's edge", -1, 1, 2.5, 1.9995 + 2, true}, // within the margin
        {"away from it", -1, 1, 2.5, 3.998, false},
        {"on the floor", 0, 1, 5, 7, true},
        {"above it", 0.0011, 1, 5, 7, false},
        {"beside it", -1, 1, 8.05, 9, false}, // the boxes meet
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::pillarRoom(document);
        const int first = mesh.getVertexList().count();
        for (const Vector& corner :
             {Vector(c.from, c.low, 3), {c.from, c.high, 3}, {c.to, c.high, 3}, {c.to, c.low, 3}})
            mesh.addVertex(corner);
        CN_Polygon* const wall = test::fixturePolygon(mesh, {{first, first + 1, first + 2, first + 3}});
        test::finishFixture(mesh);
        CN_Polygon& floor = mesh.accessPolygonList()[0];
        EXPECT_EQ(floor.polygonIntersects(wall), c.intersects);
        EXPECT_EQ(wall->polygonIntersects(&floor), c.intersects);
    }
    ShelfDocument document;
    CN_LevelEntityMesh& floors = *test::tPair(document);
    EXPECT_FALSE(floors.getPolygonList()[0].polygonIntersects(&floors.getPolygonList()[1])) << "in one plane";
}

} // namespace
} // namespace cairn
