#include "tests/support/allocation_meter.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define CAIRN_TEST_SANITIZER_HOOKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) || __has_feature(thread_sanitizer)
#define CAIRN_TEST_SANITIZER_HOOKS 1
#endif
#endif

namespace cairn::test {

namespace {

std::atomic<bool> s_running{false};
std::atomic<std::int64_t> s_live{0}, s_peak{0}, s_largest{0};

void raise(std::atomic<std::int64_t>& to, std::int64_t value) {
    std::int64_t now = to.load(std::memory_order_relaxed);
    while (now < value && !to.compare_exchange_weak(now, value, std::memory_order_relaxed)) {
    }
}

void noteTaken(std::size_t asked, std::size_t given) {
    if (!s_running.load(std::memory_order_relaxed))
        return;
    raise(s_largest, static_cast<std::int64_t>(asked));
    raise(s_peak, s_live.fetch_add(static_cast<std::int64_t>(given)) + static_cast<std::int64_t>(given));
}

void noteFreed(std::size_t given) {
    if (s_running.load(std::memory_order_relaxed))
        s_live.fetch_sub(static_cast<std::int64_t>(given));
}

} // namespace

} // namespace cairn::test

#ifdef CAIRN_TEST_SANITIZER_HOOKS

extern "C" {
int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(const volatile void*, std::size_t),
                                              void (*free_hook)(const volatile void*));
std::size_t __sanitizer_get_allocated_size(const volatile void* p);
}

namespace cairn::test {

namespace {

void onMalloc(const volatile void*, std::size_t size) { noteTaken(size, size); }
void onFree(const volatile void* p) {
    if (p && s_running.load(std::memory_order_relaxed))
        noteFreed(__sanitizer_get_allocated_size(p));
}

void listen() {
    static const int installed = __sanitizer_install_malloc_and_free_hooks(onMalloc, onFree);
    static_cast<void>(installed);
}

} // namespace

} // namespace cairn::test

#else

// The C library's own entries, behind the names that are taken over below; `operator new` comes through them too.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* p, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* p);

void* malloc(std::size_t size) noexcept {
    void* const p = __libc_malloc(size);
    if (p)
        cairn::test::noteTaken(size, malloc_usable_size(p));
    return p;
}
void* calloc(std::size_t count, std::size_t size) noexcept {
    void* const p = __libc_calloc(count, size);
    if (p)
        cairn::test::noteTaken(count * size, malloc_usable_size(p));
    return p;
}
void* realloc(void* old, std::size_t size) noexcept {
    const std::size_t before = old ? malloc_usable_size(old) : 0;
    void* const p = __libc_realloc(old, size);
    if (!p && size > 0)
        return p;
    // What was there and what comes may both be live for a moment.
    if (p)
        cairn::test::noteTaken(size, malloc_usable_size(p));
    cairn::test::noteFreed(before);
    return p;
}
void* memalign(std::size_t alignment, std::size_t size) noexcept {
    void* const p = __libc_memalign(alignment, size);
    if (p)
        cairn::test::noteTaken(size, malloc_usable_size(p));
    return p;
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept { return memalign(alignment, size); }
int posix_memalign(void** out, std::size_t alignment, std::size_t size) noexcept {
    void* const p = memalign(alignment, size);
    if (!p)
        return ENOMEM;
    *out = p;
    return 0;
}
void free(void* p) noexcept {
    if (p)
        cairn::test::noteFreed(malloc_usable_size(p));
    __libc_free(p);
}
}

namespace cairn::test {

namespace {

void listen() {}

} // namespace

} // namespace cairn::test

#endif

namespace cairn::test {

AllocationMeter::AllocationMeter() {
    listen();
    s_live = s_peak = s_largest = 0;
    s_running = true;
}

AllocationMeter::~AllocationMeter() { s_running = false; }

std::size_t AllocationMeter::largest() const { return static_cast<std::size_t>(s_largest.load()); }

std::size_t AllocationMeter::peak() const { return static_cast<std::size_t>(s_peak.load()); }

std::ptrdiff_t AllocationMeter::live() const { return s_live.load(); }

} // namespace cairn::test
