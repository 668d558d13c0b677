#include "cairn/geometry/validate.h"
#include "tests/support/naive_upkeep.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

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

/// Floors side by side in strips that are parted at places of their own, so that corners lie on edges of the next strip.
void addStrips(CN_LevelEntityMesh& mesh, test::RandomPolygons& random, double jitter) {
    const CN_LevelEntity::Matrix turn = random.rotation();
    const int strips = random.count(2, 6);
    for (int z = 0; z < strips; ++z) {
        double x = 0;
        while (x < 12) {
            const double next = std::min(12.0, x + random.count(1, 12) / 4.0);
            const int first = mesh.getVertexList().count();
            for (const Vector& corner : {Vector(x, 0, z), {x, 0, z + 1.0}, {next, 0, z + 1.0}, {next, 0, z * 1.0}})
                mesh.addVertex((corner + Vector(random.number(-jitter, jitter), 0, random.number(-jitter, jitter))) *
                               turn);
            test::fixturePolygon(mesh, {{first, first + 1, first + 2, first + 3}});
            x = next;
        }
    }
    test::finishFixture(mesh);
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
    ShelfDocument document;
    for (unsigned int seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        const double jitter = seed % 3 * 4e-4;
        test::RandomPolygons random(seed), same(seed);
        CN_LevelEntityMesh& mesh = *test::addFixture(document, "Fast");
        CN_LevelEntityMesh& walked = *test::addFixture(document, "Walked");
        addStrips(mesh, random, jitter);
        addStrips(walked, same, jitter);
        for (int pass = 0; pass < 2; ++pass) {
            mesh.createVerticesInTJunctions(0.001);
            test::naiveTJunctions(walked, 0.001);
            ASSERT_EQ(Outcome(mesh), Outcome(walked)) << pass;
        }
    }
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
