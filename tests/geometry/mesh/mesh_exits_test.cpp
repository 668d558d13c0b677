#include "cairn/document/document.h"
#include "cairn/entities/portal.h"
#include "tests/support/naive_exits.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <string>

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;

TEST(MeshExits, HangWhereTheirContourLiesOnNothing) {
    struct Case {
        const char* what;
        std::vector<Vector> contour;
        bool hangs;
        std::vector<int> touched;
    };
    // The wall x = 0 is 4 high and 6 long, cut at z = 3.
    const Case cases[] = {
        {"inside one wall", {{0, 1, 0.5}, {0, 3, 0.5}, {0, 3, 2}, {0, 1, 2}}, false, {}},
        {"over both halves", {{0, 1, 1}, {0, 3, 1}, {0, 3, 5}, {0, 1, 5}}, false, {}},
        {"a corner 0.0005 beyond the wall", {{0, 1, 1}, {0, 3, 3}, {0, 1, 6.0005}}, false, {}},
        {"a corner 0.01 beyond the wall", {{0, 1, 1}, {0, 3, 3}, {0, 1, 6.01}}, true, {}},
        {"in the air", {{1, 1, 1}, {1, 3, 3}, {1, 1, 5}}, true, {}},
        {"half an edge in the air", {{0, 1, 1}, {0, 3, 3}, {2, 1, 5}}, true, {}},
        {"no corners", {}, false, {}},
        {"a corner twice", {{0, 1, 1}, {0, 1, 1}, {0, 3, 1}, {0, 3, 2}}, false, {}},
        {"along the floor's edge", {{0, 0, 1}, {0, 0, 2}, {0, 1, 2}}, false, {0}},
    };
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::splitBox(document, test::Split::SHARED);
    std::vector<const CN_Polygon*> walls;
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        if (polygon.getNormal() == Vector(1, 0, 0))
            walls.push_back(&polygon);
    ASSERT_EQ(walls.size(), 2u);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        F_DLListInit<Vector> contour;
        for (const Vector& corner : c.contour)
            contour.add(corner);
        F_DLList<CN_Polygon*> touched;
        EXPECT_EQ(mesh.exitHangs(contour, touched), c.hangs);
        // A polygon is touched where a stretch of an edge runs over its area.
        for (const CN_Polygon& polygon : mesh.getPolygonList()) {
            const bool isWall = &polygon == walls[0] || &polygon == walls[1];
            const bool expected =
                std::count(c.touched.begin(), c.touched.end(), mesh.findPolygonIndex(&polygon)) > 0 || (isWall && [&] {
                    for (std::size_t i = 0; i < c.contour.size(); ++i) {
                        const Vector &a = c.contour[i], &b = c.contour[(i + 1) % c.contour.size()];
                        if (a.x != 0 || b.x != 0)
                            continue;
                        for (double t = 0.01; t < 1; t += 0.01)
                            if (!(a == b) && polygon.pointInPoly(a + (b - a) * t, true))
                                return true;
                    }
                    return false;
                }());
            EXPECT_EQ(touched.indexOfValue(const_cast<CN_Polygon*>(&polygon)) >= 0, expected)
                << mesh.findPolygonIndex(&polygon);
        }
    }
}

TEST(MeshExits, AreNamedAndFoundInAnyCase) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::boxRoom(document);
    EXPECT_EQ(mesh.getNextExitName(), "Exit0");
    const char* const names[] = {"exit1", "EXIT0", "Exit3"};
    for (int i = 0; i < 3; ++i) {
        auto portal = std::make_unique<CN_LevelEntityPortal>();
        portal->setDocument(&document);
        portal->setName(names[i], false);
        CN_LevelEntityPortal* const made = portal.get();
        mesh.addOwned(std::move(portal), true);
        made->setPortalPolygon(&mesh.accessPolygonList()[i]);
        mesh.accessPolygonList()[i].setExitDestination(&mesh.accessPolygonList()[i + 1]);
    }
    EXPECT_EQ(mesh.getNextExitName(), "Exit2");
    EXPECT_EQ(mesh.findExit("eXiT0"), &mesh.accessPolygonList()[1]);
    EXPECT_EQ(mesh.findExit("Exit2"), nullptr);
    EXPECT_EQ(mesh.getExitList().size(), 3u);
    EXPECT_FALSE(mesh.hasExits()) << "all lead into the mesh itself";
    mesh.accessPolygonList()[4].setExitDestination(test::boxRoom(document)->accessPolygonList().first());
    EXPECT_TRUE(mesh.hasExits());
    EXPECT_EQ(mesh.findExit(""), &mesh.accessPolygonList()[4]) << "one without a portal has no name";
}

TEST(MeshExits, ShutOffTheEdgesThatTheyCover) {
    test::ShelfDocument document;
    struct Case {
        double free; ///< of the 6 that wall and floor share
        bool toFloor, jumpable;
    };
    for (const Case& c : {Case{0.0005, false, false}, {0.002, false, true}, {0.0005, true, true}}) {
        CN_LevelEntityMesh& mesh = *test::boxRoom(document);
        CN_Polygon &floor = mesh.accessPolygonList()[0], &wall = mesh.accessPolygonList()[2];
        const int first = mesh.getVertexList().count();
        for (const Vector& corner : {Vector(0, 0, c.free), {0, 2, c.free}, {0, 2, 6}, {0, 0, 6}})
            mesh.addVertex(corner);
        CN_Polygon& exit = *test::fixturePolygon(mesh, {{first, first + 1, first + 2, first + 3}});
        exit.setExitDestination(c.toFloor ? &floor : &mesh.accessPolygonList()[1]);
        for (CN_Polygon& polygon : mesh.accessPolygonList())
            polygon.buildBoundingBox(true);
        EXPECT_EQ(wall.jumpable(&floor), c.jumpable) << c.free;
        EXPECT_EQ(floor.jumpable(&wall), c.jumpable) << c.free;
    }
}

TEST(MeshExits, PassagesAreThoseOfAllPairs) {
    int open = 0, shut = 0;
    for (const test::ShelfMesh& shelf : test::meshShelf()) {
        test::RandomPolygons random(static_cast<unsigned>(shelf.polygons));
        for (int round = 0; round < 4 && shelf.polygons < 100; ++round) {
            SCOPED_TRACE(shelf.name + " " + std::to_string(round));
            test::ShelfDocument document;
            CN_LevelEntityMesh& mesh = *shelf.build(document);
            CN_Mesh::PolygonList& polygons = mesh.accessPolygonList();
            const int count = polygons.count();
            for (int i = 0; i < count * round / 4; ++i)
                polygons[random.count(0, count - 1)].setExitDestination(&polygons[random.count(0, count - 1)]);
            for (CN_Polygon& polygon : polygons)
                polygon.buildBoundingBox(true);
            std::vector<std::pair<CN_Polygon*, CN_Polygon*>> expected;
            for (CN_Polygon& a : polygons)
                for (CN_Polygon& b : polygons) {
                    if (&a == &b)
                        continue;
                    const bool jumpable = test::naiveJumpable(a, b);
                    EXPECT_EQ(a.jumpable(&b), jumpable);
                    if (jumpable)
                        expected.emplace_back(&a, &b);
                    ++(jumpable ? open : shut);
                }
            std::vector<std::pair<CN_Polygon*, CN_Polygon*>> found = mesh.findPassages();
            std::erase_if(found, [](const auto& pair) { return pair.first == pair.second; });
            EXPECT_EQ(found, expected);
        }
    }
    EXPECT_GT(open, 100);
    EXPECT_GT(shut, 100);
}

} // namespace
} // namespace cairn
