#pragma once

#include "cairn/entities/level_entity.h"

namespace cairn {

/// An entity that is being read, for the time of its `load`: knows those that are being read around it, which are not
/// its ancestors yet. Internal to the level entity.
class CN_LevelEntity::LoadScope {
  public:
    explicit LoadScope(CN_LevelEntity& entity)
        : m_entity(entity), m_outer(s_innermost), m_depth(m_outer ? m_outer->m_depth + 1 : 0) {
        s_innermost = this;
    }
    ~LoadScope() { s_innermost = m_outer; }
    LoadScope(const LoadScope&) = delete;
    LoadScope& operator=(const LoadScope&) = delete;

    /// The scope of the entity that is being read now, null outside a load.
    static const LoadScope* innermost() { return s_innermost; }
    const CN_LevelEntity& entity() const { return m_entity; }
    const LoadScope* outer() const { return m_outer; }
    /// How many entities are being read around this one.
    int depth() const { return m_depth; }
    /// `child` was read and is being attached to this scope's entity; null when that is done.
    void setAdopting(const CN_LevelEntity* child) { m_adopting = child; }
    static bool isAdopting(const CN_LevelEntity* child) { return s_innermost && s_innermost->m_adopting == child; }
    static LoadScope* accessInnermost() { return s_innermost; }

  private:
    inline static LoadScope* s_innermost = nullptr; ///< not owned

    CN_LevelEntity& m_entity;
    LoadScope* m_outer; ///< not owned
    int m_depth;
    const CN_LevelEntity* m_adopting = nullptr; ///< not owned
};

/// The bytes that the qualified names of one load may take: a short file could ask for any amount otherwise.
inline constexpr std::size_t CN_MAX_QUALIFIED_NAME_BYTES = std::size_t{64} << 20;

} // namespace cairn
