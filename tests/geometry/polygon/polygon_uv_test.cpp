#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "cairn/materials/texture.h"
#include "cairn/materials/texture_list.h"
#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace cairn {
namespace {

using test::ShelfDocument;
using Vector = M_Vector3Template<double>;
using Matrix = CN_Polygon::Matrix;
using PlanarSpace = CN_Polygon::PlanarSpace;

struct Floor {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::unitFloor(document);
    CN_Polygon& polygon = mesh.accessPolygonList()[0];
};

TEST(PolygonUV, CoordinatesAreCenteredByWholeRepeats) {
    Floor floor;
    PlanarSpace& space = floor.polygon.editUVSpace(0);
    space = PlanarSpace(Matrix({0.5, 0, 0}, {0, 0, -0.25}, {0, 1, 0}), {0, 0, 0}, {100.25, -7});
    EXPECT_FALSE(floor.polygon.isUVCalculated()) << "extents of another space";
    floor.polygon.setUVDirty(false);
    floor.mesh.setUVDirty(false);
    floor.polygon.calculateUVCoordinates();
    EXPECT_TRUE(floor.polygon.isUVDirty() && floor.mesh.isUVDirty());
    EXPECT_TRUE(floor.polygon.isUVCalculated());
    // U from 100.25 to 102.25, V from -11 to -7.
    EXPECT_EQ(floor.polygon.getUVSpace(0).getOffset(), (M_Vector2Template<double>{-0.75, 2}));
    const CN_UVSpace& shown = *floor.polygon.getUVSpaces().find(0);
    EXPECT_EQ(shown.min, (M_Vector2Template<float>{-0.75F, -2}));
    EXPECT_EQ(shown.max, (M_Vector2Template<float>{1.25F, 2}));
    const CN_Triangle& piece = *floor.polygon.getTriangleList().first();
    ASSERT_EQ(piece.getUV().size(), 4U);
    EXPECT_TRUE(piece.getDetailUV().empty());
    for (std::size_t i = 0; i < 4; ++i) {
        const auto uv = floor.polygon.getUVSpace(0).toUV(piece.getVertexLocal(static_cast<int>(i)));
        EXPECT_EQ(piece.getUV()[i], (M_Vector2Template<float>{static_cast<float>(uv.x), static_cast<float>(uv.y)}));
    }
    floor.polygon.calculateUVCoordinates();
    EXPECT_EQ(shown.min.x, -0.75F) << "they stay where they are";

    floor.polygon.accessTriangleList().clear();
    floor.polygon.calculateUVCoordinates();
    EXPECT_EQ(shown.min.x, std::numeric_limits<float>::max());
    EXPECT_EQ(floor.polygon.getUVSpace(0).getOffset().x, -0.75) << "without triangles nothing moves";
    EXPECT_FALSE(floor.polygon.isUVCalculated());
}

TEST(PolygonUV, LightmapAndDetailHaveCoordinatesOfTheirOwn) {
    Floor floor;
    CN_Material& material = *floor.document.accessMaterials().getDefaultMaterial();
    material.setBlendType(CN_Material::BLEND_DETAIL);
    material.setDetailScale(4);
    floor.polygon.editUVSpace(0) = PlanarSpace(Matrix({2, 0, 0}, {0, 0, -3}, {0, 1, 0}), {5, 0, 5}, {});
    const auto lightmapOffset = floor.polygon.getLightmapMapping().getOffset();
    floor.polygon.accessLightmapMapping().getPhysicalSpace().setPoint({-10, 0, 0});
    floor.polygon.calculateUVCoordinates();
    const CN_Triangle& piece = *floor.polygon.getTriangleList().first();
    ASSERT_EQ(piece.getDetailUV().size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        const Vector& corner = piece.getVertexLocal(static_cast<int>(i));
        EXPECT_FLOAT_EQ(piece.getDetailUV()[i].x, static_cast<float>(4 * corner.x)) << "a repeat is a quarter unit";
        EXPECT_FLOAT_EQ(piece.getDetailUV()[i].y, static_cast<float>(-4 * corner.z));
        EXPECT_EQ(piece.getLightmapUV()[i].x, static_cast<float>(corner.x)) << "10 to 11, around 0";
    }
    EXPECT_EQ(floor.polygon.getLightmapMapping().getOffset(), lightmapOffset);

    material.setBlendType(CN_Material::BLEND_PLAIN);
    floor.polygon.calculateUVCoordinates();
    EXPECT_TRUE(piece.getDetailUV().empty());
}

TEST(PolygonUV, TheLightLayerHasItsOwnSpaceWhereItIsShown) {
    Floor floor;
    CN_Material* const lit = floor.document.accessMaterials().find("Default")->add(0, "", nullptr);
    lit->setLightTexture(floor.document.accessTextures().addNew());
    floor.document.accessPreferences().setRenderingMode(RENDER_LIGHT_LAYER);
    floor.polygon.setMaterial(lit);
    const PlanarSpace base = floor.polygon.getUVSpace(0);
    const CN_UVSpace baseRow = *floor.polygon.getUVSpaces().find(0);
    floor.polygon.editUVSpace(2) = PlanarSpace(Matrix({0.5, 0, 0}, {0, 0, 0.5}, {0, 1, 0}), {}, {7.25, 0});
    floor.polygon.calculateUVCoordinates();
    const CN_UVSpace& shown = *floor.polygon.getUVSpaces().find(2);
    EXPECT_EQ(shown.space.getOffset(), (M_Vector2Template<double>{-0.75, -1}));
    EXPECT_EQ(shown.min, (M_Vector2Template<float>{-0.75F, -1}));
    EXPECT_EQ(shown.max, (M_Vector2Template<float>{1.25F, 1}));
    const CN_Triangle& piece = *floor.polygon.getTriangleList().first();
    for (std::size_t i = 0; i < 4; ++i) {
        const Vector& corner = piece.getVertexLocal(static_cast<int>(i));
        EXPECT_EQ(piece.getUV()[i], (M_Vector2Template<float>{static_cast<float>(2 * corner.x - 0.75),
                                                              static_cast<float>(2 * corner.z - 1)}));
    }

    const PlanarSpace texture(Matrix({4, 0, 0}, {0, 0, 4}, {0, 1, 0}), {1, 0, 1}, {});
    floor.polygon.planarMap(texture);
    EXPECT_EQ(shown.space.getMatrix(), texture.getMatrix());
    EXPECT_EQ(shown.space.getPoint(), texture.getPoint());
    EXPECT_EQ(floor.polygon.getUVSpace(0).getMatrix(), base.getMatrix()) << "the base texture stays";
    EXPECT_EQ(floor.polygon.getUVSpace(0).getOffset(), base.getOffset());
    EXPECT_EQ(floor.polygon.getUVSpaces().find(0)->max, baseRow.max);

    floor.polygon.setMappingDirty(false);
    floor.mesh.setMappingDirty(false);
    floor.polygon.setUVDirty(false);
    floor.polygon.setMaterial(nullptr);
    EXPECT_TRUE(floor.polygon.isUVDirty());
    EXPECT_FALSE(floor.polygon.isMappingDirty() || floor.mesh.isMappingDirty());
    ASSERT_TRUE(floor.polygon.hasUVSpace(2)) << "without a material the light layer waits for the next one";
    EXPECT_EQ(shown.max.x, 1.25F);
    EXPECT_EQ(floor.polygon.getUVSpaceID(), 0);
    floor.polygon.setMaterial(floor.document.accessMaterials().getDefaultMaterial());
    EXPECT_FALSE(floor.polygon.hasUVSpace(2));
}

TEST(PolygonUV, PlanarMapGoesOnOverPolygonsOfATurnedMesh) {
    ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::rotatedRoom(document);
    const PlanarSpace texture(Matrix(Vector(1, 0, 1).normalized() * 2, Vector(0, 3, 0), Vector(1, 0, -1).normalized()),
                              {1, 2, 3}, {0.25, 0.5});
    int mapped = 0;
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        const PlanarSpace before = polygon.getUVSpace(0);
        polygon.planarMap(texture);
        const PlanarSpace& space = polygon.getUVSpace(0);
        if (polygon.getWorldNormal().dot(texture.getMatrix().row(2)) < 0.02) {
            EXPECT_EQ(space.getMatrix(), before.getMatrix());
            continue;
        }
        ++mapped;
        EXPECT_FALSE(polygon.isUVCalculated());
        EXPECT_NEAR(polygon.distLocal(space.getPoint()), 0, 1e-12);
        EXPECT_EQ(space.getMatrix().row(2), polygon.getNormal());
        for (const CN_Edge& edge : polygon.getEdgeList()) {
            const auto a = space.toUV(edge.getLocal(0)), b = texture.toUV(edge.getWorld(0));
            EXPECT_NEAR(a.x, b.x, 1e-9);
            EXPECT_NEAR(a.y, b.y, 1e-9);
        }
    }
    EXPECT_EQ(mapped, 3) << "of opposite sides one is seen";

