#include "cairn/geometry/bsp/tree.h"
#include "tests/support/facets.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/naive_bsp.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <random>

namespace cairn {
namespace {

using test::CellRoom;
using test::Facets;
using Vector = CN_Ngon::Vector;
using Corners = Facets::Corners;
using Matrix = M_Matrix3Template<double>;
using NgonList = CN_BSPTree::NgonList;

const Matrix TURN = Matrix::rotationX(0.5) * Matrix::rotationY(1.25) * Matrix::rotationZ(2);

/// Builds both ways. Gives the tree's root, or null where none can be made.
const CN_BSPNode* buildAsTold(CN_BSPTree& tree, NgonList ngons) {
    test::NaiveBSPNode told;
    const bool isTold = test::naiveBSP(test::asPieces(ngons), told);
    EXPECT_EQ(tree.build(ngons), isTold ? 1 : 0);
    EXPECT_TRUE(test::isSameBSP(tree.getRoot(), &told));
    return isTold ? tree.getRoot() : nullptr;
}

int depthOf(const CN_BSPNode* node) {
    return node ? 1 + std::max(depthOf(node->getInsideChild()), depthOf(node->getOutsideChild())) : 0;
}

CN_Ngon ngon(const Corners& corners) {
    CN_Ngon made;
    made.accessVertices() = corners;
    made.setPlane({(corners[1] - corners[0]).cross(corners[2] - corners[0]).normalized(), corners[0]});
    return made;
}

/// A square of side 2 about a point, that looks along an axis or, with `sign` -1, against it.
CN_Ngon square(int axis, double sign, const Vector& center) {
    Corners corners;
    for (const auto& [u, v] : {std::pair(-1, -1), std::pair(1, -1), std::pair(1, 1), std::pair(-1, 1)}) {
        Vector corner = center;
        corner[(axis + 1) % 3] += u;
        corner[(axis + 2) % 3] += v;
        corners.push_back(corner);
    }
    if (sign < 0)
        std::reverse(corners.begin(), corners.end());
    return ngon(corners);
}

NgonList listOf(const std::vector<CN_Ngon>& ngons) {
    NgonList list;
    for (const CN_Ngon& made : ngons)
        list.add(made);
    return list;
}

/// A room of cells at uneven distances, of which it is likely that each is open.
CellRoom randomRoom(std::mt19937& random) {
    const auto upTo = [&random](unsigned n) { return static_cast<int>(random() % n); };
    CellRoom room(1 + upTo(4), 1 + upTo(3), 1 + upTo(2));
    for (int axis = 0; axis < 3; ++axis) {
        std::vector<double> lines{0};
        for (int i = 0; i < room.cells(axis); ++i)
            lines.push_back(lines.back() + (1 + upTo(16)) / 8.0);
        room.setLines(axis, lines);
    }
    for (int x = 0; x < room.cells(0); ++x)
        for (int y = 0; y < room.cells(1); ++y)
            for (int z = 0; z < room.cells(2); ++z)
                if (upTo(4) > 0)
                    room.open(x, y, z);
    return room;
}

TEST(BSPTree, IsTheToldOneForEveryMesh) {
    for (const test::ShelfMesh& shelf : test::meshShelf()) {
        SCOPED_TRACE(shelf.name);
        test::ShelfDocument document;
        CN_LevelEntityMesh* const mesh = shelf.build(document);
        NgonList ngons;
        for (const CN_Polygon& polygon : mesh->getPolygonList())
            for (const CN_Triangle& triangle : polygon.getTriangleList())
                ngons.emplace(&triangle);
        CN_BSPTree tree, ofMesh;
        const bool isBuilt = buildAsTold(tree, ngons) != nullptr;
        EXPECT_EQ(ofMesh.build(mesh), isBuilt ? 1 : 0);
        EXPECT_EQ(ofMesh.getMesh(), mesh);
        EXPECT_EQ(isBuilt, shelf.vertices > 0);
        if (!isBuilt || !shelf.closed)
            continue;
        const Vector center = mesh->worldTransform(mesh->getCenterOfArea());
        const bool isInPillar = shelf.name == "pillarRoom" || shelf.name == "blockRoom";
        EXPECT_EQ(ofMesh.inside(center), isInPillar ? 0 : 1);
        EXPECT_EQ(ofMesh.inside(center + Vector(0, 100, 0)), 0);
    }
}

TEST(BSPTree, IsTheToldOneForRoomsOfAllKinds) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> number(-1, 1);
    Facets soup, specks, sheets;
    for (int i = 0; i < 120; ++i) {
        const auto point = [&](double size) { return Vector(number(random), number(random), number(random)) * size; };
        const Vector place = point(4);
        soup.add({place + point(2), place + point(2), place + point(2)});
        // As good as in one another's planes, and thin.
        specks.add({point(0.002) + place, point(0.002) + place, place + point(i % 3 ? 0.002 : 1)});
        const double x = i % 10, y = static_cast<int>(i / 10);
        const double up = number(random) * 0.002;
        sheets.addQuad({x, y, up}, {x + 1, y, up}, {x + 1, y + 1, 0}, {x, y + 1, 0});
    }
    Facets turnedMaze = test::maze(6).facets(), turnedRoom = test::bumpyRoom(8);
    turnedMaze.transform(TURN, {1000, -20, 3});
    turnedRoom.transform(TURN, {0.1, 0.2, 0.3});
    Facets rooms[] = {test::maze(8).facets(),
                      turnedMaze,
                      test::bumpyRoom(12),
                      turnedRoom,
                      test::ballRoom(16, 24),
                      test::ballRoom(2, 200),
                      soup,
                      specks,
                      sheets};
    for (Facets& room : rooms) {
        SCOPED_TRACE(&room - rooms);
        CN_BSPTree tree;
        buildAsTold(tree, room.ngons());
    }
}

TEST(BSPTree, KnowsTheInsideOfRandomRooms) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> part(-0.1, 1.1);
    int built = 0, asked = 0;
    const test::ProcessStateGuard guard; // keeps the log of those that can't be built
    for (int i = 0; i < 10000; ++i) {
        SCOPED_TRACE(i);
        const CellRoom room = randomRoom(random);
        Facets facets = room.facets();
        const bool turns = i % 4 == 0;
        if (turns)
            facets.transform(TURN, {3, 1, 2});
        CN_BSPTree tree;
        if (!buildAsTold(tree, facets.ngons()))
            continue; // walls back to back are all that was left somewhere
        ++built;
        for (int k = 0; k < 10; ++k) {
            const Vector place(part(random) * room.end(0), part(random) * room.end(1), part(random) * room.end(2));
            const Vector point = turns ? place * TURN + Vector(3, 1, 2) : place;
            if (facets.clearance(point) <= 0.002)
                continue;
            ++asked;
            ASSERT_EQ(tree.inside(point), room.isInside(place) ? 1 : 0);
            ASSERT_EQ(tree.strictlyInside(point), tree.inside(point));
        }
    }
    EXPECT_GT(built, 7000);
    EXPECT_GT(asked, 60000);
}

