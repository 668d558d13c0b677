#include "cairn/platform/string.h"

#include "cairn/foundation/ascii.h"

#include <cstdio>
#include <ostream>

namespace cairn {

namespace {

[[gnu::format(printf, 1, 0)]] std::string formatted(const char* format, std::va_list args) {
    std::va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, args);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length > 0)
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

} // namespace

int CString::CompareNoCase(const CString& other) const { return asciiCompareNoCase(m_text, other.m_text); }

void CString::FormatV(const char* format, std::va_list args) { m_text = formatted(format, args); }

void CString::Format(const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    m_text = formatted(format, args);
    va_end(args);
}

std::ostream& operator<<(std::ostream& out, const CString& s) {
    return out.write(s.GetString(), static_cast<std::streamsize>(s.view().size()));
}

std::string formatText(const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    std::string text = formatted(format, args);
    va_end(args);
    return text;
}

} // namespace cairn
