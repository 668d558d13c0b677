#pragma once

#include "cairn/entities/level_entity.h"
#include "host/map_reader.h"

#include <cstddef>
#include <map>
#include <string_view>
#include <vector>

namespace cairn::host {

/// What became of the keys that join the entities of a map.
struct MapLinkCounts {
    std::size_t messages = 0; ///< made for targets
    std::size_t unbound = 0;  ///< targets that no entity has for its name
    std::size_t kills = 0;    ///< keys that name what shall be removed: the game has no such message
};

/// The event by which an entity that was joined to others is set off.
inline constexpr const char* ACTIVATE_EVENT = "Activate";
/// The most messages that the targets of one map may need.
inline constexpr std::size_t MAX_LINK_MESSAGES = 1'000'000;

/// Turns the `targetname` and `target` of a map's entities into state machines: each of them gets the custom event
/// "Activate"; the handler of one with a target sends that event on to all entities of that name, and what sets it off in
/// the game (a trigger that is touched, an enemy that dies) sends the event to the entity itself.
class MapLinks {
  public:
    /// Notes the keys of an entity and what it became; `touched` are the meshes that set it off. All must live until `bind`.
    void add(const MapFile& map, const MapEntity& source, CN_LevelEntity& made,
             std::vector<CN_LevelEntity*> touched = {});
    /// Makes the machines. Throws an `F_Exception*` that begins with "line N: " where they would need more messages than
    /// the most.
    MapLinkCounts bind();

  private:
    struct Link {
        CN_LevelEntity* entity;               ///< not owned
        std::vector<CN_LevelEntity*> touched; ///< not owned
        std::string_view target;              ///< of the map; empty for none
        std::uint32_t line;                   ///< of its key
    };

    std::vector<Link> m_links;                                          ///< in the order of the map
    std::map<std::string_view, std::vector<CN_LevelEntity*>> m_targets; ///< not owned: by the map's name
    std::size_t m_kills = 0;
};

} // namespace cairn::host
