#include "cairn/foundation/exception.h"

#include "cairn/platform/handlers.h"

#include <exception>
#include <new>
#include <utility>

namespace cairn {

F_Exception::F_Exception(string text) : m_text(std::move(text)) {}

void F_Exception::show(unsigned style) const { AfxMessageBox(CString(m_text), style); }

void F_rethrowAsFoundationException() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        throw new F_MemoryException_Allocation;
    } catch (const std::exception& e) {
        throw new F_Exception(e.what());
    }
}

} // namespace cairn
