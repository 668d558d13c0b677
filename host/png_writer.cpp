#include "host/png_writer.h"

#include <cstdlib>
#include <memory>
#include <new>

namespace cairn::host {

namespace {

/// The encoder does not look whether its growing buffers could be had.
void* reallocate(void* block, std::size_t size) {
    void* grown = std::realloc(block, size);
    if (!grown)
        throw std::bad_alloc();
    return grown;
}

} // namespace

} // namespace cairn::host

#define STBIW_MALLOC(size) cairn::host::reallocate(nullptr, size)
#define STBIW_REALLOC(block, size) cairn::host::reallocate(block, size)
#define STBIW_FREE(block) std::free(block)
#define STBI_WRITE_NO_STDIO
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb_image_write.h>
#pragma GCC diagnostic pop

namespace cairn::host {

std::vector<unsigned char> encodePng(const I_Color* pixels, int width, int height) {
    constexpr int CHANNELS = 4;
    // The encoder adds up a row's differences in an `int`, to choose a filter by; a wider row goes without one.
    constexpr int WIDEST_FILTERED = 0x7FFFFFFF / (CHANNELS * 128);
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    std::vector<unsigned char> channels;
    channels.reserve(count * CHANNELS);
    for (std::size_t i = 0; i < count; ++i)
        channels.insert(channels.end(), {pixels[i].red, pixels[i].green, pixels[i].blue, pixels[i].alpha});

    stbi_write_force_png_filter = width > WIDEST_FILTERED ? 0 : -1;
    int size = 0;
    const std::unique_ptr<unsigned char, decltype(&std::free)> png(
        stbi_write_png_to_mem(channels.data(), width * CHANNELS, width, height, CHANNELS, &size), &std::free);
    return {png.get(), png.get() + size};
}

} // namespace cairn::host
