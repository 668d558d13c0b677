#pragma once

namespace cairn {

class CN_Mesh;

/// What `CN_Mesh::triangulizeAll(true)` does, without the work for triangulations that are current
/// (`CN_Polygon::isTriangulationCurrent`). Where it throws, polygons are as they were.
void CN_renewTriangulations(CN_Mesh& mesh);

} // namespace cairn
