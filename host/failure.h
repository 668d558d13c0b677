#pragma once

#include <stdexcept>
#include <string>
#include <system_error>

namespace cairn::host {

/// What the program ends with: scripts rely on these numbers.
enum class ExitCode : int {
    DONE = 0,
    NO = 1,           ///< done, and the answer is no
    COMMAND_LINE = 2, ///< what was asked for makes no sense
    INPUT = 3,        ///< an input cannot be read
    OUTPUT = 4,       ///< an output cannot be written
    INTERNAL = 5,     ///< out of memory, or a fault of the program's own
};

/// Ends a command before its end: what it is about (a file as the user named it, or a command) and what is wrong.
class Failure : public std::runtime_error {
  public:
    /// What `text` says about a file of the subject's name it says without the name.
    Failure(ExitCode code, std::string subject, const std::string& text);

    ExitCode code() const { return m_code; }
    const std::string& subject() const { return m_subject; }

  private:
    ExitCode m_code;
    std::string m_subject; ///< what stands ahead of the text
};

/// Runs `work` and gives what it gives. An exception of the library becomes a `Failure` about `subject` with that code,
/// one about memory one with `INTERNAL`.
template <class Work> auto withFailure(ExitCode code, const std::string& subject, Work&& work) -> decltype(work());

/// Throws `std::bad_alloc` where that is why a look at the file system failed: else it would pass for a file that is not there.
void requireMemory(const std::error_code& error);

/// Throws the library's exception in flight on as a `Failure`; call it in a `catch` block only.
[[noreturn]] void rethrowAsFailure(ExitCode code, const std::string& subject);

template <class Work> auto withFailure(ExitCode code, const std::string& subject, Work&& work) -> decltype(work()) {
    try {
        return work();
    } catch (const Failure&) {
        throw;
    } catch (...) {
        rethrowAsFailure(code, subject);
    }
}

} // namespace cairn::host
