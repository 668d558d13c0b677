#include "cairn/foundation/memory_file.h"
#include "cairn/lighting/lightmap_mapping.h"
#include "cairn/lighting/lightmap_pool.h"
#include "tests/support/level_bytes.h"
#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;
using Matrix = M_Matrix3Template<double>;
using Point = M_Vector2Template<double>;

/// A floor of that size; its first edge runs along z.
CN_Polygon& floorOf(CN_Document& document, double x, double z) {
    CN_LevelEntityMesh* const mesh = test::addFixture(document, "Floor");
    for (const Vector& corner : {Vector(0, 0, 0), Vector(0, 0, z), Vector(x, 0, z), Vector(x, 0, 0)})
        mesh->addVertex(corner);
    return *test::fixturePolygon(*mesh, {{0, 1, 2, 3}});
}

TEST(LightmapMapping, SizesArePowersOfTwoWithinLimits) {
    constexpr double HUGE_LENGTH = 1e150;
    struct Case {
        double x, z;
        float resolution;
        int width, height; ///< the width is along the longest edge, here x
    };
    const Case cases[] = {
        {1.125, 1, 4, 8, 8},         // 5.0 and 4.5
        {0.5, 0.375, 4, 4, 4},       // 2.5 and 2.0: the least
        {100, 1, 4, 256, 8},         // the directions are independent
        {3.875, 3.5, 4, 16, 16},     // exactly 16 stays
        {4, 3.9375, 4, 32, 32},      // just beyond
        {HUGE_LENGTH, 1, 4, 256, 8}, // before any power is taken
        {2, 1, std::numeric_limits<float>::infinity(), 256, 256},
        {2, 1, std::numeric_limits<float>::quiet_NaN(), 4, 4},
        {2, 1, -4, 4, 4},
    };
    for (const Case& c : cases) {
        test::ShelfDocument document;
        CN_LightmapMapping::Space space;
        Point min, max;
        int width = 0, height = 0;
        ASSERT_TRUE(CN_LightmapMapping::determineLightmapSize(&floorOf(document, c.x, c.z), c.resolution, width, height,
                                                              space, min, max));
        EXPECT_EQ(width, c.width) << c.x;
        EXPECT_EQ(height, c.height) << c.z;
        EXPECT_EQ(space.getMatrix(), Matrix({1, 0, 0}, {0, 0, 1}, {0, 1, 0}));
        EXPECT_EQ(max - min, Point(c.x, c.z));
    }
}

TEST(LightmapMapping, TheFirstOfTheLongestEdgesLeads) {
    test::ShelfDocument document;
    CN_LightmapMapping::Space space;
    Point min, max;
    int width = 0, height = 0;
    CN_LightmapMapping::determineLightmapSize(&floorOf(document, 2, 2), 4, width, height, space, min, max);
    EXPECT_EQ(space.getMatrix(), Matrix({0, 0, 1}, {-1, 0, 0}, {0, 1, 0}));
    EXPECT_EQ(space.getPoint(), Vector(0, 0, 0));
    EXPECT_EQ(min, Point(0, -2));
    EXPECT_EQ(max, Point(2, 0));
}

TEST(LightmapMapping, TheFitPutsTheOuterTexelsInsideByHalfTheMargin) {
    struct Case {
        double width; ///< of the polygon: the margin is at most a tenth of it
        Point offset; ///< which stays, whatever the scale
    };
    for (const auto& [width, offset] : {Case{1, {}}, Case{0.25, {}}, Case{1, {0.25, 3}}}) {
        test::ShelfDocument document;
        CN_Polygon& polygon = floorOf(document, 2, width);
        dynamic_cast<CN_LightmapPool*>(document.accessLightmaps())->allocateNew(7);
        polygon.setLightmap(7);
        CN_LightmapMapping& mapping = polygon.accessLightmapMapping();
        EXPECT_TRUE(mapping.isLightmapValid());

        mapping.setOffset(offset);
        mapping.initialFitLightmap(&polygon, false);
        EXPECT_FALSE(mapping.isLightmapValid());
        EXPECT_EQ(mapping.getLightmapID(), 7u);
        const double margin = std::min(0.05, width / 10);
        const double stepU = (2 - margin) / 15, stepV = (width - margin) / (width == 1 ? 7 : 3);
        // The middle of the first texel is half a step from the space's origin.
        const auto first = mapping.toUV(Vector(margin / 2, 0, width - margin / 2));
        EXPECT_EQ(mapping.getMatrix(), Matrix({1, 0, 0}, {0, 0, 1}, {0, 1, 0})) << "plain distances";
        EXPECT_NEAR(first.x, offset.x + stepU / 2, 1e-12);
        const auto corner = mapping.getRenderingUV({0, 0, 0});
        EXPECT_NEAR(corner.x, offset.x + (stepU - margin) / 2, 1e-6);
        EXPECT_NEAR(corner.y, offset.y + (stepV - margin) / 2, 1e-6);

        mapping.initialFitLightmap(&polygon, true);
        EXPECT_NEAR(mapping.getMatrix().row(0).length(), 2 * stepU, 1e-12);
        EXPECT_NEAR(mapping.getMatrix().row(1).length(), 2 * stepV, 1e-12);
        EXPECT_NEAR(mapping.getRenderingUV({0, 0, 0}).x, offset.x + (stepU - margin) / 2 / (2 * stepU), 1e-6);
    }
}

