#include "cairn/foundation/strings.h"

#include <ostream>

namespace cairn {

std::ostream& operator<<(std::ostream& out, const istring& s) {
    return out.write(s.data(), static_cast<std::streamsize>(s.size()));
}

} // namespace cairn
