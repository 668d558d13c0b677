#include "cairn/platform/string.h"

#include "cairn/foundation/ascii.h"

#include <locale.h>

#include <cstdio>
#include <ostream>

namespace cairn {

namespace {

/// Puts this thread under the C locale for its life, so that a host's locale gives no text another decimal point.
class CLocaleScope {
  public:
    CLocaleScope() : m_before(::uselocale(cLocale())) {}
    ~CLocaleScope() { ::uselocale(m_before); }
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

  private:
    static ::locale_t cLocale() {
        static const ::locale_t c = ::newlocale(LC_ALL_MASK, "C", nullptr);
        return c;
    }
    ::locale_t m_before; ///< what the thread had
};

[[gnu::format(printf, 1, 0)]] std::string formatted(const char* format, std::va_list args) {
    const CLocaleScope scope;
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
