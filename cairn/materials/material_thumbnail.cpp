#include "cairn/materials/icon_sources.h"
#include "cairn/materials/material.h"
#include "cairn/materials/texture_list.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

constexpr I_Color WHITE(255, 255, 255, 255);

/// How far apart in the source the pixels of an icon stand, in both directions: the source is shown whole.
float iconStep(const I_Image& source, int width, int height) {
    return std::max(static_cast<float>(source.getWidth()) / static_cast<float>(width),
                    static_cast<float>(source.getHeight()) / static_cast<float>(height));
}

int sourceCoordinate(int coordinate, float step) {
    return static_cast<int>(std::floor(static_cast<float>(coordinate) * step));
}

I_FColor checkerAt(int x, int y) { return (x + y) % 8 < 4 ? I_FColor(32, 32, 32, 255) : I_FColor(96, 96, 96, 255); }

/// True where the overlay, which may be null, has a mark at that pixel of the icon.
bool isMarked(const I_Image* overlay, int x, int y) {
    if (!overlay || x >= overlay->getWidth() || y >= overlay->getHeight())
        return false;
    return overlay->getPixels()[y * overlay->getWidth() + x] == WHITE;
}

/// The pixel in front of the background.
I_FColor blend(const I_Color& pixel, const I_FColor& background, bool isAlpha) {
    const I_FColor colour(pixel);
    const float transparency = isAlpha ? 1.0f - colour.alpha / 255.0f : 0.0f;
    const auto mix = [transparency](float front, float back) { return front + transparency * (back - front); };
    return {mix(colour.red, background.red), mix(colour.green, background.green), mix(colour.blue, background.blue),
            mix(colour.alpha, background.alpha)};
}

/// The pixel of the image's first face, null beyond the image.
const I_Color* pixelAt(const I_Image& image, int x, int y) {
    if (x >= image.getWidth() || y >= image.getHeight())
        return nullptr;
    return image.getPixels() + static_cast<std::size_t>(y) * static_cast<std::size_t>(image.getWidth()) + x;
}

/// The mean of colours without their alpha.
class ColourMean {
  public:
    void add(const I_FColor& colour) {
        m_red += colour.red;
        m_green += colour.green;
        m_blue += colour.blue;
        ++m_count;
    }
    /// Sets the channels of `mean` but alpha; black where nothing was added.
    void putInto(I_FColor& mean) const {
        const float factor = m_count > 0 ? 1.0f / static_cast<float>(m_count) : 1.0f;
        mean = I_FColor(m_red * factor, m_green * factor, m_blue * factor, mean.alpha);
    }

  private:
    float m_red = 0.0f, m_green = 0.0f, m_blue = 0.0f; ///< sums
    int m_count = 0;
};

/// The pixels that an icon of `THUMB_SIZE` shows, which are all that one of half the size shows as well: halving the
/// side doubles the step, and both are exact.
std::shared_ptr<const I_Image> reduced(const I_Image& image) {
    constexpr int SIZE = CN_Material::THUMB_SIZE;
    const float step = iconStep(image, SIZE, SIZE);
    const auto countInside = [step](int end) {
        int count = 0;
        while (count < SIZE && sourceCoordinate(count, step) < end)
            ++count;
        return count;
    };
    const int width = countInside(image.getWidth()), height = countInside(image.getHeight());
    auto result = std::make_shared<I_Image>(static_cast<unsigned>(width), static_cast<unsigned>(height));
    I_Color* out = result->accessPixels();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            *out++ = *pixelAt(image, sourceCoordinate(x, step), sourceCoordinate(y, step));
    return result;
}

std::shared_ptr<const I_Image> decodeForIcons(const CN_Texture& texture) {
    try {
        const std::unique_ptr<I_Image> image(texture.getImage());
        return reduced(*image);
    } catch (I_ImageException* e) { // the texture shows nothing, which its list has told
        const F_ExceptionGuard guard(e);
        return nullptr;
    }
}

} // namespace

std::shared_ptr<const I_Image> CN_IconSources::of(const CN_Texture& texture) {
    if (!s_active)
        return decodeForIcons(texture);
    auto& kept = s_active->m_kept;
    if (const auto found = kept.find(&texture); found != kept.end())
        return found->second;
    if (kept.size() >= MAX_KEPT)
        kept.clear();
    return kept[&texture] = decodeForIcons(texture);
}

void CN_Material::createThumbnail() {
    const CN_Texture* texture = getTexture();
    const std::shared_ptr<const I_Image> source = texture ? CN_IconSources::of(*texture) : nullptr;
    if (!source)
        return;
    makeIcon(m_thumbImage, m_thumbDIB, *source, THUMB_SIZE);
    makeIcon(m_listImage, m_listDIB, *source, LIST_ICON_SIZE);
}

void CN_Material::makeIcon(std::unique_ptr<I_Image>& icon, HBITMAP& bitmap, const I_Image& source, int size) {
    bitmap = nullptr; // it goes with the image
    I_Image* image = icon.release();
    try {
        createIconImage(image, &source, size, size);
    } catch (...) {
        icon.reset(image);
        throw;
    }
    icon.reset(image);
    bitmap = image->getDIB() ? image->getDIB() : image->makeDIB();
}

void CN_Material::createIconImage(I_Image*& out, const I_Image* source, const int& width, const int& height) {
    auto icon = std::make_unique<I_Image>(static_cast<unsigned>(width), static_cast<unsigned>(height));
    const I_Image* crossHair = m_located && m_list ? m_list->getCrossHairImage() : nullptr;
    const I_Image* animation = m_diffuseTextures.size() > 1 && m_list ? m_list->getAnimationImage() : nullptr;
    const float step = iconStep(*source, width, height);
    ColourMean mean;
    I_Color* pixel = icon->accessPixels();
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x, ++pixel) {
            if (isMarked(crossHair, x, y) || isMarked(animation, x, y)) {
                *pixel = WHITE;
                continue;
            }
            const I_FColor background = checkerAt(x, y);
            const I_Color* shown = pixelAt(*source, sourceCoordinate(x, step), sourceCoordinate(y, step));
            const I_FColor colour = shown ? blend(*shown, background, isAlpha()) : background;
            *pixel = colour;
            if (shown)
                mean.add(colour);
        }
    }
    mean.putInto(m_averageValue);
    delete out;
    out = icon.release();
}

void CN_Material::setLocated(bool located) {
    m_located = located;
    createThumbnail();
}

} // namespace cairn
