#pragma once

#include "cairn/document/document.h"
#include "cairn/entities/level_entity.h"

#include <map>
#include <set>
#include <vector>

namespace cairn::host {

/// Takes entities and exits out of a level, and with them the exits that lead there, one way or back: they become walls, and
/// their portals go. An exit that something leads to only one way stays. Messages that name what goes are deleted.
class Deletion {
  public:
    /// The document must have a level and outlive the object.
    explicit Deletion(CN_Document& document) : m_document(document) {}

    /// Adds an entity with all below it.
    void add(CN_LevelEntity& top);
    /// Adds an exit, which becomes a wall; nothing for null and for a polygon that is none.
    void addExit(CN_Polygon* exit);
    /// Takes out what was added: once.
    void run();

  private:
    void gatherWaysIn();
    void addWaysInto(const CN_Polygon* polygon);
    void gatherExits(CN_LevelEntity& entity);
    void closeExit(CN_Polygon& exit);

    CN_Document& m_document;
    std::vector<CN_LevelEntity*> m_tops;       ///< that are deleted, with all below them
    std::vector<CN_LevelEntity*> m_dying;      ///< those and all below them
    std::set<const CN_LevelEntity*> m_isDying; ///< the same; looked up only
    std::vector<CN_Polygon*> m_exits;          ///< that become walls
    std::set<const CN_Polygon*> m_isClosing;   ///< the same; looked up only
    std::map<const CN_Polygon*, std::vector<CN_Polygon*>>
        m_waysInto; ///< the exits that lead to a polygon; looked up only
};

} // namespace cairn::host
