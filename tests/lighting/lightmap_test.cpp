#include "cairn/imaging/device_texture.h"
#include "cairn/imaging/image.h"
#include "cairn/lighting/lightmap.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <limits>

namespace cairn {
namespace {

constexpr float NAN_LIGHT = std::numeric_limits<float>::quiet_NaN();

I_Color imageColor(const CN_Lightmap& lightmap, const CN_Lightmap::ColorMap* colorMap) {
    I_Image* const image = lightmap.getImage(colorMap);
    const I_Color color = image->getPixels()[0];
    lightmap.freeImage(image);
    return color;
}

TEST(Lightmap, ShowsItsPixelsInColorsOfTheMapOrAsTheyAre) {
    class Inverse : public CN_Lightmap::ColorMap {
        void mapColor(I_Color& out, const II::ColorF& in) const override {
            ColorMap::mapColor(out, {255 - in.red, 255 - in.green, 255 - in.blue});
            out.alpha = 7;
        }
    };
    const struct {
        II::ColorF light;
        I_Color clamped, inverse;
    } cases[] = {
        {{1.9f, 128, 254}, {1, 128, 254, 255}, {253, 127, 1, 7}},
        {{-1, 1e30f, NAN_LIGHT}, {0, 255, 0, 255}, {255, 0, 0, 7}},
    };
    const Inverse inverse;
    for (const auto& c : cases) {
        CN_Lightmap lightmap;
        lightmap.setBuffer(1, 1);
        lightmap.setPixel(0, 0, {c.light.red, c.light.green, c.light.blue, 3});
        EXPECT_EQ(imageColor(lightmap, &inverse), c.inverse);
        lightmap.setPassThrough(true);
        EXPECT_EQ(imageColor(lightmap, &inverse), c.clamped);
        I_Color out(9, 9, 9, 77);
        CN_Lightmap::ColorMap().mapColor(out, c.light);
        EXPECT_EQ(out, I_Color(c.clamped.red, c.clamped.green, c.clamped.blue, 77));
    }
}

TEST(Lightmap, TakesTheBytesOfAnImage) {
    I_Image image(2, 3);
    image.accessPixels()[3] = I_Color(1, 128, 255, 40);
    CN_Lightmap lightmap(4), other;
    lightmap.set8BitMap(image);
    EXPECT_EQ(lightmap.width(), 2);
    EXPECT_EQ(lightmap.height(), 3);
    EXPECT_EQ(lightmap.getPixel(1, 1), I_FColor(1, 128, 255, 255));
    EXPECT_EQ(lightmap.getPixel(0, 0), I_FColor(0, 0, 0, 255));
    EXPECT_EQ(test::failureText([&] { lightmap.getPixel(2, 0); }), "The lightmap of 2 x 3 pixels has no pixel at 2, 0");
    other.copyFPMapFrom(lightmap);
    EXPECT_EQ(other.getPixel(1, 1), I_FColor(1, 128, 255, 255));
    EXPECT_EQ(other.getID(), NO_LIGHTMAP);
}

TEST(Lightmap, RefusesASideThatNoFileHolds) {
    CN_Lightmap lightmap;
    lightmap.setBuffer(2, 1);
    for (const std::pair<unsigned, unsigned>& size : {std::pair(0x80000000u, 0u), std::pair(0u, 0xFFFFFFFFu)})
        EXPECT_NE(test::failureText([&] { lightmap.setBuffer(size.first, size.second); }), "(nothing thrown)");
    EXPECT_EQ(lightmap.width(), 2);
    EXPECT_EQ(lightmap.getPixelCount(), 2u);
    lightmap.freeImage(nullptr);
}

TEST(Lightmap, MakesItsRenderTextureAnewOnlyWhenDirty) {
    const CN_Lightmap::ColorMap plain;
    const auto firstTexel = [&plain](CN_Lightmap& lightmap) {
        return lightmap.getRenderTexture(&plain)->getTexture()->getTexels().at(0).red;
    };
    CN_Lightmap lightmap;
    lightmap.setBuffer(2, 2);
    lightmap.incrementRefCount();
    CN_RenderTexture* const made = lightmap.getRenderTexture(&plain);
    EXPECT_EQ(made, lightmap.getRenderTexture(&plain));
    lightmap.setPixel(0, 0, {50, 0, 0});
    EXPECT_EQ(firstTexel(lightmap), 0);
    CN_Lightmap copy(lightmap);
    EXPECT_EQ(firstTexel(copy), 50) << "a copy shows its pixels in a texture of its own";
    EXPECT_EQ(copy.getRefCount(), 0u);
    lightmap.setDirty();
    EXPECT_EQ(firstTexel(lightmap), 50);

    lightmap.setBuffer(3, 2); // which no device takes
    lightmap.setDirty();
    EXPECT_NE(test::failureText([&] { firstTexel(lightmap); }), "(nothing thrown)");
    lightmap.setBuffer(4, 2);
    EXPECT_EQ(firstTexel(lightmap), 0);
}

} // namespace
} // namespace cairn
