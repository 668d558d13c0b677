#include "tests/support/mesh_shelf.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cmath>

namespace cairn {
namespace {

using test::ShelfDocument;
using Vector = M_Vector3Template<double>;
using Matrix = CN_Polygon::Matrix;
using PlanarSpace = CN_Polygon::PlanarSpace;

TEST(PolygonPlane, NormalOfCornersKeepsItsSide) {
    ShelfDocument document;
    CN_Polygon& concave = test::lRoom(document)->accessPolygonList()[0];
    for (const Vector& before : {Vector(0, 1, 0), {0, -1, 0}, {0.6, 0.8, 0}}) {
        concave.setNormal(before);
        concave.updateNormal();
        EXPECT_EQ(concave.getNormal(), Vector(0, before.y > 0 ? 1 : -1, 0));
    }
    CN_LevelEntityMesh& split = *test::splitBox(document, test::Split::SHARED);
    split.accessPolygonList()[0].updateNormal();
    EXPECT_EQ(split.getPolygonList()[0].getNormal(), Vector(0, 1, 0)) << "a corner on a line says nothing";
    for (CN_Vertex& vertex : split.accessVertexList())
        vertex.local = Vector(vertex.local.x, 0, 0);
    split.accessPolygonList()[0].setNormal({0, 0.5, 0});
    split.accessPolygonList()[0].updateNormal();
    EXPECT_EQ(split.getPolygonList()[0].getNormal(), Vector(0, 0.5, 0)) << "no corner says anything";
}

TEST(PolygonPlane, SpaceIsLeftHandedInEveryPlane) {
    ShelfDocument document;
    for (const test::ShelfMesh& sample : test::meshShelf()) {
        if (sample.polygons > 100)
            continue;
        for (const CN_Polygon& polygon : sample.build(document)->getPolygonList()) {
            const PlanarSpace space = polygon.getSpace();
            const Matrix& m = space.getMatrix();
            // The first axis keeps the length that it has in the plane, off which jittered corners lead.
            EXPECT_NEAR(m.determinant(), -1, 1e-12 + sample.tolerance * sample.tolerance);
            EXPECT_EQ(m.row(2), polygon.getNormal());
            EXPECT_EQ(space.getPoint(), polygon.getPointOnPlane());
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(m.row(i).dot(m.row((i + 1) % 3)), 0, 1e-12);
        }
    }
    CN_Polygon& floor = test::unitFloor(document)->accessPolygonList()[0];
    floor.accessUVSpaces()[0].space = PlanarSpace();
    for (const Vector& normal : {Vector(1, 0, 0), Vector(0, 0, 0)}) {
        floor.setNormal(normal);
        EXPECT_EQ(test::failureText([&] { floor.getSpace(); }), "M_PlanarSpace3 is singular!");
    }
}

TEST(PolygonPlane, PointsMoveOntoThePlane) {
    ShelfDocument document;
    CN_Polygon& floor = test::unitFloor(document)->accessPolygonList()[0];
    EXPECT_EQ(floor.distLocal({3, -2, 1}), -2);
    EXPECT_EQ(floor.getPlane().distance({3, 2, 1}), 2);
    Vector point(3, 4, 5);
    floor.project(point);
    EXPECT_EQ(point, Vector(3, 0, 5));
    point = {3, 4, 5};
    floor.projectAlong(point, {1, 2, 0});
    EXPECT_EQ(point, Vector(1, 0, 5));
    point = {3, 4, 5};
    floor.projectAlong(point, {1, 0, 0});
    EXPECT_EQ(point, Vector(3, 4, 5)) << "along the plane it gets nowhere";
    CN_Polygon::projectGeneral(point, {0, 0, 1}, {9, 9, 2});
    EXPECT_EQ(point, Vector(3, 4, 2));
    CN_Polygon::projectAlongGeneral(point, {0, 1, 1}, {0, 0, -1}, {0, 0, 0});
    EXPECT_EQ(point, Vector(3, 2, 0));
}

TEST(PolygonPlane, AnglesBetweenVectors) {
    EXPECT_NEAR(CN_Polygon::angle({1, 0, 0}, {0, 1, 0}, true), std::acos(0.0), 1e-15);
    EXPECT_EQ(CN_Polygon::angle({1, 0, 0}, {1.5, 0, 0}, true), 0) << "a cosine above 1 is 1";
    EXPECT_NEAR(CN_Polygon::angle({2, 0, 0}, {3, 3, 0}, false), std::acos(0.0) / 2, 1e-7);
    EXPECT_EQ(CN_Polygon::angle({2, 0, 0}, {1, 1e-9, 0}, false), 0) << "single precision";
    EXPECT_TRUE(std::isnan(CN_Polygon::angle({0, 0, 0}, {1, 0, 0}, false)));
}

TEST(PolygonPlane, FlipTurnsAllThatHasASide) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::pillarRoom(document);
    CN_Polygon& floor = mesh.accessPolygonList()[0];
    floor.editUVSpace(0).setOffset({3, 4});
    floor.setUVDirty(false);
    const PlanarSpace before = floor.getUVSpace(0);
    std::vector<std::vector<int>> pieces;
    for (const CN_Triangle& piece : floor.getTriangleList())
        pieces.push_back(piece.getVertices());

    floor.flip(false);
    EXPECT_EQ(floor.getNormal(), Vector(0, -1, 0));
    EXPECT_EQ(floor.getReferenceNormal(), Vector(0, -1, 0));
    EXPECT_TRUE(floor.isUVDirty());
    std::size_t i = 0;
    for (const CN_Triangle& piece : floor.getTriangleList())
        EXPECT_EQ(piece.getVertices(), pieces[i++]) << "triangles keep their order";
    for (int key = 0; key < 3; ++key) {
        ASSERT_TRUE(floor.hasUVSpace(key));
        const PlanarSpace& space = floor.getUVSpace(key);
        EXPECT_EQ(space.getMatrix().row(0), before.getMatrix().row(0));
        EXPECT_EQ(space.getMatrix().row(1), before.getMatrix().row(1));
        EXPECT_EQ(space.getMatrix().row(2), Vector(0, -1, 0));
        EXPECT_EQ(space.getNormal(), Vector(0, -1, 0));
        EXPECT_EQ(space.getOffset(), key == 0 ? before.getOffset() : M_Vector2Template<double>());
    }
    const auto lassos = floor.getLassos();
    ASSERT_EQ(lassos.size(), 2U) << "loops still chain, the hole comes first";
    EXPECT_EQ(lassos[0][0]->index(0), 4);
    EXPECT_EQ(lassos[1][0]->index(0), 0);

    floor.flip(true);
    EXPECT_EQ(floor.getNormal(), Vector(0, 1, 0));
    EXPECT_EQ(floor.getEdgeList()[0].index(0), 0);
    EXPECT_NEAR(floor.calcArea(), 60, 1e-12);

    CN_Polygon& collecting = *mesh.addPolygon();
    for (int corner = 0; corner < 3; ++corner)
        collecting.addVertex(&mesh.accessVertexList()[corner]);
    collecting.flipVertexOrder();
    EXPECT_EQ(*collecting.getVertexBuffer().first(), &mesh.getVertexList()[2]);
}

} // namespace
} // namespace cairn
