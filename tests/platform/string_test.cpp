#include "cairn/platform/string.h"

#include <gtest/gtest.h>
#include <locale.h>

namespace cairn {
namespace {

TEST(CString, FormatsTextsOfAnyLength) {
    CString text;
    text.Format("%s-%05d-%%", std::string(5000, 'x').c_str(), 42);
    EXPECT_EQ(text.GetLength(), 5008);
    EXPECT_EQ(text.view().substr(4999), "x-00042-%");
    EXPECT_EQ(CString(static_cast<const char*>(nullptr)), "");
}

TEST(CString, FormatsNumbersAlikeUnderEveryLocale) {
    // A machine without any of these has no locale to be disturbed by.
    for (const char* name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8", "fr_FR"}) {
        const ::locale_t locale = ::newlocale(LC_ALL_MASK, name, nullptr);
        if (!locale)
            continue;
        const ::locale_t before = ::uselocale(locale);
        EXPECT_EQ(formatText("%.2f", 1.5), "1.50");
        EXPECT_EQ(::uselocale(nullptr), locale);
        ::uselocale(before);
        ::freelocale(locale);
        return;
    }
    GTEST_SKIP() << "no locale with a decimal comma is installed";
}

TEST(CStringArray, KeepsItsOrder) {
    CStringArray names;
    EXPECT_EQ(names.Add("b"), 0);
    EXPECT_EQ(names.Add("a"), 1);
    EXPECT_EQ(names[0], "b");
    EXPECT_THROW(names.GetAt(2), std::out_of_range);
    EXPECT_THROW(names.GetAt(-1), std::out_of_range);
    names.RemoveAll();
    EXPECT_TRUE(names.IsEmpty());
}

} // namespace
} // namespace cairn
