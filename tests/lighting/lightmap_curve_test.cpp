#include "cairn/geometry/polygon/polygon.h"
#include "cairn/imaging/image.h"
#include "cairn/lighting/lightmap_curve.h"
#include "cairn/materials/material.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace cairn {
namespace {

constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float NONE = std::numeric_limits<float>::quiet_NaN();

TEST(LightmapCurve, RisesToTheMiddleAndApproachesItsLimit) {
    const struct {
        float middle, outputMin, outputMax, equalization, scale, x, y;
    } cases[] = {
        {128, 0, 255, 0, 1, 0, 0},
        {128, 0, 255, 0, 1, 128, 128},
        {128, 0, 255, 0, 1, 255, 255 - 127 * std::exp(-1.0f)}, // 127 beyond the middle, at the slope 1
        {64, 10, 255, 0, 1, 32, 69},
        {128, 0, 128, 0, 1, 200, 128},
        {100, 0, 90, 0, 1, 100, 90},
        {128, 0, 255, 0, 0.5f, 100, 100},
        {128, 0, 255, 1, 0.5f, 100, 50},
        {128, 0, 255, 0.5f, 0.5f, 100, 75},
        {128, 0, 128.00002f, 0, 1, 128, 128}, // steep: nothing overflows
        {128, 0, 128.00002f, 0, 1, 200, 128.00002f},
        {0, 0, 255, 0, 1, 0, 128},
        {0, 0, 255, 0, 1, 1, 255},
    };
    for (const auto& c : cases) {
        CN_LightmapCurve curve;
        curve.set(c.middle, c.outputMin, c.outputMax, c.equalization);
        curve.setScale(c.scale);
        EXPECT_FLOAT_EQ(curve.mapColorExponential(c.x), c.y) << c.middle << ' ' << c.outputMax << ' ' << c.x;
    }
    EXPECT_LT(CN_LightmapCurve().mapColorExponential(1000), 255);
}

TEST(LightmapCurve, MapsTheValueOfAColor) {
    const CN_LightmapCurve straight;
    for (int i = 0; i <= 128; ++i) {
        I_Color out(1, 2, 3, 77);
        const auto level = static_cast<float>(i);
        straight.mapColor(out, {level, level, level});
        const auto byte = static_cast<unsigned char>(i);
        EXPECT_EQ(out, I_Color(byte, byte, byte, 77));
    }
    CN_LightmapCurve low;
    low.set(128, 0, 100, 0);
    const struct {
        const CN_LightmapCurve& curve;
        II::ColorF light;
        I_Color color;
    } cases[] = {
        {straight, {510, 255, 0}, {248, 124, 0}}, // the hue stays
        {straight, {100, -50, 0}, {100, 0, 33}},  // a saturation of 1.5 counts as 1, between red and blue
        {straight, {-1, -2, -3}, {0, 0, 0}},      {straight, {NONE, 64, NONE}, {0, 64, 0}},
        {low, {120, 60, 60}, {100, 50, 50}},      {low, {200, 100, 100}, {100, 50, 50}},
    };
    for (const auto& c : cases) {
        I_Color out;
        c.curve.mapColor(out, c.light);
        EXPECT_EQ(out, c.color) << c.light.red << ": " << int{out.red} << ' ' << int{out.green} << ' ' << int{out.blue};
    }
    // Whatever stands in a file ends in a byte: what a sanitizer sees here.
    for (const float number : {INF, -INF, NONE, 3e38f, -3e38f, 0.0f}) {
        CN_LightmapCurve curve;
        I_Color out;
        curve.mapColor(out, {number, 1, -INF});
        curve.set(number, number, 3e38f, number);
        curve.mapColor(out, {1, number, 200});
    }
}

TEST(LightmapCurve, AsksForLessLightOnABrightSurface) {
    EXPECT_EQ(CN_LightmapCurve::getEqualization(I_FColor(127, 127, 127)), 1);
    EXPECT_FLOAT_EQ(CN_LightmapCurve::getEqualization(I_FColor(255, 255, 255)), 0.5f);
    EXPECT_FLOAT_EQ(CN_LightmapCurve::getEqualization(I_FColor(0, 255, 0)), 0.91f);
    EXPECT_EQ(CN_LightmapCurve::getEqualization(I_FColor(255, 0, 0)), 1);

    CN_Polygon polygon(nullptr);
    EXPECT_EQ(CN_LightmapCurve::getEqualization(&polygon), 1) << "no material";
    CN_Material material;
    polygon.setMaterial(&material);
    EXPECT_EQ(CN_LightmapCurve::getEqualization(&polygon), 1) << "no icon: black";
    I_Image white(1, 1);
    white.accessPixels()[0] = I_Color(255, 255, 255);
    I_Image* icon = nullptr;
    material.createIconImage(icon, &white, 8, 8);
    delete icon;
    EXPECT_FLOAT_EQ(CN_LightmapCurve::getEqualization(&polygon), 0.5f);
    polygon.setMaterial(nullptr);
}

} // namespace
} // namespace cairn
