#pragma once

#include "cairn/foundation/strings.h"

#include <vector>

namespace cairn {

class CN_LevelEntity;

/// What a load renamed, repaired, dropped or passed over: one finding.
struct CN_LoadFinding {
    string code;   ///< a stable word: "repaired", "newer-data", "broken-rotation", "message", ...
    string entity; ///< fully qualified name, "::" for the root; empty where no entity is concerned
    bool hasEntity = false;
    int polygon = -1; ///< index in the entity's mesh, -1 for none
    string text;      ///< says what happened
};

/// Collects the findings of one load in their order. While the tree is being read entities have no full names yet: a
/// finding keeps the entity and is named by `resolve`, which the load calls on every way out.
class CN_LoadReport {
  public:
    /// Adds a finding; `entity` may be null. After very many findings further ones are only counted.
    void add(string code, const CN_LevelEntity* entity, int polygon, string text);
    /// Gives every finding of an entity that is still alive its full name.
    void resolve() noexcept;
    void clear();
    const std::vector<CN_LoadFinding>& getFindings() const { return m_findings; }
    /// Findings beyond the number that is kept.
    std::size_t getDropped() const { return m_dropped; }

  private:
    void nameEntities();

    std::vector<CN_LoadFinding> m_findings;
    std::vector<const CN_LevelEntity*> m_entities; ///< not owned: of the findings, null where named or none
    std::size_t m_dropped = 0;                     ///< findings beyond what is kept
    std::size_t m_bytes = 0;                       ///< of the texts and names that are kept
};

} // namespace cairn
