#include "cairn/foundation/ascii.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>

namespace cairn {

namespace {

unsigned char folded(char c) { return static_cast<unsigned char>(asciiLower(c)); }

/// Steps over white space and one plus sign, which `std::from_chars` does not take.
std::string_view numberBody(std::string_view text) {
    while (!text.empty() && asciiIsSpace(text.front()))
        text.remove_prefix(1);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    return text;
}

/// True where a number beyond the range of `double` is too large for it, false where it is too small: by the decimal
/// place of its first digit that is not 0, moved by the exponent.
bool isTooLarge(std::string_view number) {
    const std::size_t e = std::min(number.find_first_of("eE"), number.size());
    const std::string_view digits = number.substr(0, e);
    const std::size_t point = std::min(digits.find('.'), digits.size());
    const std::size_t first = std::min(digits.find_first_of("123456789"), digits.size());
    const auto place = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
    const std::string_view exponent = number.substr(std::min(e + 1, number.size()));
    return place + parseInt(exponent) > 0;
}

} // namespace

int asciiCompareNoCase(std::string_view a, std::string_view b) {
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        const unsigned char x = folded(a[i]), y = folded(b[i]);
        if (x != y)
            return x < y ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

bool asciiEqualNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && asciiCompareNoCase(a, b) == 0;
}

std::string asciiLowered(std::string_view text) {
    std::string lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), asciiLower);
    return lowered;
}

std::size_t asciiHashNoCase(std::string_view text) {
    std::uint64_t h = 0xcbf29ce484222325u; // FNV-1a, 64 bit
    for (char c : text)
        h = (h ^ folded(c)) * 0x100000001b3u;
    return static_cast<std::size_t>(h);
}

std::string_view asciiTrimmed(std::string_view text) {
    while (!text.empty() && asciiIsSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && asciiIsSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

double parseDouble(std::string_view text) {
    const std::string_view body = numberBody(text);
    const std::size_t start = body.starts_with('-') ? 1 : 0;
    if (start == body.size() || !(asciiIsDigit(body[start]) || body[start] == '.'))
        return 0; // `std::from_chars` would take "inf" and "nan" for numbers
    double value = 0;
    const auto [end, error] = std::from_chars(body.data(), body.data() + body.size(), value);
    if (error != std::errc::result_out_of_range)
        return error == std::errc() ? value : 0;
    const std::string_view number(body.data(), static_cast<std::size_t>(end - body.data()));
    const double magnitude = isTooLarge(number) ? std::numeric_limits<double>::infinity() : 0;
    return start == 1 ? -magnitude : magnitude;
}

int parseInt(std::string_view text) {
    const std::string_view body = numberBody(text);
    int value = 0;
    const auto [end, error] = std::from_chars(body.data(), body.data() + body.size(), value);
    if (error == std::errc::result_out_of_range)
        return body.front() == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    return error == std::errc() ? value : 0;
}

} // namespace cairn
