#pragma once

#include <vector>

namespace cairn {

class CN_Polygon;

/// `CN_Polygon::createSharedEdgeList` for who knows which polygons come into question: `near` has, in list order, all those of
/// the mesh whose boxes meet the polygon's, and the polygon itself. Cost: n log n in their edges.
void CN_createSharedEdgeList(CN_Polygon& polygon, const std::vector<CN_Polygon*>& near);

} // namespace cairn
