#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

namespace cairn::host {

using Json = nlohmann::ordered_json;

/// The number of bytes of the UTF-8 sequence at the head of `text`, 0 where none stands there: overlong forms, surrogates
/// and what lies beyond U+10FFFF are none.
std::size_t utf8SequenceLength(std::string_view text);

/// `text` with U+FFFD for each byte that is no UTF-8.
std::string toUtf8(std::string_view text);

/// `text` for people: one line, with every byte that is no UTF-8 and every control character as `\xNN`.
std::string toShownText(std::string_view text);

/// `text` as a string of JSON with its quotes; each byte that is no UTF-8 becomes U+FFFD.
std::string toJsonString(std::string_view text);

/// `text` as a string of Graphviz with its quotes, a label that shows it as it is: each byte that is no UTF-8 becomes U+FFFD,
/// a control character, which has no place there, a blank.
std::string toDotString(std::string_view text);

/// `json` on one line, without a line feed behind: members in their order, numbers in the shortest text that reads back
/// the same, `null` for one that is not finite.
std::string toJsonText(const Json& json);

/// The shortest text that reads back as `number`.
std::string toNumberText(double number);

/// "3 brushes": a number with the word for one or for many.
std::string counted(std::size_t number, const char* one, const char* many);

} // namespace cairn::host
