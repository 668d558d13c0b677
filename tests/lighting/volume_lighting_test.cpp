#include "cairn/lighting/volume_lighting.h"
#include "tests/support/old_lighting.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

using test::Bytes;
using test::failureText;
using test::loadLight;
using test::saveLight;
using Vector = M_Vector3Template<float>;

/// Its grids can be made here.
class Grids : public CN_VolumeLighting {
  public:
    /// A grid of which the light of each point is 255 times its number.
    void add(const Vector& min, const Vector& max, int nx, int ny, int nz) {
        std::vector<LightingData> points(static_cast<std::size_t>(nx * ny * nz));
        for (std::size_t i = 0; i < points.size(); ++i)
            points[i].setAmbient(I_FColor(255.0f * static_cast<float>(i), 0, 0));
        addGrid(min, max, nx, ny, nz, points.data());
    }
    using CN_VolumeLighting::addGrid;
    using CN_VolumeLighting::selectGrid;
};

float redAt(const CN_VolumeLighting& lighting, const Vector& position) {
    Vector ambient(9, 9, 9), directional, direction;
    lighting.sample(position, ambient, directional, direction);
    return ambient.x;
}

TEST(VolumeLighting, MixesTheLightOfEightPoints) {
    constexpr float NONE = std::numeric_limits<float>::quiet_NaN();
    constexpr float INF = std::numeric_limits<float>::infinity();
    constexpr float TOLERANCE = 0.0015f; // what the margin of the last interval makes of seven points
    Grids cube, box, line, flat, huge;
    cube.add({0, 0, 0}, {2, 2, 2}, 2, 2, 2);
    box.add({0, 0, 0}, {2, 1, 1}, 3, 2, 2);
    line.add({10, 0, 0}, {14, 0, 0}, 5, 1, 1);
    flat.add({1, 0, 0}, {1, 1, 1}, 2, 1, 2);
    huge.add({0, 0, 0}, {1, 1, 1}, 8193, 1, 1); // whose margin is lost in rounding
    const struct {
        const Grids& grids;
        Vector position;
        float red;
    } cases[] = {
        {cube, {0, 0, 0}, 0},       {cube, {1, 0, 0}, 0.5f},   {cube, {0, 1, 0}, 1},         {cube, {0, 0, 1}, 2},
        {cube, {1, 1, 1}, 3.5f},    {cube, {2, 2, 2}, 7},      {cube, {9, 9, 9}, 7},         {cube, {-9, 9, -9}, 2},
        {box, {0, 1, 0}, 3},        {box, {0, 0, 1}, 6},       {box, {1, 1, 1}, 10},         {box, {2, 0, 0}, 2},
        {cube, {NONE, 0, 0}, 0},    {cube, {INF, -INF, 0}, 1}, {line, {12.5f, 7, -7}, 2.5f}, {line, {0, 0, 0}, 0},
        {line, {NONE, 0, NONE}, 0}, {flat, {5, 0, 0}, 0},      {flat, {5, 0, 1}, 2},         {huge, {9, 0, 0}, 8192},
    };
    for (const auto& c : cases)
        EXPECT_NEAR(redAt(c.grids, c.position), c.red, TOLERANCE)
            << c.position.x << ' ' << c.position.y << ' ' << c.position.z;
    EXPECT_EQ(redAt(CN_VolumeLighting(), {1, 2, 3}), 0) << "no grid";
}

TEST(VolumeLighting, DecodesADirectionalLight) {
    LightingData point;
    EXPECT_EQ(point.getAmbient(), I_FColor(0, 0, 0, 255));
    point.setDirectional(85, 255, {0, 128, 192}); // 120 degrees
    point.setIntensity(2);
    Grids grids;
    grids.addGrid({}, {1, 1, 1}, 1, 1, 1, &point);
    Vector ambient, directional, direction;
    grids.sample({0.5f, 0.5f, 0.5f}, ambient, directional, direction);
    EXPECT_EQ(ambient, Vector());
    EXPECT_EQ(direction, Vector(-1, 0, 0.5f));
    EXPECT_NEAR(directional.x, 0, 1e-5f);
    EXPECT_FLOAT_EQ(directional.y, 2);
    EXPECT_NEAR(directional.z, 0, 1e-5f);
    point.setDirectional(255, 255, {128, 128, 128}); // all but round the circle
    grids.destruct();
    grids.addGrid({}, {}, 1, 1, 1, &point);
    grids.sample({}, ambient, directional, direction);
    EXPECT_FLOAT_EQ(directional.x, 2);
    EXPECT_NEAR(directional.y + directional.z, 0, 1e-5f);
}

