#pragma once

#include "cairn/foundation/system.h"
#include "cairn/geometry/mesh/mesh.h"

#include <algorithm>
#include <set>
#include <vector>

/// Questions about the parts of a mesh as they are told: each polygon is held against all others, each vertex is looked for
/// among all. What the library does faster is held against them. Boxes and world places must be current.
namespace cairn::test {

struct NaiveParts {
    bool separated = false;
    std::vector<CN_Polygon*> reached, rest;
};

inline NaiveParts naiveSeparated(CN_Mesh& mesh, CN_Polygon* start) {
    NaiveParts parts;
    const CN_Polygon* const destination = start->getExitDestination();
    std::set<CN_Polygon*> visited{start};
    std::vector<CN_Polygon*> queue{start};
    while (!queue.empty()) {
        CN_Polygon* const p = queue.front();
        queue.erase(queue.begin());
        parts.reached.push_back(p);
        if (p == destination)
            return parts;
        for (CN_Polygon& q : mesh.accessPolygonList()) {
            if (q.getExitDestination() == p || visited.contains(&q) || !p->jumpable(&q))
                continue;
            if (&q == destination) {
                F_System::verbose("Reached dest from poly %d\n", static_cast<int>(p->getPolygonIndex()));
                return parts;
            }
            visited.insert(&q);
            queue.push_back(&q);
        }
    }
    if (!destination && static_cast<int>(parts.reached.size()) == mesh.getPolygonList().count())
        return parts;
    for (CN_Polygon& q : mesh.accessPolygonList())
        if (std::find(parts.reached.begin(), parts.reached.end(), &q) == parts.reached.end())
            parts.rest.push_back(&q);
    parts.separated = true;
    return parts;
}

inline bool naiveHasPartner(CN_Mesh& mesh, const CN_Edge& edge) {
    M_Vector3Template<double> point, vector;
    for (CN_Polygon& other : mesh.accessPolygonList())
        if (&other != edge.getParent() && edge.getParent()->bbIntersect(&other))
            for (const CN_Edge& theirs : other.getEdgeList())
                if (edge.sharesSpaceLocal(&theirs, point, vector))
                    return true;
    return false;
}

inline std::set<CN_Polygon*> naiveOpenPolygons(CN_Mesh& mesh) {
    std::set<CN_Polygon*> open;
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        for (const CN_Edge& edge : polygon.getEdgeList())
            if (!naiveHasPartner(mesh, edge))
                open.insert(&polygon);
    return open;
}

inline void naiveDeleteFloatingFaces(CN_Mesh& mesh, const std::set<CN_Polygon*>& candidates) {
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        const CN_Polygon::EdgeList& edges = polygon.getEdgeList();
        const auto hasPartner = [&mesh](const CN_Edge& edge) { return naiveHasPartner(mesh, edge); };
        if (candidates.contains(&polygon) && std::none_of(edges.begin(), edges.end(), hasPartner))
            mesh.deletePolygon(&polygon);
    }
}

/// Adds the polygons' outlines.
inline void naiveAddOutlines(CN_Mesh& mesh, const std::vector<const CN_Polygon*>& polygons) {
    for (const CN_Polygon* const polygon : polygons) {
        CN_Polygon& copy = *mesh.addPolygon();
        for (const CN_Edge& edge : polygon->getEdgeList())
            copy.addEdge(edge.getLocal(0), edge.getLocal(1));
    }
}

} // namespace cairn::test
