#include "cairn/geometry/planar/polygon2d.h"
#include "cairn/geometry/validate.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/naive_upkeep.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace cairn {
namespace {

using test::ProcessStateGuard;
using test::ShelfDocument;
using Vector = M_Vector3Template<double>;
using Point = M_Vector2Template<double>;
using Corners = std::vector<std::vector<int>>;

Corners cornersOf(const CN_Polygon& polygon) {
    Corners corners;
    for (const CN_Triangle& piece : polygon.getTriangleList())
        corners.push_back(piece.getVertices());
    return corners;
}

/// The corners as a loop that begins at its least one.
std::vector<int> fromLeast(std::vector<int> loop) {
    std::rotate(loop.begin(), std::min_element(loop.begin(), loop.end()), loop.end());
    return loop;
}

/// The normal of a triangle from its corners, not unit.
Vector normalOf(const CN_Triangle& t) {
    return (t.getVertexLocal(1) - t.getVertexLocal(0)).cross(t.getVertexLocal(2) - t.getVertexLocal(0));
}

std::vector<Point> pointsOf(const CN_Polygon& polygon, const CN_Polygon::PlanarSpace& space) {
    std::vector<Point> points;
    for (const CN_Edge& edge : polygon.getEdgeList())
        points.push_back(space.toUV(edge.getLocal(0)));
    return points;
}

/// Which way is which, number by number: the floor of side 1 with the texture space that a polygon is born with.
TEST(PolygonTriangulation, HandednessOfTheUnitFloor) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::unitFloor(document);
    CN_Polygon& floor = mesh.accessPolygonList()[0];
    floor.accessUVSpaces()[0].space = CN_Polygon::PlanarSpace();
    const Vector loop[] = {{0, 0, 0}, {0, 0, 1}, {1, 0, 1}, {1, 0, 0}};
    for (int i = 0; i < 4; ++i) {
        const CN_Edge& edge = floor.getEdgeList()[i];
        EXPECT_EQ(edge.getLocal(0), loop[i]);
        EXPECT_EQ(edge.dir().cross(floor.getEdgeList()[(i + 1) % 4].dir()), Vector(0, 1, 0));
    }
    EXPECT_EQ(floor.getPointOnPlane(), Vector(0.5, 0, 0.5));

    const CN_Polygon::PlanarSpace space = floor.getSpace();
    const CN_Polygon::Matrix rows({1, 0, 0}, {0, 0, 1}, {0, 1, 0});
    EXPECT_EQ(space.getMatrix(), rows);
    EXPECT_EQ(space.getMatrix().determinant(), -1);
    EXPECT_EQ(space.getPoint(), Vector(0.5, 0, 0.5));
    EXPECT_EQ(pointsOf(floor, space), (std::vector<Point>{{-.5, -.5}, {-.5, .5}, {.5, .5}, {.5, -.5}}));

    CN_2DPolygon planar(&floor, 1e-5);
    EXPECT_EQ(planar.getVertices(), (std::vector<Point>{{0, 0}, {0, 1}, {1, 1}, {1, 0}}));
    EXPECT_EQ(planar.isClockwise(), 1);
    const Point inward[] = {{1, 0}, {0, -1}, {-1, 0}, {0, 1}};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(planar.getEdges()[i].getNormal(), inward[i]);
        EXPECT_EQ((Point(0.5, 0.5) - planar.getEdges()[i].point(0)).dot(inward[i]), 0.5);
    }
    planar.triangulate();
    EXPECT_EQ(planar.getTriangles(), (std::vector<int>{1, 3, 0, 3, 1, 2}));

    floor.triangulize(false);
    EXPECT_EQ(cornersOf(floor), (Corners{{1, 3, 0}, {3, 1, 2}}));
    const CN_Triangle &first = floor.getTriangleList()[0], &second = floor.getTriangleList()[1];
    EXPECT_EQ(normalOf(first), Vector(0, 1, 0));
    EXPECT_EQ(normalOf(second), Vector(0, 1, 0));
    int a = -1, b = -1;
    ASSERT_TRUE(first.sharesEdge(second, &a, &b));
    EXPECT_EQ(std::pair(a, b), std::pair(0, 1));
    EXPECT_TRUE(first.formsConvexRegion(second));
    floor.triangulize(true);
    ASSERT_EQ(floor.getTriangleList().count(), 1);
    EXPECT_EQ(fromLeast(cornersOf(floor)[0]), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(floor.calcArea(), 1);

    // Turned round it has no inside.
    floor.flipVertexOrder();
    CN_2DPolygon turned(&floor, 1e-5);
    EXPECT_EQ(turned.isClockwise(), 0);
    turned.triangulate();
    EXPECT_EQ(turned.getNumTriangles(), 0);
    EXPECT_FALSE(floor.canTriangulize());
}

