#pragma once

#include "host/import_materials.h"
#include "host/import_mesh.h"
#include "host/map_links.h"
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

/// Something of a file that was not imported as it stands, with its line and why.
struct ImportFinding {
    std::uint32_t line = 0;
    std::string text;
};

/// What an import made of a map, and what it left.
struct MapImportSummary {
    /// No more findings than this are told one by one.
    static constexpr std::size_t MAX_FINDINGS = 100;

    std::map<int, std::size_t> made; ///< entities by kind, the player left out
    bool playerPlaced = false;       ///< a player start gave the player its place
    MapBrushCounts brushes;          ///< of the file, wherever they stand
    ImportMeshCounts meshes;         ///< made of them
    ImportMaterials::Counts materials;
    std::size_t brushEntities = 0;       ///< made of entities that have brushes, worldspawn aside
    std::size_t lostBrushes = 0;         ///< that enclose nothing, or are none for another reason
    std::size_t thinBrushes = 0;         ///< whose corners a level cannot tell apart, so that it takes them for open
    std::size_t idleFaces = 0;           ///< of brushes that were made: planes that bound nothing
    MapLinkCounts links;                 ///< `targetname`, `target` and `killtarget`
    std::size_t oddValues = 0;           ///< values of keys with a meaning that are not what the key takes, passed over
    std::uint32_t firstOddLine = 0;      ///< of the first such value
    std::vector<ImportFinding> findings; ///< the lost brushes, in the order of the file, as far as they are told

    /// One line for people.
    std::string text() const;
};

/// The most faces of a brush that is made.
inline constexpr std::uint32_t MAX_BRUSH_FACES = 1024;

/// Makes the entities of a map entities of ours, in the map's order, and numbers the polygons.
///
/// Each brush of worldspawn, and each that stands in no entity, becomes a mesh entity below the root, named "Brush" and its
/// number, with its faces outward. An entity with brushes becomes an FSM entity with its brushes below; those of doors,
/// platforms and whatever else moves are dynamic meshes, those of triggers trigger meshes. A brush that encloses nothing is
/// left out and told. Materials have the names of the textures, their texture spaces are the map's.
///
/// `info_player_start` gives the player its place (the first `info_player_deathmatch` does where there is none); lights
/// become dynamic point lights, whose reach is the map's light value and whose intensity is 1 at the usual 300; items,
/// weapons, ammunition and keys become level items, monsters enemies, both with their class as name of content;
/// triggers become triggers, AI nodes AI nodes, and all else waypoints. Names are the classes'. Directions follow
/// `angles`, `mangle` or `angle`; names and targets become messages (`MapLinks`). A place that is no three numbers throws an `F_Exception*` that begins with "line N: ".
MapImportSummary importMap(const MapFile& map, double scale, ImportMaterials& materials, CN_Document& document);
/// The same with generated images in a category "map".
MapImportSummary importMap(const MapFile& map, double scale, CN_Document& document);

/// What is to be told of meshes and materials, each part begun by "; ".
std::string meshText(const ImportMeshCounts& meshes, const ImportMaterials::Counts& materials);

} // namespace cairn::host
