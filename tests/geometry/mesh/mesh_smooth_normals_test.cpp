#include "cairn/entities/polygon_group.h"
#include "tests/support/naive_exits.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;
using PolygonNormals = std::map<CN_Polygon*, CN_Mesh::VertexNormals>;
using PieceNormals = std::map<CN_Triangle*, std::vector<Vector>>;

class SmoothNormals : public testing::Test {
  protected:
    CN_LevelEntityPolygonGroup* addGroup(std::vector<int> members, bool smooth = true, bool geometry = false) {
        CN_LevelEntityPolygonGroup settings;
        settings.setSmooth(smooth);
        settings.setSmoothGeometry(geometry);
        CN_LevelEntityPolygonGroup* const group = m_mesh.addNewPolygroup(&settings, false);
        for (const int member : members)
            group->addPolygon(&m_mesh.accessPolygonList()[member]);
        return group;
    }
    CN_Polygon* at(int place) { return &m_mesh.accessPolygonList()[place]; }
    PolygonNormals ofPolygons(bool geometry = false) {
        PolygonNormals normals;
        m_mesh.calculateVertexNormals(normals, geometry);
        return normals;
    }

    test::ShelfDocument m_document;
    CN_LevelEntityMesh& m_mesh = *test::boxRoom(m_document); // floor, ceiling, walls
};

TEST_F(SmoothNormals, GroupsDoNotReachOnThroughTheirMembers) {
    addGroup({0, 2});
    addGroup({2, 5});
    addGroup({1, 5}, false, true);
    EXPECT_EQ(m_mesh.getAllPolysToSmooth(at(2), false), (std::set<CN_Polygon*>{at(0), at(2), at(5)}));
    EXPECT_EQ(m_mesh.getAllPolysToSmooth(at(5), false), (std::set<CN_Polygon*>{at(2), at(5)}));
    EXPECT_EQ(m_mesh.getAllPolysToSmooth(at(5), true), (std::set<CN_Polygon*>{at(1), at(2), at(5)}));

    PolygonNormals normals = ofPolygons();
    const Vector up(0, 1, 0), right(1, 0, 0), ahead(0, 0, 1);
    ASSERT_EQ(normals.size(), 6u);
    EXPECT_EQ(normals[at(0)], normals[at(2)]) << "the set of the floor, which comes first";
    EXPECT_EQ(normals[at(0)].at(0), (up + right).normalized());
    EXPECT_EQ(normals[at(0)].at(2), up) << "a corner of one of them alone";
    EXPECT_EQ(normals[at(0)].at(4), right) << "of the other one";
    EXPECT_EQ(normals[at(5)].at(0), (right + ahead).normalized()) << "the wall sees the other wall, not the floor";
    EXPECT_FALSE(normals[at(5)].contains(2));
    EXPECT_EQ(normals[at(3)], (CN_Mesh::VertexNormals{{1, -ahead}, {2, -ahead}, {5, -ahead}, {6, -ahead}}))
        << "in no group";

    // What is there already stays.
    PolygonNormals kept{{at(5), {}}};
    m_mesh.calculateVertexNormals(kept, false);
    EXPECT_TRUE(kept[at(5)].empty());
    EXPECT_EQ(kept[at(0)], normals[at(0)]);
}

TEST_F(SmoothNormals, ANormalThatCancelsTheSumDoesNotCount) {
    CN_LevelEntityMesh& floor = *test::unitFloor(m_document);
    test::fixturePolygon(floor, {{3, 2, 1, 0}}); // seen from below
    floor.triangulizeAll(true);
    CN_LevelEntityPolygonGroup settings;
    settings.setSmooth(true);
    CN_LevelEntityPolygonGroup* const group = floor.addNewPolygroup(&settings, false);
    for (CN_Polygon& polygon : floor.accessPolygonList())
        group->addPolygon(&polygon);
    PolygonNormals normals;
    floor.calculateVertexNormals(normals, false);
    PieceNormals ofPieces;
    floor.calculateVertexNormalsForTriangles(ofPieces, false);
    EXPECT_EQ(normals.at(floor.accessPolygonList().last()).at(0), Vector(0, 1, 0));
    for (const auto& [piece, corners] : ofPieces)
        EXPECT_EQ(corners, std::vector<Vector>(4, Vector(0, 1, 0)));
    EXPECT_EQ(ofPieces.size(), 2u);

    // A normal of zero gives no entry at all, and a zero for each corner.
    for (CN_Polygon& polygon : floor.accessPolygonList())
        polygon.setNormal({});
    floor.calculateVertexNormals(normals = {}, false);
    floor.calculateVertexNormalsForTriangles(ofPieces = {}, false);
    EXPECT_TRUE(normals.at(floor.accessPolygonList().first()).empty());
    EXPECT_EQ(ofPieces.begin()->second, std::vector<Vector>(4));
}

