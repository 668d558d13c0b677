#include "host/export_images.h"

#include "host/png_writer.h"

#include <algorithm>
#include <string_view>

namespace cairn::host {

namespace {

constexpr const char* PNG_ENDING = ".png";
constexpr const char* JPEG_ENDING = ".jpg";

bool beginsWith(std::span<const unsigned char> bytes, std::string_view signature) {
    return bytes.size() >= signature.size() &&
           std::equal(signature.begin(), signature.end(), bytes.begin(),
                      [](char expected, unsigned char byte) { return static_cast<unsigned char>(expected) == byte; });
}

/// The ending for the bytes as they stand; null where the target does not take them. The stored format alone is not
/// enough: the decoders look at the bytes.
const char* endingOfSource(I_Image::Format format, std::span<const unsigned char> bytes, bool forFiles) {
    if (beginsWith(bytes, "\x89PNG\r\n\x1A\n"))
        return PNG_ENDING;
    if (beginsWith(bytes, "\xFF\xD8\xFF"))
        return JPEG_ENDING;
    if (forFiles && format == I_Image::TGA)
        return ".tga";
    if (forFiles && format == I_Image::BMP && beginsWith(bytes, "BM"))
        return ".bmp";
    return nullptr;
}

} // namespace

ExportImage::ExportImage(const CN_Texture& texture, bool forFiles) {
    m_bytes = {static_cast<const unsigned char*>(texture.getSource()),
               static_cast<std::size_t>(texture.getSourceSize())};
    m_ending = endingOfSource(texture.getSourceFormat(), m_bytes, forFiles);
    if (m_ending)
        return;
    const std::unique_ptr<I_Image> image(texture.getImage());
    m_encoded = encodePng(image->getPixels(), image->getWidth(), image->getHeight());
    m_bytes = m_encoded;
    m_ending = PNG_ENDING;
}

const char* ExportImage::mediaType() const {
    return m_ending == std::string_view(JPEG_ENDING) ? "image/jpeg" : "image/png";
}

} // namespace cairn::host
