#pragma once

namespace cairn {

class CN_Mesh;

/// What `CN_Mesh::triangulizeAll(true)` does, without the work for triangulations that are current
/// (`CN_Polygon::isTriangulationCurrent`). False where a polygon that has pieces would have none, as its boundary crosses
/// itself now. Then, and where it throws, polygons are as they were.
bool CN_renewTriangulations(CN_Mesh& mesh);

} // namespace cairn
