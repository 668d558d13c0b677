#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text handling that knows plain ASCII alone and never asks the locale, so that names, orders and files are the same
/// on every machine. Bytes of 0x80 and above are letters of nobody's alphabet: they compare as unsigned numbers.
namespace cairn {

/// 'A' to 'Z' become 'a' to 'z'; every other byte stays.
constexpr char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }
constexpr bool asciiIsDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool asciiIsAlpha(char c) { return asciiLower(c) >= 'a' && asciiLower(c) <= 'z'; }
constexpr bool asciiIsAlnum(char c) { return asciiIsAlpha(c) || asciiIsDigit(c); }
/// Blank, tab, line feed, vertical tab, form feed or carriage return.
constexpr bool asciiIsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// Below, at or above 0 as `a` sorts before, with or behind `b` without regard to case: over the common length by
/// folded unsigned bytes, then the shorter first.
int asciiCompareNoCase(std::string_view a, std::string_view b);
/// True where `a` and `b` differ in nothing but case.
bool asciiEqualNoCase(std::string_view a, std::string_view b);
/// `text` with every 'A' to 'Z' lowered.
std::string asciiLowered(std::string_view text);
/// A hash that is equal for texts that differ in nothing but case; the same on every machine.
std::size_t asciiHashNoCase(std::string_view text);
/// `text` without white space at either end.
std::string_view asciiTrimmed(std::string_view text);

/// The number at the head of `text`, as the C locale writes it: leading white space, a sign, digits, a fraction, an
/// exponent; what follows is ignored. Beyond the range of a `double` it is infinite or 0; 0 where no number stands there
/// ("inf" and "nan" are none).
double parseDouble(std::string_view text);
/// The whole number at the head of `text`: leading white space, a sign, digits. Beyond the range of an `int` it is the
/// nearest `int`; 0 where no number stands there.
int parseInt(std::string_view text);

} // namespace cairn
