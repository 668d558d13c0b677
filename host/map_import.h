#pragma once

#include "host/map_reader.h"

#include <cstddef>
#include <map>
#include <string>

namespace cairn {
class CN_Document;
}

namespace cairn::host {

/// Units of ours to one of a map.
inline constexpr double DEFAULT_MAP_SCALE = 1.0 / 32.0;

/// What an import made of a map, and what it left.
struct MapImportSummary {
    std::map<int, std::size_t> made; ///< entities by kind, the player left out
    bool playerPlaced = false;       ///< a player start gave the player its place
    MapBrushCounts brushes;          ///< left, wherever they stand
    std::size_t brushEntities = 0;   ///< entities left because they have brushes, worldspawn aside
    std::size_t links = 0;           ///< `targetname` and `target` keys left
    std::size_t oddValues = 0;       ///< values of keys with a meaning that are not what the key takes, passed over
    std::uint32_t firstOddLine = 0;  ///< of the first such value

    /// One line for people.
    std::string text() const;
};

/// Makes the point entities of a map entities under the document's root, in the map's order.
///
/// `info_player_start` gives the player its place (the first `info_player_deathmatch` does where there is none); lights
/// become dynamic point lights, whose reach is the map's light value and whose intensity is 1 at the usual 300; items,
/// weapons, ammunition and keys become level items, monsters enemies, both with their class as name of content;
/// triggers become triggers, AI nodes AI nodes, and all else waypoints. Names are the classes'. Directions follow
/// `angles`, `mangle` or `angle`. A place that is no three numbers throws an `F_Exception*` that begins with "line N: ".
MapImportSummary importMap(const MapFile& map, double scale, CN_Document& document);

/// A name for entities of that class: bytes that names cannot have become "_", very long ones are cut.
std::string toEntityName(std::string_view className);

} // namespace cairn::host
