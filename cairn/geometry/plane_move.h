#pragma once

namespace cairn {

/// Why a polygon's plane was not moved, in the order in which that is asked.
enum class CN_PlaneMoveRefusal : int {
    NONE,            ///< it was moved
    NO_SUCH_POLYGON, ///< null, of another mesh, without edges or without a normal
    NOT_A_MOVE,      ///< a distance, a matrix or a centre that is not finite, or a matrix that leaves no unit normal
    EXIT,            ///< an exit moves or borders on what moves
    SPREADING_EDGES, ///< edges leave a corner of what moves in two directions
    HELD_CORNER,     ///< a corner is held by a plane in which it has no edge to run along
    BEYOND_FAR_END,  ///< an edge beside would pass its far end
    TOO_SHORT,       ///< an edge beside would become shorter than the least length
    TOO_LONG,        ///< an edge beside would become more than ten times as long
    PARALLEL,        ///< an edge beside, or the way a corner goes, runs along the new plane
    CROSSING,        ///< the end of an edge would change sides of a polygon that its line passes through
    TURNED_OVER,     ///< an edge would turn over
    SHRUNK,          ///< an edge that is longer would become as short as the least length
    BENT,            ///< a corner would leave the plane of a polygon beside
    PIERCED, ///< another edge would go through what moves: looked for along the old normal, which misses most tilts
    FOLDED,  ///< the boundary of a polygon would cross itself
};

/// That in words, to go on behind "refused: ".
const char* CN_describe(CN_PlaneMoveRefusal refusal);

} // namespace cairn