TEST(BSPTree, KnowsTheInsideOfADeepRoom) {
    Facets ball = test::ballRoom(2, 2000);
    CN_BSPTree tree;
    NgonList ngons = ball.ngons();
    ASSERT_EQ(tree.build(ngons), 1);
    EXPECT_GT(depthOf(tree.getRoot()), 500) << "a node for each plane that no other one's pieces lie in";
    EXPECT_LT(ngons.count(), 4000) << "all but the root's";
    EXPECT_TRUE(tree.inside({1, 2, 3}));
    EXPECT_FALSE(tree.inside({5, 5, 5}));
}

TEST(BSPTree, TakesWhatIsNearAWallForOnIt) {
    const struct {
        Vector point;
        int inside, strictly;
    } cases[] = {{{1, 0, 0.0006}, 1, 1},
                 {{1, 0, 0.0004}, 1, 0},
                 {{1, 0, 0}, 1, 0},
                 {{1, 0, 0.0005}, 1, 0},
                 {{1, 0, -0.0004}, 1, 0},
                 {{1, 0, -0.0005}, 1, 0},
                 {{1, 0, std::nextafter(-0.0005, -1)}, 0, 0},
                 {{1, 0, std::nextafter(0.0005, 1)}, 1, 1},
                 {{1, 0, -0.0006}, 0, 0},
                 {{1, 0, std::numeric_limits<double>::quiet_NaN()}, 0, 0},
                 {{1, 0, std::numeric_limits<double>::infinity()}, 1, 1}};
    CN_BSPTree tree, empty;
    NgonList floor = listOf({square(2, 1, {1, 0, 0})});
    ASSERT_EQ(tree.build(floor), 1);
    for (const auto& [point, inside, strictly] : cases) {
        SCOPED_TRACE(point.z);
        for (const CN_BSPNode* const node : {tree.getRoot()}) {
            EXPECT_EQ(tree.inside(node, point, false), inside);
            EXPECT_EQ(tree.inside(node, point, true), strictly);
        }
        EXPECT_EQ(tree.inside(point), inside);
        EXPECT_EQ(tree.strictlyInside(point), strictly);
        EXPECT_EQ(empty.inside(point), 0);
    }
    const CN_Ngon above = square(2, 1, {1, 0, 3}), across = square(0, 1, {1, 0, 0});
    EXPECT_EQ(tree.inside(&above), 1);
    EXPECT_EQ(tree.inside(&across), 0);
    EXPECT_EQ(tree.isInsideSubtree(tree.getRoot(), &across), 0);
    EXPECT_EQ(tree.isInsideSubtree(nullptr, &across), 1);
}

