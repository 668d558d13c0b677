#include "cairn/platform/image_list.h"

#include <algorithm>

namespace cairn {

bool CImageList::Create(int width, int height, unsigned, int initial, int) {
    if (isCreated() || width <= 0 || height <= 0)
        return false;
    m_icons.reserve(static_cast<std::size_t>(std::max(initial, 0)));
    m_width = width;
    m_height = height;
    return true;
}

bool CImageList::DeleteImageList() {
    if (!isCreated())
        return false;
    m_icons.clear();
    m_width = m_height = 0;
    return true;
}

int CImageList::Add(HBITMAP image, HBITMAP mask) {
    const auto fits = [this](HBITMAP bitmap) { return bitmap->width == m_width && bitmap->height == m_height; };
    if (!isCreated() || !image || !fits(image) || (mask && !fits(mask)))
        return -1;
    m_icons.push_back(*image);
    return GetImageCount() - 1;
}

HBITMAP CImageList::getIcon(int index) const {
    return index >= 0 && index < GetImageCount() ? &m_icons[static_cast<std::size_t>(index)] : nullptr;
}

} // namespace cairn
