#pragma once

#include "cairn/foundation/exception.h"
#include "host/failure.h"

#include <chrono>
#include <new>
#include <string>
#include <string_view>

namespace cairn::host {

/// What the program says to the outside. A result is held back until the command is done: a command that fails leaves
/// standard output empty.
class Console {
  public:
    /// `program` is the word that the program was started by.
    explicit Console(std::string program = "cairn") : m_program(std::move(program)) {}

    const std::string& program() const { return m_program; }

    /// Appends to the result: text or the bytes of a file.
    void write(std::string_view bytes) { m_result += bytes; }
    /// Appends a line to the result.
    void writeLine(std::string_view line);
    /// Hands the result to standard output. Throws a `Failure` where it cannot be written whole.
    void flush();
    /// Drops the result.
    void discard() { m_result.clear(); }

    /// A line on standard error that begins with the program's name; `quiet` silences it.
    void note(std::string_view subject, std::string_view text) const;
    /// A warning on standard error, `quiet` or not.
    void warn(std::string_view subject, std::string_view text) const;
    /// Runs `tell`, which says what else there is to say once the outputs are in place: the command is done and cannot fail
    /// any more, so where memory lacks the rest is left untold.
    template <class Tell> static void afterwards(Tell&& tell) {
        try {
            tell();
        } catch (const std::bad_alloc&) {
        } catch (F_MemoryException_Allocation* e) {
            const F_ExceptionGuard guard(e);
        }
    }
    /// The one line of a command that failed.
    static void complain(std::string_view subject, std::string_view text);
    /// The same where there is no memory left: allocates nothing.
    static void complainOfMemory() noexcept;

    bool isQuiet() const { return m_quiet; }
    void setQuiet(bool quiet) { m_quiet = quiet; }
    /// `text` in the colour of errors (`true`) or warnings where standard output is a terminal and NO_COLOR is not set.
    std::string colored(std::string_view text, bool error) const;

  private:
    std::string m_program; ///< as the user named it
    std::string m_result;
    bool m_quiet = false; ///< no notes, no progress
};

/// Shows on standard error, where that is a terminal, how far a part of a long command is. Nothing is shown in the first
/// half second of the program, and the line is gone at the end of the part.
class Progress {
  public:
    /// `unit` says in the plural what is counted.
    Progress(const Console& console, std::string subject, const char* unit = "entities");
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Counts one more of the progress that lives now; nothing is done where none does.
    static void count();
    /// The document's cursor callback: counts its entities.
    static void advance(int step);

  private:
    void show();

    using Clock = std::chrono::steady_clock;

    static Progress* s_current; ///< not owned: receives the callbacks
    std::string m_subject;      ///< file at work
    const char* m_unit;
    bool m_enabled;
    std::size_t m_count = 0;       ///< of what is done
    std::size_t m_shownLength = 0; ///< of the line on the terminal
    Clock::time_point m_next;      ///< when to show again
    Progress* m_outer;             ///< not owned: the current one before this
};

/// Makes a closed reader and a file over the size limit a failed write instead of a signal, and gives closed standard streams a place of their own, so
/// that no file the program opens takes it.
void prepareStandardStreams();

} // namespace cairn::host
