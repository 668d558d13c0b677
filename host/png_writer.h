#pragma once

#include "cairn/imaging/color.h"

#include <vector>

namespace cairn::host {

/// The bytes of a PNG file of `width` times `height` pixels, rows from the top, with their alpha. Both sides are above 0
/// and there are no more pixels than `I_Image::MAX_PIXELS`. The same pixels give the same bytes.
std::vector<unsigned char> encodePng(const I_Color* pixels, int width, int height);

} // namespace cairn::host
