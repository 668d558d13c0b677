#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/lighting/lightmap.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "cairn/materials/texture.h"
#include "cairn/materials/texture_list.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/polygon_statics_guard.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

using test::failureText;
using Vector = CN_LevelEntity::Vector;

/// A square of side 1 on the floor, the vertices 0 to 3 of its mesh.
struct Floor {
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::unitFloor(document);
    CN_Polygon& polygon = mesh.accessPolygonList()[0];
};

TEST(Polygon, EdgesKnowTheirCorners) {
    Floor floor;
    floor.mesh.setPosition({10, 0, 0});
    CN_Edge edge = floor.polygon.getEdgeList()[1];
    EXPECT_EQ(edge.getLocal(0), Vector(0, 0, 1));
    EXPECT_EQ(edge.getWorld(1), Vector(11, 0, 1));
    EXPECT_EQ(edge.dirWorld(), Vector(1, 0, 0));
    EXPECT_EQ(edge.findSelectedVertex({10.5, 0, 1}), 0) << "both as near";
    EXPECT_EQ(edge.findSelectedVertex({10.75, 0, 1}), 1);
    edge.swap();
    EXPECT_EQ(edge.dir(), Vector(-1, 0, 0));
    edge.set(0, 99);
    EXPECT_NE(failureText([&] { edge.dir(); }), "(nothing thrown)");
    EXPECT_NE(failureText([&] { CN_Edge(0, 1).dir(); }), "(nothing thrown)");

    CN_Edge first(4, 5), copy = first;
    first.setHoleStart(true);
    copy = first;
    EXPECT_FALSE(copy.isHoleStart() || CN_Edge(first).isHoleStart());
}

TEST(Polygon, TrianglesTurnAndMeet) {
    Floor floor;
    CN_Triangle a, b;
    a.setParent(&floor.polygon);
    a.accessVertices() = {1, 3, 0};
    b.accessVertices() = {3, 1, 2};
    int from = -1, to = -1;
    EXPECT_TRUE(a.sharesEdge(b, &from, &to));
    EXPECT_EQ(std::pair(from, to), std::pair(0, 1));
    EXPECT_FALSE(a.sharesEdge(a, &from, &to));
    EXPECT_EQ(a.hasVertex(0), 2);
    EXPECT_EQ(a.hasVertex(2), -1);
    EXPECT_EQ(a.getVertexLocal(1), Vector(1, 0, 0));
    EXPECT_EQ(a.getNormal(), Vector(0, 1, 0));
    a.accessUV() = {{1, 1}, {2, 2}, {3, 3}};
    a.accessDetailUV() = {{1, 1}, {2, 2}, {3, 3}};
    a.flip();
    EXPECT_EQ(a.getVertices(), (std::vector<int>{0, 3, 1}));
    EXPECT_EQ(a.getUV()[0].x, 3);
    EXPECT_EQ(a.getDetailUV()[0].x, 1);
    EXPECT_NE(failureText([&] { a.getVertex(3); }), "(nothing thrown)");
    EXPECT_NE(failureText([&] { b.getVertex(0); }), "(nothing thrown)");
}

TEST(Polygon, IsBuiltOfCorners) {
    Floor floor;
    CN_Polygon& polygon = *floor.mesh.addPolygon();
    EXPECT_FALSE(polygon.removeVertex());
    EXPECT_EQ(polygon.addVertexCheck({1, 0, 1 + 5e-7}), &floor.mesh.getVertexList()[2]);
    polygon.addVertexCheck({2, 0, 1});
    polygon.addVertex(&floor.mesh.accessVertexList()[3]);
    polygon.addVertex();
    EXPECT_TRUE(polygon.removeVertex());
    EXPECT_EQ(polygon.numVertices(), 3);
    polygon.constructEdges();
    EXPECT_TRUE(polygon.getVertexBuffer().empty());
    ASSERT_EQ(polygon.getEdgeList().count(), 3);
    EXPECT_EQ(polygon.getEdgeList()[2].index(0), 3);
    EXPECT_EQ(polygon.getEdgeList()[2].index(1), 2);
    F_DLList<CN_Edge*> edges;
    floor.polygon.insertEdges(edges);
    polygon.insertEdges(edges);
    EXPECT_EQ(edges.count(), 7);
    EXPECT_EQ(edges[4], polygon.getEdgeList().first());

    CN_Vertex stranger;
    polygon.addVertex(&stranger);
    EXPECT_NE(failureText([&] { polygon.constructEdges(); }), "(nothing thrown)");
    EXPECT_EQ(polygon.getEdgeList().count(), 3) << "nothing has changed";
    polygon.removeVertex();

    EXPECT_EQ(polygon.addEdge(2, 2, false), nullptr);
    EXPECT_EQ(polygon.addEdge(Vector(5, 5, 5), Vector(5, 5, 5 + 1e-7)), nullptr);
    EXPECT_EQ(polygon.addEdge(Vector(5, 5, 5), Vector(1, 0, 1))->index(1), 2);
    polygon.addEdge(2, 0, true);
    std::vector<std::size_t> loops;
    for (const CN_Polygon::Lasso& lasso : polygon.getLassos())
        loops.push_back(lasso.size());
    EXPECT_EQ(loops, (std::vector<std::size_t>{3, 2}));
}

