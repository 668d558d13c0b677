#pragma once

#include "cairn/imaging/image_decoders.h"

namespace cairn {

/// Decodes what stb_image reads, asking it for the size first. `format` is for the texts. The caller has checked what
/// stb_image takes on trust; what data that ends early would leave unwritten is cleared where `clear` is given.
I_DecodedImage decodeWithStb(const char* format, I_FileBytes file, bool clear);

} // namespace cairn
