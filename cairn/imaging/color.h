#pragma once

#include <type_traits>

namespace cairn {

class F_MemoryFile;
class I_FColor;

/// A colour of a pixel: one byte a channel, 0 to 255, in memory as blue, green, red, alpha.
class I_Color {
  public:
    /// Black, opaque.
    constexpr I_Color() = default;
    /// Note the order: as a colour is spoken of, not as it lies in memory.
    constexpr I_Color(unsigned char r, unsigned char g, unsigned char b, unsigned char a = 255)
        : blue(b), green(g), red(r), alpha(a) {}
    /// Each channel clamped to 0 to 255, then truncated; one that is no number becomes 0.
    I_Color(const I_FColor& color);

    friend bool operator==(const I_Color&, const I_Color&) = default;

    unsigned char blue = 0;
    unsigned char green = 0;
    unsigned char red = 0;
    unsigned char alpha = 255; ///< 255 is opaque
};

/// A colour to compute with: red, green, blue and alpha on a scale of 0 to 255, though light may go beyond it.
///
/// Between `RGBtoHSV` and `HSVtoRGB` the first three members hold another colour space: `red` the hue in degrees,
/// `green` the saturation and `blue` the value.
class I_FColor {
  public:
    /// Black, opaque.
    constexpr I_FColor() = default;
    constexpr I_FColor(float r, float g, float b, float a = 255.0f) : red(r), green(g), blue(b), alpha(a) {}
    explicit constexpr I_FColor(const I_Color& color)
        : red(color.red), green(color.green), blue(color.blue), alpha(color.alpha) {}

    /// Turns red, green and blue into hue (degrees, at or above 0 and below 360; 0 for a grey), saturation and value
    /// (0 to 1; the value goes beyond 1 for light brighter than 255, and below 0 where every channel is; the saturation
    /// goes beyond 1 where a channel is negative, and below 0 where every one is). `HSVtoRGB` gives negative
    /// channels back as well. Alpha stays. After A. R. Smith, "Color Gamut Transform Pairs", 1978.
    void RGBtoHSV();
    /// The way back. Hues beyond 0 to 360 wrap round; a hue that is not finite counts as 0.
    void HSVtoRGB();

    friend bool operator==(const I_FColor&, const I_FColor&) = default;

    float red = 0.0f;
    float green = 0.0f;
    float blue = 0.0f;
    float alpha = 255.0f;
};

static_assert(sizeof(I_Color) == 4 && std::is_trivially_copyable_v<I_Color>);
static_assert(sizeof(I_FColor) == 16 && std::is_trivially_copyable_v<I_FColor>);

/// Writes a colour as a record holds it: red, green, blue, alpha, a byte each.
void writeColor(F_MemoryFile& file, const I_Color& color);
/// Reads what `writeColor` wrote; throws where the file ends, `color` unchanged.
void readColor(F_MemoryFile& file, I_Color& color);

} // namespace cairn
