#pragma once

#include <vector>

namespace cairn {

class CN_Edge;
class CN_Mesh;
class CN_Polygon;

/// The edges of the mesh's exit polygons that may shut off a stretch where two polygons meet: not those of the two, nor of
/// exits that lead to one of them.
std::vector<const CN_Edge*> CN_findExitEdges(const CN_Mesh& mesh, const CN_Polygon* a, const CN_Polygon* b);

/// True if the edges share a stretch in the mesh's space and those of the exit edges that run along one of the two leave at
/// least 0.001 of it free. Cost: a look at each exit edge.
bool CN_isOpenAcross(const CN_Edge& a, const CN_Edge& b, const std::vector<const CN_Edge*>& exitEdges);

} // namespace cairn
