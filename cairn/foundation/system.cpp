#include "cairn/foundation/system.h"

namespace cairn {

void F_System::verbose(const char* format, ...) {
    if (!isLogRead())
        return;
    std::va_list args;
    va_start(args, format);
    CString text;
    text.FormatV(format, args);
    va_end(args);
    writeVerbose(text.str());
}

} // namespace cairn
