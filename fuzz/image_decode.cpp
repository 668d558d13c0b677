#include "cairn/foundation/exception.h"
#include "cairn/imaging/image.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>

// Any bytes are an image of a format or an exception; what is decoded can be read to its last pixel.

namespace {

using namespace cairn;

unsigned sumOf(const I_Image& image) {
    const std::size_t count = static_cast<std::size_t>(image.getFaceCount()) *
                              static_cast<std::size_t>(image.getWidth()) * static_cast<std::size_t>(image.getHeight());
    if (count == 0 || count > I_Image::MAX_PIXELS)
        std::abort();
    unsigned sum = 0;
    for (const I_Color* pixel = image.getPixels(); pixel != image.getPixels() + count; ++pixel)
        sum = sum * 31 + pixel->red + pixel->green + pixel->blue + pixel->alpha;
    return sum;
}

/// The sum of the pixels, 0 where the bytes are refused. The same bytes must give the same: nothing may come from memory
/// that the decoder has not written.
unsigned decode(I_Image::Format format, const std::uint8_t* data, std::size_t size) {
    try {
        I_Image image;
        image.construct(format, reinterpret_cast<const char*>(data), static_cast<int>(size));
        return sumOf(image);
    } catch (I_ImageException* e) {
        e->Delete();
        return 0;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return 0;
    for (int format = I_Image::TGA; format <= I_Image::UNSUPPORTED; ++format)
        if (decode(static_cast<I_Image::Format>(format), data, size) !=
            decode(static_cast<I_Image::Format>(format), data, size))
            std::abort();
    return 0;
}
