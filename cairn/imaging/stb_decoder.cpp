#include "cairn/imaging/stb_decoder.h"

#include <bit>
#include <cstring>
#include <limits>
#include <utility>

namespace cairn {

namespace {

/// What stb_image may take from the heap while it decodes one image.
struct HeapRules {
    std::size_t largest = 0;  ///< bytes of one block, more is refused
    bool clear = false;       ///< hand out large blocks cleared; small ones always are
    bool outOfMemory = false; ///< the heap itself had no more
};
thread_local HeapRules t_heap;

/// Below this a block holds the decoder's tables, which it uses whether a file has filled them or not.
constexpr std::size_t TABLES = std::size_t{64} << 10;

void* noted(void* block) {
    t_heap.outOfMemory |= block == nullptr;
    return block;
}

void* allocate(std::size_t size) {
    if (size > t_heap.largest)
        return nullptr;
    return noted(t_heap.clear || size <= TABLES ? std::calloc(1, size) : std::malloc(size));
}

void* reallocate(void* block, std::size_t size) {
    return size > t_heap.largest ? nullptr : noted(std::realloc(block, size));
}

} // namespace

} // namespace cairn

// Its assertions test what it has computed from the file: they would end the process for a damaged one.
#define STBI_ASSERT(condition) static_cast<void>(0)
#define STBI_MALLOC(size) cairn::allocate(size)
#define STBI_REALLOC(block, size) cairn::reallocate(block, size)
#define STBI_FREE(block) std::free(block)
#define STBI_NO_STDIO
#define STBI_NO_LINEAR
#define STBI_ONLY_BMP
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_ONLY_TGA
#define STBI_MAX_DIMENSIONS (1 << 26) // a side, as for the picture as a whole
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb_image.h>
#pragma GCC diagnostic pop

namespace cairn {

namespace {

/// Turns red, green, blue, alpha in memory into our order. On whole words, so that it becomes vector instructions.
void swapRedAndBlue(stbi_uc* bytes, std::size_t count) {
    static_assert(std::endian::native == std::endian::little);
    for (std::size_t i = 0; i < count; ++i, bytes += sizeof(I_Color)) {
        std::uint32_t word;
        std::memcpy(&word, bytes, sizeof word);
        word = (word & 0xFF00FF00u) | (word >> 16 & 0xFFu) | (word & 0xFFu) << 16;
        std::memcpy(bytes, &word, sizeof word);
    }
}

[[noreturn]] void fail(const char* format) {
    if (t_heap.outOfMemory)
        throw new F_MemoryException_Allocation();
    const char* reason = stbi_failure_reason();
    refuseImage(format, reason ? reason : "it cannot be decoded");
}

/// The length as stb_image counts.
int lengthOf(I_FileBytes file) { return static_cast<int>(file.size()); }

/// Asks for the size and opens the heap for a picture of it. Gives the picture, which has its size and no pixels yet.
I_DecodedImage announce(const char* format, I_FileBytes file, bool clear) {
    if (file.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        refuseImage(format, "it is too long");
    t_heap = {TABLES, clear, false};
    int width = 0, height = 0, channels = 0;
    if (!stbi_info_from_memory(file.data(), lengthOf(file), &width, &height, &channels))
        fail(format);
    // A picture whose rows run from the top may have a negative height.
    const std::int64_t tall = std::abs(std::int64_t{height});
    checkImageSize(format, static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(tall));
    // At most 8 bytes a pixel, of whole coding units of 32 x 32 pixels, and a colour map or the file's own bytes, which
    // are gathered in blocks of twice the size.
    const auto padded = [](std::int64_t side) { return static_cast<std::size_t>(side) + 32; };
    t_heap.largest = 8 * padded(width) * padded(tall) + 2 * file.size() + 4 * TABLES;
    I_DecodedImage image;
    image.width = width;
    image.height = static_cast<int>(tall);
    return image;
}

/// Takes over the pixels that were decoded, and puts their channels in our order where they are not.
void take(I_DecodedImage& image, const char* format, stbi_uc* decoded, int width, int height, bool isInOurOrder) {
    if (!decoded)
        fail(format);
    image.pixels.reset(reinterpret_cast<I_Color*>(decoded));
    if (image.width != width || image.height != height)
        refuseImage(format, "it has two sizes");
    if (!isInOurOrder)
        swapRedAndBlue(decoded, static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
}

thread_local decltype(stbi__jpeg::YCbCr_to_RGB_kernel) t_convertRow = nullptr; ///< stb_image's own
thread_local bool t_hasConverted = false;

/// Puts a row's channels in our order while the cache still has them.
void convertRow(stbi_uc* out, const stbi_uc* y, const stbi_uc* cb, const stbi_uc* cr, int count, int step) {
    t_convertRow(out, y, cb, cr, count, step);
    swapRedAndBlue(out, static_cast<std::size_t>(count));
    t_hasConverted = true;
}

} // namespace

I_DecodedImage decodeWithStb(const char* format, I_FileBytes file, bool isInOurOrder) {
    I_DecodedImage image = announce(format, file, false);
    int width = 0, height = 0, channels = 0;
    stbi_uc* decoded = stbi_load_from_memory(file.data(), lengthOf(file), &width, &height, &channels, STBI_rgb_alpha);
    take(image, format, decoded, width, height, isInOurOrder);
    return image;
}

I_DecodedImage decodeJPEGWithStb(const char* format, I_FileBytes file, bool clear) {
    I_DecodedImage image = announce(format, file, clear);
    stbi__context context;
    stbi__start_mem(&context, file.data(), lengthOf(file));
    const std::unique_ptr<stbi__jpeg, decltype(&std::free)> jpeg(static_cast<stbi__jpeg*>(allocate(sizeof(stbi__jpeg))),
                                                                 &std::free);
    if (!jpeg)
        fail(format);
    jpeg->s = &context;
    stbi__setup_jpeg(jpeg.get());
    t_convertRow = std::exchange(jpeg->YCbCr_to_RGB_kernel, &convertRow);
    t_hasConverted = false;
    int width = 0, height = 0, channels = 0;
    stbi_uc* decoded = load_jpeg_image(jpeg.get(), &width, &height, &channels, STBI_rgb_alpha);
    take(image, format, decoded, width, height, t_hasConverted);
    return image;
}

} // namespace cairn
