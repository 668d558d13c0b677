#include "host/failure.h"

#include "cairn/foundation/exception.h"

#include <new>

namespace cairn::host {

namespace {

/// The library's texts name the file they are about, as in `Cannot read "FILE": reason`.
std::string withoutName(std::string text, const std::string& name) {
    const std::string quoted = " \"" + name + "\":";
    const std::size_t at = text.find(quoted);
    return at == std::string::npos ? text : text.replace(at, quoted.size(), ":");
}

} // namespace

Failure::Failure(ExitCode code, std::string subject, const std::string& text)
    : std::runtime_error(withoutName(text, subject)), m_code(code), m_subject(std::move(subject)) {}

void requireMemory(const std::error_code& error) {
    if (error == std::errc::not_enough_memory)
        throw std::bad_alloc();
}

void rethrowAsFailure(ExitCode code, const std::string& subject) {
    try {
        throw;
    } catch (F_MemoryException_Allocation* e) {
        F_ExceptionGuard guard(e);
        throw Failure(ExitCode::INTERNAL, subject, e->getErrorMessage());
    } catch (F_Exception* e) {
        F_ExceptionGuard guard(e);
        throw Failure(code, subject, e->getErrorMessage());
    }
}

} // namespace cairn::host
