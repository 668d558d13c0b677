#include "cairn/imaging/color.h"

#include "cairn/foundation/memory_file.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

constexpr float FULL = 255.0f;            ///< a channel at its brightest
constexpr float DEGREES_A_SECTOR = 60.0f; ///< the hue circle falls into six sectors, red at 0

unsigned char toByte(float channel) {
    if (!(channel > 0.0f)) // no number either
        return 0;
    return static_cast<unsigned char>(std::min(channel, FULL));
}

/// The hue's place on the circle in sectors: at or above 0 and below 6.
float toSectors(float degrees) {
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
    const float most = std::max({red, green, blue});
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
    }
    red = hue;
    green = most > 0.0f ? range / most : 0.0f;
    blue = most / FULL;
}

void I_FColor::HSVtoRGB() {
    const float sectors = toSectors(red);
    const float saturation = green;
    const float full = blue * FULL;

    const int sector = static_cast<int>(sectors);
    const float part = sectors - static_cast<float>(sector);
    const float least = full * (1.0f - saturation);
    const float falling = full * (1.0f - saturation * part);
    const float rising = full * (1.0f - saturation * (1.0f - part));
    switch (sector) {
    case 0:
        red = full, green = rising, blue = least;
        break;
    case 1:
        red = falling, green = full, blue = least;
        break;
    case 2:
        red = least, green = full, blue = rising;
        break;
    case 3:
        red = least, green = falling, blue = full;
        break;
    case 4:
        red = rising, green = least, blue = full;
        break;
    default:
        red = full, green = least, blue = falling;
        break;
    }
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