TEST(PolygonTriangulation, HandednessOfHolesWallsAndRooms) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Floor");
    for (const Vector& corner :
         {Vector(0, 0, 0), {0, 0, 4}, {4, 0, 4}, {4, 0, 0}, {1, 0, 1}, {3, 0, 1}, {3, 0, 3}, {1, 0, 3}})
        mesh.addVertex(corner);
    CN_Polygon& floor = *test::fixturePolygon(mesh, {{0, 1, 2, 3}, {4, 5, 6, 7}});
    EXPECT_EQ(floor.getNormal(), Vector(0, 1, 0));
    EXPECT_EQ(floor.getEdgeList()[4].dir().cross(floor.getEdgeList()[5].dir()), Vector(0, -4, 0));
    floor.triangulize(false);
    EXPECT_EQ(floor.getTriangleList().count(), 8);
    EXPECT_EQ(floor.calcArea(), 12);

    const CN_LevelEntityMesh& box = *test::boxRoom(document);
    const CN_Polygon& wall = box.getPolygonList()[2];
    EXPECT_EQ(wall.getNormal(), Vector(1, 0, 0));
    EXPECT_EQ(wall.getSpace().getMatrix().determinant(), -1);
    double volume = 0;
    for (const CN_Polygon& face : box.getPolygonList())
        for (const CN_Triangle& t : face.getTriangleList())
            for (int i = 2; i < static_cast<int>(t.getVertices().size()); ++i)
                volume -= t.getVertexLocal(0).dot(t.getVertexLocal(i - 1).cross(t.getVertexLocal(i))) / 6;
    EXPECT_NEAR(volume, 192, 1e-12);
}

TEST(PolygonTriangulation, CoversRandomPolygonsWithHoles) {
    constexpr int POLYGONS = 10000;
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Random");
    test::RandomPolygons random(1);
    for (int i = 0; i < POLYGONS; ++i) {
        CN_Polygon& polygon = *random.add(mesh);
        polygon.triangulize(false);
        const double area = CN_areaVector(polygon).length();
        ASSERT_NEAR(polygon.calcArea(), area, 1e-9 * area) << i;
        ASSERT_EQ(polygon.getTriangleList().count(), polygon.getEdgeList().count() + 2 * polygon.getNumHoles() - 2);
        // With the area right, a triangle in a hole or notch would lie over another one or be turned round.
        for (const CN_Triangle& triangle : polygon.getTriangleList())
            ASSERT_GT(normalOf(triangle).dot(polygon.getNormal()), 0) << i;
    }
}

TEST(PolygonTriangulation, MergesInTheOrderOfTheListWalk) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Random");
    test::RandomPolygons random(2);
    for (int i = 0; i < 300; ++i) {
        CN_Polygon& polygon = *random.add(mesh);
        polygon.triangulize(false);
        const Corners expected = test::naiveConvexPieces(polygon);
        const int triangles = polygon.getTriangleList().count();
        polygon.convexify();
        ASSERT_EQ(cornersOf(polygon), expected) << i;
        EXPECT_LT(polygon.getTriangleList().count(), triangles);
        EXPECT_NEAR(polygon.calcArea(), CN_areaVector(polygon).length(), 1e-9);
        polygon.triangulize(true);
        ASSERT_EQ(cornersOf(polygon), expected) << i << ": triangulated again it is the same";
    }
    for (const test::ShelfMesh& sample : test::meshShelf()) {
        CN_LevelEntityMesh* const shelved = sample.name == "corridor" ? nullptr : sample.build(document);
        if (!shelved)
            continue;
        shelved->triangulizeAll(false);
        for (CN_Polygon& polygon : shelved->accessPolygonList()) {
            const Corners expected = test::naiveConvexPieces(polygon);
            polygon.convexify();
            EXPECT_EQ(cornersOf(polygon), expected) << sample.name;
        }
    }
}

