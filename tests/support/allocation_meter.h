#pragma once

#include <cstddef>

namespace cairn::test {

/// Measures what the program takes from the heap, through `new` and `malloc` alike, from its making to its end: the
/// largest single request, and the bytes that live, now and at the most. Older memory that is freed meanwhile lowers the sum. Under a
/// sanitizer that has an allocator of its own it listens to that one's hooks, elsewhere it stands in for the C library's
/// `malloc`, and so serves the programs that link it. One measurement at a time.
class AllocationMeter {
  public:
    /// Starts a measurement.
    AllocationMeter();
    /// Ends it.
    ~AllocationMeter();
    AllocationMeter(const AllocationMeter&) = delete;
    AllocationMeter& operator=(const AllocationMeter&) = delete;

    /// The largest request so far, in bytes.
    std::size_t largest() const;
    /// The highest sum of live bytes so far.
    std::size_t peak() const;
    /// The sum of live bytes now: below 0 where older memory was freed.
    std::ptrdiff_t live() const;
};

} // namespace cairn::test
