#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace cairn::host {

/// One command of an edit script, taken apart.
struct EditLine {
    std::size_t number = 0;         ///< of the line in the script, from 1
    std::vector<std::string> words; ///< the command first; never empty
};

/// Why a command of an edit script is refused, or what is wrong with its words.
class EditRefusal : public std::runtime_error {
  public:
    using runtime_error::runtime_error;
};

/// The words of one command: divided by blanks and tabs, with those in quotes as one, where `\"`, `\\` and `\xNN` stand
/// for the byte they name. What follows a `#` at the start or behind a blank is a comment. Throws an `EditRefusal` for a
/// quote that is not closed, one within a word, a backslash with nothing known behind it, and a control character.
std::vector<std::string> readEditWords(std::string_view command);

/// The commands of a script, a line each, "\n" or "\r\n" at its end; empty lines and comments are none. Throws an
/// `EditRefusal` that begins with "line N: ".
std::vector<EditLine> readEditScript(std::string_view text);

} // namespace cairn::host
