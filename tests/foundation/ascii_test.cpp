#include "cairn/foundation/ascii.h"
#include "cairn/foundation/strings.h"
#include "cairn/platform/string.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <set>
#include <sstream>

namespace cairn {
namespace {

TEST(Ascii, ReadsNumbersAtTheHeadOfATextWithinTheRangeOfDouble) {
    const double infinite = std::numeric_limits<double>::infinity();
    const struct {
        std::string text;
        double value;
    } cases[] = {
        {"1.5", 1.5},
        {" \t+2e3 and more", 2000},
        {"-.25", -0.25},
        {"0x10", 0},
        {"1e", 1},
        {"", 0},
        {"-", 0},
        {"+-1", 0},
        {"nan", 0},
        {"-inf", 0},
        {"1e999", infinite},
        {"-1e999", -infinite},
        {"1e-999", 0},
        {"5e-324", 5e-324},
        {"0e999", 0},
        {"0." + std::string(400, '0') + "1", 0},
        {std::string(400, '9') + "e-10", infinite},
        {"1e99999999999999999999", infinite},
        {"1e-99999999999999999999", 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parseDouble(c.text), c.value) << c.text;
    EXPECT_TRUE(std::signbit(parseDouble("-1e-999")));
}

TEST(Ascii, ReadsWholeNumbersAndSaturates) {
    const struct {
        const char* text;
        int value;
    } cases[] = {{"42abc", 42},
                 {" \n-7", -7},
                 {"+8", 8},
                 {"2147483647", 2147483647},
                 {"2147483648", 2147483647},
                 {"-2147483648", std::numeric_limits<int>::min()},
                 {"-99999999999", std::numeric_limits<int>::min()},
                 {"abc", 0},
                 {"- 1", 0}};
    for (const auto& c : cases)
        EXPECT_EQ(parseInt(c.text), c.value) << c.text;
}

TEST(Strings, NamesSortByFoldedBytesThenByLength) {
    // The underscore stands before the letters, bytes above 127 behind them.
    const char* const ordered[] = {"", "0", "A", "a\x01", "a_", "aB", "ab1", "B", "z", "\x80", "\xff"};
    for (std::size_t i = 0; i + 1 < std::size(ordered); ++i) {
        EXPECT_LT(toIString(ordered[i]), toIString(ordered[i + 1])) << ordered[i];
        EXPECT_LT(asciiCompareNoCase(ordered[i], ordered[i + 1]), 0) << ordered[i];
        EXPECT_GT(CString(ordered[i + 1]).CompareNoCase(ordered[i]), 0) << ordered[i];
    }
}

TEST(Strings, NamesKnowNoCaseButKeepTheirSpelling) {
    const istring name = "World_Group";
    EXPECT_EQ(name, istring("wORLD_gROUP"));
    EXPECT_NE(name, istring("World Group"));
    EXPECT_EQ(name.find("group"), 6u);
    EXPECT_EQ(name.find('G'), name.find('g'));
    EXPECT_EQ(F_HashNoCase()(name), F_HashNoCase()("world_group"));
    EXPECT_EQ(std::set<istring>({"a", "A", "b"}).size(), 2u);
    EXPECT_EQ(toString(name), "World_Group");
    EXPECT_EQ(toIString("n"), toIString(string("N")));
    EXPECT_EQ(toIString(CString("n")), toIString(std::string_view("N")));
    std::ostringstream out;
    out << name << '/' << toCString(name);
    EXPECT_EQ(out.str(), "World_Group/World_Group");
}

TEST(Strings, TheWholeLengthCountsThroughNulBytes) {
    const std::string_view a("a\0b", 3), b("a\0C", 3);
    EXPECT_LT(toIString(a), toIString(b));
    EXPECT_NE(CString(a), CString("a"));
    EXPECT_EQ(toString(toIString(a)), a);
}

} // namespace
} // namespace cairn
