#include "cairn/foundation/checksum.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace cairn {

std::uint64_t checksum64(const void* data, std::size_t size) { return XXH3_64bits(data, size); }

} // namespace cairn