TEST_F(SmoothNormals, OfOtherMeshesCountByPieceAlone) {
    CN_LevelEntityMesh& other = *test::boxRoom(m_document);
    addGroup({0})->addPolygon(&other.accessPolygonList()[2]);
    EXPECT_EQ(ofPolygons().at(at(0)).at(0), Vector(0, 1, 0));
    EXPECT_EQ(ofPolygons().size(), 6u);
    PieceNormals normals;
    m_mesh.calculateVertexNormalsForTriangles(normals, false);
    EXPECT_EQ(normals.size(), 7u);
    CN_Triangle& piece = *at(0)->accessTriangleList().first();
    EXPECT_EQ(normals.at(&piece)[static_cast<std::size_t>(piece.hasVertex(0))], Vector(1, 1, 0).normalized());
}

TEST_F(SmoothNormals, VerticesThatAreNotThereAreRefused) {
    PolygonNormals normals;
    PieceNormals ofPieces;
    for (const int vertex : {-1, 8}) {
        at(5)->accessEdgeList().first()->index(0) = vertex;
        at(5)->accessTriangleList().first()->accessVertices()[0] = vertex;
        EXPECT_THROW(m_mesh.calculateVertexNormals(normals, false), std::out_of_range);
        EXPECT_THROW(m_mesh.calculateVertexNormalsForTriangles(ofPieces, false), std::out_of_range);
    }
    EXPECT_TRUE(normals.empty() && ofPieces.empty());
}

TEST_F(SmoothNormals, AreThoseOfSumsOverAllVertices) {
    for (unsigned int seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        test::RandomPolygons random(seed);
        CN_LevelEntityMesh& heap = *test::addFixture(m_document, "Heap");
        for (int i = 0; i < 20; ++i)
            heap.addVertex({});
        std::vector<CN_LevelEntityPolygonGroup*> groups;
        for (int i = random.count(0, 6); i > 0; --i) {
            CN_LevelEntityPolygonGroup settings;
            settings.setSmooth(random.count(0, 1) == 1);
            settings.setSmoothGeometry(random.count(0, 1) == 1);
            groups.push_back(heap.addNewPolygroup(&settings, false));
        }
        for (int i = 0; i < 40; ++i) {
            CN_Polygon& polygon = *heap.addPolygon();
            polygon.setNormal(random.count(0, 3) ? Vector(random.number(-1, 1), random.number(-1, 1), 0)
                                                 : Vector(0, random.count(-1, 1), 0));
            for (int piece = random.count(0, 3); piece > 0; --piece) {
                CN_Triangle& triangle = polygon.accessTriangleList().emplace();
                for (int corner = random.count(3, 5); corner > 0; --corner) {
                    triangle.accessVertices().push_back(random.count(0, 19));
                    polygon.addEdge(triangle.getVertices().back(), random.count(0, 19), false);
                }
            }
            for (CN_LevelEntityPolygonGroup* const group : groups)
                if (random.count(0, 4) == 0)
                    group->addPolygon(&polygon);
        }
        for (const bool geometry : {false, true}) {
            const test::NaiveNormals naive = test::naiveNormals(heap, geometry);
            PolygonNormals normals;
            heap.calculateVertexNormals(normals, geometry);
            PieceNormals ofPieces;
            heap.calculateVertexNormalsForTriangles(ofPieces, geometry);
            EXPECT_TRUE(normals == naive.ofPolygons);
            EXPECT_TRUE(ofPieces == naive.ofPieces);
        }
    }
}

} // namespace
} // namespace cairn
