#include "cairn/platform/handlers.h"

#include "cairn/foundation/exception.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace cairn {

namespace {

struct Handlers {
    MessageBoxHandler messageBox;
    ProcessEndHandler processEnd;
    VerboseHandler verbose;
};

Handlers& handlers() {
    static Handlers all;
    return all;
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

void AfxMessageBox(const CString& text, unsigned style) {
    if (handlers().messageBox)
        return handlers().messageBox(text, style);
    std::fwrite(text.GetString(), 1, text.view().size(), stderr);
    std::fputc('\n', stderr);
}

void terminateAfterMessage(const CString& reason) {
    if (handlers().processEnd)
        handlers().processEnd(0);
    else
        std::exit(0);
    throw new F_Exception(toString(reason));
}

void writeVerbose(const std::string& text) {
    if (handlers().verbose)
        handlers().verbose(text);
}

} // namespace cairn
