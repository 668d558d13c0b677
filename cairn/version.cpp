#include "cairn/version.h"

namespace cairn {

// Two macros, so that the numbers are expanded before they are made into text.
#define CAIRN_TEXT_OF(x) #x
#define CAIRN_TEXT(x) CAIRN_TEXT_OF(x)

const char* version() noexcept {
    return CAIRN_TEXT(CAIRN_VERSION_MAJOR) "." CAIRN_TEXT(CAIRN_VERSION_MINOR) "." CAIRN_TEXT(CAIRN_VERSION_PATCH);
}

} // namespace cairn
