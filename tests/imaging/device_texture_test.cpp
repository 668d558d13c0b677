#include "cairn/imaging/device_texture.h"
#include "cairn/imaging/image.h"
#include "tests/support/process_state_guard.h"
#include "tests/support/test_data.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace cairn::V {
namespace {

const std::string SEEDS = test::projectFile("fuzz/seeds/image_decode").string();

TEST(DeviceTexture, KeepsACopyOfThePixels) {
    auto image = std::make_unique<I_Image>(2u, 1u);
    image->accessPixels()[1] = I_Color(1, 2, 3);
    const std::unique_ptr<Texture> texture = std::make_unique<ColorTexture>(image.get(), true, 16);
    image.reset();
    EXPECT_EQ(texture->getFaceCount(), 1);
    EXPECT_EQ(texture->getDepth(), 16);
    EXPECT_EQ(texture->getTexels(), (std::vector<I_Color>{I_Color(0, 0, 0, 0), I_Color(1, 2, 3)}));

    const I_Image face(1, 1);
    EXPECT_EQ(CubeTexture(&face, true, 16).getTexels().size(), 6u);
    EXPECT_EQ(ColorTexture(SEEDS, "runs.tga", 32).getWidth(), 8);
    EXPECT_EQ(ColorTexture("", SEEDS + "/cube.scx", 32).getTexels().size(), 4u);
    EXPECT_NE(test::failureText([] { ColorTexture(SEEDS, "none.tga", 32); }), "(nothing thrown)");
}

TEST(DeviceTexture, RefusesSizesThatTheDeviceDoesNotTake) {
    const auto reason = [](unsigned width, unsigned height, bool cube = false) {
        const I_Image image(width, height);
        try {
            cube ? static_cast<void>(CubeTexture(&image, true, 16)) : static_cast<void>(ColorTexture(&image, true, 16));
        } catch (Exception_IllegalTextureSize* e) {
            const F_ExceptionGuard guard(e);
            return e->getText();
        }
        return std::string();
    };
    EXPECT_EQ(reason(4096, 1), "");
    EXPECT_NE(reason(8192, 1).find("8192 x 1"), std::string::npos);
    EXPECT_NE(reason(3, 4), "");
    EXPECT_NE(reason(0, 0), "");
    EXPECT_NE(reason(2, 4, true), "");
    const int before = setMaxTextureSize(8192);
    EXPECT_EQ(reason(8192, 1), "");
    EXPECT_EQ(setMaxTextureSize(before), 8192);
}

} // namespace
} // namespace cairn::V
