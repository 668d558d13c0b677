#pragma once

#include "cairn/imaging/color.h"
#include "cairn/imaging/image_template.h"
#include "cairn/lighting/lightmap_pool_interface.h"
#include "cairn/materials/render_texture.h"

#include <memory>

namespace cairn {

class F_MemoryFile;
class I_Image;

/// Version of the chunk that holds a lightmap.
inline constexpr int CAIRN_LIGHTMAP_VERSION = 2;

/// A picture of the light on a surface, computed elsewhere and stored with the level. It may hold any numbers, NaN
/// included, which are kept as they are; only colours for display are clamped.
class CN_Lightmap : public II::ImageTemplate<II::ColorF> {
  public:
    /// Turns light into a colour for display; this one just clamps it.
    class ColorMap {
      public:
        /// Writes red, green and blue of `out`, each clamped to 0 to 255 and truncated, NaN as 0; alpha stays.
        virtual void mapColor(I_Color& out, const II::ColorF& in) const;
        virtual ~ColorMap() = default;
    };

    /// Without pixels.
    explicit CN_Lightmap(unsigned long id = NO_LIGHTMAP) : m_id(id) {}
    /// The same id, pixels and marks; a copy has no users, and makes its own render texture when asked for it.
    CN_Lightmap(const CN_Lightmap& other);
    CN_Lightmap& operator=(const CN_Lightmap&) = delete;

    /// The size in pixels.
    int width() const { return static_cast<int>(m_width); }
    int height() const { return static_cast<int>(m_height); }
    /// The pixel with an alpha of 255; throws an `F_Exception*` outside the picture.
    I_FColor getPixel(int x, int y) const;
    /// Sets red, green and blue; throws an `F_Exception*` outside the picture. A render texture that is there stays as
    /// it is until `setDirty`.
    void setPixel(int x, int y, const I_FColor& color);
    /// Takes size and pixels of an image's first face, the bytes as they are, 0 to 255; no `setDirty`.
    void set8BitMap(const I_Image& image);
    /// Takes size and pixels, nothing else, of another lightmap; no `setDirty`.
    void copyFPMapFrom(const CN_Lightmap& other) { setValidLightmap(other); }

    /// A new image of the lightmap's size, in colours by `colorMap`, which may be null only for one that passes
    /// through: that one's light is clamped to 0 to 255 and truncated, with an alpha of 255. The caller gives the image
    /// to `freeImage`. Throws an `I_ImageException*` above `I_Image::MAX_PIXELS`.
    I_Image* getImage(const ColorMap* colorMap) const;
    /// Deletes an image of `getImage`; null is allowed.
    void freeImage(I_Image* image) const;
    /// The render texture of `getImage`, made where there is none or the lightmap is dirty; the lightmap owns it, and it
    /// is valid until `freeRenderTexture` or the next call on a dirty lightmap. Throws as `CN_RenderTexture` does where
    /// the device refuses it; there is none then and the lightmap stays dirty.
    CN_RenderTexture* getRenderTexture(const ColorMap* colorMap);
    void freeRenderTexture() { m_renderTexture.reset(); }
    /// Has the next `getRenderTexture` make a new one.
    void setDirty() { m_dirty = true; }

    /// A mark for the host; nothing here heeds it.
    void lock() { m_locked = true; }
    void unlock() { m_locked = false; }
    bool isLocked() const { return m_locked; }

    /// The pool's id, `NO_LIGHTMAP` outside a pool.
    unsigned long getID() const { return m_id; }
    /// True where the pixels are final colours, which no colour map changes.
    bool isPassThrough() const { return m_passThrough; }
    void setPassThrough(bool passThrough) { m_passThrough = passThrough; }
    unsigned int getRefCount() const { return m_refCount; }
    void incrementRefCount() { ++m_refCount; }
    /// Stays at 0.
    void decrementRefCount() { m_refCount -= m_refCount > 0 ? 1 : 0; }

    /// Writes size, pixels and pass-through; users and marks are not stored.
    void save(F_MemoryFile& file) const;
    /// Reads what `save` wrote, and both older forms, in place of pixels and pass-through. Throws an `F_Exception*`
    /// where the bytes that are left cannot hold the pixels, the lightmap unchanged.
    void load(F_MemoryFile& file);

  private:
    std::size_t indexOf(int x, int y) const;
    void setValidLightmap(const II::ImageTemplate<II::ColorF>& image) { copyFrom(image); }

    bool m_locked = false;                             ///< the host's mark
    std::unique_ptr<CN_RenderTexture> m_renderTexture; ///< null until asked for
    unsigned long m_id;                                ///< in the pool
    bool m_passThrough = false;                        ///< pixels are final colours
    bool m_dirty = true;                               ///< the render texture does not show the pixels
    unsigned int m_refCount = 0;                       ///< users, counted by the pool
};

} // namespace cairn
