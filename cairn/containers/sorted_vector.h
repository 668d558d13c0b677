#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace cairn {

/// A map in one sorted array: small, quick to walk and to search, slow to change in the middle.
///
/// Its entries are pairs of key and value, each key once, walked from the least key to the greatest. `Less` orders the keys.
/// An insertion or erasure moves the entries behind it and invalidates iterators and pointers.
template <class Key, class Value, class Less> class F_SortedVector {
  public:
    using value_type = std::pair<Key, Value>;
    using const_iterator = typename std::vector<value_type>::const_iterator;

    /// An empty map; `less` orders its keys.
    explicit F_SortedVector(Less less = Less()) : m_less(std::move(less)) {}

    /// The entries in the order of their keys.
    const_iterator begin() const noexcept { return m_entries.begin(); }
    const_iterator end() const noexcept { return m_entries.end(); }
    /// The number of entries.
    std::size_t size() const noexcept { return m_entries.size(); }
    /// True when there is no entry.
    bool empty() const noexcept { return m_entries.empty(); }
    /// The entry at a position below `size()`.
    const value_type& operator[](std::size_t index) const noexcept { return m_entries[index]; }

    /// Makes room for this many entries in all.
    void reserve(std::size_t entries) { m_entries.reserve(entries); }
    /// Removes all entries.
    void clear() noexcept { m_entries.clear(); }

    /// Adds an entry. Gives its place and true, or, where the key has an entry already, that one, unchanged, and false.
    /// Keys that come in their order are appended; any other insertion moves the entries behind it.
    std::pair<const_iterator, bool> insert(Key key, Value value) {
        auto place = m_entries.end();
        if (!m_entries.empty() && !m_less(m_entries.back().first, key)) {
            place = lowerBound(m_entries, key);
            if (!m_less(key, place->first))
                return {place, false};
        }
        return {m_entries.emplace(place, std::move(key), std::move(value)), true};
    }

    /// The entry of a key, `end()` where there is none.
    const_iterator find(const Key& key) const {
        const const_iterator place = lowerBound(m_entries, key);
        return place != end() && !m_less(key, place->first) ? place : end();
    }
    /// The value of a key, to be read or changed; null where there is none.
    Value* findValue(const Key& key) {
        const auto place = lowerBound(m_entries, key);
        return place != m_entries.end() && !m_less(key, place->first) ? &place->second : nullptr;
    }
    const Value* findValue(const Key& key) const {
        const const_iterator place = find(key);
        return place != end() ? &place->second : nullptr;
    }
    /// True when the key has an entry.
    bool contains(const Key& key) const { return find(key) != end(); }

    /// Removes the entry of a key. False where there is none.
    bool erase(const Key& key) {
        const const_iterator place = find(key);
        if (place == end())
            return false;
        m_entries.erase(place);
        return true;
    }
    /// Removes an entry; gives the one behind it.
    const_iterator erase(const_iterator place) { return m_entries.erase(place); }

  private:
    template <class Entries> auto lowerBound(Entries& entries, const Key& key) const {
        return std::lower_bound(entries.begin(), entries.end(), key,
                                [this](const value_type& entry, const Key& k) { return m_less(entry.first, k); });
    }

    std::vector<value_type> m_entries; ///< ascending by key, no two equal
    Less m_less;                       ///< the order of the keys
};

} // namespace cairn
