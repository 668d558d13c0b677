#include "cairn/geometry/validate.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace cairn {
namespace {

using test::failureText;
using test::ShelfDocument;
using Vector = M_Vector3Template<double>;

/// Two floors side by side at z = 0, and a third polygon that may stand as an exit on what they share.
struct Floors {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Floors");
    CN_Polygon *a, *b, *wall;

    Floors() {
        for (const Vector& corner : {Vector(0, 0, 0), {0, 0, 4}, {8, 0, 4}, {8, 0, 0}, {0, 0, -4}, {8, 0, -4}})
            mesh.addVertex(corner);
        a = test::fixturePolygon(mesh, {{0, 1, 2, 3}});
        b = test::fixturePolygon(mesh, {{4, 0, 3, 5}});
        for (const Vector& corner : {Vector(2, 0, 0), {2, 4, 0}, {6, 4, 0}, {6, 0, 0}})
            mesh.addVertex(corner);
        wall = test::fixturePolygon(mesh, {{6, 7, 8, 9}});
        test::finishFixture(mesh);
    }
};

TEST(PolygonUnify, WhatMayBecomeOne) {
    constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        const char* name;
        std::function<void(Floors&)> change;
        const char* message; ///< null where they may
    };
    const char* const NOT_COPLANAR = "Polys have to be coplanar!";
    const char* const TOUCHED = "Polygons cannot be exits or touched by the same exit!";
    const auto tilted = [](double degrees) {
        return [degrees](Floors& f) {
            const double angle = degrees * 3.141592653589793 / 180;
            f.b->setNormal({0, std::cos(angle), std::sin(angle)});
        };
    };
    const Case cases[] = {
        {"side by side", [](Floors&) {}, nullptr},
        {"tilted", tilted(0.09), nullptr},
        {"too much", tilted(0.11), NOT_COPLANAR},
        {"facing each other",
         [](Floors& f) {
             f.b->setNormal({0, -1, 0});
         },
         NOT_COPLANAR},
        {"without a normal",
         [=](Floors& f) {
             f.b->setNormal({0, NOT_A_NUMBER, 0});
         },
         NOT_COPLANAR},
        {"of two meshes", [](Floors& f) { f.b = &test::unitFloor(f.document)->accessPolygonList()[0]; },
         "Polys have to be in the same object!"},
        {"apart",
         [](Floors& f) {
             for (const int corner : {0, 3})
                 f.mesh.accessVertexList()[corner] = f.mesh.getVertexList()[corner].local + Vector(0, 0, 0.0015);
             f.b->accessEdgeList().clear();
             for (const Vector& corner : {Vector(0, 0, -4), {0, 0, 0}, {8, 0, 0}, {8, 0, -4}})
                 f.b->addVertex(corner);
             f.b->constructEdges();
         },
         "Polys have to share edges!"},
        {"one exit", [](Floors& f) { f.a->setExitDestination(f.wall); }, TOUCHED},
        {"two exits",
         [](Floors& f) {
             f.a->setExitDestination(f.wall);
             f.b->setExitDestination(f.wall);
         },
         nullptr},
        {"on which an exit stands", [](Floors& f) { f.wall->setExitDestination(f.wall); }, TOUCHED},
        {"on which their partner stands",
         [](Floors& f) {
             for (CN_Polygon* const exit : {f.a, f.b, f.wall})
                 exit->setExitDestination(f.wall);
         },
         nullptr},
        {"beside which an exit stands",
         [](Floors& f) {
             for (const int corner : {6, 9})
                 f.mesh.accessVertexList()[corner] = f.mesh.getVertexList()[corner].local + Vector(0, 0, 1);
             f.wall->setExitDestination(f.wall);
         },
         nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Floors floors;
        c.change(floors);
        const test::ProcessStateGuard guard;
        EXPECT_EQ(floors.a->canUnify(floors.b), !c.message);
        EXPECT_EQ(guard.boxes().size(), c.message ? 1u : 0u);
        if (c.message && !guard.boxes().empty()) {
            EXPECT_EQ(guard.boxes()[0].text, c.message);
        }
        EXPECT_FALSE(floors.a->canUnify(floors.a));
        EXPECT_EQ(guard.boxes().size(), c.message ? 1u : 0u) << "itself is refused in silence";
    }
}

TEST(PolygonUnify, TwoFloorsBecomeOne) {
    for (const double gap : {0.0, 1e-9, 1e-6}) {
        SCOPED_TRACE(gap);
        Floors floors;
        CN_LevelEntityMesh& mesh = floors.mesh;
        if (gap > 0) {
            floors.b->accessEdgeList().clear();
            for (const Vector& corner : {Vector(0, 0, -4), {0, 0, -gap}, {8, 0, -gap}, {8, 0, -4}})
                floors.b->addVertex(corner);
            floors.b->constructEdges();
        }
        floors.a->setPolyMode(PT_ALPHAMAP);
        floors.a->accessNgonList().emplace(floors.a->getTriangleList().first());
        mesh.setPosition({0, 10, 0});
        mesh.handleOwnHierarchy();
        CN_Polygon carrier(&mesh);
        const std::vector<CN_Polygon*> made = carrier.buildFrom(floors.a, floors.b);
        ASSERT_EQ(made.size(), 1u);
        EXPECT_EQ(made[0], mesh.getPolygonList().last());
        EXPECT_EQ(mesh.getPolygonList().count(), 4);
        EXPECT_EQ(made[0]->getEdgeList().count(), 4);
        EXPECT_EQ(made[0]->numVertices(), 4);
        EXPECT_EQ(made[0]->getPolyMode(), PT_ALPHAMAP);
        EXPECT_TRUE(made[0]->hasUVSpace(1) && made[0]->hasUVSpace(2));
        EXPECT_TRUE(floors.a->getNgonList().empty());
        EXPECT_NEAR((CN_areaVector(*made[0]) - Vector(0, 64, 0)).length(), 0, 1e-9);
        EXPECT_EQ(made[0]->getEdgeList().first()->getWorld(0).y, 10) << "the hierarchy is up to date";
        EXPECT_TRUE(made[0]->canTriangulize());
        carrier.setMaterial(nullptr);
    }
}

TEST(PolygonUnify, PolygonsApartStayTwo) {
    Floors floors;
    CN_Polygon carrier(&floors.mesh);
    floors.b->accessEdgeList().clear();
    for (const Vector& corner : {Vector(0, 0, -4), {0, 0, -3}, {8, 0, -3}, {8, 0, -4}})
        floors.b->addVertex(corner);
    floors.b->constructEdges();
    EXPECT_EQ(carrier.buildFrom(floors.a, floors.b).size(), 2u);
    carrier.setMaterial(nullptr);
}

TEST(PolygonUnify, ThePlaneIsThatOfTheNormalNearerAnAxis) {
    const Vector leaning(0, 0.99999999, 0.0001);
    for (const bool firstLeans : {true, false}) {
        Floors floors;
        (firstLeans ? floors.a : floors.b)->setNormal(leaning);
        CN_Polygon carrier(&floors.mesh);
        const CN_Polygon& made = *carrier.buildFrom(floors.a, floors.b).at(0);
        const CN_Polygon& upright = *(firstLeans ? floors.b : floors.a);
        EXPECT_EQ(made.getNormal(), Vector(0, 1, 0));
        EXPECT_EQ(made.getPointOnPlane(), upright.getPointOnPlane());
        for (const int key : {0, 1, 2}) {
            EXPECT_EQ(made.getUVSpace(key).getMatrix().row(2), Vector(0, 1, 0));
            EXPECT_EQ(made.getUVSpace(key).getMatrix().row(0).y, 0);
            EXPECT_EQ(made.getUVSpace(key).getMatrix().row(1).y, 0);
        }
        carrier.setMaterial(nullptr);
    }
    Floors floors;
    CN_Polygon carrier(&floors.mesh);
    EXPECT_EQ(carrier.buildFrom(floors.a, floors.b).at(0)->getPointOnPlane(), floors.b->getPointOnPlane())
        << "on a tie";
    carrier.setMaterial(nullptr);
}

TEST(PolygonUnify, ARefusalChangesNothing) {
    Floors floors;
    CN_Polygon carrier(&floors.mesh);
    floors.a->accessUVSpaces()[0].space = CN_Polygon::PlanarSpace({{0, 1, 0}, {0, 0, 1}, {1, 0, 0}}, {}, {});
    EXPECT_EQ(failureText([&] { carrier.buildFrom(floors.a, floors.b); }), "M_PlanarSpace3 is singular!");
    floors.a->accessUVSpaces()[0].space = CN_Polygon::PlanarSpace();
    floors.mesh.accessVertexList()[5].local.x = std::numeric_limits<double>::infinity();
    floors.a->setPolygonIndex(3);
    floors.b->setPolygonIndex(4);
    EXPECT_EQ(failureText([&] { carrier.buildFrom(floors.a, floors.b); }),
              "Polygons 3 and 4 cannot be united: they are not finite");
    EXPECT_EQ(floors.mesh.getPolygonList().count(), 3);
    EXPECT_EQ(carrier.getMaterial(), nullptr);
}

} // namespace
} // namespace cairn
