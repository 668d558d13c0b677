#include "cairn/platform/image_list.h"

#include <algorithm>
#include <utility>

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

bool CImageList::takes(HBITMAP image, HBITMAP mask) const {
    const auto fits = [this](HBITMAP bitmap) { return bitmap->width == m_width && bitmap->height == m_height; };
    return isCreated() && image && fits(image) && (!mask || fits(mask));
}

int CImageList::Add(HBITMAP image, HBITMAP mask) {
    return takes(image, mask) ? addShared(std::make_shared<const Bitmap>(*image), mask) : -1;
}

int CImageList::addShared(std::shared_ptr<const Bitmap> image, HBITMAP mask) {
    if (!takes(image.get(), mask))
        return -1;
    m_icons.push_back(std::move(image));
    return GetImageCount() - 1;
}

HBITMAP CImageList::getIcon(int index) const {
    return index >= 0 && index < GetImageCount() ? m_icons[static_cast<std::size_t>(index)].get() : nullptr;
}

} // namespace cairn
