#include "host/safe_file_names.h"

#include "cairn/foundation/ascii.h"
#include "host/text.h"

#include <algorithm>

namespace cairn::host {

namespace {

bool endsIn(std::string_view name, std::string_view ending) {
    return name.size() >= ending.size() && asciiEqualNoCase(name.substr(name.size() - ending.size()), ending);
}

/// True for the names that some system keeps for its devices, whatever ending they have.
bool isDevice(std::string_view name) {
    const std::string_view stem = name.substr(0, name.find('.'));
    for (const std::string_view device : {"con", "prn", "aux", "nul"})
        if (asciiEqualNoCase(stem, device))
            return true;
    return stem.size() == 4 && stem[3] >= '0' && stem[3] <= '9' &&
           (asciiEqualNoCase(stem.substr(0, 3), "com") || asciiEqualNoCase(stem.substr(0, 3), "lpt"));
}

/// The bytes of a part of a name that every system takes, in characters that are whole.
std::string plainBytes(std::string_view name) {
    constexpr std::string_view REFUSED = "<>:\"|?*/\\";
    std::string plain;
    while (!name.empty()) {
        const std::size_t length = utf8SequenceLength(name);
        const bool control = static_cast<unsigned char>(name[0]) < 0x20 || name[0] == 0x7F;
        if (length == 0 || control || REFUSED.find(name[0]) != std::string_view::npos)
            plain += '_';
        else
            plain += name.substr(0, length);
        name.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return plain;
}

/// Cuts the text to at most so many bytes, behind a whole character.
void shorten(std::string& text, std::size_t length) {
    if (text.size() <= length)
        return;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
        --length;
    text.resize(length);
}

} // namespace

std::string SafeFileNames::make(std::string_view name, std::string_view ending) {
    name.remove_prefix(name.find_last_of("/\\") + 1); // npos + 1 is 0
    if (endsIn(name, ending)) {
        ending = name.substr(name.size() - ending.size());
        name.remove_suffix(ending.size());
    }
    std::string stem = plainBytes(name);
    const std::string plainEnding = plainBytes(ending);
    ending = plainEnding;
    if (stem.empty() || stem[0] == '.' || isDevice(stem))
        stem.insert(0, "_");
    if (ending.empty() && (stem.back() == '.' || stem.back() == ' '))
        stem.back() = '_';
    constexpr std::size_t NUMBER_LENGTH = 12; // room for "_" and any number
    shorten(stem, MAX_LENGTH - NUMBER_LENGTH - std::min(ending.size(), NUMBER_LENGTH));
    std::string made = stem + std::string(ending);
    int& number = m_given.try_emplace(asciiLowered(made), 1).first->second;
    if (number++ == 1)
        return made;
    for (;; ++number) {
        made = stem + "_" + std::to_string(number - 1) + std::string(ending);
        if (m_given.try_emplace(asciiLowered(made), 2).second)
            return made;
    }
}

} // namespace cairn::host
