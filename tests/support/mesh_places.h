#pragma once

#include "cairn/geometry/validate.h"
#include "tests/support/mesh_shelf.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

/// What a change of a mesh is judged by.
namespace cairn::test {

inline std::vector<CN_Polygon*> polygonsOf(CN_Mesh& mesh) {
    std::vector<CN_Polygon*> polygons;
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        polygons.push_back(&polygon);
    return polygons;
}

/// Where the polygons' edges begin in the world.
inline std::vector<CN_Mesh::Vector> cornersOf(const std::vector<CN_Polygon*>& polygons) {
    std::vector<CN_Mesh::Vector> corners;
    for (const CN_Polygon* const polygon : polygons)
        for (const CN_Edge& edge : polygon->getEdgeList())
            corners.push_back(edge.getWorld(0));
    return corners;
}

/// How far places are apart that stand for each other; infinity where there are not as many.
inline double farthest(const std::vector<CN_Mesh::Vector>& a, const std::vector<CN_Mesh::Vector>& b) {
    double distance = a.size() == b.size() ? 0 : std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        distance = std::max(distance, (a[i] - b[i]).length());
    return distance;
}

/// The codes of what does not hold in the mesh, with the places of polygons.
inline std::string defectsOf(const CN_Mesh& mesh) {
    std::string codes;
    for (const CN_Finding& finding : CN_validateMesh(mesh, 2e-3))
        codes += std::to_string(finding.polygon) + finding.code + " ";
    return codes;
}

} // namespace cairn::test
