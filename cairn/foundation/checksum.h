#pragma once

#include <cstddef>
#include <cstdint>

namespace cairn {

/// XXH3-64 (seed 0) of `size` bytes: the same number on every machine.
std::uint64_t checksum64(const void* data, std::size_t size);

} // namespace cairn
