#include "cairn/materials/numbered_names.h"

#include <algorithm>
#include <optional>

namespace cairn {

namespace {

struct NumberedName {
    std::string number; ///< decimal digits
    istring base;
};

/// The parts of a name as "[%d]%s" makes it with a number above 0; nothing for another name.
std::optional<NumberedName> parse(std::string_view name) {
    if (name.empty() || name.front() != '[')
        return std::nullopt;
    const std::size_t close = name.find(']');
    if (close == std::string_view::npos)
        return std::nullopt;
    const std::string_view number = name.substr(1, close - 1);
    if (number.empty() || number.front() == '0' || !std::all_of(number.begin(), number.end(), asciiIsDigit))
        return std::nullopt;
    return NumberedName{std::string(number), toIString(name.substr(close + 1))};
}

} // namespace

void CN_NumberedNames::add(std::string_view name) {
    if (const auto parts = parse(name))
        m_numbers[parts->base].add(parts->number);
}

void CN_NumberedNames::remove(std::string_view name) {
    const auto parts = parse(name);
    const auto used = parts ? m_numbers.find(parts->base) : m_numbers.end();
    if (used == m_numbers.end())
        return;
    used->second.remove(parts->number);
    if (used->second.empty())
        m_numbers.erase(used);
}

string CN_NumberedNames::firstFree(std::string_view base) const {
    const auto used = m_numbers.find(toIString(base));
    const std::string number = used == m_numbers.end() ? "1" : used->second.firstFree("1", nullptr);
    return string("[") + string(number) + string("]") + string(base);
}

} // namespace cairn
