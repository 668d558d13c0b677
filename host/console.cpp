#include "host/console.h"

#include "host/text.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace cairn::host {

namespace {

/// Writes all bytes; false with `errno` set where that fails.
bool writeAll(int stream, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(stream, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// There is nobody left to tell where standard error cannot be written.
void writeError(const std::string& text) { static_cast<void>(writeAll(STDERR_FILENO, text)); }

} // namespace

void Console::writeLine(std::string_view line) {
    m_result += line;
    m_result += '\n';
}

void Console::flush() {
    if (!writeAll(STDOUT_FILENO, m_result))
        throw Failure(ExitCode::OUTPUT, "standard output", std::strerror(errno));
    m_result.clear();
}

void Console::note(std::string_view subject, std::string_view text) const {
    if (!m_quiet)
        complain(subject, text);
}

void Console::warn(std::string_view subject, std::string_view text) const {
    complain(subject, fmt::format("warning: {}", text));
}

void Console::complain(std::string_view subject, std::string_view text) {
    std::string line(text);
    for (char& c : line)
        if (c == '\n')
            c = ' ';
    writeError(fmt::format("cairn: {}: {}\n", toShownText(subject), toShownText(line)));
}

void Console::complainOfMemory() noexcept {
    static_cast<void>(writeAll(STDERR_FILENO, "cairn: memory: Out of system memory resources\n"));
}

std::string Console::colored(std::string_view text, bool error) const {
    const char* noColor = std::getenv("NO_COLOR");
    if ((noColor && *noColor) || !::isatty(STDOUT_FILENO))
        return std::string(text);
    return fmt::format("\x1b[{}m{}\x1b[0m", error ? 31 : 33, text);
}

Progress* Progress::s_current = nullptr;

namespace {

const auto PROGRAM_BEGAN = std::chrono::steady_clock::now();

} // namespace

Progress::Progress(const Console& console, std::string subject, const char* unit)
    : m_subject(std::move(subject)), m_unit(unit), m_enabled(!console.isQuiet() && ::isatty(STDERR_FILENO)),
      m_next(PROGRAM_BEGAN + std::chrono::milliseconds(500)), m_outer(s_current) {
    s_current = this;
}

Progress::~Progress() {
    s_current = m_outer;
    // Without memory to be had, as an exception may be on its way.
    static_cast<void>(writeAll(STDERR_FILENO, m_shownLength > 0 ? "\r" : ""));
    constexpr std::string_view BLANKS = "                ";
    for (std::size_t left = m_shownLength; left > 0; left -= std::min(left, BLANKS.size()))
        static_cast<void>(writeAll(STDERR_FILENO, BLANKS.substr(0, left)));
    static_cast<void>(writeAll(STDERR_FILENO, m_shownLength > 0 ? "\r" : ""));
}

void Progress::advance(int step) {
    constexpr int ENTITY_DONE = 3;
    if (step == ENTITY_DONE)
        count();
}

void Progress::count() {
    if (!s_current || !s_current->m_enabled)
        return;
    ++s_current->m_count;
    if (Clock::now() >= s_current->m_next)
        s_current->show();
}

void Progress::show() {
    const std::string line = fmt::format("cairn: {}: {} {}", toShownText(m_subject), m_count, m_unit);
    writeError('\r' + line);
    m_shownLength = line.size();
    m_next = Clock::now() + std::chrono::milliseconds(100);
}

void prepareStandardStreams() {
    for (const int number : {SIGPIPE, SIGXFSZ})
        std::signal(number, SIG_IGN);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        // Opened the wrong way round, so that using the stream still fails.
        if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF)
            static_cast<void>(::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

} // namespace cairn::host
