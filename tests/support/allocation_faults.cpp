#include "tests/support/allocation_faults.h"

#include <cerrno>
#include <cstdlib>
#include <new>

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

#if defined(__SANITIZE_ADDRESS__)
#define CAIRN_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) || __has_feature(thread_sanitizer)
#define CAIRN_TEST_SANITIZED 1
#endif
#endif

#ifdef CAIRN_TEST_SANITIZED

namespace {

void* take(std::size_t size, std::size_t alignment) noexcept {
    if (!mayTake())
        return nullptr;
    const std::size_t whole = (size + alignment - 1) / alignment * alignment;
    return counted(std::aligned_alloc(alignment, whole > 0 ? whole : alignment));
}
void* takeOrThrow(std::size_t size, std::size_t alignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
    for (;;) {
        if (void* const room = take(size, alignment))
            return room;
        const std::new_handler handler = std::get_new_handler();
        if (!handler)
            throw std::bad_alloc();
        handler();
    }
}
void give(void* room) noexcept {
    s_live -= room ? 1 : 0;
    std::free(room);
}

constexpr std::size_t USUAL = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

} // namespace

void* operator new(std::size_t size) { return takeOrThrow(size); }
void* operator new[](std::size_t size) { return takeOrThrow(size); }
void* operator new(std::size_t size, std::align_val_t at) { return takeOrThrow(size, static_cast<std::size_t>(at)); }
void* operator new[](std::size_t size, std::align_val_t at) { return takeOrThrow(size, static_cast<std::size_t>(at)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return take(size, USUAL); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return take(size, USUAL); }
void operator delete(void* room) noexcept { give(room); }
void operator delete[](void* room) noexcept { give(room); }
void operator delete(void* room, std::size_t) noexcept { give(room); }
void operator delete[](void* room, std::size_t) noexcept { give(room); }
void operator delete(void* room, std::align_val_t) noexcept { give(room); }
void operator delete[](void* room, std::align_val_t) noexcept { give(room); }
void operator delete(void* room, std::size_t, std::align_val_t) noexcept { give(room); }
void operator delete[](void* room, std::size_t, std::align_val_t) noexcept { give(room); }

#else

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

#endif
