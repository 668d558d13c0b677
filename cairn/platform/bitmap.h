#pragma once

#include <cstddef>
#include <vector>

namespace cairn {

/// A picture as plain pixels in memory: what image lists keep and a host shows.
struct Bitmap {
    int width = 0;                     ///< in pixels
    int height = 0;                    ///< in pixels
    std::vector<unsigned char> pixels; ///< 4 bytes a pixel: blue, green, red, alpha; rows from the top, without padding
};

/// The platform's handle of a bitmap, null for none. It is valid as long as what made the bitmap keeps it.
using HBITMAP = const Bitmap*;

} // namespace cairn
