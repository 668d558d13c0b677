#include "cairn/geometry/open_edges.h"
#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

using test::ShelfDocument;
using Vector = M_Vector3Template<double>;

constexpr double SLACK = 1e-6;

double totalLength(const std::vector<CN_OpenEdge>& open) {
    double sum = 0;
    for (const CN_OpenEdge& edge : open)
        sum += (edge.to - edge.from).length();
    return sum;
}

TEST(OpenEdges, TakingAPolygonAwayOpensTheMeshAlongIt) {
    for (const test::ShelfMesh& sample : test::meshShelf())
        for (const int taken : {0, sample.polygons / 2, sample.polygons - 1}) {
            if (!sample.closed || sample.polygons == 0)
                continue;
            SCOPED_TRACE(sample.name + " without " + std::to_string(taken));
            ShelfDocument document;
            CN_LevelEntityMesh* const mesh = sample.build(document);
            const double slack = std::max(sample.tolerance, SLACK);
            EXPECT_EQ(CN_findOpenEdges(*mesh, slack).size(), 0u);
            CN_Polygon& polygon = mesh->accessPolygonList()[taken];
            double perimeter = 0;
            for (const CN_Edge& edge : polygon.getEdgeList())
                perimeter += edge.dir().length();
            mesh->deletePolygon(&polygon);
            const std::vector<CN_OpenEdge> open = CN_findOpenEdges(*mesh, slack);
            EXPECT_NEAR(totalLength(open), perimeter, 8 * slack);
            for (const CN_OpenEdge& edge : open)
                EXPECT_EQ(edge.partners, 0);
        }
}

TEST(OpenEdges, GivesStretchesAlongTheBoundary) {
    ShelfDocument document;
    CN_LevelEntityMesh* const mesh = test::tPair(document);
    mesh->deletePolygon(&mesh->accessPolygonList()[1]);
    // Of the edge from (8, 0, 0) to the origin the part behind (4, 0, 0) is open now.
    const std::vector<CN_OpenEdge> open = CN_findOpenEdges(*mesh, SLACK);
    ASSERT_EQ(open.size(), 7u);
    EXPECT_EQ(open[3].polygon, &mesh->accessPolygonList()[0]);
    EXPECT_EQ(open[3].from, Vector(4, 0, 0));
    EXPECT_EQ(open[3].to, Vector(0, 0, 0));
}

TEST(OpenEdges, ASecondPartnerIsOneTooMany) {
    ShelfDocument document;
    CN_LevelEntityMesh* const mesh = test::boxRoom(document);
    const CN_Polygon* const twice = test::fixturePolygon(*mesh, {{0, 1, 2, 3}});
    const std::vector<CN_OpenEdge> open = CN_findOpenEdges(*mesh, SLACK);
    ASSERT_EQ(open.size(), 4u) << "the edges of the walls around it";
    for (const CN_OpenEdge& edge : open) {
        EXPECT_EQ(edge.partners, 2);
        EXPECT_NE(edge.polygon, twice);
    }
}

TEST(OpenEdges, AMeshOfEdgesThatAreAllTooShortIsOpen) {
    ShelfDocument document;
    CN_LevelEntityMesh* const mesh = test::boxRoom(document);
    for (CN_Vertex& vertex : mesh->accessVertexList())
        vertex.local *= SLACK / 100;
    const std::vector<CN_OpenEdge> open = CN_findOpenEdges(*mesh, SLACK);
    ASSERT_EQ(open.size(), 1u);
    EXPECT_EQ(open[0].polygon, mesh->getPolygonList().first());
    EXPECT_EQ(open[0].from, mesh->getPolygonList().first()->getEdgeList().first()->getLocal(0));
    EXPECT_EQ(open[0].partners, 0);
    EXPECT_EQ(CN_findOpenEdges(*mesh, SLACK / 1000).size(), 0u) << "none is too short for that";
    EXPECT_EQ(CN_findOpenEdges(*test::emptyMesh(document), SLACK).size(), 0u) << "no edge is open";
}

TEST(OpenEdges, EdgesThatAllLieOnEachOtherAreOpen) {
    ShelfDocument document;
    CN_LevelEntityMesh* const mesh = test::addFixture(document, "Heap");
    constexpr int COUNT = 1000;
    for (int i = 0; i < COUNT; ++i) {
        const int at = mesh->getVertexList().count();
        mesh->addVertex(Vector(-1 - i, 0, 0));
        mesh->addVertex(Vector(1 + i, 0, 0));
        mesh->addVertex(Vector(0, 1 + i, 0));
        test::fixturePolygon(*mesh, {{at, at + 1, at + 2}});
    }
    // Each pair would make a million pieces; far-off places must not hide that they lie on each other.
    EXPECT_GE(CN_findOpenEdges(*mesh, SLACK).size(), COUNT);
    for (CN_Vertex& vertex : mesh->accessVertexList())
        vertex.local *= 1e300;
    EXPECT_GE(CN_findOpenEdges(*mesh, SLACK).size(), COUNT) << "places beyond all measure";
}

TEST(OpenEdges, PointsBesideAndOnManyEqualEdgesAreNotTestedWithEachOfThem) {
    constexpr int COUNT = 40000; // of each: the pairs would take minutes
    for (const double beside : {0.0, 1.1 * SLACK}) {
        ShelfDocument document;
        CN_LevelEntityMesh* const mesh = test::addFixture(document, "Heap");
        CN_Polygon* const polygon = mesh->addPolygon();
        mesh->addVertex(Vector(0, 0, 0));
        mesh->addVertex(Vector(COUNT + 1, 0, 0));
        for (int i = 0; i < COUNT; ++i) {
            mesh->addVertex(Vector(i + 0.5, i % 2 == 0 ? beside : -beside, 0)); // so that no box leaves the edges out
            polygon->addEdge(0, 1, false);
        }
        for (int i = 0; i < COUNT; ++i)
            polygon->addEdge(2 + i, 2 + (i + 1) % COUNT, false);
        EXPECT_GE(CN_findOpenEdges(*mesh, SLACK).size(), COUNT);
    }
}

} // namespace
} // namespace cairn
