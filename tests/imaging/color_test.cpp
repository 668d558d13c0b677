#include "cairn/foundation/memory_file.h"
#include "cairn/imaging/color.h"
#include "tests/support/process_state_guard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace cairn {
namespace {

TEST(Color, LiesInMemoryAsBlueGreenRedAlphaAndInRecordsAsRedGreenBlueAlpha) {
    const I_Color color(1, 2, 3, 4);
    unsigned char bytes[4];
    std::memcpy(bytes, &color, sizeof bytes);
    EXPECT_EQ(0, std::memcmp(bytes, "\3\2\1\4", 4));

    F_MemoryFile file;
    writeColor(file, color);
    ASSERT_EQ(file.getSize(), 4u);
    EXPECT_EQ(0, std::memcmp(file.getAddress(), "\1\2\3\4", 4));

    file.toRead();
    I_Color read;
    readColor(file, read);
    EXPECT_EQ(read, color);
    EXPECT_NE(test::failureText([&] { readColor(file, read); }), "(nothing thrown)");
    EXPECT_EQ(read, color);
}

TEST(Color, ClampsThenTruncatesWhatIsComputed) {
    constexpr float INF = std::numeric_limits<float>::infinity();
    EXPECT_EQ(I_Color(I_FColor(-0.5f, 254.99f, 255.5f, 300.0f)), I_Color(0, 254, 255, 255));
    EXPECT_EQ(I_Color(I_FColor(std::nanf(""), INF, -INF, 0.99f)), I_Color(0, 255, 0, 0));
    I_Color assigned;
    assigned = I_FColor(10.9f, 20, 30, 40);
    EXPECT_EQ(assigned, I_Color(10, 20, 30, 40));
}

TEST(FColor, KnowsHueInDegreesSaturationAndValue) {
    const struct {
        I_FColor rgb;
        float hue, saturation, value;
    } cases[] = {
        {{255, 0, 0}, 0, 1, 1},
        {{255, 255, 0}, 60, 1, 1},
        {{0, 255, 0}, 120, 1, 1},
        {{0, 255, 255}, 180, 1, 1},
        {{0, 0, 255}, 240, 1, 1},
        {{255, 0, 255}, 300, 1, 1},
        {{127.5f, 127.5f, 127.5f}, 0, 0, 0.5f},
        {{0, 0, 0}, 0, 0, 0},
        {{510, 255, 255}, 0, 0.5f, 2},
    };
    for (const auto& c : cases) {
        I_FColor color = c.rgb;
        color.alpha = 77;
        color.RGBtoHSV();
        EXPECT_FLOAT_EQ(color.red, c.hue);
        EXPECT_FLOAT_EQ(color.green, c.saturation);
        EXPECT_FLOAT_EQ(color.blue, c.value);
        EXPECT_EQ(color.alpha, 77);
    }
}

TEST(FColor, ComesBackFromHueSaturationAndValue) {
    for (int r = 0; r <= 255; r += 17)
        for (int g = 0; g <= 255; g += 17)
            for (int b = 0; b <= 255; b += 17) {
                const I_FColor before(static_cast<float>(r), static_cast<float>(g), static_cast<float>(b));
                I_FColor color = before;
                color.RGBtoHSV();
                ASSERT_GE(color.red, 0.0f);
                ASSERT_LT(color.red, 360.0f);
                color.HSVtoRGB();
                ASSERT_NEAR(color.red, before.red, 0.01f);
                ASSERT_NEAR(color.green, before.green, 0.01f);
                ASSERT_NEAR(color.blue, before.blue, 0.01f);
            }
    for (const I_FColor& beyond : {I_FColor(-10, -20, -30), I_FColor(0, -20, 0), I_FColor(300, -20, 5),
                                   I_FColor(1000, 2, 700), I_FColor(-3, 0, -1), I_FColor(-7, -7, -7)}) {
        I_FColor color = beyond;
        color.RGBtoHSV();
        color.HSVtoRGB();
        EXPECT_NEAR(color.red, beyond.red, 0.01f);
        EXPECT_NEAR(color.green, beyond.green, 0.01f);
        EXPECT_NEAR(color.blue, beyond.blue, 0.01f);
    }
}

TEST(FColor, WrapsHuesRoundTheCircle) {
    const struct {
        float hue;
        I_Color rgb;
    } cases[] = {
        {360, {255, 0, 0}},    {480, {0, 255, 0}},           {-120, {0, 0, 255}},
        {-1e-9f, {255, 0, 0}}, {std::nanf(""), {255, 0, 0}}, {std::numeric_limits<float>::infinity(), {255, 0, 0}},
    };
    for (const auto& c : cases) {
        I_FColor color(c.hue, 1, 1);
        color.HSVtoRGB();
        EXPECT_EQ(I_Color(color), c.rgb) << c.hue;
    }
}

} // namespace
} // namespace cairn
