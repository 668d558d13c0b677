#pragma once

#include "cairn/platform/string.h"

#include <functional>

/// The four ways in which the library reaches out of itself without a document at hand: a message box, the end of the
/// process, the diagnostic log and a line on the console. A host replaces each; the defaults suit a program without windows.
namespace cairn {

inline constexpr unsigned MB_OK = 0x0;
inline constexpr unsigned MB_ICONEXCLAMATION = 0x30;
inline constexpr unsigned MB_SYSTEMMODAL = 0x1000;
inline constexpr unsigned MB_TASKMODAL = 0x2000;

/// Receives each message box: text and style (a sum of `MB_...`).
using MessageBoxHandler = std::function<void(const CString& text, unsigned style)>;
/// Receives the exit code with which the library asks the process to end. It may throw; where it returns, the library
/// throws an `F_Exception*` instead of going on.
using ProcessEndHandler = std::function<void(int exitCode)>;
/// Receives each diagnostic text, unchanged: some end in a line feed, some do not.
using VerboseHandler = std::function<void(const std::string& text)>;
/// Receives each line for the console, without its line feed.
using ConsoleLineHandler = std::function<void(const std::string& line)>;

/// Installs a handler and gives the one before. An empty function brings the default back: the message box's is a line
/// on standard error, the process end's is `std::exit`, the log's drops the text, the console line's writes it to
/// standard output and flushes that.
MessageBoxHandler setMessageBoxHandler(MessageBoxHandler handler);
ProcessEndHandler setProcessEndHandler(ProcessEndHandler handler);
VerboseHandler setVerboseHandler(VerboseHandler handler);
ConsoleLineHandler setConsoleLineHandler(ConsoleLineHandler handler);

/// Shows `text` through the message box handler.
void AfxMessageBox(const CString& text, unsigned style = MB_OK);
/// Ends the process through the process end handler, with exit code 0: what a fault does that leaves the library no
/// way on. `reason` is the text of the exception that is thrown where the handler returns.
[[noreturn]] void terminateAfterMessage(const CString& reason);
/// Hands `text` to the log.
void writeVerbose(const std::string& text);
/// False where the log drops every text, so that none needs to be made.
bool isLogRead();
/// Writes a line for whoever watches the console.
void writeConsoleLine(const std::string& line);

} // namespace cairn
