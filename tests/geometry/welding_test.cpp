#include "cairn/geometry/welding.h"
#include "tests/support/naive_welding.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

using test::addVertices;
using test::placesOf;
using Vector = M_Vector3Template<double>;
using Plane = M_Plane3Template<double>;

constexpr double INF = std::numeric_limits<double>::infinity(), NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

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

} // namespace
} // namespace cairn
