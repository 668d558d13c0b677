#pragma once

#include "cairn/entities/level_entity.h"

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace cairn::host {

/// Says which entities of two levels stand for one another: two of one kind each.
///
/// By name first, from the root down and then by qualified name. What is left is paired by likeness: below one parent with
/// what has the same content and children, the same content, the same children, or children and the same content at another
/// place; then anywhere with what has the same content and children or content alone, wherever it stands. Children of a pair
/// are paired likewise. It is the same the other way round. Time grows with the number of entities (and its logarithm).
class EntityMatching {
  public:
    enum Level : std::size_t { FIRST, SECOND };
    static constexpr int NONE = -1;

    /// Both trees must outlive this and stay as they are.
    EntityMatching(const CN_LevelEntity& first, const CN_LevelEntity& second);

    /// The entities of a level by number, in pre-order, the root first.
    const std::vector<const CN_LevelEntity*>& entities(Level level) const { return m_trees[level].entities; }
    /// The number of an entity, `NONE` for one that is not in the level.
    int find(Level level, const CN_LevelEntity* entity) const;
    /// The number that the partner has in the other level, `NONE` where it has none.
    int partner(Level level, int number) const { return m_trees[level].partners[index(number)]; }
    /// The number of the parent, `NONE` for the root.
    int parent(Level level, int number) const { return m_trees[level].parents[index(number)]; }
    std::vector<int> children(Level level, int number) const;

  private:
    /// What two entities must have in common.
    struct Key {
        int size; ///< of the subtree where it counts, else 0: larger ones are paired first
        std::uint64_t hash;
        int number;
    };
    /// What is known of the content of an entity.
    struct Content {
        std::uint64_t content = 0; ///< all but place, name and children
        std::uint64_t place = 0;
        std::uint64_t below = 0; ///< names, content and places of all below it
    };
    struct Tree {
        std::vector<const CN_LevelEntity*> entities;
        std::vector<int> parents, sizes, partners;
        std::vector<Content> contents; ///< of those without a partner and all below them
        std::unordered_map<const CN_LevelEntity*, int> numbers;
    };
    using Keys = std::vector<Key>;
    using Criterion = bool (EntityMatching::*)(Level level, int number, Key& key) const;
    using Pair = std::pair<int, int>;

    static std::size_t index(int number) { return static_cast<std::size_t>(number); }
    static Tree readTree(const CN_LevelEntity& root);
    void pair(int first, int second);
    void pairByPath();
    void pairByQualifiedName();
    void readContents(Level level);
    Keys keysOf(Criterion criterion, Level level, const std::vector<int>& numbers) const;
    void pairAlike(Criterion criterion, const std::vector<int>& first, const std::vector<int>& second,
                   bool withChildren);
    void pairBelow();
    std::vector<int> withoutPartner(Level level) const;
    std::vector<int> withoutPartner(Level level, int parent) const;

    /// @name Criteria: each is false for an entity that it does not speak of
    /// @{
    bool byName(Level level, int number, Key& key) const;
    bool byNameInFull(Level level, int number, Key& key) const;
    bool bySubtree(Level level, int number, Key& key) const;
    bool byContent(Level level, int number, Key& key) const;
    bool byWhatIsBelow(Level level, int number, Key& key) const;
    bool byPlacedContent(Level level, int number, Key& key) const;
    bool byNameAndSubtree(Level level, int number, Key& key) const;
    bool byNameAndMovedSubtree(Level level, int number, Key& key) const;
    bool byNameAndMovedContent(Level level, int number, Key& key) const;
    /// @}

    std::array<Tree, 2> m_trees;
    std::vector<Pair> m_fresh; ///< pairs whose children have not been looked at
};

} // namespace cairn::host
