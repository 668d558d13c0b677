#pragma once

#include "cairn/foundation/exception.h"
#include "cairn/platform/handlers.h"

#include <string>
#include <vector>

namespace cairn::test {

/// A message box as it would have been shown.
struct ShownBox {
    std::string text;
    unsigned style = 0;
    bool operator==(const ShownBox&) const = default;
};

/// What the end of the process is turned into: thrown by pointer like every exception.
class ProcessEnded : public F_Exception {
  public:
    explicit ProcessEnded(int exitCode) : F_Exception("the process was ended"), m_exitCode(exitCode) {}
    int exitCode() const { return m_exitCode; }

  private:
    int m_exitCode;
};

/// For its life message boxes and the log are collected here and the end of the process is thrown as a `ProcessEnded*`;
/// afterwards the handlers from before are back.
class ProcessStateGuard {
  public:
    ProcessStateGuard()
        : m_messageBox(setMessageBoxHandler([this](const CString& text, unsigned style) {
              m_boxes.push_back({text.str(), style});
          })),
          m_processEnd(setProcessEndHandler([](int exitCode) { throw new ProcessEnded(exitCode); })),
          m_verbose(setVerboseHandler([this](const std::string& text) { m_log += text; })) {}
    ~ProcessStateGuard() {
        setVerboseHandler(std::move(m_verbose));
        setProcessEndHandler(std::move(m_processEnd));
        setMessageBoxHandler(std::move(m_messageBox));
    }
    ProcessStateGuard(const ProcessStateGuard&) = delete;
    ProcessStateGuard& operator=(const ProcessStateGuard&) = delete;

    /// The boxes shown so far, first to last.
    const std::vector<ShownBox>& boxes() const { return m_boxes; }
    /// All log texts so far, one behind the other.
    const std::string& log() const { return m_log; }
    void clear() {
        m_boxes.clear();
        m_log.clear();
    }

  private:
    std::vector<ShownBox> m_boxes;
    std::string m_log;
    MessageBoxHandler m_messageBox; ///< the one before
    ProcessEndHandler m_processEnd; ///< the one before
    VerboseHandler m_verbose;       ///< the one before
};

/// The text of the `F_Exception*` that `work` throws; "(nothing thrown)" where it throws none. What else it throws goes
/// on.
template <class Work> std::string failureText(Work&& work) {
    try {
        work();
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        return e->getErrorMessage();
    }
    return "(nothing thrown)";
}

} // namespace cairn::test
