#pragma once

#include "cairn/platform/handlers.h"

namespace cairn {

/// The foundation's services that belong to no object.
class F_System {
  public:
    /// Hands a formatted text to the diagnostic log, as it stands: no line feed is added or taken.
    [[gnu::format(printf, 1, 2)]] static void verbose(const char* format, ...);
};

} // namespace cairn
