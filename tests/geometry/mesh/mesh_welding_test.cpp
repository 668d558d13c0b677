#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/geometry/validate.h"
#include "cairn/geometry/welding.h"
#include "cairn/materials/material.h"
#include "tests/support/naive_welding.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <new>
#include <stdexcept>

namespace cairn {
namespace {

using test::addVertices;
using test::placesOf;
using test::ShelfDocument;
using Vector = M_Vector3Template<double>;

constexpr double INF = std::numeric_limits<double>::infinity(), NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

CString weld(CN_Mesh& mesh, double radius) {
    CString report = "untouched";
    mesh.temporaryCreateWeldGroupsAndWeldVertices(radius, radius, report);
    return report;
}

std::string internalFaults(const CN_Mesh& mesh) {
    std::string codes;
    for (const CN_Finding& finding : CN_validateMesh(mesh, CN_LEVEL_TOLERANCE))
        codes += finding.internal ? std::string(finding.code) + " " : "";
    return codes;
}

TEST(MeshWelding, LooseCornersOfABoxBecomeEight) {
    for (const bool isJittered : {false, true}) {
        ShelfDocument document, plan;
        CN_LevelEntityMesh& mesh = *test::duplicatedBox(document);
        for (CN_Vertex& vertex : mesh.accessVertexList())
            if (!isJittered)
                snapVector(vertex.local, 1, 0.01);
        for (CN_Polygon& polygon : mesh.accessPolygonList())
            polygon.updatePointOnPlane();
        EXPECT_EQ(weld(mesh, 0.01), "Mesh fix (Duplicated); 24 original verts, 8 now, killed 0 polys");
        const std::vector<Vector> places = placesOf(mesh);
        ASSERT_EQ(places.size(), 8u);
        const double off = isJittered ? 0.003 : 0; // planes stay where their corners were on average, off the grid
        for (const Vector& corner : placesOf(*test::boxRoom(plan)))
            EXPECT_EQ(std::count_if(places.begin(), places.end(),
                                    [&](const Vector& place) { return (place - corner).length() <= off; }),
                      1);
        EXPECT_EQ(mesh.getVertexList()[0].world, places[0]);
        EXPECT_TRUE(CN_validateMesh(mesh, 1e-9).empty());
        EXPECT_NEAR(CN_volume(mesh), 192, 20 * off);
        EXPECT_TRUE(weldGroups.empty() && polygonReplacements.empty());
        EXPECT_EQ(weld(mesh, 0.01), "Mesh fix (Duplicated); 8 original verts, 8 now, killed 0 polys");
        EXPECT_EQ(placesOf(mesh), places);
    }
}

TEST(MeshWelding, TheShelfStaysSoundWeldedTwiceAndReworked) {
    for (const test::ShelfMesh& sample : test::meshShelf()) {
        SCOPED_TRACE(sample.name);
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *sample.build(document);
        const double tolerance = sample.tolerance > 1e-9 ? 0.1 : 1e-9 * (1 + sample.volume);
        const CString report = weld(mesh, 0.005);
        if (sample.vertices > 3) {
            EXPECT_NE(report.str().find("killed 0"), std::string::npos) << report;
        }
        const std::vector<Vector> once = placesOf(mesh);
        weld(mesh, 0.005);
        const std::vector<Vector> twice = placesOf(mesh);
        ASSERT_EQ(once.size(), twice.size());
        for (std::size_t i = 0; i < once.size(); ++i)
            EXPECT_LT((once[i] - twice[i]).length(), 1e-9);
        if (!sample.closed)
            continue;
        EXPECT_TRUE(CN_validateMesh(mesh, 1e-9).empty());
        EXPECT_NEAR(CN_volume(mesh), sample.volume, tolerance);
        // Corners off their planes go back, as far as planes tell where: one on a single plane stays off a neighbour's edge.
        test::RandomPolygons random(7);
        for (CN_Vertex& vertex : mesh.accessVertexList())
            vertex.local += {random.number(-4e-4, 4e-4), random.number(-4e-4, 4e-4), random.number(-4e-4, 4e-4)};
        mesh.reworkVerticesWithoutWelding();
        EXPECT_TRUE(CN_validateMesh(mesh, CN_LEVEL_TOLERANCE).empty());
        EXPECT_NEAR(CN_volume(mesh), sample.volume, std::max(tolerance, sample.name == "splitBoxT" ? 0.01 : 0));
        for (const CN_Polygon& polygon : mesh.getPolygonList())
            for (const CN_Edge& edge : polygon.getEdgeList())
                ASSERT_LT(std::abs(polygon.distLocal(edge.getLocal(0))), 1e-9);
        for (const CN_Vertex& vertex : mesh.getVertexList())
            ASSERT_EQ(vertex.world, mesh.worldTransform(vertex.local));
    }
}

/// The box room with its wall x = 0 in three, of which the strip in the middle collapses; the strip leads into another room.
struct SliverExit {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::sliverBox(document);
    CN_LevelEntityMesh& other = *test::boxRoom(document);
    CN_Polygon& strip = findStrip();
    CN_Polygon& partner = other.accessPolygonList()[4];
    CN_LevelEntityPortal* portal = nullptr;
    CN_LevelEntityPolygonGroup* group = nullptr;

