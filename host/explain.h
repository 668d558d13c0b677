#pragma once

#include "cairn/entities/level_entity.h"

#include <optional>
#include <string>
#include <vector>

namespace cairn {
class CN_Mesh;
class CN_Polygon;
} // namespace cairn

namespace cairn::host {

/// One thing that is wrong with an exit or a mesh, and where.
struct Reason {
    std::string kind;                           ///< a stable word: see `explainExit` and `explainMesh`
    std::string message;                        ///< says what, in words
    std::vector<CN_LevelEntity::Vector> points; ///< in the world: the ends of a stretch, or what lies apart
    std::optional<double> length;               ///< of the stretch, or how far apart
};

/// True for an exit, and for an opening that leads nowhere: a polygon of an exit's mode without a partner.
bool isOpening(const CN_Polygon& polygon);

/// Why an exit, or an opening, is not fully there. The level's world places must be current.
///
/// | kind           | what                                                                        | points and length            |
/// |----------------|-----------------------------------------------------------------------------|------------------------------|
/// | exit-no-portal | it has no portal                                                            |                              |
/// | exit-unpaired  | its partner is not in the level or does not lead back                       |                              |
/// | exit-mode      | it is drawn as a wall: its mode is not that of an exit, or it has a material |                              |
/// | exit-hangs     | a stretch of its contour lies on no other polygon of the mesh               | its ends, its length         |
/// | exit-touches   | the polygons that the contour lies on, where it hangs                       |                              |
/// | exit-plane     | the partner lies off its plane                                              | the corner that is farthest off, the plane below it; the distance |
/// | exit-facing    | the two do not face each other                                              | their middles                |
/// | exit-area      | they cover different areas                                                  | their middles                |
std::vector<Reason> explainExit(CN_Polygon& exit);

/// Why a mesh is open, and what is wrong with its exits. `only`, which may be null, leaves out the edges of other polygons and
/// the exits.
///
/// | kind           | what                                                                        | points and length            |
/// |----------------|-----------------------------------------------------------------------------|------------------------------|
/// | edge-open      | no other polygon follows a stretch of an edge; the nearest one that might   | its ends, its length         |
/// | edge-crowded   | more than one other polygon follows it                                      | its ends, its length         |
/// | mesh-empty     | the mesh has no polygons                                                    |                              |
/// | room-outward   | the faces of a closed room look outward, so that nothing is inside it       |                              |
///
/// Cost: near linear in edges, as long as not very many of those that are open lie close together.
std::vector<Reason> explainMesh(CN_Mesh& mesh, const CN_Polygon* only);

} // namespace cairn::host
