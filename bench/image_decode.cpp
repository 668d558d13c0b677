// Decoding images beside the decoder underneath: I_Image adds its checks and the order of the channels.
#include "bench/support/report.h"
#include "cairn/imaging/image.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#define STBI_NO_STDIO
#define STBI_WRITE_NO_STDIO
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb_image.h>
#include <stb_image_write.h>
#pragma GCC diagnostic pop

namespace {

using namespace cairn;

using Bytes = std::vector<unsigned char>;

/// Slopes with a grain, as textures have: neither one run nor noise.
Bytes makePixels(int side, int channels) {
    Bytes pixels;
    unsigned random = 1;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            for (int c = 0; c < channels; ++c) {
                random = random * 1664525u + 1013904223u;
                const unsigned grain = x / 8 % 2 ? random >> 28 : 0;
                pixels.push_back(
                    static_cast<unsigned char>((static_cast<unsigned>((x + y * (c + 1)) / 16) + grain) & 0xFFu));
            }
    return pixels;
}

void append(void* bytes, void* data, int size) {
    const auto* first = static_cast<const unsigned char*>(data);
    static_cast<Bytes*>(bytes)->insert(static_cast<Bytes*>(bytes)->end(), first, first + size);
}

Bytes makeTga(int side, int channels, bool runs) {
    Bytes file;
    stbi_write_tga_with_rle = runs;
    stbi_write_tga_to_func(append, &file, side, side, channels, makePixels(side, channels).data());
    return file;
}

/// Half of it runs of eight.
Bytes makeMappedTga(int side) {
    const auto low = static_cast<unsigned char>(side & 0xFF), high = static_cast<unsigned char>(side >> 8);
    Bytes file{0, 1, 9, 0, 0, 0, 1, 24, 0, 0, 0, 0, low, high, low, high, 8, 0};
    for (unsigned i = 0; i < 3 * 256; ++i)
        file.push_back(static_cast<unsigned char>(i * 7 & 0xFFu));
    const Bytes pixels = makePixels(side, 1);
    for (std::size_t at = 0; at < pixels.size(); at += 16) {
        file.insert(file.end(), {0x87, pixels[at], 0x07});
        file.insert(file.end(), pixels.begin() + static_cast<std::ptrdiff_t>(at) + 8,
                    pixels.begin() + static_cast<std::ptrdiff_t>(at) + 16);
    }
    return file;
}

Bytes makeJpeg(int side) {
    Bytes file;
    stbi_write_jpg_to_func(append, &file, side, side, 3, makePixels(side, 3).data(), 85);
    return file;
}

void addDecoding(bench::Report& report, const std::string& scene, int side, I_Image::Format format,
                 const Bytes& bytes) {
    const auto file = std::make_shared<Bytes>(bytes);
    const int size = static_cast<int>(bytes.size());
    const std::size_t middle = static_cast<std::size_t>(side) * static_cast<std::size_t>(side) / 2;
    report.add(scene, "stb_image", side, [file, size, middle] {
        int width = 0, height = 0, channels = 0;
        const std::unique_ptr<unsigned char, decltype(&std::free)> pixels(
            stbi_load_from_memory(file->data(), size, &width, &height, &channels, 4), &std::free);
        return pixels.get()[middle * 4] + width * 256;
    });
    report.add(scene, "I_Image", side, [file, size, middle, format] {
        I_Image image;
        image.construct(format, reinterpret_cast<const char*>(file->data()), size);
        return image.getPixels()[middle].red + image.getWidth() * 256;
    });
}

} // namespace

static void measure(cairn::bench::Report& report) {
    for (int side : bench::sizes({64, 1024})) {
        addDecoding(report, "TGA, 24 bits", side, I_Image::TGA, makeTga(side, 3, false));
        addDecoding(report, "TGA, 32 bits", side, I_Image::TGA, makeTga(side, 4, false));
        addDecoding(report, "TGA, 24 bits, runs", side, I_Image::TGA, makeTga(side, 3, true));
        addDecoding(report, "TGA, 256 colours, runs", side, I_Image::TGA, makeMappedTga(side));
        addDecoding(report, "JPEG", side, I_Image::JPEG, makeJpeg(side));
    }
    for (const char* scene : {"TGA, 24 bits", "TGA, 32 bits", "TGA, 24 bits, runs", "TGA, 256 colours, runs", "JPEG"})
        report.limitRatio(scene, "I_Image", 1.15, 1024, 1024);
}

static const cairn::bench::Scene
    SCENE("image_decode", "Decoding square images beside the decoder underneath, by their side in pixels.", measure);
