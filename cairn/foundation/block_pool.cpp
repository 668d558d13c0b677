#include "cairn/foundation/block_pool.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define CAIRN_POOL_IS_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CAIRN_POOL_IS_HEAP 1
#endif
#endif

namespace cairn {

namespace {

#ifdef CAIRN_POOL_IS_HEAP
constexpr bool POOL_IS_HEAP = true;
#else
constexpr bool POOL_IS_HEAP = false;
#endif

constexpr std::size_t LINE = 64;
constexpr std::size_t BLOCK_SIZE = 64 * 1024;

struct Free {
    Free* next;
};

/// What stands at the head of a block, which is aligned to its own size so that every object finds it.
struct Block {
    Block* previous; ///< among the blocks of its size that have room
    Block* next;
    Free* free;            ///< room that was given back
    std::size_t used;      ///< objects that live in it
    std::size_t untouched; ///< offset of the room that was never taken
};
static_assert(sizeof(Block) <= LINE);

/// The blocks of one size of object that have room.
class SizeClass {
  public:
    void* take(std::size_t size) {
        if (!m_first)
            insert(makeBlock());
        Block& block = *m_first;
        void* room = block.free;
        if (room) {
            block.free = block.free->next;
        } else {
            room = reinterpret_cast<std::byte*>(&block) + block.untouched;
            block.untouched += size;
        }
        ++block.used;
        if (isFull(block, size))
            remove(block);
        return room;
    }

    void give(void* room, std::size_t size) noexcept {
        auto& block = *reinterpret_cast<Block*>(reinterpret_cast<std::uintptr_t>(room) & ~(BLOCK_SIZE - 1));
        if (isFull(block, size))
            insert(block);
        block.free = ::new (room) Free{block.free};
        if (--block.used > 0)
            return;
        remove(block);
        std::free(&block);
    }

  private:
    static bool isFull(const Block& block, std::size_t size) {
        return !block.free && block.untouched + size > BLOCK_SIZE;
    }
    static Block& makeBlock() {
        void* memory = std::aligned_alloc(BLOCK_SIZE, BLOCK_SIZE);
        if (!memory)
            throw std::bad_alloc();
        return *::new (memory) Block{nullptr, nullptr, nullptr, 0, LINE};
    }
    void insert(Block& block) {
        block.previous = nullptr;
        block.next = m_first;
        if (m_first)
            m_first->previous = &block;
        m_first = &block;
    }
    void remove(Block& block) {
        (block.previous ? block.previous->next : m_first) = block.next;
        if (block.next)
            block.next->previous = block.previous;
    }

    Block* m_first = nullptr;
};

/// Constant-initialised and without a destructor: objects of static life come before it and go after it.
constinit std::array<SizeClass, F_BlockPool::MAX_SIZE / LINE> s_classes;

std::size_t lines(std::size_t size) { return (size + LINE - 1) / LINE; }

} // namespace

void* F_BlockPool::take(std::size_t size) {
    if (POOL_IS_HEAP || size == 0 || size > MAX_SIZE)
        return ::operator new(size);
    return s_classes[lines(size) - 1].take(lines(size) * LINE);
}

void F_BlockPool::give(void* room, std::size_t size) noexcept {
    if (!room)
        return;
    if (POOL_IS_HEAP || size == 0 || size > MAX_SIZE)
        return ::operator delete(room);
    s_classes[lines(size) - 1].give(room, lines(size) * LINE);
}

} // namespace cairn