    SliverExit() {
        mesh.createSharedEdgeLists();
        auto owned = std::make_unique<CN_LevelEntityPortal>();
        portal = owned.get();
        portal->setDocument(&document);
        portal->setPortalPolygon(&strip);
        mesh.addOwned(std::move(owned), false);
        strip.setExitDestination(&partner);
        partner.setExitDestination(&strip);
        const CN_LevelEntityPolygonGroup settings;
        group = mesh.addNewPolygroup(&settings, false);
        group->addPolygon(&strip);
    }
    CN_Polygon& findStrip() {
        for (CN_Polygon& polygon : mesh.accessPolygonList())
            if (polygon.lengthAlong({0, 0, 1}) < 0.1 && polygon.lengthAlong({1, 0, 0}) < 0.1)
                return polygon;
        throw std::logic_error("there is no strip");
    }
};

TEST(MeshWelding, NothingHoldsAPolygonThatCollapsed) {
    SliverExit room;
    Vector hit;
    double distance = 100;
    ASSERT_TRUE(room.mesh.intersectRay(hit, distance, {4, 2, 3 + 1.0 / 256}, {-1, 0, 0}, true, true, nullptr));
    ASSERT_EQ(room.mesh.getLastHitPolygon(), &room.strip);
    const CN_Material& material = *room.document.getMaterials().getDefaultMaterial();
    const int uses = material.getUseCount();
    EXPECT_EQ(weld(room.mesh, 0.02), "Mesh fix (Sliver); 12 original verts, 10 now, killed 1 polys");
    EXPECT_EQ(room.mesh.getPolygonList().count(), 7);
    EXPECT_EQ(room.mesh.getLastHitPolygon(), nullptr);
    EXPECT_EQ(room.partner.getExitDestination(), nullptr);
    EXPECT_EQ(room.portal->getPortalPolygon(), nullptr);
    EXPECT_TRUE(room.group->getSet().empty());
    EXPECT_EQ(material.getUseCount(), uses - 1);
    for (const CN_Finding& finding : CN_validateMesh(room.mesh, 1e-9))
        EXPECT_STREQ(finding.code, "exit-no-portal"); // the portal is the host's to delete
    EXPECT_EQ(CN_volume(room.mesh), 192);
}

TEST(MeshWelding, APolygonLeavesTheSharedEdgeLists) {
    SliverExit room;
    room.mesh.deletePolygon(&room.strip);
    EXPECT_EQ(internalFaults(room.mesh), "");
}

TEST(MeshWelding, AMeshMayLoseAllPolygons) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Slivers");
    for (const double z : {0.0, 5.0})
        addVertices(mesh, {{0, 0, z}, {0, 0, z + 0.005}, {4, 0, z + 0.005}, {4, 0, z}});
    for (const int at : {0, 4})
        test::fixturePolygon(mesh, {{at, at + 1, at + 2, at + 3}});
    test::finishFixture(mesh);
    EXPECT_EQ(weld(mesh, 0.01), "Mesh fix (Slivers); 8 original verts, 0 now, killed 2 polys");
    EXPECT_TRUE(mesh.getPolygonList().empty());
}

TEST(MeshWelding, LittleIsLeftAsItIs) {
    for (const double radius : {0.0, -1.0, NOT_A_NUMBER, 100.0, INF}) { // no group, or a single one
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::duplicatedBox(document);
        const std::vector<Vector> before = placesOf(mesh);
        EXPECT_EQ(weld(mesh, radius), "untouched");
        EXPECT_EQ(placesOf(mesh), before);
        EXPECT_TRUE(weldGroups.empty());
    }
}

TEST(MeshWelding, PlanesOfOneDegreeBecomeTheirPlainMean) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::splitBox(document, test::Split::SHARED);
    CN_Polygon& a = mesh.accessPolygonList()[2]; // the halves of x = 0, which look along +X
    CN_Polygon& b = mesh.accessPolygonList()[3];
    const double angle = 0.012; // between them
    const Vector slope(std::cos(angle), std::sin(angle), 0), middle((1 + slope.x) / 2, slope.y / 2, 0);
    b.setNormal(-slope);
    const M_Vector2Template<double> uv = a.getUVSpace(0).toUV({1, 2, 3});
    weld(mesh, 0.05);
    EXPECT_EQ(a.getNormal(), middle) << "which is not made unit";
    EXPECT_LT(a.getNormal().length(), 1);
    EXPECT_EQ(b.getNormal(), -middle) << "it faces the other way";
    EXPECT_EQ(a.getUVSpace(0).getPoint(), a.getPointOnPlane());
    const M_Vector2Template<double> offBy = a.getUVSpace(0).toUV({1, 2, 3}) - uv;
    EXPECT_NEAR(offBy.x, std::round(offBy.x), 1e-12) << "the texture stays, but for whole repeats";
    EXPECT_NEAR(offBy.y, std::round(offBy.y), 1e-12);
    EXPECT_FALSE(a.hasUVSpace(1)) << "no space is made";
}

