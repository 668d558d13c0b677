#pragma once

#include "cairn/foundation/allocator.h"
#include "cairn/foundation/ascii.h"
#include "cairn/platform/string.h"

#include <compare>
#include <iosfwd>
#include <string>
#include <string_view>

namespace cairn {

/// The system's text with case.
using string = std::basic_string<char, std::char_traits<char>, F_Allocator<char>>;

/// Character traits that compare without regard to case: 'A' to 'Z' fold to lower, bytes compare as unsigned numbers,
/// and of two texts alike over the common length the shorter sorts first.
struct F_CTrI : std::char_traits<char> {
    using comparison_category = std::weak_ordering;

    static constexpr bool eq(char a, char b) { return asciiLower(a) == asciiLower(b); }
    static constexpr bool lt(char a, char b) {
        return static_cast<unsigned char>(asciiLower(a)) < static_cast<unsigned char>(asciiLower(b));
    }
    static int compare(const char* a, const char* b, std::size_t n) { return asciiCompareNoCase({a, n}, {b, n}); }
    static const char* find(const char* s, std::size_t n, const char& c) {
        for (; n > 0; ++s, --n)
            if (eq(*s, c))
                return s;
        return nullptr;
    }
};

/// A name without regard to case: keys of sets and maps of names. It keeps the spelling it was given.
using istring = std::basic_string<char, F_CTrI, F_Allocator<char>>;

inline std::string_view view(const istring& s) { return {s.data(), s.size()}; }
inline std::string_view view(const string& s) { return s; }
inline std::string_view view(const CString& s) { return s.view(); }

/// The same bytes as a name without regard to case.
inline istring toIString(std::string_view s) { return istring(s.data(), s.size()); }
inline istring toIString(const string& s) { return toIString(view(s)); }
inline istring toIString(const CString& s) { return toIString(s.view()); }
inline istring toIString(const char* s) { return toIString(std::string_view(s)); }
/// The same bytes as text with case.
inline string toString(const istring& s) { return string(s.data(), s.size()); }
inline string toString(const CString& s) { return string(s.view()); }
/// The same bytes as the platform's string.
inline CString toCString(const istring& s) { return CString(view(s)); }
inline CString toCString(std::string_view s) { return CString(s); }
inline CString toCString(const string& s) { return CString(s); }
inline CString toCString(const char* s) { return CString(s); }

/// Writes the bytes of the name, whatever they are.
std::ostream& operator<<(std::ostream& out, const istring& s);

/// A hash for tables keyed by `istring`: equal for names that differ in nothing but case.
struct F_HashNoCase {
    std::size_t operator()(const istring& s) const { return asciiHashNoCase(view(s)); }
};

} // namespace cairn