TEST(BSPTree, ChoosesThePlaneThatDividesBest) {
    // Three pieces in the plane z = 0, two in front, one behind; the others score worse.
    const CN_Ngon best[] = {square(2, 1, {0, 0, 0}), square(2, 1, {4, 0, 0}), square(2, 1, {8, 0, 0})};
    NgonList ngons =
        listOf({square(2, 1, {0, 0, 5}), square(2, 1, {0, 0, 7}), square(2, 1, {0, 0, -5}), best[1], best[0], best[2]});
    EXPECT_EQ(test::naiveScore(test::asPieces(ngons), best[0].getPlane()), -11);
    CN_BSPTree tree;
    ASSERT_TRUE(buildAsTold(tree, ngons));
    EXPECT_EQ(tree.getRoot()->getPlane().getPoint(), best[1].getPlane().getPoint()) << "the first of equal ones";
    ASSERT_EQ(tree.build(ngons), 1);
    EXPECT_EQ(ngons.count(), 3) << "what lay in the plane is gone";
    EXPECT_EQ(tree.getMesh(), nullptr);

    // A polygon's other pieces go with it, wherever they lie; pieces of no polygon have nothing in common.
    CN_Polygon polygon(nullptr);
    std::vector<CN_Ngon> pieces{square(2, 1, {0, 0, 0}), square(0, 1, {5, 5, 5})};
    NgonList loose = listOf(pieces);
    ASSERT_TRUE(buildAsTold(tree, loose));
    EXPECT_EQ(depthOf(tree.getRoot()), 2);
    for (CN_Ngon& piece : pieces)
        piece.setSourcePolygon(&polygon);
    ASSERT_TRUE(buildAsTold(tree, listOf(pieces)));
    EXPECT_TRUE(tree.getRoot()->leaf());
}

