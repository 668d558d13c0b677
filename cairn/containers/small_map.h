#pragma once

#include <optional>
#include <utility>
#include <vector>

namespace cairn {

/// Values by small numbers, walked in the order of their keys, for the case that nearly always only the key 0 is there:
/// its value stands in the map itself and costs no allocation.
template <class Value> class F_SmallMap {
  public:
    bool empty() const { return size() == 0; }
    int size() const { return (m_zero ? 1 : 0) + static_cast<int>(m_others.size()); }
    /// The value of the key, or null; valid until the map changes.
    const Value* find(int key) const {
        if (key == 0)
            return m_zero ? &*m_zero : nullptr;
        for (const auto& [otherKey, value] : m_others)
            if (otherKey == key)
                return &value;
        return nullptr;
    }
    Value* find(int key) { return const_cast<Value*>(std::as_const(*this).find(key)); }
    bool contains(int key) const { return find(key) != nullptr; }
    /// The value of the key, made by its default constructor where there is none.
    Value& operator[](int key) {
        if (Value* const value = find(key))
            return *value;
        if (key == 0)
            return m_zero.emplace();
        auto at = m_others.begin();
        while (at != m_others.end() && at->first < key)
            ++at;
        return m_others.emplace(at, key, Value())->second;
    }
    /// Drops the key, if it is there.
    void erase(int key) {
        if (key == 0)
            m_zero.reset();
        else
            std::erase_if(m_others, [key](const auto& entry) { return entry.first == key; });
    }
    void clear() {
        m_zero.reset();
        m_others.clear();
    }
    /// Calls `visit(key, value)` for each entry, keys ascending.
    template <class Visit> void forEach(Visit&& visit) const { walk(*this, visit); }
    template <class Visit> void forEach(Visit&& visit) { walk(*this, visit); }

  private:
    template <class Map, class Visit> static void walk(Map& map, Visit&& visit) {
        bool zeroPending = map.m_zero.has_value();
        for (auto& [key, value] : map.m_others) {
            if (zeroPending && key > 0) {
                visit(0, *map.m_zero);
                zeroPending = false;
            }
            visit(int{key}, value);
        }
        if (zeroPending)
            visit(0, *map.m_zero);
    }

    std::optional<Value> m_zero;                 ///< of the key 0
    std::vector<std::pair<int, Value>> m_others; ///< of other keys, ascending
};

} // namespace cairn
