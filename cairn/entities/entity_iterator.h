#pragma once

#include "cairn/foundation/allocator.h"

#include <list>
#include <memory>

namespace cairn {

class CN_LevelEntity;

/// A walk over entities, stepped by hand: `begin`, then while `end` is false use `*it` and `++it`.
class CN_EntityIterator {
  public:
    virtual ~CN_EntityIterator() = default;
    virtual void begin() = 0;
    /// True past the last entity, and before `begin`.
    virtual bool end() = 0;

  private:
    virtual void operator++(int) {}

  public:
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

  private:
    virtual void operator++(int) {}

  public:
    virtual CN_ConstEntityIterator& operator++() = 0;
    virtual const CN_LevelEntity* operator*() = 0;
    virtual const CN_LevelEntity* operator->() = 0;
    virtual bool operator!=(const CN_ConstEntityIterator& other) const = 0;
};

// The concrete iterators stand here: CN_ChildIterator, CN_PreIterator and their const twins.
class CN_ChildIterator;
class CN_PreIterator;
class CN_ConstChildIterator;
class CN_ConstPreIterator;

} // namespace cairn
