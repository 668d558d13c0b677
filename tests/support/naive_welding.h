#pragma once

#include "cairn/foundation/strings.h"
#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// Welding as it is told: every vertex with every vertex, every polygon with every group. What the library does faster is held
/// against it.
namespace cairn::test {

/// Where the vertices are, in list order.
inline std::vector<M_Vector3Template<double>> placesOf(const CN_Mesh& mesh) {
    std::vector<M_Vector3Template<double>> places;
    for (const CN_Vertex& vertex : mesh.getVertexList())
        places.push_back(vertex.local);
    return places;
}

inline void addVertices(CN_Mesh& mesh, const std::vector<M_Vector3Template<double>>& places) {
    for (const M_Vector3Template<double>& place : places)
        mesh.addVertex(place);
}

using NaiveGroups = std::vector<std::list<int>>;

inline bool isInGroup(const std::list<int>& group, int vertex) {
    return std::find(group.begin(), group.end(), vertex) != group.end();
}

/// `CN_Mesh::addWeldVertices`.
inline void naiveAddWeldVertices(NaiveGroups& groups, int keeper, int other) {
    if (keeper == other)
        return;
    std::list<int>&own = groups[static_cast<std::size_t>(keeper)], &theirs = groups[static_cast<std::size_t>(other)];
    while (!theirs.empty()) {
        const int x = theirs.front();
        theirs.pop_front();
        if (x == keeper || isInGroup(own, x))
            continue;
        own.push_back(x);
        naiveAddWeldVertices(groups, keeper, x);
    }
}

/// `CN_Mesh::createWeldGroups`; `largest` and `log` as they are told there.
inline NaiveGroups naiveWeldGroups(const std::vector<M_Vector3Template<double>>& points, double radius,
                                   unsigned int& largest, std::string& log) {
    NaiveGroups groups(points.size());
    for (std::size_t v = 0; v < points.size(); ++v) {
        for (std::size_t w = 0; w < points.size(); ++w)
            if ((points[v] - points[w]).length() < radius)
                groups[v].push_back(static_cast<int>(w));
        if (groups[v].size() > largest) {
            largest = static_cast<unsigned int>(groups[v].size());
            log += formatText("Max weld group size %d\n", static_cast<int>(largest));
        }
    }
    for (std::size_t v = 0; v < points.size(); ++v)
        if (groups[v].size() > 1)
            for (const int i : std::list<int>(groups[v]))
                naiveAddWeldVertices(groups, static_cast<int>(v), i);
    return groups;
}

/// `CN_Mesh::s_matchPlanes`: the planes of each group, and each polygon's group and side in list order.
inline std::vector<std::pair<int, bool>> naiveMatchPlanes(const CN_Mesh& mesh, double distance,
                                                          CN_Mesh::PlaneGroups& groups) {
    std::vector<std::pair<int, bool>> matched;
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        M_Vector3Template<double> normal = polygon.getNormal(), point = polygon.getPointOnPlane();
        snapPlane(normal, point);
        const M_Plane3Template<double> plane(normal, point);
        std::size_t g = 0;
        while (g < groups.size() && !plane.matches(groups[g].front(), 0.017453292522222223, distance))
            ++g;
        const bool isNew = g == groups.size();
        const bool isFlipped = !isNew && groups[g].front().getNormal().dot(polygon.getNormal()) < 0;
        if (isNew)
            groups.emplace_back();
        groups[g].emplace_back(isFlipped ? -normal : normal, point);
        matched.emplace_back(static_cast<int>(g), isFlipped);
    }
    return matched;
}

/// `CN_Mesh::getNearbyPolygons`; what it logs and enters as replacements.
inline std::vector<CN_Polygon*> naiveNearbyPolygons(CN_Mesh& mesh, int vertex, const std::vector<int>& group,
                                                    double radius, std::map<CN_Polygon*, CN_Polygon*>& replacements,
                                                    std::string& log) {
    const auto numberOf = [](const CN_Polygon* polygon) { return static_cast<int>(polygon->getPolygonIndex()); };
    std::list<CN_Polygon*> found;
    for (const int i : group)
        for (CN_Polygon& polygon : mesh.accessPolygonList())
            for (const CN_Edge& edge : polygon.getEdgeList())
                if (edge.index(0) == i) {
                    found.push_back(&polygon);
                    break;
                }
    const M_Vector3Template<double> place = mesh.getVertexList()[vertex].local;
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        int number = -1;
        for (const CN_Edge& edge : polygon.getEdgeList()) {
            ++number;
            if (edge.index(0) == vertex || edge.index(1) == vertex ||
                !(CN_lineDistance(place, edge.getLocal(0), edge.getLocal(1)) < radius))
                continue;
            const double ds = edge.dir().normalized().dot(place - edge.getLocal(0));
            if (!(ds > radius && ds < edge.dir().length() - radius))
                continue;
            found.push_back(&polygon);
            log += formatText("Vertex %d on edge %d, %d, ds = %.8lf\n", vertex, number, numberOf(&polygon), ds);
            break;
        }
    }
    for (auto entry = found.begin(); entry != found.end(); ++entry)
        for (auto later = std::next(entry); later != found.end();) {
            const double product = std::abs((*entry)->getNormal().dot((*later)->getNormal()));
            const bool isParallel = std::acos(std::clamp(product, -1.0, 1.0)) < 0.017453292522222223;
            if (*later != *entry && isParallel)
                replacements.emplace(*later, *entry);
            later = *later == *entry || isParallel ? found.erase(later) : std::next(later);
        }
    for (CN_Polygon* const polygon : found)
        if (const auto entry = replacements.find(polygon); entry != replacements.end())
            log += formatText("replacing %d with %d\n", numberOf(polygon), numberOf(entry->second));
    return {found.begin(), found.end()};
}

} // namespace cairn::test
