#pragma once

#include "cairn/containers/name_index.h"
#include "cairn/entities/entity_iterator.h"
#include "cairn/foundation/strings.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace cairn {

/// Whole numbers at or above 0 of any size, as decimal digits without leading zeros: 0 is the empty text.
struct CN_DecimalLess {
    bool operator()(std::string_view a, std::string_view b) const {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    }
};
/// The number that follows `number`.
std::string nextDecimal(std::string number);

/// The numbers that stand behind one base among the names of siblings, as runs without a gap.
class CN_UsedNumbers {
  public:
    void add(const std::string& number);
    /// Takes one use of `number` away; there must be one.
    void remove(const std::string& number);
    bool empty() const { return m_runs.empty(); }
    /// The least number from `from` on that is not used. Where `own` is given, one use of it does not count. Takes the
    /// logarithm of the number of runs.
    std::string firstFree(const std::string& from, const std::string* own) const;

  private:
    using Runs = std::map<std::string, std::string, CN_DecimalLess>;

    Runs::const_iterator runOf(const std::string& number) const;

    Runs m_runs;                                            ///< from the first number to the one behind the last
    std::map<std::string, int, CN_DecimalLess> m_extraUses; ///< of numbers used more than once: uses beyond the first
};

/// Looks up the names of one parent's children, so that naming one of very many takes no walk over the others.
///
/// The parent builds it when it has more than `MIN_CHILDREN` and is asked about a name, and tells it of every change.
class CN_ChildNames {
  public:
    /// Up to this many children a walk is as fast and takes no memory.
    static constexpr std::size_t MIN_CHILDREN = 32;

    explicit CN_ChildNames(const CN_EntityChildList& children);

    /// The first child in list order of that name without regard to case, or null.
    CN_LevelEntity* find(std::string_view name) const;
    /// The least number from `number` on that stands behind `base` in the name of no child but `own`, which may be
    /// null. Without regard to the base's case and to white space around a child's name.
    std::string firstFreeNumber(std::string_view base, const std::string& number, const CN_LevelEntity* own);

    /// `child` was added at the end of the list.
    void add(CN_LevelEntity* child);
    /// `child` is about to leave the list.
    void remove(CN_LevelEntity* child);
    /// `child` is about to be called `name`.
    void rename(CN_LevelEntity* child, std::string_view name);

    /// The same answer as `firstFreeNumber` by one walk over the children.
    static std::string firstFreeNumberByWalk(const CN_EntityChildList& children, std::string_view base,
                                             const std::string& number, const CN_LevelEntity* own);

  private:
    using Bases = std::map<istring, CN_UsedNumbers>;

    static void use(Bases& bases, std::string_view name);
    void release(std::string_view name);

    const CN_EntityChildList* m_children; ///< not owned
    F_NameIndex<CN_LevelEntity*> m_index; ///< names as they stand, stamped in list order
    std::optional<Bases> m_numbers;       ///< by base; counted when first asked for
};

} // namespace cairn
