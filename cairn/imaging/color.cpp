#include "cairn/imaging/color.h"

#include "cairn/foundation/memory_file.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

constexpr float FULL = 255.0f; ///< a channel at its brightest

/// What a brightest channel of 0, or about that, counts as where others are negative: with 0 no saturation would bring
/// them back.
constexpr float ALMOST_BLACK = 1e-20f;
constexpr float DEGREES_A_SECTOR = 60.0f; ///< the hue circle falls into six sectors, red at 0

unsigned char toByte(float channel) {
    if (!(channel > 0.0f)) // no number either
        return 0;
    return static_cast<unsigned char>(std::min(channel, FULL));
}

/// The hue's place on the circle in sectors: at or above 0 and below 6.
float toSectors(float degrees) {
    if (degrees >= 0.0f && degrees < 360.0f) // nearly every hue, and `fmod` takes as long as all the rest
        return degrees / DEGREES_A_SECTOR;
    if (!std::isfinite(degrees))
        return 0.0f;
    float turned = std::fmod(degrees, 360.0f);
    if (turned < 0.0f)
        turned += 360.0f;
    return turned < 360.0f ? turned / DEGREES_A_SECTOR : 0.0f; // a tiny negative hue rounds up to the full circle
}

} // namespace

I_Color::I_Color(const I_FColor& color)
    : blue(toByte(color.blue)), green(toByte(color.green)), red(toByte(color.red)), alpha(toByte(color.alpha)) {}

void I_FColor::RGBtoHSV() {
    float most = std::max({red, green, blue});
    const float range = most - std::min({red, green, blue});

    float hue = 0.0f;
    if (range > 0.0f) {
        if (most == red)
            hue = (green - blue) / range;
        else if (most == green)
            hue = 2.0f + (blue - red) / range;
        else
            hue = 4.0f + (red - green) / range;
        hue *= DEGREES_A_SECTOR;
        if (hue < 0.0f)
            hue += 360.0f;
        if (hue >= 360.0f)
            hue = 0.0f;
        if (std::abs(most) < ALMOST_BLACK && range > ALMOST_BLACK)
            most = ALMOST_BLACK;
    }
    red = hue;
    green = most != 0.0f ? range / most : 0.0f;
    blue = most / FULL;
}

void I_FColor::HSVtoRGB() {
    const float sectors = toSectors(red);
    const float saturation = green;
    const float full = blue * FULL;

    const auto sector = static_cast<std::size_t>(sectors);
    const float part = sectors - static_cast<float>(sector);
    enum { FULL_CHANNEL, FALLING, RISING, LEAST };
    const float levels[] = {full, full * (1.0f - saturation * part), full * (1.0f - saturation * (1.0f - part)),
                            full * (1.0f - saturation)};
    // Looked up, as no processor foretells the sector of the next colour.
    static constexpr unsigned char RED[] = {FULL_CHANNEL, FALLING, LEAST, LEAST, RISING, FULL_CHANNEL};
    static constexpr unsigned char GREEN[] = {RISING, FULL_CHANNEL, FULL_CHANNEL, FALLING, LEAST, LEAST};
    static constexpr unsigned char BLUE[] = {LEAST, LEAST, RISING, FULL_CHANNEL, FULL_CHANNEL, FALLING};
    red = levels[RED[sector]];
    green = levels[GREEN[sector]];
    blue = levels[BLUE[sector]];
}

void writeColor(F_MemoryFile& file, const I_Color& color) {
    file << color.red << color.green << color.blue << color.alpha;
}

void readColor(F_MemoryFile& file, I_Color& color) {
    I_Color stored;
    file >> stored.red >> stored.green >> stored.blue >> stored.alpha;
    color = stored;
}

} // namespace cairn
