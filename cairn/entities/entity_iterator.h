#pragma once

#include "cairn/foundation/allocator.h"

#include <array>
#include <cstddef>
#include <list>
#include <memory>

namespace cairn {

class CN_LevelEntity;

/// The children of an entity, in insertion order.
using CN_EntityChildList = std::list<CN_LevelEntity*, F_Allocator<CN_LevelEntity*>>;

/// A walk over entities, stepped by hand: `begin`, then while `end` is false use `*it` and `++it`.
class CN_EntityIterator {
  public:
    virtual ~CN_EntityIterator() = default;
    virtual void begin() = 0;
    /// True past the last entity, and before `begin`.
    virtual bool end() = 0;

    void operator++(int) = delete;
    virtual CN_EntityIterator& operator++() = 0;
    virtual CN_LevelEntity* operator*() = 0;
    virtual CN_LevelEntity* operator->() = 0;
    /// Compares places; an iterator of another type throws `std::bad_cast`.
    virtual bool operator!=(const CN_EntityIterator& other) const = 0;
};

/// The const twin of `CN_EntityIterator`.
class CN_ConstEntityIterator {
  public:
    virtual ~CN_ConstEntityIterator() = default;
    virtual void begin() = 0;
    virtual bool end() = 0;

    void operator++(int) = delete;
    virtual CN_ConstEntityIterator& operator++() = 0;
    virtual const CN_LevelEntity* operator*() = 0;
    virtual const CN_LevelEntity* operator->() = 0;
    virtual bool operator!=(const CN_ConstEntityIterator& other) const = 0;
};

/// What both child iterators are: a place in a list of children.
///
/// Removing the entity at the place ends the iterator's life; any other change of the list leaves it sound.
template <class Interface, class Entity> class CN_BasicChildIterator : public Interface {
  public:
    /// An iterator over `children`, which must outlive it; it stands at the end until `begin`.
    explicit CN_BasicChildIterator(const CN_EntityChildList& children) : m_children(&children), m_at(children.end()) {}

    void begin() override { m_at = m_children->begin(); }
    bool end() override { return m_at == m_children->end(); }
    /// The next child; the end stays the end.
    Interface& operator++() override;
    /// The child at the place, null at the end.
    Entity* operator*() override;
    Entity* operator->() override { return **this; }
    bool operator!=(const Interface& other) const override;

  protected:
    void moveToEnd() { m_at = m_children->end(); }

  private:
    const CN_EntityChildList* m_children; ///< not owned
    CN_EntityChildList::const_iterator m_at;
};

/// Places in lists of children, one above the other: the first 64 lie inside the object, more go to the heap, so that a
/// walk of a tree of ordinary depth allocates nothing.
class CN_PlaceStack {
  public:
    using Place = CN_EntityChildList::const_iterator;
    static constexpr std::size_t INLINE_PLACES = 64;

    CN_PlaceStack() = default;
    CN_PlaceStack(const CN_PlaceStack& other) { *this = other; }
    CN_PlaceStack& operator=(const CN_PlaceStack& other);
    ~CN_PlaceStack() = default;

    std::size_t size() const { return m_size; }
    void clear() { m_size = 0; }
    void push(Place place);
    /// The place on top; there must be one.
    Place top() const { return places()[m_size - 1]; }
    void pop() { --m_size; }

  private:
    Place* places() { return m_heap ? m_heap.get() : m_inline.data(); }
    const Place* places() const { return m_heap ? m_heap.get() : m_inline.data(); }
    void grow(std::size_t capacity);

    std::size_t m_size = 0;
    std::size_t m_capacity = INLINE_PLACES;
    std::array<Place, INLINE_PLACES> m_inline{};
    std::unique_ptr<Place[]> m_heap; ///< all places, once they are more than fit inside; else null
};

/// What both pre-order iterators are: parents before children, siblings in list order, without the entity that the walk
/// starts from.
///
/// Removing the entity at the place or one above it ends the iterator's life.
template <class Interface, class Entity> class CN_BasicPreIterator : public Interface {
  public:
    /// An iterator over what stands in `children` and below, which must outlive it; at the end until `begin`.
    explicit CN_BasicPreIterator(const CN_EntityChildList& children) : m_children(&children), m_at(children.end()) {}

    void begin() override;
    bool end() override { return atEnd(); }
    /// The next entity in pre-order; the end stays the end.
    Interface& operator++() override;
    /// The entity at the place, null at the end.
    Entity* operator*() override;
    Entity* operator->() override { return **this; }
    bool operator!=(const Interface& other) const override;
    /// How many levels the walk has descended: 0 among the children of the entity it started from.
    std::size_t getDepth() const { return m_above.size(); }

  private:
    bool atEnd() const { return m_above.size() == 0 && m_at == m_children->end(); }
    const CN_LevelEntity* entity() const { return atEnd() ? nullptr : *m_at; }

    const CN_EntityChildList* m_children; ///< not owned
    CN_EntityChildList::const_iterator m_at;
    CN_PlaceStack m_above; ///< of the entities that were descended into
};

extern template class CN_BasicChildIterator<CN_EntityIterator, CN_LevelEntity>;
extern template class CN_BasicChildIterator<CN_ConstEntityIterator, const CN_LevelEntity>;
extern template class CN_BasicPreIterator<CN_EntityIterator, CN_LevelEntity>;
extern template class CN_BasicPreIterator<CN_ConstEntityIterator, const CN_LevelEntity>;

/// A walk over the children of an entity.
class CN_ChildIterator final : public CN_BasicChildIterator<CN_EntityIterator, CN_LevelEntity> {
  public:
    using CN_BasicChildIterator::CN_BasicChildIterator;
    /// An iterator past the last child.
    CN_ChildIterator getEnd() const {
        CN_ChildIterator end = *this;
        end.moveToEnd();
        return end;
    }
};

/// The const twin of `CN_ChildIterator`.
class CN_ConstChildIterator final : public CN_BasicChildIterator<CN_ConstEntityIterator, const CN_LevelEntity> {
  public:
    using CN_BasicChildIterator::CN_BasicChildIterator;
    CN_ConstChildIterator getEnd() const {
        CN_ConstChildIterator end = *this;
        end.moveToEnd();
        return end;
    }
};

/// A walk over the descendants of an entity.
class CN_PreIterator final : public CN_BasicPreIterator<CN_EntityIterator, CN_LevelEntity> {
  public:
    using CN_BasicPreIterator::CN_BasicPreIterator;
};

/// The const twin of `CN_PreIterator`.
class CN_ConstPreIterator final : public CN_BasicPreIterator<CN_ConstEntityIterator, const CN_LevelEntity> {
  public:
    using CN_BasicPreIterator::CN_BasicPreIterator;
};

} // namespace cairn