TEST(Polygon, CornersAreLookedForInTheSpaceTheyAreGivenIn) {
    Floor floor;
    floor.mesh.setRotation({{-1, 0, 0}, {0, 1, 0}, {0, 0, -1}});
    floor.mesh.setPosition({10, 0, 0});
    const CN_Vertex* const corner = &floor.mesh.getVertexList()[2];
    const Vector local(1, 0, 1), world(9, 0, -1);
    ASSERT_EQ(corner->world, world);
    EXPECT_EQ(floor.mesh.addVertexCheck(local, 1e-6), corner);
    EXPECT_EQ(floor.mesh.addVertexCheckWorld(world, 1e-6), corner);
    CN_Polygon& polygon = *floor.mesh.addPolygon();
    EXPECT_EQ(polygon.addVertexCheck(world), corner);
    EXPECT_EQ(polygon.addEdge(local, {0, 0, 0})->index(0), 2);
    EXPECT_EQ(floor.mesh.getVertexList().count(), 4);

    const CN_Vertex* const made = floor.mesh.addVertexCheck(local, 0);
    EXPECT_EQ(made, floor.mesh.getVertexList().last()) << "none is nearer than that";
    EXPECT_EQ(polygon.addVertexCheck(local), made) << "it stands there in both spaces";
    EXPECT_EQ(floor.mesh.addVertexCheckWorld({8, 0, -3}, 1e-6)->local, Vector(2, 0, 3));
    EXPECT_EQ(floor.mesh.getBoundingMax().z, 3) << "widened by the place in the mesh";
}

TEST(Polygon, FirstSpaceHasTheDocumentsScale) {
    Floor floor;
    EXPECT_EQ(floor.mesh.addPolygon()->getUVSpace(0).getMatrix().row(0), Vector(128, 0, 0));
    EXPECT_EQ(floor.mesh.addPolygon()->getUVSpace(7).getMatrix().row(1), Vector(0, 0, -128));
    EXPECT_EQ(CN_Polygon(nullptr).getUVSpace(0).getMatrix().row(0), Vector(1, 0, 0));
}

TEST(Polygon, CountsOnItsMaterialAndFollowsItsLightLayer) {
    Floor floor;
    CN_Material* const plain = floor.polygon.getMaterial();
    CN_Material* const lit = floor.document.accessMaterials().find("Default")->add(0, "", nullptr);
    lit->setLightTexture(floor.document.accessTextures().addNew());
    floor.polygon.editUVSpace(0).setOffset({3, 0});
    floor.mesh.setUVDirty(false);
    floor.polygon.setMaterial(plain);
    EXPECT_FALSE(floor.mesh.isUVDirty()) << "the same one";
    floor.polygon.setMaterial(lit);
    EXPECT_TRUE(floor.mesh.isUVDirty() && floor.mesh.isMappingDirty());
    EXPECT_EQ(floor.polygon.getUVSpace(2).getOffset().x, 3);
    EXPECT_EQ(floor.polygon.getUVSpaceID(), 0);
    floor.document.accessPreferences().setRenderingMode(RENDER_LIGHT_LAYER);
    EXPECT_EQ(floor.polygon.getUVSpaceID(), 2);
    floor.polygon.setMaterial(plain);
    EXPECT_FALSE(floor.polygon.hasUVSpace(2));
    EXPECT_EQ(plain->getUseCount(), 1);
    EXPECT_EQ(lit->getUseCount(), 0);
}

