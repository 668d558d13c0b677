#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cairn {

/// Eight bytes with the letters A to Z among them made small; all other bytes as they are.
constexpr std::uint64_t foldEight(std::uint64_t bytes) noexcept {
    constexpr std::uint64_t EACH = 0x0101010101010101;
    const std::uint64_t low = bytes & (0x7F * EACH);
    const std::uint64_t fromA = low + (0x80 - 'A') * EACH;   // top bit of each byte: at or behind 'A'
    const std::uint64_t behindZ = low + (0x7F - 'Z') * EACH; // top bit of each byte: behind 'Z'
    return bytes | (((fromA ^ behindZ) & ~bytes & (0x80 * EACH)) >> 2);
}

/// A name read eight folded bytes at a time, without a folded copy. The last word overlaps the one before it.
class F_FoldedWords {
  public:
    /// The last eight bytes of a name of at least eight, or all bytes of a shorter one, folded.
    static std::uint64_t last(std::string_view name) noexcept {
        const std::size_t size = name.size();
        if (size >= 8)
            return at(name, size - 8);
        if (size >= 4)
            return foldEight(load<std::uint32_t>(name.data()) |
                             std::uint64_t{load<std::uint32_t>(name.data() + size - 4)} << 32);
        if (size == 0)
            return 0;
        const auto byte = [&](std::size_t i) { return std::uint64_t{static_cast<unsigned char>(name[i])}; };
        return foldEight(byte(0) | byte(size / 2) << 8 | byte(size - 1) << 16);
    }
    /// Eight bytes from `offset` on, folded; they must lie in the name.
    static std::uint64_t at(std::string_view name, std::size_t offset) noexcept {
        return foldEight(load<std::uint64_t>(name.data() + offset));
    }

  private:
    template <class Word> static Word load(const char* bytes) noexcept {
        Word word;
        std::memcpy(&word, bytes, sizeof word);
        return word;
    }
};

/// A 64-bit hash of a name without regard to the case of A to Z. Names of any bytes and length may be hashed.
inline std::uint64_t hashFolded(std::string_view name, std::uint64_t seed) noexcept {
    constexpr std::uint64_t FACTOR = 0x9E3779B97F4A7C15; // 2^64 over the golden ratio, odd
    std::uint64_t hash = (seed ^ name.size()) * FACTOR;
    const auto mix = [&](std::uint64_t word) {
        hash = (hash ^ word) * FACTOR;
        hash ^= hash >> 32;
    };
    for (std::size_t i = 0; i + 8 < name.size(); i += 8)
        mix(F_FoldedWords::at(name, i));
    mix(F_FoldedWords::last(name));
    return hash * FACTOR;
}

/// True when the names are equal without regard to the case of A to Z.
inline bool equalFolded(std::string_view a, std::string_view b) noexcept {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i + 8 < a.size(); i += 8)
        if (F_FoldedWords::at(a, i) != F_FoldedWords::at(b, i))
            return false;
    return F_FoldedWords::last(a) == F_FoldedWords::last(b);
}

/// The part of a name index that doesn't know what the names stand for: it finds, among numbered entries, the first of a name.
///
/// Open addressing with linear probing; a slot keeps 32 bits of the hash beside the number of the first entry of its name.
/// No order that shows outside depends on a hash: entries of one name are chained by their stamps.
class F_NameTable {
  public:
    static constexpr std::uint32_t NONE = 0xFFFFFFFF;

    /// The number of entries.
    std::size_t size() const noexcept { return m_size; }

    /// The entry of this name with the least stamp, NONE when there is none.
    std::uint32_t find(std::string_view name) const noexcept {
        return m_slots.empty() ? NONE : m_slots[slotOf(name, tagOf(name))].entry;
    }
    /// The entry behind another of the same name, NONE behind the last.
    std::uint32_t nextOfName(std::uint32_t entry) const noexcept { return m_entries[entry].next; }
    /// The entry in front of another of the same name; the last one in front of the first.
    std::uint32_t previousOfName(std::uint32_t entry) const noexcept { return m_entries[entry].prev; }
    /// The stamp an entry was added under.
    std::uint64_t stamp(std::uint32_t entry) const noexcept { return m_entries[entry].stamp; }

    /// Adds an entry and gives its number: one that an erased entry had, else the number of entries so far. Among entries of
    /// one name and stamp the earlier added stands first.
    std::uint32_t insert(std::string_view name, std::uint64_t stamp);
    /// Removes an entry; its number may be given again.
    void erase(std::uint32_t entry);
    /// Removes all entries.
    void clear() noexcept;

  private:
    struct Entry {
        std::string name;        ///< as it was given
        std::uint64_t stamp = 0; ///< place in the order
        std::uint32_t prev = 0;  ///< entry of this name in front of it; the last one for the first
        std::uint32_t next = 0; ///< entry of this name behind it, NONE for the last; for a free entry the next free one
    };
    struct Slot {
        std::uint32_t tag = 0;
        std::uint32_t entry = NONE;
    };

    std::uint32_t tagOf(std::string_view name) const noexcept {
        return static_cast<std::uint32_t>(hashFolded(name, m_seed) >> 32);
    }
    std::size_t home(std::uint32_t tag) const noexcept { return tag >> m_shift; }
    std::size_t mask() const noexcept { return m_slots.size() - 1; }

