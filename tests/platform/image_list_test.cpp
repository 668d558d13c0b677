#include "cairn/platform/image_list.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

TEST(ImageList, KeepsOrSharesIconsOfItsSize) {
    CImageList list;
    auto icon = std::make_unique<Bitmap>(Bitmap{2, 1, {1, 2, 3, 4, 5, 6, 7, 8}});
    const Bitmap copy = *icon, other{1, 1, {1, 2, 3, 4}};
    EXPECT_EQ(list.Add(icon.get(), nullptr), -1);
    EXPECT_FALSE(list.Create(0, 1, ILC_COLOR32, 0, 4));
    ASSERT_TRUE(list.Create(2, 1, ILC_COLOR32 | ILC_MASK, 0, 4));
    EXPECT_FALSE(list.Create(2, 1, ILC_COLOR32, 0, 4));
    EXPECT_EQ(list.Add(icon.get(), icon.get()), 0);
    EXPECT_EQ(list.Add(icon.get(), nullptr), 1);
    const std::shared_ptr<const Bitmap> shared = std::move(icon);
    EXPECT_EQ(list.addShared(shared, nullptr), 2);
    EXPECT_EQ(list.getIcon(2), shared.get());
    EXPECT_NE(list.getIcon(1), shared.get());
    EXPECT_EQ(list.addShared(nullptr, nullptr), -1);
    EXPECT_EQ(list.addShared(shared, &other), -1);
    for (const auto& [image, mask] : {std::pair(HBITMAP{}, HBITMAP{}), {&other, nullptr}, {&copy, &other}})
        EXPECT_EQ(list.Add(image, mask), -1);
    EXPECT_EQ(list.GetImageCount(), 3);
    EXPECT_EQ(list.getIcon(1)->pixels, copy.pixels);
    EXPECT_EQ(list.getIcon(3), nullptr);
    EXPECT_EQ(list.getIcon(-1), nullptr);
    EXPECT_TRUE(list.DeleteImageList());
    EXPECT_FALSE(list.DeleteImageList());
    EXPECT_EQ(list.GetImageCount(), 0);
}

} // namespace
} // namespace cairn