TEST(LightmapMapping, AWallIsFittedInTheSpaceOfItsMesh) {
    test::ShelfDocument document;
    CN_Polygon& wall = test::rotatedRoom(document)->accessPolygonList()[2]; // 6 long, 4 high
    CN_LightmapMapping mapping;
    mapping.initialFitLightmap(&wall, false);
    EXPECT_LT((mapping.getMatrix().row(2) - wall.getNormal()).length(), 1e-12);
    Point min(100, 100), max(-100, -100);
    for (const CN_Edge& edge : wall.getEdgeList()) {
        const Point uv = mapping.toUV(edge.getLocal(0));
        min = {std::min(min.x, uv.x), std::min(min.y, uv.y)};
        max = {std::max(max.x, uv.x), std::max(max.y, uv.y)};
    }
    constexpr double MARGIN = 0.05;
    EXPECT_NEAR(min.x, ((6 - MARGIN) / 31 - MARGIN) / 2, 1e-12); // 32 texels both ways
    EXPECT_NEAR(min.y, ((4 - MARGIN) / 31 - MARGIN) / 2, 1e-12);
    EXPECT_NEAR(max.x - min.x, 6, 1e-12);
    EXPECT_NEAR(max.y - min.y, 4, 1e-12);
}

TEST(LightmapMapping, APolygonThatGivesNoSpaceLeavesTheMapping) {
    test::ShelfDocument document;
    CN_Polygon& linear = floorOf(document, 2, 1);
    linear.accessParent()->accessVertexList()[1] = linear.accessParent()->accessVertexList()[0].local;
    linear.accessParent()->accessVertexList()[2] = linear.accessParent()->accessVertexList()[3].local;
    CN_Polygon& flat = floorOf(document, 2, 1);
    flat.setNormal({0, 0, 0});
    CN_Polygon& bare = floorOf(document, 2, 1);
    bare.accessEdgeList().clear();
    for (CN_Polygon* polygon : {&linear, &flat, &bare}) {
        CN_LightmapMapping mapping;
        mapping.initialFitLightmap(polygon, true);
        EXPECT_EQ(mapping.getMatrix(), CN_LightmapMapping().getMatrix());
        EXPECT_EQ(mapping.getPoint(), Vector());
    }
}

TEST(LightmapMapping, TheRecordComesBack) {
    test::ShelfDocument document;
    CN_Polygon& polygon = floorOf(document, 2, 1);
    CN_LightmapMapping mapping;
    mapping.setResolution(1.5f);
    mapping.setOffset({0.25, 3});
    mapping.initialFitLightmap(&polygon, true);
    F_MemoryFile file, again;
    file << mapping;
    const test::Bytes bytes = test::bytesOf(file);
    EXPECT_EQ(bytes.size(), 17 * 8 + 4 + 1 + 4u);
    CN_LightmapMapping read;
    file.toRead();
    file >> read;
    again << read;
    EXPECT_EQ(test::bytesOf(again), bytes);
    EXPECT_EQ(read.getRenderingUV({1, 0, 1}), mapping.getRenderingUV({1, 0, 1}));
    EXPECT_EQ(read.getLightmapID(), NO_LIGHTMAP);
}

TEST(LightmapMapping, ABrokenSpaceOrResolutionBecomesTheDefault) {
    constexpr double NOTHING = std::numeric_limits<double>::quiet_NaN();
    const Matrix matrices[] = {Matrix({1, 0, 0}, {2, 0, 0}, {0, 1, 0}), Matrix({NOTHING, 0, 0}, {0, 0, 1}, {0, 1, 0})};
    for (const Matrix& matrix : matrices) {
        F_MemoryFile file;
        file << Vector(0, 1, 0) << Vector(1, 2, 3) << matrix << Point();
        file << std::numeric_limits<float>::infinity() << true << 5ul << 77;
        file.toRead();
        CN_LightmapMapping mapping;
        int behind = 0;
        EXPECT_FALSE(mapping.load(file));
        file >> behind;
        EXPECT_EQ(mapping.getMatrix(), CN_LightmapMapping().getMatrix());
        EXPECT_EQ(mapping.getPoint(), Vector());
        EXPECT_EQ(mapping.getResolution(), 4.0f);
        EXPECT_TRUE(mapping.isLightmapValid());
        EXPECT_EQ(mapping.getLightmapID(), 5u);
        EXPECT_EQ(behind, 77);
    }
}

} // namespace
} // namespace cairn