TEST(BSPTree, TellsWhatNoPlaneDivides) {
    CN_Polygon polygon(nullptr);
    polygon.setPolygonIndex(7);
    CN_Ngon up = square(2, 1, {0, 0, 0}), down = square(2, -1, {0, 0, 0});
    up.setSourcePolygon(&polygon);
    CN_Ngon flat = square(2, 1, {0, 0, 0}), lost = flat;
    flat.setPlane({{0, 0, 0}, {0, 0, 0}});
    lost.setPlane({{0, 0, 1}, {0, 0, std::numeric_limits<double>::quiet_NaN()}});
    const std::string head = "Couldn't find proper BSP split plane; ngons from polys:";
    const struct {
        std::vector<CN_Ngon> ngons;
        std::string log;
    } cases[] = {
        {{}, head},
        {{up, down},
         head + "7 (normal = (0.000000000, 0.000000000, 1.000000000))"
                "-1 (normal = (0.000000000, 0.000000000, -1.000000000))"},
        {{flat}, head + "-1 (normal = (0.000000000, 0.000000000, 0.000000000))"},
        {{lost}, head + "-1 (normal = (0.000000000, 0.000000000, 1.000000000))"},
    };
    for (const auto& [ngons, log] : cases) {
        const test::ProcessStateGuard guard;
        CN_BSPTree tree;
        NgonList list = listOf(ngons);
        EXPECT_EQ(tree.build(list), 0);
        EXPECT_EQ(guard.log(), log);
        EXPECT_EQ(list.count(), static_cast<int>(ngons.size()));
    }
    // Below the root, whose plane stands; only the point of a piece is asked, and a tilt of two degrees makes it harmless.
    const test::ProcessStateGuard guard;
    CN_BSPTree tree;
    NgonList list = listOf({square(0, 1, {-1, 0, 0}), up, down});
    EXPECT_EQ(tree.build(list), 0);
    EXPECT_EQ(tree.getRoot()->getPlane().getNormal(), Vector(1, 0, 0));
    EXPECT_EQ(list.count(), 2);
    CN_Ngon tilted = down;
    tilted.setPlane({Vector(std::sin(0.035), 0, -std::cos(0.035)), {0, 0, 0}});
    EXPECT_TRUE(buildAsTold(tree, listOf({up, tilted})));
    down.setPlane({{0, 0, -1}, {0, 0, 1}});
    EXPECT_TRUE(buildAsTold(tree, listOf({up, down})));
}

TEST(BSPNode, HoldsItsPlaneAgainstEdgesAndPieces) {
    const CN_Ngon floor = square(2, 1, {0, 0, 0}), above = square(2, 1, {0, 0, 1});
    const CN_BSPNode node(&floor), copy(node), none;
    EXPECT_EQ(copy.getPlane().getNormal(), Vector(0, 0, 1));
    EXPECT_EQ(none.getPlane().getNormal(), Vector());
    EXPECT_TRUE(node.leaf());
    const struct {
        double a, b;
        int crosses, inside;
    } edges[] = {{1, -1, 1, 0}, {1, 0.0004, 0, 1}, {1, -0.0004, 0, 1}, {1, -0.0006, 1, 0}, {-1, -2, 0, 0}};
    for (const auto& [a, b, crosses, inside] : edges) {
        EXPECT_EQ(node.edgeIntersects({0, 0, a}, {5, 0, b}), crosses) << a << ' ' << b;
        EXPECT_EQ(node.isInside({0, 0, a}, {5, 0, b}), inside) << a << ' ' << b;
    }
    const CN_Ngon nearly = ngon({{0, 0, 1e-9}, {1, 0, -1e-9}, {0, 1, 1e-9}});
    EXPECT_TRUE(node.intersects(&nearly) && node.contained(&nearly) && node.isInside(&nearly));
    EXPECT_FALSE(node.intersects(&floor) || node.intersects(&above) || node.contained(&above));

    test::ShelfDocument document;
    const CN_Triangle& triangle = test::boxRoom(document)->accessPolygonList()[2].getTriangleList()[0]; // of x = 0
    const CN_BSPNode wall(&triangle);
    EXPECT_EQ(wall.getPlane().getNormal(), Vector(1, 0, 0));
    EXPECT_EQ(wall.getPlane().getPoint(), triangle.getVertex(0));
    const CN_Ngon half = square(1, 1, {0, 1, 0});
    const CN_BSPNode across(&half);
    int crossed = 0;
    for (int i = 0; i < static_cast<int>(triangle.getVertices().size()); ++i)
        crossed += across.edgeIntersects(&triangle, i);
    EXPECT_EQ(crossed, 2);
}

