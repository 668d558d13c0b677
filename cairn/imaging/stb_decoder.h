#pragma once

#include "cairn/imaging/image_decoders.h"

// Both ask stb_image for the size first. The caller has checked what it takes on trust.
namespace cairn {

/// Decodes what stb_image reads; `format` is for the texts. `isInOurOrder` says that what it takes for red is blue, and
/// the other way round, so that the channels come out as they are.
I_DecodedImage decodeWithStb(const char* format, I_FileBytes file, bool isInOurOrder = false);
/// Decodes a JPEG file. What data that ends early would leave unwritten is cleared where `clear` is given.
I_DecodedImage decodeJPEGWithStb(const char* format, I_FileBytes file, bool clear);

} // namespace cairn
