#pragma once

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <stdexcept>

namespace cairn::test {

/// Sends a stream of the process (`STDOUT_FILENO`, `STDERR_FILENO`) to a file, made or emptied first, for its life.
class Redirection {
  public:
    Redirection(int stream, const char* file) : m_stream(stream), m_before(::dup(stream)) {
        const int opened = ::open(file, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (m_before < 0 || opened < 0 || ::dup2(opened, stream) < 0)
            throw std::runtime_error(fmt::format("{} cannot be written", file));
        ::close(opened);
    }
    ~Redirection() {
        ::dup2(m_before, m_stream);
        ::close(m_before);
    }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

  private:
    int m_stream;
    int m_before; ///< a copy of the descriptor
};

} // namespace cairn::test
