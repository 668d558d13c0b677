#pragma once

namespace cairn {

class CN_Mesh;
class CN_Polygon;

/// @name What operations share that append copies of polygons to a mesh
/// @{
/// The copy gets the source's place on its lightmap, which counts one more user where the document of the copy has it.
void CN_copyLightmapMapping(CN_Polygon& copy, const CN_Polygon& source);
/// Destroys the polygons and vertices behind the first ones, which nothing refers to yet.
void CN_takeBack(CN_Mesh& mesh, int polygons, int vertices);
/// @}

} // namespace cairn