TEST(Polygon, IsLitWhereItIsSeen) {
    Floor floor;
    EXPECT_TRUE(floor.polygon.needsToBeLit());
    floor.polygon.setPolyMode(PT_ADD);
    EXPECT_FALSE(floor.polygon.needsToBeLit());
    floor.polygon.setPolyMode(PT_SOLID);
    floor.mesh.setDynamic(true);
    EXPECT_FALSE(floor.polygon.needsToBeLit());
    floor.mesh.accessMeshProperties().lightDynamic = true;
    EXPECT_TRUE(floor.polygon.needsToBeLit());
    floor.mesh.setVisible(false);
    EXPECT_FALSE(floor.polygon.needsToBeLit());
    floor.mesh.setVisible(true);
    floor.polygon.setMaterial(nullptr);
    EXPECT_FALSE(floor.polygon.needsToBeLit());
}

TEST(Polygon, CopiesAndTheDeadKeepTheLightmapsReferencesRight) {
    Floor floor;
    auto& pool = dynamic_cast<CN_LightmapPool&>(*floor.document.accessLightmaps());
    const auto references = [&pool](unsigned long id) {
        const CN_Lightmap* const lightmap = pool.getLightmap(id);
        return lightmap ? static_cast<int>(lightmap->getRefCount()) : -1;
    };
    pool.allocateNew(1);
    pool.allocateNew(2);
    floor.polygon.setLightmap(1);
    EXPECT_TRUE(floor.polygon.getLightmapMapping().isLightmapValid());
    EXPECT_NE(failureText([&] { floor.polygon.setLightmap(9); }), "(nothing thrown)");
    {
        const CN_Polygon copy(floor.polygon);
        EXPECT_EQ(references(1), 2);
        CN_Polygon assigned(&floor.mesh);
        assigned.setLightmap(2);
        assigned = copy;
        EXPECT_EQ(references(1), 3);
        EXPECT_EQ(references(2), -1) << "its last user left";
        const CN_Polygon& itself = assigned;
        assigned = itself;
        EXPECT_EQ(references(1), 3);
    }
    EXPECT_EQ(references(1), 1);
    for (const unsigned long tooLong : {NO_LIGHTMAP + 2, ~0ul - 1}) // the first one is 1 in 32 bits
        EXPECT_EQ(failureText([&] { floor.polygon.setLightmap(tooLong); }).find("No lightmap can have the id"), 0u);
    EXPECT_EQ(references(1), 1);
    for (const unsigned long none : {NO_LIGHTMAP, ~0ul}) {
        pool.allocateNew(3);
        floor.polygon.setLightmap(3);
        floor.polygon.setLightmap(none);
        EXPECT_EQ(references(3), -1);
        EXPECT_EQ(floor.polygon.getLightmapMapping().getLightmapID(), NO_LIGHTMAP);
        EXPECT_FALSE(floor.polygon.getLightmapMapping().isLightmapValid());
        CN_Polygon(nullptr).setLightmap(none);
    }
}

TEST(Polygon, AnAssignmentGivesItsLightmapBackToTheDocumentThatCountsIt) {
    Floor first, second;
    const auto references = [](Floor& floor) {
        return dynamic_cast<CN_LightmapPool&>(*floor.document.accessLightmaps()).getLightmap(1)->getRefCount();
    };
    for (Floor* floor : {&first, &second}) {
        dynamic_cast<CN_LightmapPool&>(*floor->document.accessLightmaps()).allocateNew(1);
        floor->polygon.setLightmap(1);
    }
    {
        CN_Polygon polygon(first.polygon);
        CN_LevelEntityMesh mesh(first.mesh);
        EXPECT_EQ(references(first), 3u);
        polygon = second.polygon;
        mesh = second.mesh;
        EXPECT_EQ(references(first), 1u);
        EXPECT_EQ(references(second), 3u);
    }
    EXPECT_EQ(references(second), 1u);
}

TEST(Polygon, ASealedExitIsAWall) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::twoRooms(document);
    CN_Polygon& exit = room.accessPolygonList()[4];
    CN_Polygon& back = *exit.getExitDestination();
    EXPECT_EQ(back.getExitDestinationMesh(), &room);
    exit.sealExit(document.accessMaterials().getDefaultMaterial());
    EXPECT_EQ(exit.getPolyMode(), PT_SOLID);
    EXPECT_EQ(exit.getMaterial(), document.accessMaterials().getDefaultMaterial());
    EXPECT_EQ(exit.getExitDestinationMesh(), nullptr);
    EXPECT_EQ(exit.getAttachedEntity(), nullptr);
    EXPECT_TRUE(back.isExitPolygon()) << "the partner is left alone";
    back.sealExit(nullptr);
    EXPECT_EQ(back.getMaterial(), nullptr);
    EXPECT_EQ(back.getPolyMode(), PT_SOLID);
}

} // namespace
} // namespace cairn
