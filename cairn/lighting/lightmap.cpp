#include "cairn/lighting/lightmap.h"

#include "cairn/foundation/exception.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/imaging/image.h"

namespace cairn {

namespace {

constexpr std::size_t PIXEL_BYTES = 12;     ///< red, green, blue
constexpr std::size_t OLD_PIXEL_BYTES = 16; ///< and a fourth number, which meant nothing

/// Clamped and truncated, with an alpha of 255.
I_Color clamped(const II::ColorF& light) { return I_FColor(light.red, light.green, light.blue); }

/// Reads a size and the pixels, `pixelBytes` each.
void readPixels(F_MemoryFile& file, II::ImageTemplate<II::ColorF>& image, std::size_t pixelBytes) {
    unsigned width = 0, height = 0;
    file >> width >> height;
    if (width > CN_Lightmap::MAX_SIDE || height > CN_Lightmap::MAX_SIDE ||
        (width > 0 && height > file.getRemaining() / pixelBytes / width))
        file.fail(formatText("A lightmap of %u x %u pixels does not fit into the %zu bytes that are left", width,
                             height, file.getRemaining()));
    image.setBuffer(width, height);
    II::ColorF* const pixels = image.accessPixels();
    for (std::size_t i = 0; i < image.getPixelCount(); ++i) {
        file >> pixels[i].red >> pixels[i].green >> pixels[i].blue;
        if (float dropped = 0; pixelBytes == OLD_PIXEL_BYTES)
            file >> dropped;
    }
}

} // namespace

void CN_Lightmap::ColorMap::mapColor(I_Color& out, const II::ColorF& in) const {
    const I_Color color = clamped(in);
    out.red = color.red;
    out.green = color.green;
    out.blue = color.blue;
}

CN_Lightmap::CN_Lightmap(const CN_Lightmap& other)
    : II::ImageTemplate<II::ColorF>(other), m_locked(other.m_locked), m_id(other.m_id),
      m_passThrough(other.m_passThrough) {}

std::size_t CN_Lightmap::indexOf(int x, int y) const {
    if (x < 0 || y < 0 || x >= width() || y >= height())
        throw new F_Exception(
            formatText("The lightmap of %d x %d pixels has no pixel at %d, %d", width(), height(), x, y));
    return static_cast<std::size_t>(y) * m_width + static_cast<std::size_t>(x);
}

I_FColor CN_Lightmap::getPixel(int x, int y) const {
    const II::ColorF& pixel = m_pixels[indexOf(x, y)];
    return {pixel.red, pixel.green, pixel.blue};
}

void CN_Lightmap::setPixel(int x, int y, const I_FColor& color) {
    m_pixels[indexOf(x, y)] = {color.red, color.green, color.blue};
}

void CN_Lightmap::set8BitMap(const I_Image& image) {
    setBuffer(static_cast<unsigned>(image.getWidth()), static_cast<unsigned>(image.getHeight()));
    for (std::size_t i = 0; i < m_pixels.size(); ++i) {
        const I_Color& color = image.getPixels()[i];
        m_pixels[i] = {static_cast<float>(color.red), static_cast<float>(color.green), static_cast<float>(color.blue)};
    }
}

I_Image* CN_Lightmap::getImage(const ColorMap* colorMap) const {
    auto image = std::make_unique<I_Image>(m_width, m_height);
    I_Color* const out = m_pixels.empty() ? nullptr : image->accessPixels();
    for (std::size_t i = 0; i < m_pixels.size(); ++i) {
        if (m_passThrough)
            out[i] = clamped(m_pixels[i]);
        else
            colorMap->mapColor(out[i], m_pixels[i]);
    }
    return image.release();
}

void CN_Lightmap::freeImage(I_Image* image) const { delete image; }

CN_RenderTexture* CN_Lightmap::getRenderTexture(const ColorMap* colorMap) {
    if (!m_renderTexture || m_dirty) {
        m_dirty = true;
        m_renderTexture.reset();
        const std::unique_ptr<I_Image> image(getImage(colorMap));
        m_renderTexture = std::make_unique<CN_RenderTexture>(image.get(), false, 1);
        m_dirty = false;
    }
    return m_renderTexture.get();
}

// Version 2: width, height, three floats a pixel, row after row, pass-through.
// Version 1: no pass-through.
// Without a chunk: width, height, four floats a pixel.

void CN_Lightmap::save(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_LIGHTMAP_VERSION);
    file.reserve(m_pixels.size() * PIXEL_BYTES);
    file << m_width << m_height;
    for (const II::ColorF& pixel : m_pixels)
        file << pixel.red << pixel.green << pixel.blue;
    file << m_passThrough;
    file.closeChunk();
}

void CN_Lightmap::load(F_MemoryFile& file) {
    II::ImageTemplate<II::ColorF> image;
    bool passThrough = false;
    F_MemoryFile::Chunk chunk;
    file.peekChunk(chunk);
    if (chunk.isValid()) {
        readPixels(chunk.getMemoryFile(), image, PIXEL_BYTES);
        if (chunk.getVersion() >= 2)
            chunk.getMemoryFile() >> passThrough;
        file.skipChunk();
    } else
        readPixels(file, image, OLD_PIXEL_BYTES);
    static_cast<II::ImageTemplate<II::ColorF>&>(*this) = std::move(image);
    m_passThrough = passThrough;
    m_dirty = true;
}

} // namespace cairn
