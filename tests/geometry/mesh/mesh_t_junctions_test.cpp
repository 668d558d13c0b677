#include "cairn/geometry/validate.h"
#include "tests/support/naive_upkeep.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace cairn {
namespace {

using test::ShelfDocument;
using Vector = M_Vector3Template<double>;

/// All there is to see of a mesh after a pass, to the last bit.
struct Outcome {
    std::vector<Vector> places, world;
    std::vector<std::vector<int>> edges, pieces;
    bool operator==(const Outcome&) const = default;

    explicit Outcome(const CN_Mesh& mesh) {
        for (const CN_Vertex& vertex : mesh.getVertexList()) {
            places.push_back(vertex.local);
            world.push_back(vertex.world);
        }
        for (const CN_Polygon& polygon : mesh.getPolygonList()) {
            std::vector<int>& corners = edges.emplace_back();
            for (const CN_Edge& edge : polygon.getEdgeList()) {
                corners.push_back(edge.index(0));
                corners.push_back(edge.index(1));
            }
            for (const CN_Triangle& piece : polygon.getTriangleList())
                pieces.push_back(piece.getVertices());
        }
    }
};

/// Brings a corner on the ground to its place.
using Place = std::function<Vector(const Vector&)>;

void addFloor(CN_LevelEntityMesh& mesh, const Place& place, const std::vector<std::vector<Vector>>& loops) {
    std::vector<test::Loop> corners;
    for (const std::vector<Vector>& loop : loops) {
        corners.emplace_back();
        for (const Vector& corner : loop) {
            corners.back().push_back(mesh.getVertexList().count());
            mesh.addVertex(place(corner));
        }
    }
    test::fixturePolygon(mesh, corners);
}

std::vector<Vector> rectangle(double x, double z, double toX, double toZ) {
    return {{x, 0, z}, {x, 0, toZ}, {toX, 0, toZ}, {toX, 0, z}};
}

/// A floor whose hole is filled by two others, which part at `x`.
void addPluggedFloor(CN_LevelEntityMesh& mesh, const Place& place, double x) {
    addFloor(mesh, place, {rectangle(0, -5, 4, -1), {{1, 0, -4}, {3, 0, -4}, {3, 0, -2}, {1, 0, -2}}});
    addFloor(mesh, place, {rectangle(1, -4, x, -2)});
    addFloor(mesh, place, {rectangle(x, -4, 3, -2)});
}

/// Floors side by side in strips that are parted at places of their own, so that corners lie on edges of the next strip, and
/// one with a hole; placed and turned anyhow. Some loops run the wrong way, which triangulation tells.
void addStrips(CN_LevelEntityMesh& mesh, unsigned int seed) {
    test::RandomPolygons random(seed);
    const double jitter = seed % 3 * 4e-4;
    const CN_LevelEntity::Matrix turn = random.rotation();
    const Place place = [&](const Vector& corner) {
        const double x = random.number(-jitter, jitter), z = random.number(-jitter, jitter);
        return (corner + Vector(x, 0, z)) * turn;
    };
    const int strips = random.count(2, 6);
    for (int z = 0; z < strips; ++z) {
        double x = 0;
        while (x < 12) {
            const double next = std::min(12.0, x + random.count(1, 12) / 4.0);
            addFloor(mesh, place, {rectangle(x, z, next, z + 1)});
            x = next;
        }
    }
    addPluggedFloor(mesh, place, random.number(1.25, 2.75));
    mesh.setPosition({1, 2, 3});
    test::finishFixture(mesh);
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        if (random.count(0, 3) == 0)
            polygon.flipVertexOrder();
}

template <class Work> std::string logOf(Work&& work) {
    const test::ProcessStateGuard guard;
    work();
    return guard.log();
}

TEST(MeshTJunctions, GiveALongEdgeAVertexOfItsOwn) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::tPair(document);
    mesh.setPosition({1, 0, 0});
    CN_Polygon& a = mesh.accessPolygonList()[0];
    mesh.clearGeometryDirty();
    mesh.createVerticesInTJunctions(0.001);
    ASSERT_EQ(mesh.getVertexList().count(), 9);
    EXPECT_EQ(mesh.getVertexList()[8].local, Vector(4, 0, 0));
    EXPECT_EQ(mesh.getVertexList()[8].world, Vector(5, 0, 0));
    EXPECT_EQ(a.getEdgeList().count(), 5);
    EXPECT_EQ(a.numVertices(), 4) << "the count of corners is not told";
    EXPECT_EQ(a.calcArea(), 32);
    EXPECT_TRUE(a.isUVCalculated());
    EXPECT_TRUE(mesh.isGeometryDirty());
    EXPECT_EQ(mesh.getPolygonList()[1].getEdgeList().count(), 4);
}

TEST(MeshTJunctions, LeaveCornersNearAnEnd) {
    for (const auto& [x, isCut] : {std::pair(0.15, false), {0.25, true}, {7.85, false}, {7.75, true}}) {
        ShelfDocument document;
        CN_LevelEntityMesh& mesh = *test::tPair(document);
        mesh.accessVertexList()[5].local.x = x; // the corner that B and C share on the edge of A
        CN_Polygon& a = mesh.accessPolygonList()[0];
        a.createVerticesInTJunctions(0.1, false);
        EXPECT_EQ(a.getEdgeList().count(), isCut ? 5 : 4) << x;
    }
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::boxRoom(document);
    const Outcome before(mesh);
    mesh.createVerticesInTJunctions(0.001);
    EXPECT_EQ(Outcome(mesh), before) << "where all corners are shared nothing changes";
}