TEST(MeshWelding, ACornerOnALongEdgeIsHeldByItsPlane) {
    for (const auto& [x, isOnEdge] : {std::pair(4.0, true), {0.15, true}, {0.05, false}, {7.95, false}}) {
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::tPair(document);
        CN_Vertex& corner = mesh.accessVertexList()[5]; // of B and C, on the edge of A, which stands up
        corner.local = {x, 0, 0.01};
        mesh.accessPolygonList()[0].setNormal({0, 0, 1});
        mesh.accessPolygonList()[0].setPointOnPlane({});
        mesh.createWeldGroups(0.1);
        const test::ProcessStateGuard guard;
        const Vector place = mesh.calculateVertexPosition(corner, 0.1);
        EXPECT_EQ(guard.log().find("Vertex 5 on edge 3, ") != std::string::npos, isOnEdge) << x;
        if (x == 4) {
            EXPECT_EQ(place, Vector(4, 0, 0));
        }
    }
    weldGroups.clear();
}

TEST(MeshWelding, WhatNoPlaneHoldsStaysWhereItIs) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::boxRoom(document);
    addVertices(mesh, {{1.0001, 2, 3}, {NOT_A_NUMBER, 0, 0}, {50, 50, 50}}); // of a piece, of a corner to be, of none
    CN_Polygon& floor = mesh.accessPolygonList()[0];
    floor.accessTriangleList().first()->accessVertices()[0] = 8;
    floor.addVertex(&mesh.accessVertexList()[9]);
    EXPECT_EQ(weld(mesh, 0.01), "Mesh fix (Box); 11 original verts, 10 now, killed 0 polys");
    const int moved = floor.getTriangleList().first()->getVertices()[0];
    EXPECT_EQ(mesh.getVertexList()[moved].local, Vector(1.0001, 2, 3));
    EXPECT_EQ(mesh.getVertexList().indexOf(*floor.getVertexBuffer().first()), 9);

    mesh.createWeldGroups(0.01);
    floor.accessEdgeList().first()->index(0) = 10; // beyond the vertices
    const std::vector<Vector> before = placesOf(mesh);
    CString report = "untouched";
    EXPECT_NE(test::failureText([&] { mesh.weldVertices(0.01, report); }), "(nothing thrown)");
    EXPECT_NE(test::failureText([&] { mesh.reworkVerticesWithoutWelding(); }), "(nothing thrown)");
    EXPECT_EQ(report, "untouched");
    EXPECT_TRUE(weldGroups.empty());
    EXPECT_EQ(placesOf(mesh).size(), before.size());
}

TEST(MeshWelding, AFailureOnTheWayLeavesAMeshWholeInside) {
    int texts = 0;
    for (bool hasFailed = true; hasFailed; ++texts) {
        SliverExit room;
        room.mesh.accessVertexList().emplace(Vector(4, 0, 0)); // on a long edge, which is told
        room.mesh.createWeldGroups(0.02);
        int left = texts;
        VerboseHandler before = setVerboseHandler([&left](const std::string&) {
            if (left-- == 0)
                throw std::bad_alloc();
        });
        CString report;
        hasFailed = false;
        try {
            room.mesh.weldVertices(0.02, report);
        } catch (const std::bad_alloc&) {
            hasFailed = true;
        }
        setVerboseHandler(std::move(before));
        EXPECT_EQ(internalFaults(room.mesh) + internalFaults(room.other), "");
        EXPECT_EQ(report.IsEmpty(), hasFailed);
        EXPECT_TRUE(weldGroups.empty() && polygonReplacements.empty());
    }
    EXPECT_GT(texts, 2);
}

} // namespace
} // namespace cairn
