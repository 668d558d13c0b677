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

/// Goes through the commands of a script, a line each, "\n" or "\r\n" at its end; empty lines and comments are none. It
/// reads a line when it is asked for, so that what is wrong with one is told after those ahead of it have run.
class EditScriptReader {
  public:
    /// `text` must outlive the reader.
    explicit EditScriptReader(std::string_view text);

    /// Sets `line` to the next command, false where there is none. Throws an `EditRefusal` that begins with "line N: ".
    bool read(EditLine& line);

  private:
    std::string_view m_left;  ///< of the script
    std::size_t m_number = 0; ///< of the line read last
};

/// All commands of a script. Throws as `EditScriptReader` does.
std::vector<EditLine> readEditScript(std::string_view text);

inline constexpr std::size_t MAX_EDIT_SCRIPT_BYTES = std::size_t{256} << 20;

} // namespace cairn::host