    Floor floor;
    const Matrix before = floor.polygon.getUVSpace(0).getMatrix();
    for (const double degrees : {89.5, 90.0, 180.0}) {
        const double angle = (degrees - 90) * std::acos(-1.0) / 180;
        floor.polygon.planarMap({Matrix::rotationX(angle), {}, {}});
        EXPECT_EQ(floor.polygon.getUVSpace(0).getMatrix(), before);
    }
    EXPECT_TRUE(floor.polygon.isUVCalculated());
    floor.polygon.planarMap({Matrix({1, 0, 0}, {0, 0, 1}, {0, 0.1, -1}), {}, {}});
    EXPECT_NE(floor.polygon.getUVSpace(0).getMatrix(), before);
}

TEST(PolygonUV, CopiedPropertiesAreAllButTheShape) {
    Floor floor;
    ShelfDocument other;
    CN_LevelEntityMesh& room = *test::rotatedRoom(other);
    CN_Polygon& source = room.accessPolygonList()[2];
    source.editUVSpace(1).setOffset({1, 2});
    source.setPolyMode(PT_ADD);
    source.setPolygonIndex(5);
    CN_Material* const material = source.getMaterial();
    const int uses = material->getUseCount();

    CN_Polygon& copy = *room.addPolygon();
    copy.copyPropertiesLocal(&source);
    EXPECT_EQ(copy.getNormal(), source.getNormal());
    EXPECT_EQ(copy.getWorldNormal(), source.getWorldNormal());
    EXPECT_EQ(copy.getReferenceNormal(), source.getReferenceNormal());
    EXPECT_EQ(copy.getPointOnPlane(), source.getPointOnPlane());
    EXPECT_EQ(copy.getUVSpace(1).getOffset().y, 2);
    EXPECT_EQ(copy.getPolyMode(), static_cast<unsigned int>(PT_ADD));
    EXPECT_EQ(copy.getPolygonIndex(), 5U);
    EXPECT_EQ(copy.numVertices(), 4);
    EXPECT_EQ(material->getUseCount(), uses + 1);
    EXPECT_TRUE(copy.getEdgeList().empty() && copy.getTriangleList().empty());
    copy.copyProperties(&copy, true);
    EXPECT_EQ(copy.getUVSpaces().size(), source.getUVSpaces().size()) << "of itself: nothing";

    CN_Polygon& world = floor.polygon;
    const Vector worldNormal = world.getWorldNormal();
    world.copyProperties(&source, false);
    EXPECT_EQ(world.getNormal(), source.getWorldNormal());
    EXPECT_EQ(world.getWorldNormal(), worldNormal);
    EXPECT_EQ(world.getPointOnPlane(), room.worldTransform(source.getPointOnPlane()));
    for (const CN_Edge& edge : source.getEdgeList()) {
        const auto a = world.getUVSpace(0).toUV(edge.getWorld(0)), b = source.getUVSpace(0).toUV(edge.getLocal(0));
        EXPECT_NEAR(a.x, b.x, 1e-9);
        EXPECT_NEAR(a.y, b.y, 1e-9);
    }
    world.setMaterial(nullptr); // which is of the other document
}

} // namespace
} // namespace cairn
