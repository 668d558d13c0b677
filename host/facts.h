#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cairn::host {

/// What is told of a thing: a name, what it is compared by, and how people see it.
struct Fact {
    std::string name;  ///< unique within the thing
    std::string key;   ///< equal where nothing has changed
    std::string shown; ///< value as text
    bool isWord;       ///< a short text, not a row of numbers
};

/// Takes the facts of a thing, one after the other. All things of a sort give theirs in one order.
class FactSink {
  public:
    using Show = std::function<std::string()>;

    virtual ~FactSink() = default;
    /// `show` makes the text of the value; it is called at once or never.
    virtual void take(std::string_view name, std::string_view key, bool isWord, const Show& show) = 0;

    void word(std::string_view name, std::string_view value) {
        take(name, value, true, [value] { return std::string(value); });
    }
    /// A text that is compared by something else than what people see.
    void keyed(std::string_view name, std::string_view key, std::string_view shown) {
        take(name, key, true, [shown] { return std::string(shown); });
    }
    void flag(std::string_view name, bool on) { word(name, on ? "on" : "off"); }
    /// Compared to the bit.
    void numbers(std::string_view name, std::span<const double> values);
    void numbers(std::string_view name, std::initializer_list<double> values) {
        numbers(name, std::span<const double>(values.begin(), values.size()));
    }
    /// Bytes that nobody reads: people see `title` and a checksum.
    void bytes(std::string_view name, std::string_view title, std::string_view value);
};

/// One number for all facts of a thing, or of several: the same for the same facts, and in all likelihood for no others.
class FactHash : public FactSink {
  public:
    void take(std::string_view name, std::string_view key, bool isWord, const Show& show) override;
    std::uint64_t get() const;

  private:
    void append(std::string_view text);

    std::string m_bytes; ///< names and keys, each behind its length
};

/// The facts themselves.
class FactList : public FactSink {
  public:
    void take(std::string_view name, std::string_view key, bool isWord, const Show& show) override;
    const std::vector<Fact>& get() const { return m_facts; }

  private:
    std::vector<Fact> m_facts;
};

/// Calls `tell` with both values of each fact that differs, null for one that only the other thing has: those that the
/// second thing lacks, then its own in its order.
void forEachDifference(const std::vector<Fact>& first, const std::vector<Fact>& second,
                       const std::function<void(const Fact* from, const Fact* to)>& tell);

/// The numbers in the shortest text that reads back the same, a blank between them.
std::string toNumbersText(std::span<const double> values);
/// Rising numbers with their runs drawn together: "0-2 5".
std::string toRunsText(std::span<const int> numbers);

} // namespace cairn::host
