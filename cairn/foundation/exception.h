#pragma once

#include "cairn/foundation/strings.h"

namespace cairn {

/// The root of everything that is thrown: thrown by pointer, owned by whoever catches it.
class CException {
  public:
    CException() = default;
    CException(const CException&) = delete;
    CException& operator=(const CException&) = delete;
    virtual ~CException() = default;

    /// Frees the exception; the pointer is dead afterwards. Every catch that does not throw on ends in this.
    void Delete() { delete this; }
};

/// A failure with a text that says what and where.
class F_Exception : public CException {
  public:
    explicit F_Exception(string text);

    /// The text; valid as long as the exception.
    const string& getErrorMessage() const { return m_text; }
    /// Shows the text in a message box of the given style (`MB_...`).
    void show(unsigned style) const;

  private:
    string m_text; ///< what went wrong, and where
};

/// Memory that could not be had.
class F_MemoryException_Allocation : public F_Exception {
  public:
    F_MemoryException_Allocation() : F_Exception("Out of system memory resources") {}
    using F_Exception::F_Exception;
};

/// Releases a caught exception at the end of the catch block:
/// `catch (F_Exception* e) { F_ExceptionGuard guard(e); ... }`.
class F_ExceptionGuard {
  public:
    explicit F_ExceptionGuard(CException* exception) : m_exception(exception) {}
    ~F_ExceptionGuard() { m_exception->Delete(); }
    F_ExceptionGuard(const F_ExceptionGuard&) = delete;
    F_ExceptionGuard& operator=(const F_ExceptionGuard&) = delete;

  private:
    CException* m_exception; ///< owned
};

/// Runs `work` and lets nothing but `F_Exception*` out of it: the standard library's failures (memory, lengths, ranges)
/// become an `F_MemoryException_Allocation*` or an `F_Exception*` with their text. Gives what `work` gives.
template <class Work> auto F_withFoundationExceptions(Work&& work) -> decltype(work());

/// Throws the standard exception in flight as an `F_Exception*`; call it in a `catch` block only. An exception that is
/// no `std::exception` goes on as it is.
[[noreturn]] void F_rethrowAsFoundationException();

template <class Work> auto F_withFoundationExceptions(Work&& work) -> decltype(work()) {
    try {
        return work();
    } catch (CException*) {
        throw;
    } catch (...) {
        F_rethrowAsFoundationException();
    }
}

} // namespace cairn
