#include "host/text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>

namespace cairn::host {

namespace {

/// The least number that a sequence of so many bytes may stand for: anything below has a shorter form.
constexpr char32_t LEAST_OF_LENGTH[] = {0, 0, 0x80, 0x800, 0x10000};

/// U+FFFD, which stands for what is no character.
constexpr const char* REPLACEMENT = "\xEF\xBF\xBD";

void appendEscape(std::string& out, unsigned char byte) {
    constexpr const char* DIGITS = "0123456789ABCDEF";
    out.append({'\\', 'x', DIGITS[byte >> 4], DIGITS[byte & 15]});
}

void appendJson(std::string& out, const Json& json) {
    switch (json.type()) {
    case Json::value_t::object: {
        char separator = '{';
        for (const auto& [key, value] : json.items()) {
            out += separator;
            out += toJsonString(key);
            out += ':';
            appendJson(out, value);
            separator = ',';
        }
        out += json.empty() ? "{}" : "}";
        return;
    }
    case Json::value_t::array: {
        char separator = '[';
        for (const Json& value : json) {
            out += separator;
            appendJson(out, value);
            separator = ',';
        }
        out += json.empty() ? "[]" : "]";
        return;
    }
    case Json::value_t::string:
        out += toJsonString(json.get_ref<const std::string&>());
        return;
    case Json::value_t::number_float: {
        const double number = json.get<double>();
        out += std::isfinite(number) ? toNumberText(number) : "null";
        return;
    }
    default:
        out += json.dump();
    }
}

} // namespace

std::size_t utf8SequenceLength(std::string_view text) {
    if (text.empty())
        return 0;
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80)
        return 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length)
        return 0;
    char32_t number = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0) != 0x80)
            return 0;
        number = number << 6 | (byte & 0x3Fu);
    }
    const bool surrogate = number >= 0xD800 && number <= 0xDFFF;
    return number < LEAST_OF_LENGTH[length] || surrogate || number > 0x10FFFF ? 0 : length;
}

std::string toUtf8(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t length = utf8SequenceLength(text);
        out += length > 0 ? text.substr(0, length) : std::string_view(REPLACEMENT);
        text.remove_prefix(length > 0 ? length : 1);
    }
    return out;
}

std::string toShownText(std::string_view text) {
    std::string shown;
    std::size_t begin = 0, end = 0; // of the run that is shown as it stands
    while (end < text.size()) {
        const std::size_t length = utf8SequenceLength(text.substr(end));
        const auto byte = static_cast<unsigned char>(text[end]);
        // U+0080 to U+009F are control characters, too.
        const bool control = byte < 0x20 || byte == 0x7F || (byte == 0xC2 && length == 2 && text[end + 1] < '\xA0');
        if (length > 0 && !control) {
            end += length;
            continue;
        }
        shown += text.substr(begin, end - begin);
        begin = end + (length > 0 ? length : 1);
        for (; end < begin; ++end)
            appendEscape(shown, static_cast<unsigned char>(text[end]));
    }
    return shown += text.substr(begin);
}

std::string toJsonString(std::string_view text) {
    std::string out = "\"";
    while (!text.empty()) {
        const std::size_t length = utf8SequenceLength(text);
        const char c = text[0];
        if (length == 0)
            out += REPLACEMENT;
        else if (c == '"' || c == '\\')
            out.append({'\\', c});
        else if (length == 1 && (static_cast<unsigned char>(c) < 0x20 || c == '\x7F'))
            out += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
        else
            out += text.substr(0, length);
        text.remove_prefix(length > 0 ? length : 1);
    }
    out += '"';
    return out;
}

std::string toDotString(std::string_view text) {
    std::string result = "\"";
    for (const char c : toUtf8(text)) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
    return result + '"';
}

std::string toJsonText(const Json& json) {
    std::string out;
    appendJson(out, json);
    return out;
}

std::string toNumberText(double number) {
    char buffer[40];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, number);
    return error == std::errc() ? std::string(buffer, end) : std::string("0");
}

std::string counted(std::size_t number, const char* one, const char* many) {
    return fmt::format("{} {}", number, number == 1 ? one : many);
}

} // namespace cairn::host
