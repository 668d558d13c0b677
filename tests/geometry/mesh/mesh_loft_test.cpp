#include "cairn/geometry/validate.h"
#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace cairn {
namespace {

using test::ShelfDocument;
using Vector = M_Vector3Template<double>;

/// A polygon of the ground whose corners are collected.
CN_Polygon* draw(CN_LevelEntityMesh& mesh, std::vector<Vector> corners) {
    CN_Polygon* const polygon = mesh.addPolygon();
    for (const Vector& corner : corners)
        polygon->addVertex(corner);
    polygon->setNormal({0, 1, 0});
    polygon->setReferenceNormal({0, 1, 0});
    polygon->updatePointOnPlane();
    polygon->setPointOnPlane(corners[0]);
    polygon->setMaterial(mesh.getDocument()->accessMaterials().getDefaultMaterial());
    return polygon;
}

const std::vector<Vector> L_SHAPE{{0, 0, 0}, {0, 0, 8}, {4, 0, 8}, {4, 0, 4}, {8, 0, 4}, {8, 0, 0}};

TEST(Loft, MakesClosedPrisms) {
    for (const bool isReversed : {false, true})
        for (const double distance : {4.0, -0.5}) {
            ShelfDocument document;
            const double scale = document.getPreferences().getDefaultUVScale();
            CN_LevelEntityMesh& mesh = *test::addFixture(document, "Loft");
            std::vector<Vector> corners = L_SHAPE;
            if (isReversed)
                std::reverse(corners.begin(), corners.end());
            CN_Polygon* const base = draw(mesh, corners);
            mesh.loftPolygon(base, distance);
            mesh.handleOwnHierarchy();
            EXPECT_EQ(mesh.getPolygonList().count(), 8);
            EXPECT_EQ(mesh.getVertexList().count(), 12);
            EXPECT_NEAR(CN_volume(mesh), 48 * distance, 1e-9) << "a room, or a block";
            for (const CN_Polygon& polygon : mesh.getPolygonList()) {
                EXPECT_FALSE(polygon.getTriangleList().empty());
                EXPECT_EQ(polygon.numVertices(), polygon.getEdgeList().count());
                EXPECT_EQ(polygon.getNormal(), polygon.getReferenceNormal());
                EXPECT_EQ(polygon.getUVSpaces().size(), 3);
                for (const int row : {0, 1})
                    EXPECT_NEAR(polygon.getUVSpace(2).getMatrix().row(row).length(), scale, 1e-12);
            }
            mesh.texturize(base->getMaterial(), false);
            EXPECT_TRUE(CN_validateMesh(mesh, 1e-9).empty());
            EXPECT_TRUE(mesh.movePolygonPlaneWorker(base, -distance / 2, 0, false, {}, {})) << "corners are shared";
        }
}

TEST(Loft, DoesNothingWithoutAWay) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::addFixture(document, "Loft");
    CN_Polygon* const line = draw(mesh, {{0, 0, 0}, {0, 0, 8}});
    mesh.loftPolygon(line, 4);
    mesh.loftPolygon(nullptr, 4);
    CN_Polygon* const square = draw(mesh, L_SHAPE);
    for (const double distance :
         {0.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
        mesh.loftPolygon(square, distance);
    square->addVertex(mesh.accessVertexList().last()); // the same corner once more
    try {
        mesh.loftPolygon(square, 4);
        FAIL() << "a side has no extent";
    } catch (M_PlanarSpace3Exception_Singular* e) {
        const F_ExceptionGuard guard(e);
    }
    EXPECT_EQ(mesh.getPolygonList().count(), 2);
    EXPECT_EQ(mesh.getVertexList().count(), 8);
    EXPECT_EQ(square->getVertexBuffer().count(), 7);
    EXPECT_EQ(square->numVertices(), 7);
    EXPECT_EQ(*square->getVertexBuffer().first(), &mesh.getVertexList()[2]);
    EXPECT_EQ(square->getUVSpaces().size(), 1);
}

} // namespace
} // namespace cairn