TEST(BSPTree, GrowsByWhatBounds) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::boxRoom(document);
    CN_BSPTree tree;
    for (CN_Polygon& polygon : room.accessPolygonList())
        tree.insertBounding(&polygon);
    EXPECT_EQ(depthOf(tree.getRoot()), 6);
    EXPECT_TRUE(tree.inside(Vector(4, 2, 3)));
    EXPECT_FALSE(tree.inside(Vector(4, 5, 3)));

    // On x = 0: facing alike nothing changes; facing against it falls to the outside, where there is none yet.
    CN_BSPTree wall;
    NgonList list = listOf({square(0, 1, {0, 0, 0})});
    ASSERT_EQ(wall.build(list), 1);
    const CN_Ngon same = square(0, 1, {0, 3, 0}), against = square(0, -1, {0, 3, 0}), across = square(2, 1, {0, 0, 0}),
                  behind = square(0, 1, {-5, 0, 0});
    wall.insertBounding(wall.accessRoot(), &same);
    wall.insertBounding(wall.accessRoot(), &against);
    EXPECT_TRUE(wall.getRoot()->leaf());
    wall.insertBounding(wall.accessRoot(), &across);
    for (const CN_BSPNode* const half : {wall.getRoot()->getInsideChild(), wall.getRoot()->getOutsideChild()}) {
        ASSERT_TRUE(half && half->leaf());
        EXPECT_EQ(half->getPlane().getNormal(), Vector(0, 0, 1));
    }
    EXPECT_EQ(wall.inside(Vector(-1, 0, 1)), 1) << "the tree as it is now";
    wall.insertBounding(wall.accessRoot(), &against);
    EXPECT_EQ(depthOf(wall.getRoot()->getOutsideChild()), 2);
    wall.insertBounding(wall.accessRoot(), &behind);
    F_DLList<CN_BSPNode*> nodes;
    wall.enumerateNodes(nodes, wall.accessRoot());
    EXPECT_EQ(nodes.count(), depthOf(wall.getRoot()->getOutsideChild()) + 4);
    EXPECT_EQ(nodes[1], wall.getRoot()) << "between its subtrees";

    std::set<CN_BSPNode*> gathered;
    wall.gatherSplitPlanes({0.0004, 0, 3}, 0, gathered, nullptr);
    EXPECT_EQ(gathered.size(), 2U) << "the other one faces against it";
    EXPECT_EQ(gathered.count(wall.accessRoot()), 1U);
    wall.gatherSplitPlanes({0, 0, 3}, 3, gathered, nullptr);
    EXPECT_EQ(gathered.count(wall.accessRoot()->accessInsideChild()), 1U);
    EXPECT_EQ(gathered.count(wall.accessRoot()->accessOutsideChild()), 1U);
    const CN_Ngon tall = square(0, 1, {3, 0, 0});
    EXPECT_EQ(wall.getsSplit(&across), wall.accessRoot());
    EXPECT_EQ(wall.getsSplit(&tall), wall.accessRoot()->accessInsideChild());
    EXPECT_EQ(wall.getsSplit(nullptr, &tall), nullptr);
}

TEST(BSPTree, CutsByAListOfPlanes) {
    CN_BSPTree tree;
    CN_BSPTree::PlaneList planes;
    for (const double x : {-0.5, 0.5, 0.999999})
        planes.add({{1, 0, 0}, {x, 0, 0}});
    planes.add({{0, 0, 0}, {0, 0, 0}});
    NgonList parts;
    const CN_Ngon piece = square(2, 1, {0, 0, 0});
    {
        const test::ProcessStateGuard guard;
        tree.insertSplit(parts, piece, planes, planes.first());
        EXPECT_EQ(guard.log(), "nca -1nca -1nca -1");
    }
    ASSERT_EQ(parts.count(), 3) << "and no sliver";
    const double areas[] = {0.999998, 2, 1};
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(parts[i].area(), areas[i], 1e-6);
    tree.insertSplit(parts, piece, planes, nullptr);
    EXPECT_EQ(parts[3].getVertices(), piece.getVertices());
}

/// Where the pieces of the polygon lie, by area.
std::map<int, double> classes(const CN_Polygon& polygon) {
    std::map<int, double> areas;
    for (const CN_Ngon& piece : polygon.getNgonList())
        areas[piece.getClassification()] += piece.area();
    return areas;
}

