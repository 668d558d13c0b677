#pragma once

#include "cairn/containers/dl_list.h"
#include "cairn/geometry/planar/edge2d.h"

namespace cairn {

/// A closed loop of edges of a planar polygon.
struct LassoContainer {
    LassoContainer* parent = nullptr; ///< not owned: of a hole, the top-level loop it is cut out of; null for none
    F_DLList<LassoContainer*> holes;  ///< not owned: of a top-level loop
    F_DLListInit<CN_2DEdge> edges;    ///< the loop, in order
    int lassoId = 0;                  ///< number of the loop
    int isHole = 0;                   ///< nonzero for a hole
};

} // namespace cairn
