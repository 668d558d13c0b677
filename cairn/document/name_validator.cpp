#include "cairn/document/name_validator.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace cairn {

namespace {

bool hasLegalCharacters(const string& name) {
    const auto legal = [](char c) { return asciiIsAlnum(c) || c == '+' || c == '-' || c == '_'; };
    return !name.empty() && asciiIsAlnum(name.front()) && std::all_of(name.begin(), name.end(), legal);
}

bool isReserved(const string& name) {
    constexpr std::array<std::string_view, 3> reserved{"parent", "this", "player"};
    return std::any_of(reserved.begin(), reserved.end(),
                       [&](std::string_view word) { return asciiEqualNoCase(name, word); });
}

} // namespace

CN_NameValidator* CN_NameValidator::instance() {
    static CN_NameValidator validator;
    return &validator;
}

bool CN_NameValidator::isValidEntityName(const string& name) {
    if (!hasLegalCharacters(name)) {
        const char* fault = name.find(' ') != string::npos    ? "a space character which is illegal in a name!"
                            : name.find('\t') != string::npos ? "a tab character which is illegal in a name!"
                                                              : "illegal character(s) in it!";
        m_fault = fmt::format("The name \"{}\" has {}", name, fault);
        return false;
    }
    if (isReserved(name)) {
        m_fault = fmt::format("\"{}\" is a reserved keyword!", name);
        return false;
    }
    m_fault.clear();
    return true;
}

const string& CN_NameValidator::getLastNameFaultDescription() const {
    static string description;
    description = m_fault.empty() ? string() : "Naming Error! " + m_fault;
    return description;
}

} // namespace cairn