TEST(BSPTree, ClassifiesThePiecesOfPolygons) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::boxRoom(document);
    CN_BSPTree tree;
    ASSERT_EQ(tree.build(&room), 1);
    using Areas = std::map<int, double>;
    const struct {
        const char* name;
        Corners corners; // counter-clockwise from where it looks to
        Areas areas;
    } cases[] = {
        {"inside", {{2, 1, 2}, {4, 1, 2}, {4, 1, 4}, {2, 1, 4}}, {{CN_Ngon::CLASSIFICATION_INSIDE, 4}}},
        {"half out",
         {{-2, 1, 2}, {-2, 1, 4}, {2, 1, 4}, {2, 1, 2}},
         {{CN_Ngon::CLASSIFICATION_OUTSIDE, 4}, {CN_Ngon::CLASSIFICATION_INSIDE, 4}}},
        {"on the floor",
         {{-2, 0, 2}, {-2, 0, 4}, {2, 0, 4}, {2, 0, 2}},
         {{CN_Ngon::CLASSIFICATION_OUTSIDE, 4}, {CN_Ngon::CLASSIFICATION_COPLANAR_SAME, 4}}},
        {"under the floor",
         {{1, 0, 2}, {2, 0, 2}, {2, 0, 4}, {1, 0, 4}},
         {{CN_Ngon::CLASSIFICATION_COPLANAR_OPPOSITE, 2}}},
    };
    for (const auto& [name, corners, areas] : cases) {
        SCOPED_TRACE(name);
        CN_LevelEntityMesh& mesh = *test::addFixture(document, name);
        test::Loop loop;
        for (const Vector& corner : corners) {
            loop.push_back(mesh.getVertexList().count());
            mesh.addVertex(corner);
        }
        CN_Polygon& polygon = *test::fixturePolygon(mesh, {loop});
        test::finishFixture(mesh);
        for (const bool dropSlivers : {true, false}) {
            tree.classify2(&polygon, dropSlivers);
            EXPECT_EQ(classes(polygon), areas);
        }
        EXPECT_TRUE(polygon.getNgonList().first()->isLocal());
    }
    // Beyond the wall x = 0 by less than a sliver's thickness, and by more.
    for (const double beyond : {5e-5, 5e-4}) {
        CN_LevelEntityMesh& mesh = *test::addFixture(document, "Strip");
        for (const Vector& corner : {Vector(-beyond, 1, 2), {-beyond, 1, 4}, {2, 1, 4}, {2, 1, 2}})
            mesh.addVertex(corner);
        CN_Polygon& polygon = *test::fixturePolygon(mesh, {{0, 1, 2, 3}});
        test::finishFixture(mesh);
        tree.classify2(&polygon, false);
        const int all = polygon.getNgonList().count();
        tree.classify2(&polygon, true);
        EXPECT_EQ(polygon.getNgonList().count() < all, beyond < 1e-4) << beyond;
    }
    CN_BSPTree empty;
    const CN_Ngon piece = square(2, 1, {4, 2, 0});
    EXPECT_EQ(empty.classify2(nullptr, &piece, 0), CN_Ngon::CLASSIFICATION_OUTSIDE);
    EXPECT_EQ(tree.classify2(tree.getRoot(), &piece, 0), CN_Ngon::CLASSIFICATION_COPLANAR_SAME);
    EXPECT_EQ(tree.classify2(tree.getRoot(), &piece, 1), CN_Ngon::CLASSIFICATION_INSIDE);
}

TEST(BSPTree, LeavesAPolygonWholeInThePlaneThatHoldsOneOfItsTriangles) {
    // The first triangle lies in z = 0, which makes the second one, out of the plane, pass uncut.
    CN_BSPTree tree;
    NgonList list = listOf({square(2, 1, {0, 0, 0})});
    ASSERT_EQ(tree.build(list), 1);
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Bent");
    for (const Vector& corner : Corners{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, -1}, {-1, 1, 1}})
        mesh.addVertex(corner);
    CN_Polygon& polygon = *test::fixturePolygon(mesh, {{0, 1, 2}});
    test::finishFixture(mesh);
    CN_Triangle& bent = polygon.accessTriangleList().addNew();
    bent.setParent(&polygon);
    bent.accessVertices() = {0, 3, 4};
    tree.classify2(&polygon, false);
    EXPECT_EQ(polygon.getNgonList().count(), 2);
    CN_BSPTree other;
    list = listOf({square(2, 1, {0, 0, 0})});
    ASSERT_EQ(other.build(list), 1);
    polygon.accessTriangleList().reverse();
    other.classify2(&polygon, false);
    EXPECT_EQ(polygon.getNgonList().count(), 3) << "the bent one came first";
    polygon.accessNgonList().clear();
}

} // namespace
} // namespace cairn
