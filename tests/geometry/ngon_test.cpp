#include "cairn/geometry/ngon.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

using Vector = CN_Ngon::Vector;
using Corners = std::vector<Vector>;

CN_Ngon ngon(const Corners& corners) {
    CN_Ngon made;
    made.accessVertices() = corners;
    made.setPlane({{0, 1, 0}, {0, 0, 0}});
    return made;
}

const Corners SQUARE{{0, 0, 0}, {0, 0, 4}, {4, 0, 4}, {4, 0, 0}};

CN_Ngon::Plane across(double x) { return {{1, 0, 0}, {x, 0, 0}}; }

TEST(Ngon, TakesOverAPieceOfAPolygon) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::unitFloor(document);
    CN_Polygon& polygon = mesh.accessPolygonList()[0];
    mesh.setPosition({10, 0, 0});
    mesh.handleOwnHierarchy();
    CN_Triangle triangle;
    triangle.setParent(&polygon);
    triangle.accessVertices() = {1, 3, 0};
    CN_Ngon local;
    local.construct(&triangle, 1);
    EXPECT_EQ(local.getVertices(), (Corners{{0, 0, 1}, {1, 0, 0}, {0, 0, 0}}));
    EXPECT_TRUE(local.isLocal());
    EXPECT_EQ(local.getPlane().getPoint(), Vector(0.5, 0, 0.5));
    const CN_Ngon world(&triangle);
    EXPECT_EQ(world.getVertices()[1], Vector(11, 0, 0));
    EXPECT_EQ(world.getPlane().getPoint(), Vector(10.5, 0, 0.5));
    EXPECT_EQ(world.getPlane().getNormal(), Vector(0, 1, 0));
    EXPECT_FALSE(world.isLocal());

    const test::ProcessStateGuard guard;
    polygon.setPolygonIndex(7);
    world.dump();
    ngon({{1, 2, 3}}).dump();
    EXPECT_EQ(guard.log(), "CN_Ngon dump, from poly 7, index 0"
                           "10.00000000, 0.00000000, 1.00000000\n"
                           "11.00000000, 0.00000000, 0.00000000\n"
                           "10.00000000, 0.00000000, 0.00000000\n"
                           "CN_Ngon dump, from poly -1, index -1"
                           "1.00000000, 2.00000000, 3.00000000\n");
}

TEST(Ngon, WalksItsEdgesOnce) {
    CN_Ngon square = ngon(SQUARE);
    Vector a, b;
    square.firstEdge(a, b);
    Corners starts{a};
    while (square.edge(a, b))
        starts.push_back(a);
    EXPECT_EQ(starts, SQUARE);
    EXPECT_EQ(b, SQUARE[0]);
    CN_Ngon copy = square;
    copy.firstEdge(a, b);
    EXPECT_EQ(copy.edge(a, b), 1);
    EXPECT_EQ(square.hasVertex({4, 0, 4}), 2);
    EXPECT_EQ(square.hasVertex({4, 1e-12, 4}), -1);
    square.flip();
    EXPECT_EQ(square.getVertices()[0], SQUARE[3]);
    EXPECT_EQ(square.getPlane().getNormal(), Vector(0, -1, 0));
}

TEST(Ngon, TellsItsShape) {
    const struct {
        const char* name;
        Corners corners;
        double area;
        int degenerate, linear;
        double aspect;
    } cases[] = {
        {"nothing", {}, 0, 1, 1, 0},
        {"a point", {{1, 0, 1}}, 0, 1, 1, 0},
        {"square", SQUARE, 16, 0, 0, 1},
        {"strip", {{0, 0, 0}, {0, 0, 1}, {4, 0, 1}, {4, 0, 0}}, 4, 0, 0, 0.25},
        {"sliver", {{0, 0, 0}, {2, 0, 0.0005}, {4, 0, 0}}, 0.001, 1, 1, 0.5},
        {"line", {{0, 0, 0}, {1, 0, 0}, {3, 0, 0}}, 0, 1, 1, 0},
        {"too small to ask", {{0, 0, 0}, {0, 0, 1e-7}, {1e-7, 0, 0}}, 5e-15, 0, 1, 0.70710678},
        {"corner twice", {{0, 0, 0}, {0, 0, 0}, {0, 0, 4}, {4, 0, 0}}, 8, 0, 0, 0.70710678},
        {"line with a corner twice", {{0, 0, 0}, {1, 0, 0}, {1, 0, 0}}, 0, 1, 1, 0},
        {"line that begins with a corner twice", {{1, 0, 0}, {1, 0, 0}, {0, 0, 0}}, 0, 1, 1, 0},
        {"corner alone, twice", {{1, 0, 0}, {1, 0, 0}}, 0, 1, 1, 0},
    };
    for (const auto& c : cases) {
        const CN_Ngon shape = ngon(c.corners);
        EXPECT_NEAR(shape.area(), c.area, 1e-15) << c.name;
        EXPECT_EQ(shape.degenerate(), c.degenerate) << c.name;
        EXPECT_EQ(shape.linear(0.001), c.linear) << c.name;
        EXPECT_NEAR(shape.aspectRatio(), c.aspect, 1e-6) << c.name;
    }
}

