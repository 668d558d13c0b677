#include "cairn/platform/handlers.h"

#include "cairn/foundation/exception.h"
#include "cairn/foundation/immortal.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace cairn {

namespace {

struct Handlers {
    MessageBoxHandler messageBox;
    ProcessEndHandler processEnd;
    VerboseHandler verbose;
    ConsoleLineHandler consoleLine;
};

/// Never destroyed: the end of the process may still write through them. What is called is a copy, as a handler may
/// install another one.
Handlers& handlers() {
    static F_Immortal<Handlers> all;
    return all.get();
}

} // namespace

MessageBoxHandler setMessageBoxHandler(MessageBoxHandler handler) {
    return std::exchange(handlers().messageBox, std::move(handler));
}

ProcessEndHandler setProcessEndHandler(ProcessEndHandler handler) {
    return std::exchange(handlers().processEnd, std::move(handler));
}

VerboseHandler setVerboseHandler(VerboseHandler handler) {
    return std::exchange(handlers().verbose, std::move(handler));
}

ConsoleLineHandler setConsoleLineHandler(ConsoleLineHandler handler) {
    return std::exchange(handlers().consoleLine, std::move(handler));
}

void AfxMessageBox(const CString& text, unsigned style) {
    if (const MessageBoxHandler handler = handlers().messageBox)
        return handler(text, style);
    std::fwrite(text.GetString(), 1, text.view().size(), stderr);
    std::fputc('\n', stderr);
}

void terminateAfterMessage(const CString& reason) {
    if (const ProcessEndHandler handler = handlers().processEnd)
        handler(0);
    else
        std::exit(0);
    throw new F_Exception(toString(reason));
}

bool isLogRead() { return static_cast<bool>(handlers().verbose); }

void writeVerbose(const std::string& text) {
    if (const VerboseHandler handler = handlers().verbose)
        handler(text);
}

void writeConsoleLine(const std::string& line) {
    if (const ConsoleLineHandler handler = handlers().consoleLine)
        return handler(line);
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

} // namespace cairn
