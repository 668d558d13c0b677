#pragma once

#include "cairn/materials/texture.h"
#include "tests/support/old_records.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <memory>

namespace cairn::test {

/// An uncompressed TGA of 24 bits a pixel; `pixels` are blue, green and red, row by row.
inline Bytes makeTga(int width, int height, const Bytes& pixels) {
    Bytes file(18 + pixels.size());
    file[2] = 2;
    file[12] = static_cast<unsigned char>(width & 255);
    file[13] = static_cast<unsigned char>(width >> 8);
    file[14] = static_cast<unsigned char>(height & 255);
    file[15] = static_cast<unsigned char>(height >> 8);
    file[16] = 24;
    std::copy(pixels.begin(), pixels.end(), file.begin() + 18);
    return file;
}
/// The same, all of one colour.
inline Bytes makeTga(int width, int height, unsigned char red, unsigned char green, unsigned char blue) {
    Bytes pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
    for (std::size_t at = 0; at < pixels.size(); at += 3) {
        pixels[at] = blue;
        pixels[at + 1] = green;
        pixels[at + 2] = red;
    }
    return makeTga(width, height, pixels);
}

/// Gives a texture a copy of the bytes, as a file that it decodes.
inline void setSource(CN_Texture& texture, const Bytes& bytes, I_Image::Format format = I_Image::TGA) {
    auto copy = std::make_unique<unsigned char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), copy.get());
    texture.setSourceFormat(format);
    texture.setSource(copy.release(), static_cast<int>(bytes.size()), true);
}

/// A container of surfaces with uncompressed pixels of 32 bits, all zero: a flat picture, or with `faces` 6 a cube.
inline Bytes makeScx(unsigned char width, unsigned char height, int faces) {
    Bytes file(std::size_t{4 + 124});
    const auto put = [&](std::size_t at, std::uint32_t word) { std::memcpy(file.data() + at, &word, sizeof word); };
    std::memcpy(file.data(), "DDS ", 4);
    put(4, 124);
    put(8, 0x1007); // capabilities, height, width and pixel format are given
    put(12, height);
    put(16, width);
    put(76, 32);
    put(80, 0x41); // red, green, blue and alpha
    put(88, 32);
    put(92, 0x00FF0000);
    put(96, 0x0000FF00);
    put(100, 0x000000FF);
    put(104, 0xFF000000);
    put(108, 0x1000);
    put(112, faces == 6 ? 0xFE00 : 0);
    file.resize(file.size() + std::size_t{4} * width * height * static_cast<std::size_t>(faces));
    return file;
}

} // namespace cairn::test