TEST(MeshTJunctions, OutcomeIsThatOfTheListWalk) {
    for (unsigned int seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        ShelfDocument document, walkedDocument;
        CN_LevelEntityMesh& mesh = *test::addFixture(document, "Strips");
        CN_LevelEntityMesh& walked = *test::addFixture(walkedDocument, "Strips");
        addStrips(mesh, seed);
        addStrips(walked, seed);
        for (int pass = 0; pass < 2; ++pass) {
            EXPECT_EQ(logOf([&] { mesh.createVerticesInTJunctions(0.001); }),
                      logOf([&] { test::naiveTJunctions(walked, 0.001); }));
            ASSERT_EQ(Outcome(mesh), Outcome(walked)) << pass;
        }
    }
    ShelfDocument document;
    for (const test::ShelfMesh& sample : test::meshShelf()) {
        if (sample.polygons > 100)
            continue;
        SCOPED_TRACE(sample.name);
        CN_LevelEntityMesh& mesh = *sample.build(document);
        CN_LevelEntityMesh& walked = *sample.build(document);
        mesh.createVerticesInTJunctions(0.01);
        test::naiveTJunctions(walked, 0.01);
        EXPECT_EQ(Outcome(mesh), Outcome(walked));
    }
}

TEST(MeshTJunctions, OutcomeOfOnePolygonIsThatOfTheListWalk) {
    for (unsigned int seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        const bool useBoxes = seed % 2 == 0;
        ShelfDocument document, walkedDocument;
        CN_LevelEntityMesh& mesh = *test::addFixture(document, "Strips");
        CN_LevelEntityMesh& walked = *test::addFixture(walkedDocument, "Strips");
        addStrips(mesh, seed);
        addStrips(walked, seed);
        for (int i = 0; i < mesh.getPolygonList().count(); i += 3) // boxes that are elsewhere hide their polygons
            for (CN_LevelEntityMesh* const moved : {&mesh, &walked})
                moved->accessPolygonList()[i].buildBoundingBox(false);
        for (int i = mesh.getPolygonList().count(); i-- > 0;) {
            EXPECT_EQ(logOf([&] { mesh.accessPolygonList()[i].createVerticesInTJunctions(0.001, useBoxes); }),
                      logOf([&] { test::naiveTJunctions(walked.accessPolygonList()[i], 0.001, useBoxes); }));
            ASSERT_EQ(Outcome(mesh), Outcome(walked)) << i;
        }
    }
}

TEST(MeshTJunctions, HolesAreCutAndStayHoles) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Plugged");
    addPluggedFloor(
        mesh, [](const Vector& corner) { return corner; }, 2);
    test::finishFixture(mesh);
    CN_Polygon& floor = mesh.accessPolygonList()[0];
    floor.accessEdgeList()[4].setHoleStart(true);
    mesh.createVerticesInTJunctions(0.001);
    const auto lassos = floor.getLassos();
    ASSERT_EQ(lassos.size(), 2U);
    EXPECT_EQ(lassos[0].size(), 4U);
    ASSERT_EQ(lassos[1].size(), 6U);
    EXPECT_EQ(lassos[1][1]->getLocal(0), Vector(2, 0, -4));
    for (const CN_Edge& edge : floor.getEdgeList())
        EXPECT_EQ(edge.isHoleStart(), &edge == lassos[1][0]);
    EXPECT_NEAR(floor.calcArea(), 12, 1e-12);
}

TEST(MeshTJunctions, SecondPassKeepsOutlinesAndAreas) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::splitBox(document, test::Split::T_JUNCTION);
    const auto outlines = [&mesh] {
        std::vector<std::vector<Vector>> corners;
        for (const CN_Polygon& polygon : mesh.getPolygonList()) {
            corners.emplace_back();
            for (const CN_Edge& edge : polygon.getEdgeList())
                corners.back().push_back(edge.getLocal(0));
        }
        return corners;
    };
    mesh.createVerticesInTJunctions(0.001);
    const auto once = outlines();
    EXPECT_EQ(once[0].size(), 5U);
    EXPECT_EQ(once[1].size(), 5U);
    mesh.createVerticesInTJunctions(0.001);
    EXPECT_EQ(outlines(), once);
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        EXPECT_NEAR(polygon.calcArea(), CN_areaVector(polygon).length(), 1e-9);
    EXPECT_TRUE(CN_validateMesh(mesh, 1e-9).empty());
}

TEST(MeshUpkeep, FlippedFacesAndBack) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::pillarRoom(document);
    const Outcome before(mesh);
    mesh.flipFaces();
    EXPECT_TRUE(mesh.areFacesFlipped());
    EXPECT_NEAR(CN_volume(mesh), -240, 1e-9);
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        EXPECT_EQ(polygon.getWorldNormal(), polygon.getNormal());
        EXPECT_NEAR(polygon.calcArea(), CN_areaVector(polygon).length(), 1e-9);
    }
    mesh.flipFaces();
    EXPECT_FALSE(mesh.areFacesFlipped());
    EXPECT_EQ(Outcome(mesh).edges, before.edges);
    EXPECT_NEAR(CN_volume(mesh), 240, 1e-9);
}

} // namespace
} // namespace cairn
