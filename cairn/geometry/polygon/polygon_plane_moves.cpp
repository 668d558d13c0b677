#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/plane_mover.h"

namespace cairn {

void CN_Polygon::createListOfCoplanarNeighbors(F_DLList<CN_Polygon*>& list) {
    CN_PlaneMover(requireMesh()).appendCoplanarNeighbors(*this, list);
}

void CN_Polygon::createListOfOnlyOwnVertices(const F_DLList<CN_Polygon*>& group, F_DLList<int>& list) {
    CN_PlaneMover(requireMesh()).appendOwnVertices(*this, group, list);
}

} // namespace cairn
