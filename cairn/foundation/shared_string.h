#pragma once

#include "cairn/foundation/strings.h"

#include <deque>
#include <string_view>
#include <unordered_map>

namespace cairn {

/// A text that lives in an `F_SharedStringPool`: a small number that is copied and compared in its stead.
class F_SharedString {
  public:
    /// Stands for no text.
    constexpr F_SharedString() = default;

    /// The text's place in its pool, -1 for none.
    constexpr int getIndex() const { return m_index; }
    /// Equal indices; of strings of one pool that is equal texts.
    constexpr bool operator==(const F_SharedString&) const = default;

  private:
    friend class F_SharedStringPool;
    explicit constexpr F_SharedString(int index) : m_index(index) {}
    int m_index = -1; ///< place in the pool
};

/// Orders shared strings of one pool by their index: the order in which the texts came into the pool.
struct F_SharedStringShortLess {
    constexpr bool operator()(const F_SharedString& a, const F_SharedString& b) const {
        return a.getIndex() < b.getIndex();
    }
};

/// Keeps each of its texts once, with case, for its whole life.
class F_SharedStringPool {
  public:
    F_SharedStringPool() = default;
    F_SharedStringPool(const F_SharedStringPool&) = delete;
    F_SharedStringPool& operator=(const F_SharedStringPool&) = delete;

    /// The shared form of `text`, which enters the pool if it is new; a hash look-up. Throws an `F_Exception*` where
    /// the pool holds as many texts as an `int` can number.
    F_SharedString share(std::string_view text);
    /// The text of a string of this pool, empty for a string of no text; valid as long as the pool. Throws an
    /// `F_Exception*` for an index that the pool has not given.
    const string& getString(const F_SharedString& shared) const;
    /// The number of texts.
    std::size_t size() const { return m_texts.size(); }

  private:
    std::deque<string> m_texts;                          ///< by index; a deque, so that the texts stay in place
    std::unordered_map<std::string_view, int> m_indices; ///< the keys view m_texts
};

} // namespace cairn
