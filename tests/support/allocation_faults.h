#pragma once

#include <cstddef>
#include <cstdint>

namespace cairn::test {

/// Lets an allocation of this program fail, as if memory had run out: `malloc` and its like give null and `new` throws.
/// It serves the programs that link it, which cannot measure with `AllocationMeter` then, nor run under a sanitizer, which has
/// an allocator of its own. One at a time.
class AllocationFault {
  public:
    /// The allocation of that number from here on, from 1, fails; with `fromThenOn` all behind it as well.
    AllocationFault(std::size_t number, bool fromThenOn);
    /// Memory can be had again.
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;

    /// True where an allocation has failed.
    static bool hasStruck();
};

/// How many allocations of the whole program are live.
std::int64_t liveAllocations();

} // namespace cairn::test
