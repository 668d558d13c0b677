#pragma once

#include "cairn/foundation/memory_file.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace cairn {

/// Named values in the order of their keys, which the set owns, with a cursor to walk them by. A derived class says how
/// values are made and ended, and calls `killAll` in its destructor, where its `free` can still be reached.
template <class Key, class Value> class CN_AnimationContainer {
  public:
    /// Ends a value through its set.
    struct Freeing {
        CN_AnimationContainer* set; ///< not owned
        void operator()(Value* value) const { set->free(value); }
    };
    /// A value on its way into the set; the set must outlive it.
    using Held = std::unique_ptr<Value, Freeing>;

    CN_AnimationContainer(const CN_AnimationContainer&) = delete;
    CN_AnimationContainer& operator=(const CN_AnimationContainer&) = delete;
    virtual ~CN_AnimationContainer() = default;
    /// A new value, owned by the caller until it is inserted.
    virtual Value* allocate() = 0;
    /// Ends a value that `allocate` made and no set holds any more.
    virtual void free(Value* value) = 0;
    /// Adds the entries of a record to those held already. Of two with one key the first stays, and the other one is
    /// counted as dropped. Throws an `F_Exception*` on damage; the entries read until then stay.
    virtual void load(F_MemoryFile& file);
    virtual void save(F_MemoryFile& file) const;

    /// How many entries `load` has dropped since this set was made.
    std::size_t getDroppedCount() const { return m_dropped; }

    int getCount() const { return static_cast<int>(m_values.size()); }
    /// Puts the cursor at the first value and gives it; null without one.
    Value* getFirst() { return first(); }
    const Value* getFirst() const { return first(); }
    /// Steps the cursor and gives the value there; null at the end, where the cursor stays.
    Value* getNext() { return next(); }
    const Value* getNext() const { return next(); }
    /// The key at the cursor, or null at the end. Valid until its entry goes or is reindexed.
    const Key* getCurrentKey() const { return m_cursor == m_values.end() ? nullptr : &m_cursor->first; }
    /// The value of the key, or null.
    Value* find(const Key& key) { return found(key); }
    const Value* find(const Key& key) const { return found(key); }
    /// Enters the value, which belongs to the set then. A key that is held keeps its old value: false, and the new one
    /// stays the caller's.
    bool insert(const Key& key, Value* value) { return m_values.try_emplace(key, value).second; }
    /// Enters the value, or ends it where the key is held: false.
    bool insert(const Key& key, Held value) {
        const bool entered = insert(key, value.get());
        if (entered)
            value.release();
        return entered;
    }
    /// `value`, ended through the set unless it is inserted or released.
    Held hold(Value* value) { return Held(value, Freeing{this}); }
    /// Takes the entry out and gives its value, which is the caller's to `free`; null if there is none. A cursor on it
    /// moves to the next entry.
    Value* erase(const Key& key);
    /// Moves the value of `oldKey` to `newKey`, which may be the same but for its case; a cursor on it goes with it.
    /// False, and nothing happens, where there is no `oldKey` or `newKey` is another entry's.
    bool reindex(const Key& newKey, const Key& oldKey);
    /// Ends all values.
    void killAll() {
        for (const auto& [key, value] : m_values)
            free(value);
        m_values.clear();
        m_cursor = m_values.end();
    }
    /// Sets `out` to `prefix` with the lowest number, from 0 on, that makes a name not held. Tries them all in turn.
    void getNextUniqueName(Key& out, const Key& prefix) const;

  protected:
    using Values = std::map<Key, Value*>;

    CN_AnimationContainer() = default;
    const Values& values() const { return m_values; }
    /// Fills this empty set with copies of the other's values, made by `allocate` and assignment.
    void copyValues(const CN_AnimationContainer& other);
    /// Exchanges the values with a set that frees them alike; both cursors stand at the end then.
    void swapValues(CN_AnimationContainer& other) {
        m_values.swap(other.m_values);
        m_cursor = m_values.end();
        other.m_cursor = other.m_values.end();
    }

  private:
    Value* first() const {
        m_cursor = m_values.begin();
        return atCursor();
    }
    Value* next() const {
        if (m_cursor != m_values.end())
            ++m_cursor;
        return atCursor();
    }
    Value* atCursor() const { return m_cursor == m_values.end() ? nullptr : m_cursor->second; }
    Value* found(const Key& key) const {
        const auto it = m_values.find(key);
        return it == m_values.end() ? nullptr : it->second;
    }

    Values m_values;                                                   ///< owned: ended by `free`
    mutable typename Values::const_iterator m_cursor = m_values.end(); ///< of the walk
    std::size_t m_dropped = 0;                                         ///< entries read whose key was held
};

template <class Key, class Value> Value* CN_AnimationContainer<Key, Value>::erase(const Key& key) {
    const auto it = m_values.find(key);
    if (it == m_values.end())
        return nullptr;
    if (m_cursor == it)
        ++m_cursor;
    Value* const value = it->second;
    m_values.erase(it);
    return value;
}

template <class Key, class Value>
bool CN_AnimationContainer<Key, Value>::reindex(const Key& newKey, const Key& oldKey) {
    const auto it = m_values.find(oldKey);
    const auto held = m_values.find(newKey);
    if (it == m_values.end() || (held != m_values.end() && held != it))
        return false;
    Key key = newKey;
    const bool cursorHere = m_cursor == it;
    auto entry = m_values.extract(it);
    entry.key() = std::move(key);
    const auto moved = m_values.insert(std::move(entry)).position;
    if (cursorHere)
        m_cursor = moved;
    return true;
}

template <class Key, class Value>
void CN_AnimationContainer<Key, Value>::getNextUniqueName(Key& out, const Key& prefix) const {
    const Key stem = prefix; // `out` may be the prefix itself
    for (std::size_t n = 0;; ++n) {
        const std::string number = std::to_string(n);
        out = stem;
        out.append(number.data(), number.size());
        if (!found(out))
            return;
    }
}

template <class Key, class Value>
void CN_AnimationContainer<Key, Value>::copyValues(const CN_AnimationContainer& other) {
    try {
        for (const auto& [key, value] : other.m_values) {
            Held copy = hold(allocate());
            *copy = *value;
            insert(key, std::move(copy));
        }
    } catch (...) {
        killAll();
        throw;
    }
}

// int count; of each entry in the order of the keys: key, the value's record.

template <class Key, class Value> void CN_AnimationContainer<Key, Value>::save(F_MemoryFile& file) const {
    file.writeCount(m_values.size());
    for (const auto& [key, value] : m_values) {
        file << key;
        value->save(file);
    }
}

template <class Key, class Value> void CN_AnimationContainer<Key, Value>::load(F_MemoryFile& file) {
    constexpr std::size_t LEAST_BYTES = 4; // the length of an empty key
    for (std::size_t count = file.readCount(LEAST_BYTES); count > 0; --count) {
        Held value = hold(allocate());
        Key key;
        file >> key;
        value->load(file);
        if (!insert(key, std::move(value)))
            ++m_dropped;
    }
}

} // namespace cairn
