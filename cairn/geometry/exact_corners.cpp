#include "cairn/geometry/exact_corners.h"

#include "cairn/geometry/mesh/mesh.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

constexpr double ROUNDING = 1e-8;    // of a corner's coordinates, as a share of them
constexpr double LEAST_REACH = 1e-7; // that of the clipper's grid is below it

} // namespace

/// Places that are near have near keys, and those of a wall, whose coordinates are alike, have different ones.
double CN_ExactCorners::keyOf(const Vector& place) { return place.dot({0.4871, 0.5639, 0.6669}); }

void CN_ExactCorners::addCorners(const CN_Polygon& polygon) {
    for (const CN_Edge& edge : polygon.getEdgeList())
        m_places.emplace_back(keyOf(edge.getLocal(0)), edge.getLocal(0));
}

void CN_ExactCorners::addCrossings(const CN_Polygon& polygon, const M_Plane3Template<double>& plane) {
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        const Vector a = edge.getLocal(0), b = edge.getLocal(1);
        const double from = plane.distance(a), to = plane.distance(b);
        if (!((from < 0 && to > 0) || (from > 0 && to < 0)))
            continue;
        Vector place = a + (b - a) * (from / (from - to));
        for (int axis = 0; axis < 3; ++axis)
            if (std::abs(plane.getNormal()[axis]) == 1)
                place[axis] = plane.getPoint()[axis];
        m_places.emplace_back(keyOf(place), place);
    }
}

void CN_ExactCorners::restore(CN_Mesh& mesh, int first) {
    // Of places that are as near the one that came first is taken.
    std::stable_sort(m_places.begin(), m_places.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    CN_Mesh::VertexList& vertices = mesh.accessVertexList();
    for (int i = first; i < vertices.count(); ++i) {
        CN_Vertex& vertex = vertices[i];
        const double reach = std::max(LEAST_REACH, maxAbsComponent(vertex.local) * ROUNDING);
        const double key = keyOf(vertex.local);
        double nearest = reach;
        const Vector* found = nullptr;
        for (auto it = std::lower_bound(m_places.begin(), m_places.end(), key - 2 * reach,
                                        [](const auto&place, double least) { return place.first < least; });
             it != m_places.end() && it->first <= key + 2 * reach; ++it)
            if (const double distance = (it->second - vertex.local).length(); distance < nearest) {
                nearest = distance;
                found = &it->second;
            }
        if (found)
            vertex.local = vertex.world = *found;
    }
}

} // namespace cairn
