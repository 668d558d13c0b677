#pragma once

#include <compare>
#include <cstdarg>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cairn {

/// The platform's string: entity names and texts that reach the host. It holds any bytes, NUL included, and compares
/// by full length with case unless an operation says otherwise.
class CString {
  public:
    CString() = default;
    CString(const char* text) : m_text(text ? text : "") {} ///< null gives the empty string
    CString(std::string text) : m_text(std::move(text)) {}
    explicit CString(std::string_view text) : m_text(text) {}

    /// The bytes with a NUL behind them; valid until the string changes.
    const char* GetString() const { return m_text.c_str(); }
    std::string_view view() const { return m_text; }
    const std::string& str() const { return m_text; }
    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }

    /// Below, at or above 0 as this sorts before, with or behind `other`, without regard to ASCII case.
    int CompareNoCase(const CString& other) const;
    /// Like `CompareNoCase`, with case.
    int Compare(const CString& other) const { return m_text.compare(other.m_text); }

    /// Replaces the text by what `printf` would make in the C locale, of any length.
    [[gnu::format(printf, 2, 3)]] void Format(const char* format, ...);
    [[gnu::format(printf, 2, 0)]] void FormatV(const char* format, std::va_list args);

    CString& operator+=(const CString& other) {
        m_text += other.m_text;
        return *this;
    }
    friend CString operator+(const CString& a, const CString& b) { return CString(a.m_text + b.m_text); }
    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    friend bool operator==(const CString& a, const char* b) { return a.m_text == (b ? b : ""); }
    friend bool operator==(const CString& a, const std::string& b) { return a.m_text == b; }
    friend std::strong_ordering operator<=>(const CString& a, const CString& b) { return a.m_text <=> b.m_text; }

  private:
    friend class F_MemoryFile;
    std::string m_text;
};

/// Writes the bytes of the text.
std::ostream& operator<<(std::ostream& out, const CString& s);

/// The text that `printf` would make in the C locale, of any length.
[[gnu::format(printf, 1, 2)]] std::string formatText(const char* format, ...);

/// The platform's growing array of strings.
class CStringArray {
  public:
    int GetSize() const { return static_cast<int>(m_items.size()); }
    bool IsEmpty() const { return m_items.empty(); }
    void RemoveAll() { m_items.clear(); }
    /// Appends `text` and gives its index.
    int Add(const CString& text) {
        m_items.push_back(text);
        return GetSize() - 1;
    }
    /// The string at `i`, which must be at or above 0 and below `GetSize`.
    const CString& GetAt(int i) const { return m_items.at(static_cast<std::size_t>(i)); }
    const CString& operator[](int i) const { return GetAt(i); }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }
    friend bool operator==(const CStringArray&, const CStringArray&) = default;

  private:
    std::vector<CString> m_items;
};

} // namespace cairn
