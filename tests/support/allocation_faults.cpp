#include "tests/support/allocation_faults.h"

#include <cerrno>
#include <cstdlib>

namespace cairn::test {

namespace {

std::size_t s_left = 0; ///< allocations up to the one that fails; 0 for none
bool s_fromThenOn = false, s_hasStruck = false;
std::int64_t s_live = 0;

/// Counts an allocation; false where it is to fail.
bool mayTake() {
    if (s_left == 0 || --s_left > 0)
        return true;
    s_left = s_fromThenOn ? 1 : 0;
    s_hasStruck = true;
    errno = ENOMEM;
    return false;
}

void* counted(void* room) {
    s_live += room ? 1 : 0;
    return room;
}

} // namespace

AllocationFault::AllocationFault(std::size_t number, bool fromThenOn) {
    s_hasStruck = false;
    s_fromThenOn = fromThenOn;
    s_left = number;
}

AllocationFault::~AllocationFault() { s_left = 0; }

bool AllocationFault::hasStruck() { return s_hasStruck; }

std::int64_t liveAllocations() { return s_live; }

} // namespace cairn::test

using cairn::test::counted;
using cairn::test::mayTake;
using cairn::test::s_live;

// The C library's own entries, behind the names that are taken over below; `new` comes through them too.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* room, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* room);

void* malloc(std::size_t size) noexcept { return mayTake() ? counted(__libc_malloc(size)) : nullptr; }
void* calloc(std::size_t count, std::size_t size) noexcept {
    return mayTake() ? counted(__libc_calloc(count, size)) : nullptr;
}
void* realloc(void* old, std::size_t size) noexcept {
    if (!mayTake())
        return nullptr;
    void* const room = __libc_realloc(old, size);
    s_live += (room && !old ? 1 : 0) - (!room && old && size == 0 ? 1 : 0);
    return room;
}
void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return mayTake() ? counted(__libc_memalign(alignment, size)) : nullptr;
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept { return memalign(alignment, size); }
int posix_memalign(void** out, std::size_t alignment, std::size_t size) noexcept {
    void* const room = memalign(alignment, size);
    if (!room)
        return ENOMEM;
    *out = room;
    return 0;
}
void free(void* room) noexcept {
    s_live -= room ? 1 : 0;
    __libc_free(room);
}
}