TEST(Ngon, KnowsItsSideOfAPlane) {
    const CN_Ngon square = ngon(SQUARE);
    const struct {
        double x;
        int inside, contained;
        bool crossed, edgeInside; ///< of the edge from (0, 0, 4) to (4, 0, 4)
        double min, max;
    } cases[] = {
        {-1, 1, 0, false, true, 1, 5},
        {0, 1, 0, true, true, 0, 4},
        {0.0005, 1, 0, true, true, -0.0005, 3.9995}, // half a step snaps to the even side
        {0.0009, 1, 0, true, false, -0.0009, 3.9991},
        {0.001, 0, 0, true, false, -0.001, 3.999},
        {2, 0, 0, true, false, -2, 2},
        {5, 0, 0, false, false, -5, -1},
    };
    for (const auto& c : cases) {
        const CN_Ngon::Plane plane = across(c.x);
        double min = 0, max = 0;
        square.calcMinMax(plane, min, max, true, {});
        EXPECT_EQ(square.isInside(plane), c.inside) << c.x;
        EXPECT_EQ(square.contained(plane), c.contained) << c.x;
        EXPECT_EQ(CN_Ngon::intersects(plane, SQUARE[1], SQUARE[2]), c.crossed) << c.x;
        EXPECT_EQ(CN_Ngon::isInside(plane, SQUARE[1], SQUARE[2]), c.edgeInside) << c.x;
        EXPECT_DOUBLE_EQ(min, c.min);
        EXPECT_DOUBLE_EQ(max, c.max);
    }
    EXPECT_EQ(square.contained({{0, 1, 0}, {0, 0.0009, 0}}), 1);
    EXPECT_EQ(square.contained({{0, 1, 0}, {0, 0.001, 0}}), 0);
    double min = 0, max = 0;
    square.calcMinMax(across(1), min, max, false, {0, 0, 0});
    EXPECT_EQ(std::pair(min, max), std::pair(-1.0, 3.0));
    square.calcMinMax(across(1), min, max, true, {10, 0, 0});
    EXPECT_EQ(std::pair(min, max), std::pair(9.0, 13.0));
}

TEST(Ngon, SplitsAlongAPlane) {
    CN_Ngon whole = ngon(SQUARE), inside, outside;
    whole.setForcedClassification(CN_Ngon::CLASSIFICATION_INSIDE);
    whole.setClassification(CN_Ngon::CLASSIFICATION_OUTSIDE);
    whole.setLocal(true);
    whole.split(across(1), inside, outside);
    EXPECT_EQ(inside.getVertices(), (Corners{{1, 0, 4}, {4, 0, 4}, {4, 0, 0}, {1, 0, 0}}));
    EXPECT_EQ(outside.getVertices(), (Corners{{0, 0, 0}, {0, 0, 4}, {1, 0, 4}, {1, 0, 0}}));
    for (const CN_Ngon* const piece : {&inside, &outside}) {
        EXPECT_TRUE(piece->isLocal());
        EXPECT_EQ(piece->getClassification(), 0);
        EXPECT_EQ(piece->getForcedClassification(), CN_Ngon::CLASSIFICATION_INSIDE);
        EXPECT_EQ(piece->getPlane().getNormal(), Vector(0, 1, 0));
    }
    whole.split(across(4), inside, outside);
    EXPECT_EQ(outside.getVertices(), SQUARE) << "a corner in the plane goes to both";
    EXPECT_EQ(inside.getVertices(), (Corners{{4, 0, 4}, {4, 0, 0}}));
    whole.split({{0, 1, 0}, {0, 0, 0}}, inside, outside);
    EXPECT_EQ(inside.getVertices(), SQUARE);
    EXPECT_EQ(outside.size(), 0);
    // Cut points hold single precision along the edge and lie on it.
    ngon({{0, 0, 0}, {0, 0, 3}, {3, 0, 3}, {3, 0, 0}}).split(across(1), inside, outside);
    EXPECT_EQ(inside.getVertices()[0], Vector(3 * static_cast<double>(1.0f / 3.0f), 0, 3));
}

TEST(Ngon, PiecesMeetAndUnite) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::unitFloor(document);
    CN_Polygon* const source = &mesh.accessPolygonList()[0];
    const auto piece = [&](const Corners& corners) {
        CN_Ngon made = ngon(corners);
        made.setSourcePolygon(source);
        made.setLocal(true);
        return made;
    };
    const CN_Ngon a = piece({{0, 0, 0}, {0, 0, 4}, {4, 0, 4}, {4, 0, 0}});
    const CN_Ngon right = piece({{4, 0, 0}, {4, 0, 4}, {6, 0, 4}, {6, 0, 0}});
    const CN_Ngon bulge = piece({{4, 0, 0}, {4, 0, 4}, {6, 0, 5}});
    const CN_Ngon apart = piece({{4, 0, 0}, {4, 0, 3}, {6, 0, 3}, {6, 0, 0}});
    Vector from, to;
    EXPECT_TRUE(a.sharesEdge(right, &from, &to));
    EXPECT_EQ(from, Vector(4, 0, 4));
    EXPECT_EQ(to, Vector(4, 0, 0));
    EXPECT_FALSE(a.sharesEdge(apart, nullptr, nullptr));
    EXPECT_TRUE(a.formsConvexRegion(right));
    EXPECT_FALSE(a.formsConvexRegion(bulge));
    EXPECT_FALSE(a.formsConvexRegion(apart));
    EXPECT_FALSE(ngon(SQUARE).formsConvexRegion(right)) << "pieces of nothing";

    CN_Ngon both;
    both.unify(a, right);
    EXPECT_EQ(both.getVertices(), (Corners{{0, 0, 0}, {0, 0, 4}, {4, 0, 4}, {6, 0, 4}, {6, 0, 0}, {4, 0, 0}}));
    EXPECT_TRUE(both.isLocal());
    EXPECT_EQ(both.getSourcePolygon(), source);
    both.unify(a, both);
    EXPECT_EQ(both.getVertices(), a.getVertices()) << "all of it is in the other";
}

} // namespace
} // namespace cairn
