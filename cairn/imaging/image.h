#pragma once

#include "cairn/foundation/exception.h"
#include "cairn/imaging/color.h"
#include "cairn/platform/bitmap.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace cairn {

/// An image that cannot be decoded; the text says why.
class I_ImageException : public F_Exception {
  public:
    using F_Exception::F_Exception;
};

/// A file name whose ending tells no image format.
class I_ImageException_UnknownImageFormat : public I_ImageException {
  public:
    using I_ImageException::I_ImageException;
};

/// The header that a container of surfaces carries, as it stands in the file: 124 bytes, little-endian.
struct I_SurfaceHeader {
    std::array<unsigned char, 124> bytes{};

    /// The 32-bit word at `offset`, which is at most 120.
    std::uint32_t word(std::size_t offset) const;
    /// The second word of the surface's capabilities: what faces it has.
    std::uint32_t getCaps2() const { return word(108); }
    /// True where the second capability word has a bit of 0xFE00 set.
    bool isCube() const { return (getCaps2() & 0xFE00u) != 0; }
};

/// Releases pixels of the C heap, where the decoders put them: so a picture is taken over instead of copied.
struct I_FreePixels {
    void operator()(I_Color* pixels) const { std::free(pixels); }
};
using I_PixelBuffer = std::unique_ptr<I_Color[], I_FreePixels>;

/// A decoded picture: 32 bits a pixel, rows from the top, each from the left.
class I_Image {
  public:
    /// The formats of image files, by the numbers that level files store. A file may hold any number, which is kept.
    enum Format : int {
        TGA = 0,
        PNG = 1, ///< read where a host names such a file
        SCX = 2,
        PCX = 3,
        JPEG = 4,
        BMP = 5, ///< read where a host names such a file
        UNSUPPORTED = 6,
    };

    /// No picture is decoded that has more pixels than this.
    static constexpr std::size_t MAX_PIXELS = std::size_t{64} << 20;

    /// Without a picture, for `construct` to fill.
    I_Image() = default;
    /// Black and transparent. Throws an `I_ImageException*` above `MAX_PIXELS`.
    I_Image(unsigned width, unsigned height);
    /// A copy of the pixels. With `plain` it is a picture alone, of the first face, without surface header and bitmap;
    /// without, the faces and the header come along. The bitmap never does.
    I_Image(const I_Image& other, bool plain);
    I_Image(const I_Image&) = delete;
    I_Image& operator=(const I_Image&) = delete;
    virtual ~I_Image();

    /// Decodes the `size` bytes of an image file, which stay the caller's; what the object held is replaced. Throws an
    /// `I_ImageException*` where they are no whole picture of that format, where it is too large, and where the format
    /// is none; the object is unchanged then. Sizes are checked before anything is allocated.
    void construct(Format format, const char* data, int size);
    /// The format by the file name's ending, in any case: ".tga", ".scx", ".pcx", ".jpg", ".jpeg", ".png", ".bmp".
    /// Throws an `I_ImageException_UnknownImageFormat*` for another and for null.
    static Format determineImageFormat(const char* fileName);

    int getWidth() const { return m_width; }
    int getHeight() const { return m_height; }
    /// The pictures of one size that the image holds: 1, or those of a cube map's faces in the order +X, -X, +Y, -Y,
    /// +Z, -Z; 0 without a picture.
    int getFaceCount() const { return m_faceCount; }
    /// The width times height pixels of a face, which must be there; valid until the image changes.
    const I_Color* getPixels(int face = 0) const { return m_pixels.get() + faceOffset(face); }
    I_Color* accessPixels(int face = 0) { return m_pixels.get() + faceOffset(face); }
    /// The header of the file it came from, or null for a plain picture.
    const I_SurfaceHeader* getSurfaceHeader() const { return m_surfaceHeader.get(); }
    /// The bitmap that `makeDIB` made last, or null; the image owns it.
    HBITMAP getDIB() const { return m_bitmap.get(); }
    /// The same, for whoever shows it longer than the image lives or keeps it.
    const std::shared_ptr<const Bitmap>& shareDIB() const { return m_bitmap; }
    /// Makes a bitmap of the first face as it is now, in place of the one before, and gives it; null, and none kept,
    /// without a picture.
    HBITMAP makeDIB();

  private:
    std::size_t faceOffset(int face) const {
        return static_cast<std::size_t>(face) * static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height);
    }

    int m_width = 0;
    int m_height = 0;
    int m_faceCount = 0;
    I_PixelBuffer m_pixels;                           ///< face after face; null without a picture
    std::unique_ptr<I_SurfaceHeader> m_surfaceHeader; ///< null for a plain picture
    std::shared_ptr<const Bitmap> m_bitmap;           ///< null until `makeDIB`
};

} // namespace cairn
