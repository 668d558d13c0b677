#include "cairn/geometry/plane_move.h"

namespace cairn {

const char* CN_describe(CN_PlaneMoveRefusal refusal) {
    switch (refusal) {
    case CN_PlaneMoveRefusal::NONE:
        return "nothing is in the way";
    case CN_PlaneMoveRefusal::NO_SUCH_POLYGON:
        return "the mesh has no such polygon with a plane";
    case CN_PlaneMoveRefusal::NOT_A_MOVE:
        return "the move is not finite, or leaves the plane no normal";
    case CN_PlaneMoveRefusal::EXIT:
        return "an exit lies in the plane or on its border";
    case CN_PlaneMoveRefusal::SPREADING_EDGES:
        return "edges leave one of its corners in two directions";
    case CN_PlaneMoveRefusal::HELD_CORNER:
        return "a plane without an edge to run along holds one of its corners";
    case CN_PlaneMoveRefusal::BEYOND_FAR_END:
        return "an edge would pass its far end";
    case CN_PlaneMoveRefusal::TOO_SHORT:
        return "an edge beside it would become too short";
    case CN_PlaneMoveRefusal::TOO_LONG:
        return "an edge beside it would become more than ten times as long";
    case CN_PlaneMoveRefusal::PARALLEL:
        return "an edge beside it runs along the new plane";
    case CN_PlaneMoveRefusal::CROSSING:
        return "an edge would go through another polygon";
    case CN_PlaneMoveRefusal::TURNED_OVER:
        return "an edge would turn over";
    case CN_PlaneMoveRefusal::SHRUNK:
        return "an edge would become too short";
    case CN_PlaneMoveRefusal::BENT:
        return "a corner would leave the plane of a polygon beside it";
    case CN_PlaneMoveRefusal::FOLDED:
        return "the boundary of a polygon would cross itself";
    case CN_PlaneMoveRefusal::PIERCED:
        return "another edge would go through the moved plane";
    }
    return "";
}

} // namespace cairn