TEST(VolumeLighting, SamplesTheNearestGrid) {
    Grids grids;
    grids.add({0, 0, 0}, {4, 4, 4}, 2, 1, 1);
    grids.add({2, 0, 0}, {6, 4, 4}, 2, 1, 1);
    grids.add({10, 0, 0}, {8, 4, 4}, 2, 1, 1); // its corners the wrong way round
    const std::pair<float, unsigned> nearest[] = {
        {-3, 0},   {3, 0}, {4.01f, 0}, {5, 1}, {6.5f, 1}, {9.9f, 2}, {std::numeric_limits<float>::quiet_NaN(), 0},
        {1e30f, 0}};
    for (const auto& [x, grid] : nearest)
        EXPECT_EQ(grids.selectGrid({x, 1, 1}), grid) << x;
    EXPECT_FLOAT_EQ(redAt(grids, {5, 1, 1}), 0.75f);
}

TEST(VolumeLighting, ReadsBothFormsAndKeepsEveryByte) {
    CN_VolumeLighting lighting;
    EXPECT_FALSE(lighting.isConstructed());
    loadLight(lighting, test::makeVolumeLighting(0));
    EXPECT_TRUE(lighting.isConstructed());
    EXPECT_EQ(saveLight(lighting), test::makeVolumeLighting(1));

    CN_VolumeLighting copy(lighting);
    loadLight(copy, test::makeVolumeLighting(1)); // which adds
    EXPECT_EQ(copy.getGridCount(), 2u);
    const Bytes both = saveLight(copy);
    const CN_VolumeLighting& itself = copy;
    copy = itself;
    EXPECT_EQ(saveLight(copy), both);
    copy = lighting;
    EXPECT_EQ(saveLight(copy), test::makeVolumeLighting(1));
    copy = CN_VolumeLighting();
    EXPECT_FALSE(copy.isConstructed());
}

TEST(VolumeLighting, RefusesGridsThatCannotBe) {
    const struct {
        unsigned grids;
        int nx, ny, nz;
        const char* failure;
    } cases[] = {
        {1, 0, 1, 1, "0 x 1 x 1 points"},
        {1, 1, -1, -1, "1 x -1 x -1 points"},
        {1, 0x10000, 0x10000, 1, "65536 x 65536 x 1 points"},                   // 0 in 32 bits
        {1, 0x40000000, 0x40000000, 16, "1073741824 x 1073741824 x 16 points"}, // 0 in 64 bits
        {1, 2, 1, 1, "2 x 1 x 1 points"},                                       // one stands there
        {2, 1, 1, 1, "2 "},
    };
    for (const auto& c : cases) {
        F_MemoryFile file;
        file.createChunk(0, 1);
        file << c.grids << c.nx << c.ny << c.nz << Vector() << Vector();
        const LightingData point;
        file.write(point.b, sizeof point.b);
        file.closeChunk();
        file.toRead();
        CN_VolumeLighting lighting;
        EXPECT_NE(failureText([&] { lighting.load(file); }).find(c.failure), string::npos) << c.failure;
        EXPECT_EQ(lighting.getGridCount(), 0u);
    }
    EXPECT_NE(failureText([] { Grids().addGrid({}, {}, 1, 0, 1, nullptr); }), "(nothing thrown)");
}

TEST(VolumeLighting, EveryDamageIsRefusedOrLoads) {
    for (const int version : {0, 1})
        test::expectDamageIsRefusedOrLoads<CN_VolumeLighting>(test::makeVolumeLighting(version),
                                                              [](const CN_VolumeLighting& lighting) {
                                                                  redAt(lighting, {0.5f, 1, 9});
                                                              });
}

} // namespace
} // namespace cairn
