#pragma once

#include <map>
#include <memory>

namespace cairn {

/// Named values that the container owns, in the order of their keys, with a cursor to walk them by.
template <class Key, class Value> class CN_AnimationContainer {
  public:
    CN_AnimationContainer() = default;
    /// Copies the values; the cursor of the copy stands at the end.
    CN_AnimationContainer(const CN_AnimationContainer& other) {
        for (const auto& [key, value] : other.m_values)
            m_values.emplace(key, std::make_unique<Value>(*value));
    }
    CN_AnimationContainer& operator=(const CN_AnimationContainer& other) {
        if (this != &other) {
            CN_AnimationContainer copy(other);
            m_values.swap(copy.m_values);
            m_cursor = m_values.end();
        }
        return *this;
    }
    virtual ~CN_AnimationContainer() = default;

    int getCount() const { return static_cast<int>(m_values.size()); }
    /// Puts the cursor at the first value and gives it; null without one.
    Value* getFirst() {
        m_cursor = m_values.begin();
        return atCursor();
    }
    const Value* getFirst() const {
        m_cursor = m_values.begin();
        return atCursor();
    }
    /// Steps the cursor and gives the value there; null at the end, where the cursor stays.
    Value* getNext() { return stepped(); }
    const Value* getNext() const { return stepped(); }
    /// The key at the cursor, or null at the end. Valid until its value is erased.
    const Key* getCurrentKey() const { return m_cursor == m_values.end() ? nullptr : &m_cursor->first; }
    /// The value of the key, or null.
    Value* find(const Key& key) { return found(key); }
    const Value* find(const Key& key) const { return found(key); }
    /// Enters the value and gives it; for a key that is held already the value there stays and `value` is dropped.
    Value* insert(const Key& key, std::unique_ptr<Value> value) {
        return m_values.try_emplace(key, std::move(value)).first->second.get();
    }
    /// Takes the value out and hands it to the caller; null if there is none. A cursor on it moves to the next.
    std::unique_ptr<Value> erase(const Key& key) {
        const auto it = m_values.find(key);
        if (it == m_values.end())
            return nullptr;
        std::unique_ptr<Value> value = std::move(it->second);
        const bool cursorHere = m_cursor == it;
        const auto next = m_values.erase(it);
        if (cursorHere)
            m_cursor = next;
        return value;
    }
    /// Deletes all values.
    void killAll() {
        m_values.clear();
        m_cursor = m_values.end();
    }

  protected:
    using Values = std::map<Key, std::unique_ptr<Value>>;
    const Values& values() const { return m_values; }

  private:
    Value* atCursor() const { return m_cursor == m_values.end() ? nullptr : m_cursor->second.get(); }
    Value* stepped() const {
        if (m_cursor != m_values.end())
            ++m_cursor;
        return atCursor();
    }
    Value* found(const Key& key) const {
        const auto it = m_values.find(key);
        return it == m_values.end() ? nullptr : it->second.get();
    }

    mutable Values m_values;                                     ///< owned
    mutable typename Values::iterator m_cursor = m_values.end(); ///< of the walk
};

} // namespace cairn
