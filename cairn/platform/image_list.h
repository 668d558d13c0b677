#pragma once

#include "cairn/platform/bitmap.h"

#include <memory>
#include <vector>

namespace cairn {

inline constexpr unsigned ILC_MASK = 0x1;
inline constexpr unsigned ILC_COLOR32 = 0x20;

/// The platform's list of icons of one size: it keeps copies of the bitmaps it is given, or shares them.
class CImageList {
  public:
    CImageList() = default;
    CImageList(const CImageList&) = delete;
    CImageList& operator=(const CImageList&) = delete;

    /// Makes an empty list for icons of `width` by `height` pixels, with room for `initial` of them and growing by
    /// `grow`. False, and nothing changed, where there is a list already or the size is not above 0.
    bool Create(int width, int height, unsigned flags, int initial, int grow);
    /// Drops the list with its icons. False where there is none.
    bool DeleteImageList();
    /// True between `Create` and `DeleteImageList`.
    bool isCreated() const { return m_width > 0; }
    int GetImageCount() const { return static_cast<int>(m_icons.size()); }
    /// Appends a copy of `image` and gives its index; -1 where there is no list, no bitmap, or one of another size.
    /// A `mask` that is given must have the icon's size; it hides nothing, as icons of 32 bits bring their alpha.
    int Add(HBITMAP image, HBITMAP mask);
    /// Does so with `image` itself, which must not change any more.
    int addShared(std::shared_ptr<const Bitmap> image, HBITMAP mask);
    /// The icon at `index`, or null where there is none. Valid until the list changes.
    HBITMAP getIcon(int index) const;
    /// The size of each icon in pixels, 0 without a list.
    int getWidth() const { return m_width; }
    int getHeight() const { return m_height; }

  private:
    bool takes(HBITMAP image, HBITMAP mask) const;

    std::vector<std::shared_ptr<const Bitmap>> m_icons;
    int m_width = 0;
    int m_height = 0;
};

} // namespace cairn
