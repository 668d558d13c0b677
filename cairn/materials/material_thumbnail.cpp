#include "cairn/materials/icon_sources.h"
#include "cairn/materials/material.h"
#include "cairn/materials/texture_list.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace cairn {

namespace {

constexpr I_Color WHITE(255, 255, 255, 255);

/// How far apart in the source the pixels of an icon stand, in both directions: the source is shown whole.
float iconStep(const I_Image& source, int width, int height) {
    return std::max(static_cast<float>(source.getWidth()) / static_cast<float>(width),
                    static_cast<float>(source.getHeight()) / static_cast<float>(height));
}

/// Where on a side of the source, of `end` pixels, the pixels on a side of the icon stand: one for each of the at most
/// `count` that the source reaches to.
std::vector<int> sourceCoordinates(int count, float step, int end) {
    std::vector<int> coordinates;
    for (int i = 0; i < count; ++i) {
        const double at = std::floor(static_cast<float>(i) * step);
        if (!(at < end))
            break;
        coordinates.push_back(static_cast<int>(at));
    }
    return coordinates;
}

I_Color checkerAt(int x, int y) { return (x + y) % 8 < 4 ? I_Color(32, 32, 32) : I_Color(96, 96, 96); }

/// True where the overlay, which may be null, has a mark at that pixel of the icon.
bool isMarked(const I_Image* overlay, int x, int y) {
    if (!overlay || x >= overlay->getWidth() || y >= overlay->getHeight())
        return false;
    return overlay->getPixels()[y * overlay->getWidth() + x] == WHITE;
}

/// The pixel in front of the background, by its alpha.
I_FColor blend(const I_FColor& colour, const I_FColor& background) {
    const float transparency = 1.0f - colour.alpha / 255.0f;
    const auto mix = [transparency](float front, float back) { return front + transparency * (back - front); };
    return {mix(colour.red, background.red), mix(colour.green, background.green), mix(colour.blue, background.blue),
            mix(colour.alpha, background.alpha)};
}

/// The pixels of the image's first face in that row.
const I_Color* rowOf(const I_Image& image, int y) {
    return image.getPixels() + static_cast<std::size_t>(y) * static_cast<std::size_t>(image.getWidth());
}

/// The mean of colours without their alpha.
template <class Number> class ColourMean {
  public:
    template <class Colour> void add(const Colour& colour) {
        m_red += colour.red;
        m_green += colour.green;
        m_blue += colour.blue;
        ++m_count;
    }
    /// Sets the channels of `mean` but alpha; black where nothing was added.
    void putInto(I_FColor& mean) const {
        const float factor = m_count > 0 ? 1.0f / static_cast<float>(m_count) : 1.0f;
        mean = I_FColor(static_cast<float>(m_red) * factor, static_cast<float>(m_green) * factor,
                        static_cast<float>(m_blue) * factor, mean.alpha);
    }

  private:
    Number m_red{}, m_green{}, m_blue{}; ///< sums
    int m_count = 0;
};

/// Up to so many pixels sums of channels are whole numbers that a `float` holds, whichever way they are added up.
constexpr std::int64_t MOST_EXACT = (1 << 24) / 255;

/// Fills the icon: marks of the overlays, the source where it reaches, the checker elsewhere. `show` gets a pixel of the
/// icon, what the source has there, and its place.
template <class Show> void fillIcon(I_Image& icon, const I_Image& source, const CN_IconLook& look, const Show& show) {
    const int width = icon.getWidth(), height = icon.getHeight();
    const float step = iconStep(source, width, height);
    const std::vector<int> columns = sourceCoordinates(width, step, source.getWidth());
    const std::vector<int> rows = sourceCoordinates(height, step, source.getHeight());
    const bool hasOverlays = look.crossHair || look.animation;
    I_Color* pixel = icon.accessPixels();
    for (int y = 0; y < height; ++y) {
        const bool reaches = static_cast<std::size_t>(y) < rows.size();
        const I_Color* const row = reaches ? rowOf(source, rows[static_cast<std::size_t>(y)]) : nullptr;
        const int end = reaches ? static_cast<int>(columns.size()) : 0;
        for (int x = 0; x < width; ++x, ++pixel) {
            if (hasOverlays && (isMarked(look.crossHair, x, y) || isMarked(look.animation, x, y)))
                *pixel = WHITE;
            else if (x < end)
                show(*pixel, row[columns[static_cast<std::size_t>(x)]], x, y);
            else
                *pixel = checkerAt(x, y);
        }
    }
}

/// The pixels that an icon of `THUMB_SIZE` shows, which are all that one of half the size shows as well: halving the
/// side doubles the step, and both are exact.
std::shared_ptr<const I_Image> reduced(const I_Image& image) {
    constexpr int SIZE = CN_Material::THUMB_SIZE;
    const float step = iconStep(image, SIZE, SIZE);
    const std::vector<int> columns = sourceCoordinates(SIZE, step, image.getWidth());
    const std::vector<int> rows = sourceCoordinates(SIZE, step, image.getHeight());
    auto result = std::make_shared<I_Image>(static_cast<unsigned>(columns.size()), static_cast<unsigned>(rows.size()));
    I_Color* out = result->accessPixels();
    for (const int y : rows)
        for (const int x : columns)
            *out++ = rowOf(image, y)[x];
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

std::shared_ptr<const CN_MaterialIcons> CN_IconSources::findIcons(const CN_IconLook& look) {
    if (!s_active)
        return nullptr;
    const auto found = s_active->m_icons.find(look);
    return found != s_active->m_icons.end() ? found->second.lock() : nullptr;
}

void CN_IconSources::rememberIcons(const CN_IconLook& look, const std::shared_ptr<const CN_MaterialIcons>& icons) {
    if (s_active)
        s_active->m_icons[look] = icons;
}

CN_IconLook CN_Material::getLook() const {
    const bool isAnimated = m_diffuseTextures.size() > 1;
    return {getTexture(), m_located && m_list ? m_list->getCrossHairImage() : nullptr,
            isAnimated && m_list ? m_list->getAnimationImage() : nullptr, isAlpha()};
}

void CN_Material::createThumbnail() {
    const CN_IconLook look = getLook();
    if (!look.texture)
        return;
    if (auto icons = CN_IconSources::findIcons(look)) {
        m_icons = std::move(icons);
        m_averageValue = m_icons->average;
        return;
    }
    const std::shared_ptr<const I_Image> source = CN_IconSources::of(*look.texture);
    if (!source)
        return;
    const auto icons = std::make_shared<CN_MaterialIcons>();
    icons->thumb = makeIcon(*source, THUMB_SIZE);
    icons->list = makeIcon(*source, LIST_ICON_SIZE);
    icons->average = m_averageValue;
    CN_IconSources::rememberIcons(look, icons);
    m_icons = icons;
}

std::unique_ptr<I_Image> CN_Material::makeIcon(const I_Image& source, int size) {
    I_Image* made = nullptr;
    createIconImage(made, &source, size, size);
    std::unique_ptr<I_Image> icon(made);
    icon->makeDIB();
    return icon;
}

void CN_Material::createIconImage(I_Image*& out, const I_Image* source, const int& width, const int& height) {
    auto icon = std::make_unique<I_Image>(static_cast<unsigned>(width), static_cast<unsigned>(height));
    const CN_IconLook look = getLook();
    if (!look.isAlpha && std::int64_t{width} * height <= MOST_EXACT) {
        ColourMean<int> mean;
        fillIcon(*icon, *source, look, [&mean](I_Color& pixel, const I_Color& shown, int, int) {
            pixel = shown;
            mean.add(shown);
        });
        mean.putInto(m_averageValue);
    } else {
        ColourMean<float> mean;
        fillIcon(*icon, *source, look, [&](I_Color& pixel, const I_Color& shown, int x, int y) {
            const I_FColor colour(shown);
            const I_FColor blended = look.isAlpha ? blend(colour, I_FColor(checkerAt(x, y))) : colour;
            pixel = blended;
            mean.add(blended);
        });
        mean.putInto(m_averageValue);
    }
    delete out;
    out = icon.release();
}

std::shared_ptr<const Bitmap> CN_Material::shareDIB() const { return m_icons ? m_icons->thumb->shareDIB() : nullptr; }

std::shared_ptr<const Bitmap> CN_Material::shareListDIB() const {
    return m_icons ? m_icons->list->shareDIB() : nullptr;
}

const I_Image* CN_Material::getThumbImage() const { return m_icons ? m_icons->thumb.get() : nullptr; }

const I_Image* CN_Material::getListImage() const { return m_icons ? m_icons->list.get() : nullptr; }

void CN_Material::setLocated(bool located) {
    m_located = located;
    createThumbnail();
}

} // namespace cairn
