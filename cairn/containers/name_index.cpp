#include "cairn/containers/name_index.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

namespace cairn {

namespace {

constexpr std::size_t FIRST_SLOTS = 16;

// With half of the slots in use chance makes no run this long in a table of any size memory can hold. Names that were chosen
// to collide do; under another seed they don't.
constexpr std::size_t LONGEST_RUN = 256;

} // namespace

std::uint32_t F_NameTable::insert(std::string_view name, std::uint64_t stamp) {
    if (m_slots.size() < 2 * (m_names + 1))
        makeSlots(std::max(FIRST_SLOTS, m_slots.size() * 2), m_seed);
    const std::uint32_t entry = makeEntry(name, stamp);
    ++m_size;
    const std::uint32_t tag = tagOf(name);
    const std::size_t at = slotOf(name, tag);
    if (m_slots[at].entry != NONE) {
        chain(m_slots[at], entry);
        return entry;
    }
    m_entries[entry].prev = entry;
    m_slots[at] = {tag, entry};
    ++m_names;
    if (((at - home(tag)) & mask()) > LONGEST_RUN && m_seededAt != m_slots.size()) {
        m_seededAt = m_slots.size();
        makeSlots(m_slots.size(), hashFolded(name, m_seed + 1));
    }
    return entry;
}

void F_NameTable::erase(std::uint32_t entry) {
    Entry& gone = m_entries[entry];
    const std::size_t at = slotOf(gone.name, tagOf(gone.name));
    const std::uint32_t first = m_slots[at].entry;
    if (first != entry) {
        m_entries[gone.prev].next = gone.next;
        m_entries[gone.next == NONE ? first : gone.next].prev = gone.prev;
    } else if (gone.next != NONE) {
        m_entries[gone.next].prev = gone.prev;
        m_slots[at].entry = gone.next;
    } else {
        emptySlot(at);
        --m_names;
    }
    gone = Entry{};
    gone.next = m_free;
    m_free = entry;
    --m_size;
}

void F_NameTable::clear() noexcept {
    m_entries.clear();
    m_slots.clear();
    m_size = m_names = m_seededAt = 0;
    m_free = NONE;
}

std::uint32_t F_NameTable::makeEntry(std::string_view name, std::uint64_t stamp) {
    if (m_free != NONE) {
        const std::uint32_t entry = m_free;
        Entry& made = m_entries[entry];
        made.name.assign(name);
        m_free = std::exchange(made.next, NONE);
        made.stamp = stamp;
        return entry;
    }
    if (m_entries.size() >= NONE)
        throw std::length_error("F_NameTable: too many entries");
    const auto entry = static_cast<std::uint32_t>(m_entries.size());
    m_entries.push_back({std::string(name), stamp, entry, NONE});
    return entry;
}

// Puts an entry among those of its name, behind all of its stamp. The first one's `prev` is the last one.
void F_NameTable::chain(Slot& slot, std::uint32_t entry) noexcept {
    Entry& added = m_entries[entry];
    Entry& first = m_entries[slot.entry];
    const std::uint32_t last = first.prev;
    if (m_entries[last].stamp <= added.stamp) {
        added.prev = last;
        m_entries[last].next = entry;
        first.prev = entry;
        return;
    }
    std::uint32_t behind = last;
    while (behind != slot.entry && m_entries[m_entries[behind].prev].stamp > added.stamp)
        behind = m_entries[behind].prev;
    added.prev = m_entries[behind].prev;
    added.next = behind;
    m_entries[behind].prev = entry;
    if (behind == slot.entry)
        slot.entry = entry;
    else
        m_entries[added.prev].next = entry;
}

void F_NameTable::makeSlots(std::size_t count, std::uint64_t seed) {
    std::vector<Slot> old(count);
    old.swap(m_slots);
    m_shift = 32 - static_cast<unsigned>(std::countr_zero(count));
    const bool newTags = seed != m_seed;
    m_seed = seed;
    for (Slot slot : old) {
        if (slot.entry == NONE)
            continue;
        if (newTags)
            slot.tag = tagOf(m_entries[slot.entry].name);
        std::size_t at = home(slot.tag);
        while (m_slots[at].entry != NONE)
            at = (at + 1) & mask();
        m_slots[at] = slot;
    }
}

// Moves up what stands behind the slot and would else not be found any more (Knuth, The Art of Computer Programming,
// volume 3, 6.4, algorithm R).
void F_NameTable::emptySlot(std::size_t at) noexcept {
    for (std::size_t behind = (at + 1) & mask(); m_slots[behind].entry != NONE; behind = (behind + 1) & mask()) {
        const std::size_t fromHome = (behind - home(m_slots[behind].tag)) & mask();
        if (fromHome >= ((behind - at) & mask())) {
            m_slots[at] = m_slots[behind];
            at = behind;
        }
    }
    m_slots[at] = Slot{};
}

} // namespace cairn
