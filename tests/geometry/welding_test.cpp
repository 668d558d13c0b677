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

namespace cairn {
namespace {

using test::ShelfDocument;
using Vector = M_Vector3Template<double>;
using Plane = M_Plane3Template<double>;

constexpr double INF = std::numeric_limits<double>::infinity(), NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

std::vector<Vector> placesOf(const CN_Mesh& mesh) {
    std::vector<Vector> places;
    for (const CN_Vertex& vertex : mesh.getVertexList())
        places.push_back(vertex.local);
    return places;
}

void addVertices(CN_Mesh& mesh, const std::vector<Vector>& places) {
    for (const Vector& place : places)
        mesh.addVertex(place);
}

/// The table of groups by the vertices' places in the list.
std::vector<std::vector<int>> groupsOf(CN_Mesh& mesh) {
    std::vector<std::vector<int>> groups;
    std::size_t met = 0;
    for (CN_Vertex& vertex : mesh.accessVertexList()) {
        const auto group = weldGroups.find(&vertex);
        met += group != weldGroups.end();
        groups.push_back(group == weldGroups.end() ? std::vector<int>() : group->second);
    }
    EXPECT_EQ(met, weldGroups.size()) << "of other vertices";
    return groups;
}

std::vector<std::vector<int>> plain(const test::NaiveGroups& groups) {
    std::vector<std::vector<int>> all;
    for (const std::list<int>& group : groups)
        all.emplace_back(group.begin(), group.end());
    return all;
}

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

/// Clouds, chains, grids whose points fall onto borders, copies of points, and what is far off or no number.
std::vector<Vector> randomPoints(test::RandomPolygons& random) {
    std::vector<Vector> points;
    const int count = random.count(0, 60), kind = random.count(0, 4);
    const double size = random.count(0, 1) ? 3 : 8, far = random.count(0, 3) ? 0 : 1e9;
    for (int i = 0; i < count; ++i) {
        Vector point(random.number(-size, size), random.number(-size, size), random.number(-size, size));
        if (kind == 1)
            point = Vector(0.8 * random.count(-40, 40), 0, 0);
        if (kind == 2)
            point = Vector(random.count(-2, 2), random.count(-2, 2), random.count(-2, 2)) * random.count(1, 2);
        if (kind == 3 && !points.empty() && random.count(0, 2))
            point = points[static_cast<std::size_t>(random.count(0, i - 1))] + Vector(random.number(-0.6, 0.6), 0, 0);
        if (kind == 4)
            point =
                Vector(random.count(0, 1) * 1e300, random.count(0, 9) ? 1 : NOT_A_NUMBER, random.count(0, 9) ? 0 : INF);
        points.push_back(point + Vector(far, -far, 0));
    }
    return points;
}

TEST(Welding, GroupsAreThoseOfTheLiteralClosure) {
    const double radii[] = {1, 1, 1, 1.0001, 0.25, 3, 40, 1e-7, 1e-200, 1e300, INF, 0, -1, NOT_A_NUMBER};
    for (unsigned int seed = 0; seed < 4000; ++seed) {
        test::RandomPolygons random(seed);
        CN_LevelEntityMesh mesh;
        addVertices(mesh, randomPoints(random));
        const double radius = radii[random.count(0, std::size(radii) - 1)];
        const unsigned int before = maxWeldGroupSize = static_cast<unsigned int>(random.count(0, 5));
        unsigned int largest = before;
        std::string log;
        const test::NaiveGroups expected = test::naiveWeldGroups(placesOf(mesh), radius, largest, log);
        const test::ProcessStateGuard guard;
        mesh.createWeldGroups(radius);
        ASSERT_EQ(groupsOf(mesh), plain(expected)) << seed << ", radius " << radius;
        ASSERT_EQ(guard.log(), log) << seed;
        ASSERT_EQ(maxWeldGroupSize, largest) << seed;
    }
    weldGroups.clear();
}

TEST(Welding, AVertexTakesInWhatTheLiteralRecursionDoes) {
    for (unsigned int seed = 0; seed < 2000; ++seed) {
        test::RandomPolygons random(seed);
        CN_LevelEntityMesh mesh;
        const int count = random.count(2, 9);
        addVertices(mesh, std::vector<Vector>(static_cast<std::size_t>(count)));
        test::NaiveGroups groups(static_cast<std::size_t>(count));
        weldGroups.clear();
        for (int i = random.count(0, 25); i > 0; --i) {
            const int vertex = random.count(0, count - 1), member = random.count(0, count - 1);
            groups[static_cast<std::size_t>(vertex)].push_back(member);
            weldGroups[&mesh.accessVertexList()[vertex]].push_back(member);
        }
        const int keeper = random.count(0, count - 1), other = random.count(0, count - 1);
        test::naiveAddWeldVertices(groups, keeper, other);
        mesh.addWeldVertices(mesh.accessVertexList()[keeper], mesh.accessVertexList()[other]);
        ASSERT_EQ(groupsOf(mesh), plain(groups)) << seed;
    }
    weldGroups.clear();
}

TEST(Welding, AChainIsAsLongAsItIsAndOneClusterHoldsAll) {
    constexpr int LENGTH = 100000;
    for (const double step : {0.8, 0.0}) { // on the stack of a recursion, or with every point near every other
        CN_LevelEntityMesh mesh;
        for (int i = 0; i < LENGTH; ++i)
            mesh.addVertex({step * i, 0, 0});
        mesh.createWeldGroups(1);
        ASSERT_EQ(weldGroups.size(), 1u);
        EXPECT_EQ(weldGroups.begin()->second.size(), static_cast<std::size_t>(LENGTH));
        EXPECT_EQ(weldGroups.begin()->second.back(), LENGTH - 1);
    }
    weldGroups.clear();
}

/// Planes of a few directions, most of them nearly the same, either way round, and some that are none.
void addPlanes(CN_Mesh& mesh, test::RandomPolygons& random, bool isUnit) {
    std::vector<Vector> directions{{0, 0, 1}};
    for (int i = random.count(1, 5); i > 0; --i)
        directions.push_back((Vector(0, 1, 0) * random.rotation()).normalized());
    const double far = random.count(0, 1) ? 3 : 300, tilt = random.count(0, 1) ? 0.02 : 1e-13;
    for (int i = random.count(1, 60); i > 0; --i) {
        CN_Polygon& polygon = *mesh.addPolygon();
        Vector normal = directions[static_cast<std::size_t>(random.count(0, static_cast<int>(directions.size()) - 1))];
        normal += Vector(random.number(-tilt, tilt), random.number(-tilt, tilt), random.number(-tilt, tilt));
        normal = normal.normalized() * (random.count(0, 1) ? 1 : -1);
        if (!isUnit) // as a host may set them
            normal = normal * random.number(0.9998, 1.0002) * (random.count(0, 5) ? 1.0 : random.number(0, 3));
        polygon.setNormal(random.count(0, 40) ? normal : Vector(NOT_A_NUMBER, 0, 0));
        polygon.setPointOnPlane({random.number(-far, far), random.number(-far, far), random.count(0, 30) / 8.0});
        if (!random.count(0, 60))
            polygon.setPointOnPlane({random.count(0, 1) ? 1e200 : INF, 0, 0});
    }
}

/// Planes of gentle hills, all of them different.
void addTerrain(CN_Mesh& mesh, test::RandomPolygons& random) {
    const double far = random.count(0, 1) ? 0 : 1e5, rough = random.count(0, 1) ? 0.02 : 0;
    for (int i = 400; i > 0; --i) {
        const double x = random.number(-50, 50), z = random.number(-50, 50);
        const Vector slope(-0.04 * std::cos(0.1 * x), 1, 0.06 * std::sin(0.2 * z));
        CN_Polygon& polygon = *mesh.addPolygon();
        polygon.setNormal((slope + Vector(random.number(-rough, rough), 0, random.number(-rough, rough))).normalized() *
                          (random.count(0, 3) ? 1 : -1));
        polygon.setPointOnPlane({x + far, 0.4 * std::sin(0.1 * x) + 0.3 * std::cos(0.2 * z), z});
    }
}

TEST(Welding, PlanesJoinTheGroupsOfTheLiteralWalk) {
    for (unsigned int seed = 0; seed < 1500; ++seed) {
        test::RandomPolygons random(seed);
        CN_LevelEntityMesh mesh;
        if (seed % 20 == 1)
            addTerrain(mesh, random);
        else
            addPlanes(mesh, random, seed % 5 != 0);
        const double distances[] = {0.01, 0.5, 5, INF, 0, NOT_A_NUMBER};
        const double distance = distances[random.count(0, 5)];
        CN_Mesh::PlaneGroups groups, expectedGroups;
        CN_Mesh::PlaneGroupOfPolygon map;
        CN_Mesh::s_matchPlanes(&mesh, distance, groups, map);
        const std::vector<std::pair<int, bool>> expected = test::naiveMatchPlanes(mesh, distance, expectedGroups);
        std::size_t next = 0;
        for (CN_Polygon& polygon : mesh.accessPolygonList())
            ASSERT_EQ(map.at(&polygon), expected[next++]) << seed << ", distance " << distance;
        ASSERT_EQ(groups.size(), expectedGroups.size());
        for (std::size_t i = 0; i < groups.size(); ++i)
            for (std::size_t j = 0; j < groups[i].size(); ++j)
                if (expectedGroups[i][j].getNormal().isFinite()) {
                    ASSERT_EQ(groups[i][j].getNormal(), expectedGroups[i][j].getNormal());
                    ASSERT_EQ(groups[i][j].getPoint(), expectedGroups[i][j].getPoint());
                }
    }
}

TEST(Welding, NearbyPolygonsAreThoseOfTheLiteralWalk) {
    std::size_t junctions = 0;
    for (unsigned int seed = 0; seed < 300; ++seed) {
        test::RandomPolygons random(seed);
        CN_LevelEntityMesh mesh;
        for (int i = random.count(4, 40); i > 0; --i)
            mesh.addVertex(Vector(random.count(0, 4), random.count(0, 4), random.count(0, 2)) +
                           Vector(random.number(-0.02, 0.02), random.number(-0.02, 0.02), 0));
        for (int i = random.count(1, 12); i > 0; --i) {
            CN_Polygon& polygon = *mesh.addPolygon();
            polygon.setPolygonIndex(static_cast<unsigned int>(i));
            for (int edge = random.count(0, 6); edge > 0; --edge)
                polygon.addEdge(random.count(0, mesh.getVertexList().count() - 1),
                                random.count(0, mesh.getVertexList().count() - 1), false);
            polygon.setNormal(random.count(0, 2)
                                  ? Vector(random.count(-1, 1), 1, random.number(-0.01, 0.01)).normalized()
                                  : Vector());
        }
        const double radius = random.count(0, 9) ? 0.06 : random.number(-1, 1);
        mesh.createWeldGroups(0.05);
        polygonReplacements.clear();
        std::map<CN_Polygon*, CN_Polygon*> replacements;
        const std::vector<std::vector<int>> groups = groupsOf(mesh);
        for (int i = 0; i < mesh.getVertexList().count(); ++i) {
            std::string log;
            const std::vector<CN_Polygon*> expected =
                test::naiveNearbyPolygons(mesh, i, groups[static_cast<std::size_t>(i)], radius, replacements, log);
            const test::ProcessStateGuard guard;
            ASSERT_EQ(mesh.getNearbyPolygons(mesh.accessVertexList()[i], radius), expected) << seed << ", vertex " << i;
            ASSERT_EQ(guard.log(), log) << seed;
            ASSERT_EQ(polygonReplacements, replacements) << seed;
            junctions += log.find("on edge") != std::string::npos;
        }
    }
    EXPECT_GT(junctions, 100u);
    weldGroups.clear();
    polygonReplacements.clear();
}

TEST(Welding, PlacesGoToWherePlanesMeet) {
    const Vector slanted = Vector(0, 3, -1).normalized();
    const Plane x({1, 0, 0}, {0.137, 5, 5}), y({0, -1, 0}, {5, 2.0007, 5}), z({0, 0, 1}, {5, 5, 3}),
        slope(slanted, {0, 0, 0}), nearX(Vector(1, 0.001, 0).normalized(), {0, 0, 0}), longX({2, 0, 0}, {1, 0, 0});
    const struct {
        std::vector<Plane> planes;
        Vector from, to;
    } rows[] = {
        {{}, {0.0125001, 1, 1}, {0.0125001, 1, 1}},
        {{x}, {1, 1, 1}, {0.137, 1, 1}},
        {{longX}, {3, 1, 1}, {1, 1, 1}},                   // a normal that is not unit
        {{x, y}, {1, 1, 1.0001}, {0.137, 2.0007, 1.0001}}, // and no grid
        {{x, nearX}, {1, 1, 1}, {1, 1, 1}},                // no line
        {{x, y, z}, {1, 1, 1}, {0.1375, 2, 3}},            // onto the grid from 0.0007
        {{x, nearX, z}, {1.00005, 1, 1}, {1, 1, 1}},       // no point, and onto the grid all the same
        {{x, slope, z}, {1, 1, 1}, {0.137, 1, 3}},         // farther than 0.0001 for slanted planes
        {{x, y, z, slope}, {1, 1, 1}, {0.137, (2.0007 * 2 + 1) / 3, (3 + 3 + 3 * 2.0007) / 3}},
        {{x, x, x, x}, {1.00005, 1, 1}, {1, 1, 1}}, // none of the triples
    };
    int row = 0;
    for (const auto& [planes, from, to] : rows) {
        Vector place = from;
        fitToPlanes(planes, place);
        EXPECT_LT((place - to).length(), 1e-12) << row << ": " << place.x << " " << place.y << " " << place.z;
        ++row;
    }
}

TEST(Welding, LooseCornersOfABoxBecomeEight) {
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

TEST(Welding, TheShelfStaysSoundWeldedTwiceAndReworked) {
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
        group = mesh.addNewPolygroup(std::make_unique<CN_LevelEntityPolygonGroup>().get(), false);
        group->addPolygon(&strip);
    }
    CN_Polygon& findStrip() {
        for (CN_Polygon& polygon : mesh.accessPolygonList())
            if (polygon.lengthAlong({0, 0, 1}) < 0.1 && polygon.lengthAlong({1, 0, 0}) < 0.1)
                return polygon;
        throw std::logic_error("there is no strip");
    }
};

TEST(Welding, NothingHoldsAPolygonThatCollapsed) {
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

TEST(Welding, APolygonLeavesTheSharedEdgeLists) {
    SliverExit room;
    room.mesh.deletePolygon(&room.strip);
    EXPECT_EQ(internalFaults(room.mesh), "");
}

TEST(Welding, AMeshMayLoseAllPolygons) {
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

TEST(Welding, LittleIsLeftAsItIs) {
    for (const double radius : {0.0, -1.0, NOT_A_NUMBER, 100.0, INF}) { // no group, or a single one
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::duplicatedBox(document);
        const std::vector<Vector> before = placesOf(mesh);
        EXPECT_EQ(weld(mesh, radius), "untouched");
        EXPECT_EQ(placesOf(mesh), before);
        EXPECT_TRUE(weldGroups.empty());
    }
}

TEST(Welding, PlanesOfOneDegreeBecomeTheirPlainMean) {
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

TEST(Welding, ACornerOnALongEdgeIsHeldByItsPlane) {
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

TEST(Welding, WhatNoPlaneHoldsStaysWhereItIs) {
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

TEST(Welding, AFailureOnTheWayLeavesAMeshWholeInside) {
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
