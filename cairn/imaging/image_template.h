#pragma once

#include "cairn/foundation/exception.h"

#include <cstddef>
#include <limits>
#include <vector>

namespace cairn::II {

/// Light as it is computed: red, green and blue on a scale of 0 to 255 for display, though not limited to it.
struct ColorF {
    float red = 0.0f, green = 0.0f, blue = 0.0f;

    friend bool operator==(const ColorF&, const ColorF&) = default;
};
static_assert(sizeof(ColorF) == 12);

/// A picture of any kind of pixel, row after row from the top.
template <class Pixel> class ImageTemplate {
  public:
    /// The longest side, so that a size is an `int` everywhere.
    static constexpr unsigned MAX_SIDE = std::numeric_limits<int>::max();

    ImageTemplate() = default;

    /// True where there is a buffer.
    bool isAllocated() const { return m_allocated; }
    std::size_t getPixelCount() const { return m_pixels.size(); }
    /// The pixels, `m_width` to a row; valid until the buffer changes.
    const Pixel* getPixels() const { return m_pixels.data(); }
    Pixel* accessPixels() { return m_pixels.data(); }

    /// A cleared buffer of that size in pixels; what was there is dropped. Throws an `F_Exception*`, nothing changed,
    /// where a side is longer than `MAX_SIDE`.
    void setBuffer(unsigned width, unsigned height) {
        if (width > MAX_SIDE || height > MAX_SIDE)
            throw new F_Exception(formatText("No picture has a size of %u x %u pixels", width, height));
        m_pixels.assign(std::size_t{width} * height, Pixel{});
        m_width = width;
        m_height = height;
        m_allocated = true;
    }
    /// Drops the buffer; the size is 0 by 0 then.
    void freeBuffer() {
        m_pixels = {};
        m_width = m_height = 0;
        m_allocated = false;
    }
    /// Takes size and pixels of another image.
    void copyFrom(const ImageTemplate& other) { *this = other; }

  protected:
    bool m_allocated = false;
    unsigned m_width = 0;
    unsigned m_height = 0;
    std::vector<Pixel> m_pixels;
};

} // namespace cairn::II
