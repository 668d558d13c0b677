#include "cairn/imaging/image.h"

#include "cairn/foundation/ascii.h"
#include "cairn/imaging/image_decoders.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

namespace cairn {

namespace {

constexpr struct {
    std::string_view ending;
    I_Image::Format format;
} ENDINGS[] = {
    {".tga", I_Image::TGA},   {".scx", I_Image::SCX}, {".pcx", I_Image::PCX}, {".jpg", I_Image::JPEG},
    {".jpeg", I_Image::JPEG}, {".png", I_Image::PNG}, {".bmp", I_Image::BMP},
};

I_DecodedImage decode(I_Image::Format format, I_FileBytes file) {
    switch (format) {
    case I_Image::TGA:
        return decodeTGA(file);
    case I_Image::PNG:
        return decodePNG(file);
    case I_Image::SCX:
        return decodeSCX(file);
    case I_Image::PCX:
        return decodePCX(file);
    case I_Image::JPEG:
        return decodeJPEG(file);
    case I_Image::BMP:
        return decodeBMP(file);
    case I_Image::UNSUPPORTED:
        break;
    }
    throw new I_ImageException(fmt::format("Image: there is no format {}", static_cast<int>(format)));
}

} // namespace

std::uint32_t I_SurfaceHeader::word(std::size_t offset) const { return fileWord32(bytes, offset); }

I_Image::I_Image(unsigned width, unsigned height) {
    if (width == 0 || height == 0)
        return;
    const std::size_t count = checkImageSize("Blank", width, height);
    m_pixels = allocatePixels(count);
    std::fill_n(m_pixels.get(), count, I_Color(0, 0, 0, 0));
    m_width = static_cast<int>(width);
    m_height = static_cast<int>(height);
    m_faceCount = 1;
}

I_Image::I_Image(const I_Image& other, bool plain)
    : m_width(other.m_width), m_height(other.m_height),
      m_faceCount(plain && other.m_faceCount > 1 ? 1 : other.m_faceCount) {
    if (const std::size_t count = faceOffset(m_faceCount)) {
        m_pixels = allocatePixels(count);
        std::memcpy(m_pixels.get(), other.m_pixels.get(), count * sizeof(I_Color));
    }
    if (!plain && other.m_surfaceHeader)
        m_surfaceHeader = std::make_unique<I_SurfaceHeader>(*other.m_surfaceHeader);
}

I_Image::~I_Image() = default;

void I_Image::construct(Format format, const char* data, int size) {
    if (!data || size < 0)
        throw new I_ImageException("Image: there are no bytes to decode");
    const auto* bytes = reinterpret_cast<const unsigned char*>(data);
    I_DecodedImage decoded = F_withFoundationExceptions([&] {
        return decode(format, {bytes, static_cast<std::size_t>(size)});
    });
    m_width = decoded.width;
    m_height = decoded.height;
    m_faceCount = decoded.faceCount;
    m_pixels = std::move(decoded.pixels);
    m_surfaceHeader = std::move(decoded.surfaceHeader);
    m_bitmap.reset();
}

I_Image::Format I_Image::determineImageFormat(const char* fileName) {
    const std::string_view name = fileName ? fileName : "";
    for (const auto& [ending, format] : ENDINGS)
        if (name.size() >= ending.size() && asciiEqualNoCase(name.substr(name.size() - ending.size()), ending))
            return format;
    throw new I_ImageException_UnknownImageFormat(fmt::format("Image: the name \"{}\" tells no image format", name));
}

HBITMAP I_Image::makeDIB() {
    m_bitmap.reset();
    if (m_faceCount == 0)
        return nullptr;
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = m_width;
    bitmap->height = m_height;
    const auto* bytes = reinterpret_cast<const unsigned char*>(m_pixels.get()); // in the bitmap's order already
    bitmap->pixels.assign(bytes, bytes + faceOffset(1) * sizeof(I_Color));
    m_bitmap = std::move(bitmap);
    return m_bitmap.get();
}

void refuseImage(const char* format, const std::string& text) {
    throw new I_ImageException(fmt::format("{} image: {}", format, text));
}

std::size_t checkImageSize(const char* format, std::uint64_t width, std::uint64_t height, unsigned faces) {
    if (width == 0 || height == 0)
        refuseImage(format, fmt::format("a picture of {} x {} pixels is none", width, height));
    // A side alone within the limit keeps the product below 2^63.
    if (width > I_Image::MAX_PIXELS || height > I_Image::MAX_PIXELS ||
        width * height > I_Image::MAX_PIXELS / std::uint64_t{faces})
        refuseImage(format, fmt::format("{} x {} pixels are too many", width, height));
    return static_cast<std::size_t>(width * height * faces);
}

I_PixelBuffer allocatePixels(std::size_t count) {
    I_PixelBuffer pixels(static_cast<I_Color*>(std::malloc(count * sizeof(I_Color))));
    if (!pixels)
        throw new F_MemoryException_Allocation();
    return pixels;
}

} // namespace cairn
