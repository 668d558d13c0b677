#pragma once

#include "cairn/foundation/checksum.h"

#include <cstddef>
#include <cstdint>

/// What `F_MemoryFile`, which writes and reads chunks, and `F_findChunks`, which looks for them among damaged bytes, know
/// of a chunk's header. Internal to the two.
namespace cairn::chunk_header {

/// The mark of a chunk. Its high bytes are no letter, no small count and no likely end of a float, so that data
/// written without chunks is not taken for one.
inline constexpr unsigned char MAGIC[4] = {0xC7, 'c', 'k', 0xF1};
inline constexpr std::size_t ID_AT = 4, VERSION_AT = 8, LENGTH_AT = 12, BODY_SUM_AT = 20, HEADER_SUM_AT = 24;

/// The checksum that headers hold of themselves and of bodies.
inline std::uint32_t sumOf(const unsigned char* data, std::size_t size) {
    return static_cast<std::uint32_t>(checksum64(data, size));
}

/// The setting of `F_MemoryFile::setVerifying`.
bool isVerifying();

} // namespace cairn::chunk_header
