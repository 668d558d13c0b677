#include "host/facts.h"

#include "cairn/foundation/checksum.h"
#include "host/text.h"

#include <fmt/format.h>

#include <unordered_map>

namespace cairn::host {

void FactSink::numbers(std::string_view name, std::span<const double> values) {
    take(name, {reinterpret_cast<const char*>(values.data()), values.size_bytes()}, false,
         [values] { return toNumbersText(values); });
}

void FactSink::bytes(std::string_view name, std::string_view title, std::string_view value) {
    const std::string sum = fmt::format("{:016x}", checksum64(value.data(), value.size()));
    keyed(name, fmt::format("{} {} {}", sum, value.size(), title),
          title.empty() ? "checksum " + sum : fmt::format("{}, checksum {}", title, sum));
}

void FactHash::append(std::string_view text) {
    const std::uint64_t size = text.size();
    m_bytes.append(reinterpret_cast<const char*>(&size), sizeof size).append(text);
}

void FactHash::take(std::string_view name, std::string_view key, bool, const Show&) {
    append(name);
    append(key);
}

std::uint64_t FactHash::get() const { return checksum64(m_bytes.data(), m_bytes.size()); }

void FactList::take(std::string_view name, std::string_view key, bool isWord, const Show& show) {
    m_facts.push_back({std::string(name), std::string(key), show(), isWord});
}

void forEachDifference(const std::vector<Fact>& first, const std::vector<Fact>& second,
                       const std::function<void(const Fact*, const Fact*)>& tell) {
    std::unordered_map<std::string_view, const Fact*> ofFirst, ofSecond;
    for (const Fact& fact : first)
        ofFirst.emplace(fact.name, &fact);
    for (const Fact& fact : second)
        ofSecond.emplace(fact.name, &fact);
    for (const Fact& fact : first)
        if (!ofSecond.contains(fact.name))
            tell(&fact, nullptr);
    for (const Fact& fact : second) {
        const auto before = ofFirst.find(fact.name);
        if (before == ofFirst.end())
            tell(nullptr, &fact);
        else if (before->second->key != fact.key)
            tell(before->second, &fact);
    }
}

std::string toNumbersText(std::span<const double> values) {
    std::string text;
    for (const double value : values)
        text.append(text.empty() ? "" : " ").append(toNumberText(value));
    return text;
}

std::string toRunsText(std::span<const int> numbers) {
    std::string text;
    for (std::size_t i = 0, end = 0; i < numbers.size(); i = end) {
        for (end = i + 1; end < numbers.size() && numbers[end] == numbers[end - 1] + 1;)
            ++end;
        text += fmt::format("{}{}", text.empty() ? "" : " ", numbers[i]);
        if (end - i > 1)
            text += fmt::format("-{}", numbers[end - 1]);
    }
    return text;
}

} // namespace cairn::host
