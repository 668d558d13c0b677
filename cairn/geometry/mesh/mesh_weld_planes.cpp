#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/mesh/weld_surroundings.h"
#include "cairn/geometry/plane_matcher.h"
#include "cairn/geometry/welding.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <vector>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Plane = M_Plane3Template<double>;

std::vector<Plane> planesOf(const CN_Mesh& mesh) {
    std::vector<Plane> planes;
    planes.reserve(static_cast<std::size_t>(mesh.getPolygonList().count()));
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        planes.push_back(polygon.getPlane());
    return planes;
}

/// The place of one vertex and of those that weld to it. Throws where one is not there.
struct AskedVertex {
    int place;
    std::vector<int> group;

    AskedVertex(const CN_Mesh& mesh, CN_Vertex& vertex) : place(mesh.getVertexList().indexOf(&vertex)) {
        const int count = mesh.getVertexList().count();
        if (place < 0)
            throwBadListIndex(place, count);
        if (const auto found = weldGroups.find(&vertex); found != weldGroups.end())
            group = found->second;
        for (const int member : group)
            if (member < 0 || member >= count)
                throwBadListIndex(member, count);
    }
};

} // namespace

void CN_Mesh::s_matchPlanes(CN_Mesh* mesh, double distance, PlaneGroups& groups, PlaneGroupOfPolygon& polygonMap) {
    CN_PlaneMatcher matcher(distance);
    const std::vector<std::pair<int, bool>> matched = matcher.addAll(*mesh);
    polygonMap.clear();
    std::size_t place = 0;
    for (CN_Polygon& polygon : mesh->m_polygonList)
        polygonMap.emplace(&polygon, matched[place++]);
    groups = matcher.takeGroups();
}

void CN_Mesh::s_createFinalPlanes(const PlaneGroups& groups, std::vector<Plane>& finals) {
    finals.clear();
    for (const std::vector<Plane>& group : groups) {
        Vector normal, point;
        for (const Plane& plane : group) {
            normal += plane.getNormal();
            point += plane.getPoint();
        }
        if (!group.empty()) {
            normal = normal / static_cast<double>(group.size());
            point = point / static_cast<double>(group.size());
        }
        snapPlane(normal, point);
        finals.emplace_back(normal, point);
    }
}

std::vector<CN_Polygon*> CN_Mesh::getNearbyPolygons(CN_Vertex& vertex, double radius) {
    const AskedVertex asked(*this, vertex);
    const std::vector<Plane> planes = planesOf(*this);
    const CN_WeldSurroundings surroundings(*this, planes, {asked.place}, radius);
    std::vector<CN_Polygon*> nearby;
    for (const int place : surroundings.find(asked.place, asked.group))
        nearby.push_back(surroundings.getPolygon(place));
    return nearby;
}

CN_Mesh::Vector CN_Mesh::calculateVertexPosition(CN_Vertex& vertex, double radius) {
    const AskedVertex asked(*this, vertex);
    if (asked.group.empty())
        return {};
    const std::vector<Plane> planes = planesOf(*this);
    const CN_WeldSurroundings surroundings(*this, planes, {asked.place}, radius);
    const std::vector<int> nearby = surroundings.find(asked.place, asked.group);
    return nearby.empty() ? Vector() : surroundings.fit(nearby, asked.group);
}

void CN_Mesh::reworkVerticesWithoutWelding() {
    constexpr double ONE_PLANE = 0.0005; // distance
    const CN_CornerTable corners(*this);
    const std::vector<Plane> planes = planesOf(*this);
    std::vector<Vector> places;
    std::vector<Plane> kept;
    for (const CN_Vertex& vertex : m_vertexList) {
        kept.clear();
        for (const int place : corners.at(static_cast<int>(places.size()))) {
            const Plane& plane = planes[static_cast<std::size_t>(place)];
            if (std::none_of(kept.begin(), kept.end(), [&plane](const Plane& other) {
                    return other.matches(plane, CN_ONE_DIRECTION, ONE_PLANE);
                }))
                kept.push_back(plane);
        }
        places.push_back(vertex.local);
        fitToPlanes(kept, places.back());
    }
    std::size_t next = 0;
    bool anyMoved = false;
    for (CN_Vertex& vertex : m_vertexList) {
        anyMoved |= !(places[next] == vertex.local);
        vertex.local = places[next++];
    }
    if (anyMoved) {
        setGeometryDirty();
        for (CN_Polygon& polygon : m_polygonList)
            polygon.setUVCalculated(false);
    }
    transform();
}

} // namespace cairn
