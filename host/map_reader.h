#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cairn::host {

/// One quoted pair of a map's entity. Both views point into the text that was read.
struct MapKey {
    std::string_view key;
    std::string_view value; ///< between the quotes, byte for byte
    std::uint32_t line = 0; ///< of the key, from 1
};

/// One plane of a brush as the map has it: three points, clockwise round the face seen from outside, and the texture's
/// placement.
struct MapFace {
    double points[3][3];      ///< in map units
    std::string_view texture; ///< the name as it stands
    bool valve = false;       ///< the texture's axes are written out
    double axes[2][3];        ///< Valve 220 only: along the texture's width and height
    double offset[2];         ///< in texels
    double rotation = 0;      ///< in degrees; of a Valve 220 face it is in the axes already
    double scale[2];          ///< map units to a texel
    std::uint32_t line = 0;   ///< from 1
};

/// A brush: its faces, by place in `MapFile::faces`.
struct MapBrush {
    std::uint32_t line = 0; ///< of its opening brace, from 1
    std::uint32_t firstFace = 0;
    std::uint32_t faceCount = 0;
};

/// How many brushes stand somewhere, and in which forms their faces are written.
struct MapBrushCounts {
    std::uint32_t brushes = 0;
    std::uint32_t patches = 0;       ///< curved surfaces: read over, counted here only
    std::uint32_t standardFaces = 0; ///< texture offsets along the nearest axes
    std::uint32_t valveFaces = 0;    ///< texture axes written out (Valve 220)

    std::uint32_t faces() const { return standardFaces + valveFaces; }
    bool any() const { return brushes > 0 || patches > 0; }
    MapBrushCounts& operator+=(const MapBrushCounts& o);
};

/// One entity of a map: its keys, by place in `MapFile::keys`, and what stands in it.
struct MapEntity {
    std::uint32_t line = 0; ///< of its opening brace, from 1
    std::uint32_t firstKey = 0;
    std::uint32_t keyCount = 0;
    std::uint32_t firstBrush = 0; ///< in `MapFile::brushes`
    MapBrushCounts counts;
};

/// The content of a `.map` file.
struct MapFile {
    std::vector<MapEntity> entities;
    std::vector<MapKey> keys;        ///< of all entities, one after the other
    std::vector<MapBrush> brushes;   ///< likewise
    std::vector<MapFace> faces;      ///< of all brushes, one after the other
    MapBrushCounts loose;            ///< brushes with no entity around them, as editors put on the clipboard
    std::vector<MapBrush> looseOnes; ///< those

    /// The last pair of that key, which is compared with case, or null. Valid as long as the file.
    const MapKey* find(const MapEntity& entity, std::string_view key) const;
    /// The value of that pair, empty where there is none.
    std::string_view value(const MapEntity& entity, std::string_view key) const;
    /// What all entities hold together with what stands in none.
    MapBrushCounts total() const;
};

/// The largest map that is read, in bytes and in entities: beyond anything an editor makes.
inline constexpr std::size_t MAX_MAP_BYTES = std::size_t{256} << 20;
inline constexpr std::size_t MAX_MAP_ENTITIES = 1000000;

/// A name or another piece of a file for a text about it: short, and without what would break a line.
std::string shownPiece(std::string_view word);

/// A finite decimal number that takes up all of `word`, which may have a plus sign ahead; false where anything else stands
/// there.
bool readFiniteNumber(std::string_view word, double& number);

/// Reads the text of a Quake-family map: quoted keys and values, brushes whose faces are in the standard or the Valve
/// 220 form with any extra numbers behind, patches, comments begun by "//" or ";". The result points into `text`, which
/// must outlive it. What cannot be read throws an `F_Exception*` whose text begins with "line N: ".
MapFile readMap(std::string_view text);

/// Reads `count` finite numbers parted by blanks from all of `text`; false, with `numbers` unspecified, where anything
/// else stands there.
bool readMapNumbers(std::string_view text, double* numbers, int count);

} // namespace cairn::host
