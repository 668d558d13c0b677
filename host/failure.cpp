#include "host/failure.h"

#include "cairn/foundation/exception.h"

namespace cairn::host {

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