    std::size_t slotOf(std::string_view name, std::uint32_t tag) const noexcept;
    std::uint32_t makeEntry(std::string_view name, std::uint64_t stamp);
    void makeSlots(std::size_t count, std::uint64_t seed);
    void chain(Slot& slot, std::uint32_t entry) noexcept;
    void emptySlot(std::size_t at) noexcept;

    std::vector<Entry> m_entries; ///< by number, free ones among them
    std::vector<Slot> m_slots;    ///< a power of two of them, at most half in use; empty before the first entry
    std::size_t m_size = 0;       ///< entries in use
    std::size_t m_names = 0;      ///< slots in use: different names
    std::size_t m_seededAt = 0;   ///< slots there were when the seed was last changed
    std::uint64_t m_seed = 0;     ///< of the hash; changed when names collide by more than chance
    std::uint32_t m_free = NONE;  ///< first free entry
    unsigned m_shift = 32;        ///< from a tag to its first slot
};

/// The slot of a name, or the empty one where it would stand. There must be slots.
inline std::size_t F_NameTable::slotOf(std::string_view name, std::uint32_t tag) const noexcept {
    for (std::size_t at = home(tag);; at = (at + 1) & mask()) {
        const Slot slot = m_slots[at];
        if (slot.entry == NONE || (slot.tag == tag && equalFolded(m_entries[slot.entry].name, name)))
            return at;
    }
}

/// Finds values by name without regard to the case of A to Z; of several values under equal names the first in order is found.
///
/// Each entry has a stamp; the least is first. Stamps are given by the caller or count up from the greatest so far, so that a
/// list that only appends needs to tell none. An entry owns its name. Names may hold any bytes and have any length.
/// A look-up takes constant time whatever the names are; it makes no copy of the name and allocates nothing.
template <class Value> class F_NameIndex {
  public:
    /// The number of entries.
    std::size_t size() const noexcept { return m_table.size(); }
    /// True when there is no entry.
    bool empty() const noexcept { return size() == 0; }

    /// The value of the first entry of this name, null when there is none. The pointer holds until the next change.
    const Value* find(std::string_view name) const noexcept { return valueOf(m_table.find(name)); }

    /// The value of the first entry of this name that isn't `value`, null when there is none: does another one have the name?
    const Value* findOther(std::string_view name, const Value& value) const noexcept {
        for (std::uint32_t entry = m_table.find(name); entry != F_NameTable::NONE; entry = m_table.nextOfName(entry))
            if (!(m_values[entry] == value))
                return &m_values[entry];
        return nullptr;
    }

    /// True when this value has an entry under this name.
    bool contains(std::string_view name, const Value& value) const noexcept {
        return entryOf(name, value) != F_NameTable::NONE;
    }

    /// Adds an entry behind all others and gives its stamp.
    std::uint64_t insert(std::string_view name, Value value) {
        const std::uint64_t stamp = m_nextStamp;
        insert(name, std::move(value), stamp);
        return stamp;
    }
    /// Adds an entry at a place in the order. Of entries under one name and stamp the earlier added is first. It takes
    /// constant time where the stamp isn't below others of its name.
    void insert(std::string_view name, Value value, std::uint64_t stamp) {
        if (m_values.size() == m_values.capacity())
            m_values.reserve(m_values.size() * 2 + 8);
        const std::uint32_t entry = m_table.insert(name, stamp);
        if (entry == m_values.size())
            m_values.push_back(std::move(value));
        else
            m_values[entry] = std::move(value);
        if (stamp >= m_nextStamp)
            m_nextStamp = stamp + 1;
    }

    /// Removes the entry of this name and value, one of them should there be several. False when there is none. Among many
    /// entries of one name those near the first and near the last are found at once.
    bool erase(std::string_view name, const Value& value) {
        const std::uint32_t entry = entryOf(name, value);
        if (entry == F_NameTable::NONE)
            return false;
        m_table.erase(entry);
        m_values[entry] = Value();
        return true;
    }

    /// Puts the entry of this name and value under another name; it keeps its stamp. False when there is no such entry.
    bool rename(std::string_view oldName, std::string_view newName, const Value& value) {
        const std::uint32_t entry = entryOf(oldName, value);
        if (entry == F_NameTable::NONE)
            return false;
        insert(newName, Value(m_values[entry]), m_table.stamp(entry));
        m_table.erase(entry);
        m_values[entry] = Value();
        return true;
    }

    /// Removes all entries; stamps begin at 0 again.
    void clear() noexcept {
        m_table.clear();
        m_values.clear();
        m_nextStamp = 0;
    }

  private:
    const Value* valueOf(std::uint32_t entry) const noexcept {
        return entry == F_NameTable::NONE ? nullptr : &m_values[entry];
    }
    // Lists are mostly emptied from an end: the chain is walked from both at once.
    std::uint32_t entryOf(std::string_view name, const Value& value) const noexcept {
        std::uint32_t front = m_table.find(name);
        if (front == F_NameTable::NONE)
            return front;
        std::uint32_t back = m_table.previousOfName(front);
        for (;;) {
            if (m_values[front] == value)
                return front;
            if (m_values[back] == value)
                return back;
            if (front == back || m_table.nextOfName(front) == back)
                return F_NameTable::NONE;
            front = m_table.nextOfName(front);
            back = m_table.previousOfName(back);
        }
    }

    F_NameTable m_table;           ///< names to entry numbers
    std::vector<Value> m_values;   ///< by entry number
    std::uint64_t m_nextStamp = 0; ///< one more than the greatest stamp so far
};

} // namespace cairn
