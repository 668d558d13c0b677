#include "cairn/imaging/device_texture.h"

#include "cairn/foundation/file.h"
#include "cairn/imaging/image.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <memory>
#include <utility>

namespace cairn::V {

namespace {

constexpr int DEFAULT_MAX_SIZE = 4096;

int s_maxTextureSize = DEFAULT_MAX_SIZE; ///< in texels

void checkSize(int width, int height) {
    const auto fits = [](int side) {
        return side > 0 && side <= s_maxTextureSize && std::has_single_bit(static_cast<unsigned>(side));
    };
    if (!fits(width) || !fits(height))
        throw new Exception_IllegalTextureSize(
            fmt::format("A texture of {} x {} texels is none for the device: its sides are powers of two up to {}",
                        width, height, s_maxTextureSize));
}

std::unique_ptr<I_Image> loadImage(const std::string& folder, const std::string& name) {
    constexpr const char* WHO = "V::ColorTexture";
    const std::string path = folder.empty() ? name : folder + '/' + name;
    const I_Image::Format format = I_Image::determineImageFormat(name.c_str());
    const int size = File->size(path.c_str());
    const std::unique_ptr<void, decltype(&std::free)> bytes(File->load(WHO, path.c_str(), size), &std::free);
    auto image = std::make_unique<I_Image>();
    image->construct(format, static_cast<const char*>(bytes.get()), size);
    return image;
}

const I_Image& asCube(const I_Image& image) {
    if (image.getWidth() != image.getHeight())
        throw new Exception_IllegalTextureSize(
            fmt::format("A cube has no faces of {} x {} texels: they are square", image.getWidth(), image.getHeight()));
    return image;
}

} // namespace

int setMaxTextureSize(int texels) { return std::exchange(s_maxTextureSize, texels); }
int getMaxTextureSize() { return s_maxTextureSize; }

Texture::Texture(const I_Image& image, int faces, bool mipLevels, int depth)
    : m_width(image.getWidth()), m_height(image.getHeight()), m_faceCount(faces), m_mipLevels(mipLevels),
      m_depth(depth) {
    checkSize(m_width, m_height);
    const auto count = static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height);
    m_texels.reserve(count * static_cast<std::size_t>(faces));
    for (int face = 0; face < faces; ++face) {
        const I_Color* pixels = image.getPixels(std::min(face, image.getFaceCount() - 1));
        m_texels.insert(m_texels.end(), pixels, pixels + count);
    }
}

ColorTexture::ColorTexture(const I_Image* image, bool mipLevels, int depth) : Texture(*image, 1, mipLevels, depth) {}
ColorTexture::ColorTexture(const std::string& folder, const std::string& name, int depth)
    : Texture(*loadImage(folder, name), 1, true, depth) {}
CubeTexture::CubeTexture(const I_Image* image, bool mipLevels, int depth)
    : Texture(asCube(*image), 6, mipLevels, depth) {}

} // namespace cairn::V