TEST(PolygonTriangulation, TurnsALoopThatRunsTheWrongWayAndSaysSo) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::unitFloor(document);
    CN_Polygon& floor = mesh.accessPolygonList()[0];
    const ProcessStateGuard guard;
    for (const unsigned int number : {CN_Polygon::NO_INDEX, 7U}) {
        floor.setPolygonIndex(number);
        floor.flipVertexOrder();
        floor.triangulize(true);
        EXPECT_EQ(floor.getEdgeList()[0].index(0), 0);
        EXPECT_EQ(floor.calcArea(), 1);
        EXPECT_NE(guard.log().find("POLYGON: 4 vertices"), std::string::npos);
    }
    ASSERT_EQ(guard.boxes().size(), 1U) << "a polygon without a number is turned in silence";
    EXPECT_EQ(guard.boxes()[0].text, "Poly 7 was non-clockwise!");
}

TEST(PolygonTriangulation, LeavesWhatEnclosesNothingWithoutTriangles) {
    struct Case {
        const char* name;
        std::vector<Vector> corners;
    };
    const Case cases[] = {
        {"two corners", {{0, 0, 0}, {0, 0, 1}}},
        {"one line", {{0, 0, 0}, {0, 0, 1}, {0, 0, 2}}},
        {"one place", {{1, 0, 1}, {1, 0, 1}, {1, 0, 1}}},
        {"crossing", {{0, 0, 0}, {0, 0, 6}, {8, 0, 6}, {8, 0, 0}, {2, 0, 7}}},
        {"no number", {{0, 0, 0}, {0, 0, std::numeric_limits<double>::quiet_NaN()}, {1, 0, 1}}},
        {"infinite", {{0, 0, 0}, {0, 0, std::numeric_limits<double>::infinity()}, {1, 0, 1}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::addFixture(document, "Bad");
        CN_Polygon& polygon = *mesh.addPolygon();
        for (const Vector& corner : c.corners)
            polygon.addVertex(corner);
        polygon.setNormal({0, 1, 0});
        polygon.setPolygonIndex(3);
        const ProcessStateGuard guard;
        polygon.triangulize(true);
        EXPECT_TRUE(polygon.getTriangleList().empty());
        ASSERT_FALSE(guard.boxes().empty());
        EXPECT_EQ(guard.boxes().back().text, "Triangulation error (poly 3); invalid geometry. Undo last change!");
        EXPECT_NE(guard.log().find("--------"), std::string::npos);
        EXPECT_EQ(mesh.getPolygonList().count(), 1);
    }
    ShelfDocument document;
    const ProcessStateGuard guard;
    test::addFixture(document, "Empty")->addPolygon()->triangulize(true);
    EXPECT_TRUE(guard.boxes().empty()) << "no corners, nothing to say";
}

TEST(PolygonTriangulation, LeavesTheHostsPiecesUntilItMerges) {
    ShelfDocument document;
    CN_Polygon& floor = test::unitFloor(document)->accessPolygonList()[0];
    CN_Ngon& piece = floor.accessNgonList().addNew();
    for (const Vector& corner : {Vector(0, 0, 0), {0, 0, 1}, {1, 0, 1}})
        piece.addVertex(corner);
    floor.triangulize(false);
    EXPECT_EQ(floor.getNgonList().count(), 1);
    EXPECT_EQ(floor.getNgonList().first(), &piece);
    EXPECT_EQ(floor.calcArea(), 1) << "the boundary counts, not the pieces";
    floor.triangulize(true);
    EXPECT_TRUE(floor.getNgonList().empty());
}

TEST(PolygonTriangulation, UnifiesPiecesRoundTheirSharedEdge) {
    ShelfDocument document;
    static std::string shown;
    document.setErrorCallback([](int, const CString& text) { shown = text.str(); });
    CN_LevelEntityMesh& mesh = *test::unitFloor(document);
    CN_Triangle a, b, made;
    a.setParent(&mesh.accessPolygonList()[0]);
    b.setParent(a.getParent());
    a.accessVertices() = {1, 3, 0};
    b.accessVertices() = {3, 1, 2};
    made.unify(a, b);
    EXPECT_EQ(made.getVertices(), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(made.getParent(), a.getParent());
    EXPECT_EQ(made.getUV().size(), 4U);
    EXPECT_EQ(made.area(), 1);
    made.unify(a, a);
    EXPECT_EQ(shown, "Two identical triangles found in ::Floor");
    EXPECT_EQ(made.getVertices().size(), 3U);
}

} // namespace
} // namespace cairn
