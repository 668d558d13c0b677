#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace cairn {

/// A set of pointers that is asked far more often than it is changed: open addressing with linear probing, so that a question
/// nearly always reads one cache line. It cannot be walked, as its order would hang on addresses. Null is never in it.
template <class T> class F_PointerSet {
  public:
    /// The number of pointers.
    std::size_t size() const noexcept { return m_size; }

    bool contains(const T* pointer) const noexcept {
        return pointer && m_size > 0 && m_slots[slotOf(pointer)] == pointer;
    }
    /// True if the pointer is new; nothing happens for null.
    bool insert(const T* pointer) {
        if (!pointer || contains(pointer))
            return false;
        if (2 * (m_size + 1) > m_slots.size())
            grow();
        m_slots[slotOf(pointer)] = pointer;
        ++m_size;
        return true;
    }
    /// True if the pointer was there.
    bool erase(const T* pointer) noexcept {
        if (!contains(pointer))
            return false;
        std::size_t gap = slotOf(pointer);
        // Those behind move up, as far as their own first slot, so that no look-up meets the gap.
        for (std::size_t at = next(gap); m_slots[at]; at = next(at))
            if (((at - home(m_slots[at])) & mask()) >= ((at - gap) & mask())) {
                m_slots[gap] = m_slots[at];
                gap = at;
            }
        m_slots[gap] = nullptr;
        --m_size;
        return true;
    }

  private:
    static constexpr unsigned FIRST_BITS = 3;

    std::size_t mask() const noexcept { return m_slots.size() - 1; }
    std::size_t next(std::size_t at) const noexcept { return (at + 1) & mask(); }
    /// The slot where a pointer stands unless others were there before.
    std::size_t home(const T* pointer) const noexcept {
        constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15; // 2^64 over the golden ratio, odd
        return static_cast<std::size_t>(
            static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(pointer)) * FACTOR >> m_shift);
    }
    /// The slot that holds the pointer, or the empty one where it would stand.
    std::size_t slotOf(const T* pointer) const noexcept {
        std::size_t at = home(pointer);
        while (m_slots[at] && m_slots[at] != pointer)
            at = next(at);
        return at;
    }
    void grow() {
        std::vector<const T*> slots(m_slots.empty() ? std::size_t{1} << FIRST_BITS : 2 * m_slots.size());
        m_shift = m_slots.empty() ? 64 - FIRST_BITS : m_shift - 1;
        m_slots.swap(slots);
        for (const T* const pointer : slots)
            if (pointer)
                m_slots[slotOf(pointer)] = pointer;
    }

    std::vector<const T*> m_slots; ///< not owned: a power of two of them, at most half in use; empty before the first
    std::size_t m_size = 0;        ///< slots in use
    unsigned m_shift = 64;         ///< from a hash to a slot
};

} // namespace cairn
