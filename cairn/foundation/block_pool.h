#pragma once

#include <cstddef>

namespace cairn {

/// Memory for many objects of few sizes, such as the entities of a level: what is taken in a row lies in a row, so that a
/// walk over it waits for memory as little as it can. Blocks whose last object is gone go back to the system.
///
/// Under AddressSanitizer, and for objects beyond `MAX_SIZE`, it is the global heap.
class F_BlockPool {
  public:
    static constexpr std::size_t MAX_SIZE = 2048;

    /// Room for `size` bytes, aligned to a cache line up to `MAX_SIZE`; throws `std::bad_alloc` where there is none.
    static void* take(std::size_t size);
    /// Takes room back that `take` gave for the same `size`.
    static void give(void* room, std::size_t size) noexcept;
};

} // namespace cairn
