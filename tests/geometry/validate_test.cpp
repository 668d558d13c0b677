#include "cairn/animation/keyframes.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/polygon_group.h"
#include "cairn/entities/portal.h"
#include "cairn/geometry/validate.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/materials/material.h"
#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace cairn {
namespace {

using test::ShelfDocument;
using Vector = M_Vector3Template<double>;

/// "code@polygon" of each finding, a blank between them.
std::string codesOf(const std::vector<CN_Finding>& findings) {
    std::string codes;
    for (const CN_Finding& finding : findings) {
        codes += (codes.empty() ? "" : " ") + std::string(finding.code);
        if (finding.polygon >= 0)
            codes += "@" + std::to_string(finding.polygon);
    }
    return codes;
}

std::string codesOf(const CN_Document& document, double tolerance = 1e-9) {
    return codesOf(CN_validateDocument(document, tolerance));
}

/// A polygon of that loop, of whatever shape.
void addLoop(CN_LevelEntityMesh& mesh, const test::Loop& loop) {
    CN_Polygon* const polygon = mesh.addPolygon();
    polygon->setMaterial(mesh.getPolygonList()[0].getMaterial());
    for (std::size_t i = 0; i < loop.size(); ++i)
        polygon->addEdge(loop[i], loop[(i + 1) % loop.size()], false);
}

/// A hole in the box room's floor, which the polygon does not count; `turned`, it runs as the outer loop does.
void addHole(CN_LevelEntityMesh& mesh, bool turned) {
    const int at = mesh.getVertexList().count();
    for (const Vector& corner : {Vector(2, 0, 2), Vector(4, 0, 2), Vector(4, 0, 4), Vector(2, 0, 4)})
        mesh.addVertex(corner);
    for (int i = 0; i < 4; ++i)
        mesh.accessPolygonList()[0].addEdge(at + (turned ? 3 - i : i), at + (turned ? 6 - i : i + 1) % 4, i == 0);
}

TEST(Validate, FindsTheShelfSound) {
    for (const test::ShelfMesh& sample : test::meshShelf()) {
        SCOPED_TRACE(sample.name);
        ShelfDocument document;
        const CN_LevelEntityMesh* const mesh = sample.build(document);
        EXPECT_EQ(codesOf(document, sample.tolerance), sample.closed ? "" : "mesh-open");
        std::set<std::pair<int, int>> edges;
        Vector area;
        for (const CN_Polygon& polygon : mesh->getPolygonList()) {
            area += CN_areaVector(polygon);
            for (const CN_Edge& edge : polygon.getEdgeList())
                edges.insert(std::minmax({edge.index(0), edge.index(1)}));
        }
        EXPECT_EQ(mesh->getVertexList().count(), sample.vertices);
        EXPECT_EQ(edges.size(), sample.edges);
        EXPECT_EQ(mesh->getPolygonList().count(), sample.polygons);
        if (sample.closed) {
            EXPECT_NEAR(CN_volume(*mesh), sample.volume, 20 * sample.tolerance * (1 + sample.volume));
            EXPECT_NEAR(area.length(), 0, 100 * sample.tolerance);
        }
    }
}

TEST(Validate, NamesWhatDoesNotHoldInAMesh) {
    using Break = void (*)(CN_LevelEntityMesh&);
    struct Case {
        const char* codes;
        Break breakIt; ///< of a box room
    };
    static const auto first = [](CN_LevelEntityMesh& mesh) -> CN_Polygon& { return mesh.accessPolygonList()[0]; };
    static const test::Loop LINE{0, 1};
    const Case cases[] = {
        {"polygon-nonplanar@0", [](CN_LevelEntityMesh& m) { m.accessVertexList()[0] += Vector(0, 1e-6, 0); }},
        {"polygon-nonplanar@0", [](CN_LevelEntityMesh& m) { first(m).setNormal(Vector(0, 0.5, 0)); }},
        {"polygon-nonplanar@0 polygon-nonplanar@2 polygon-nonplanar@5",
         [](CN_LevelEntityMesh& m) { m.accessVertexList()[0].local.x = std::numeric_limits<double>::quiet_NaN(); }},
        {"polygon-reference@0", [](CN_LevelEntityMesh& m) { first(m).setReferenceNormal(Vector(0, 0.5, 0)); }},
        {"polygon-holes@0 polygon-untriangulated@0 mesh-open", [](CN_LevelEntityMesh& m) { addHole(m, false); }},
        {"polygon-winding@0 mesh-open",
         [](CN_LevelEntityMesh& m) {
             addHole(m, true);
             first(m).setNumHoles(1);
         }},
        {"polygon-space-plane@0",
         [](CN_LevelEntityMesh& m) { first(m).editUVSpace(1).setMatrix(CN_Polygon::Matrix()); }},
        {"exit-no-portal@0 exit-mode@0", [](CN_LevelEntityMesh& m) { first(m).setExitDestination(&first(m)); }},
        {"polygon-winding@0", [](CN_LevelEntityMesh& m) { first(m).setNormal(Vector(0, -1, 0)); }},
        {"polygon-degenerate@0 mesh-open", [](CN_LevelEntityMesh& m) { first(m).accessEdgeList().clear(); }},
        {"polygon-degenerate@0 mesh-open", [](CN_LevelEntityMesh& m) { first(m).accessEdgeList().removeAt(1); }},
        {"polygon-degenerate@6 mesh-open", [](CN_LevelEntityMesh& m) { addLoop(m, LINE); }},
        {"polygon-degenerate@6 mesh-open",
         [](CN_LevelEntityMesh& m) {
             m.addVertex(Vector(4, 0, 0));
             addLoop(m, {0, 8, 3});
         }},
        {"mesh-open", [](CN_LevelEntityMesh& m) { m.deletePolygon(&first(m)); }},
        {"mesh-open",
         [](CN_LevelEntityMesh& m) {
             test::fixturePolygon(m, {{0, 1, 2, 3}});
         }},
        {"material-missing@0", [](CN_LevelEntityMesh& m) { first(m).setMaterial(nullptr); }},
        {"polygon-index@0 mesh-open", [](CN_LevelEntityMesh& m) { first(m).accessEdgeList()[1].index(1) = 99; }},
        {"polygon-parent@0", [](CN_LevelEntityMesh& m) { first(m).accessEdgeList()[1].setParent(nullptr); }},
        {"polygon-triangle@0",
         [](CN_LevelEntityMesh& m) { first(m).accessTriangleList().first()->accessUV().resize(2); }},
        {"polygon-untriangulated@0",
         [](CN_LevelEntityMesh& m) {
             std::vector<int>& corners = first(m).accessTriangleList().first()->accessVertices();
             corners[0] = corners[1];
         }},
        {"polygon-untriangulated@0",
         [](CN_LevelEntityMesh& m) {
             std::vector<int>& corners = first(m).accessTriangleList().first()->accessVertices();
             std::reverse(corners.begin(), corners.end());
         }},
        {"polygon-untriangulated@6 mesh-open",
         [](CN_LevelEntityMesh& m) { // its last corner pulls two edges across a third
             m.addVertex(Vector(2, 0, 7));
             test::fixturePolygon(m, {{0, 1, 2, 3, 8}});
         }},
        {"polygon-space-plane@0 polygon-untriangulated@0",
         [](CN_LevelEntityMesh& m) { // a texture seen from the edge
             first(m).accessTriangleList().clear();
             first(m).accessUVSpaces()[0].space.setMatrix(CN_Polygon::Matrix());
         }},
        {"polygon-neighbor@0", [](CN_LevelEntityMesh& m) { first(m).accessSharedEdgeList().add(nullptr); }},
        {"polygon-attached@0", [](CN_LevelEntityMesh& m) { first(m).setAttachedEntity(&m); }},
        {"polygon-group@0",
         [](CN_LevelEntityMesh& m) {
             auto group = std::make_unique<CN_LevelEntityPolygonGroup>();
             first(m).joinGroup(group.get());
             m.addOwned(std::move(group), false);
         }},
        {"broken-keyframe",
         [](CN_LevelEntityMesh& m) {
             m.makeDynamic(false);
             const CN_LevelEntity::Matrix flat({1, 0, 0}, {0, 0, 0}, {0, 0, 1});
             m.accessKeyframes()->getFirst()->setMatrix({flat, Vector()});
         }},
    };
    for (const Case& c : cases) {
        ShelfDocument document;
        CN_LevelEntityMesh* const mesh = test::boxRoom(document);
        c.breakIt(*mesh);
        EXPECT_EQ(codesOf(CN_validateMesh(*mesh, 1e-9)), c.codes);
        for (CN_Polygon& polygon :
             mesh->accessPolygonList()) // a group that does not know its member cannot part from it
            while (!polygon.getGroups().empty())
                polygon.leaveGroup(*polygon.getGroups().begin());
    }
}

TEST(Validate, NamesWhatDoesNotHoldBetweenMeshes) {
    ShelfDocument document;
    CN_LevelEntityMesh* const first = test::twoRooms(document);
    CN_Polygon& exit = first->accessPolygonList()[4];
    CN_Polygon& partner = *exit.getExitDestination();
    CN_Material& material = *document.accessMaterials().getDefaultMaterial();
    auto& pool = dynamic_cast<CN_LightmapPool&>(*document.accessLightmaps());
    CN_Polygon& floor = first->accessPolygonList()[0];

    material.incrementUseCount();
    EXPECT_EQ(codesOf(document), "material-count");
    material.decrementUseCount();
    pool.allocateNew(3);
    floor.setLightmap(3);
    EXPECT_EQ(codesOf(document), "");
    pool.referenceLightmap(3);
    EXPECT_EQ(codesOf(document), "lightmap-count");
    pool.allocateNew(4);
    pool.dereferenceLightmap(3);
    EXPECT_EQ(codesOf(document), "");
    pool.referenceLightmap(4);
    EXPECT_EQ(codesOf(document), "lightmap-count") << "of a lightmap that nobody uses";
    pool.deleteLightmap(4);
    pool.deleteLightmap(3);
    EXPECT_EQ(codesOf(document), "lightmap-dangling@0");
    pool.allocateNew(3);
    pool.referenceLightmap(3);
    EXPECT_EQ(codesOf(document), "");

    partner.setExitDestination(&partner);
    EXPECT_EQ(codesOf(document), "exit-unpaired@4");
    partner.sealExit(&material);
    EXPECT_EQ(codesOf(document), "exit-unpaired@4 exit-no-portal") << "the portal stands on a wall";
    CN_LevelEntity* const portal = exit.getLevelEntityPortal();
    first->remove(portal);
    delete portal;
    EXPECT_EQ(codesOf(document), "exit-no-portal@4 exit-unpaired@4 exit-no-portal");
    CN_Polygon stranger(nullptr);
    exit.setExitDestination(&stranger);
    EXPECT_EQ(codesOf(document), "exit-no-portal@4 exit-unpaired@4 exit-no-portal");
    exit.setExitDestination(nullptr);
}

} // namespace
} // namespace cairn
