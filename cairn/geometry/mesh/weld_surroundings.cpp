#include "cairn/geometry/mesh/weld_surroundings.h"

#include "cairn/foundation/system.h"
#include "cairn/geometry/lines.h"
#include "cairn/geometry/point_tree.h"
#include "cairn/geometry/welding.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace cairn {

CN_CornerTable::CN_CornerTable(const CN_Mesh& mesh) {
    const int vertices = mesh.getVertexList().count();
    std::vector<int> last(static_cast<std::size_t>(vertices), -1); // polygon that was met at each vertex
    const auto forEachCorner = [&](auto&& visit) {
        int place = 0;
        for (const CN_Polygon& polygon : mesh.getPolygonList()) {
            for (const CN_Edge& edge : polygon.getEdgeList()) {
                if (edge.index(0) < 0 || edge.index(0) >= vertices)
                    throwBadListIndex(edge.index(0), vertices);
                const auto vertex = static_cast<std::size_t>(edge.index(0));
                if (std::exchange(last[vertex], place) != place)
                    visit(vertex, place);
            }
            ++place;
        }
    };
    m_begins.assign(static_cast<std::size_t>(vertices) + 1, 0);
    forEachCorner([this](std::size_t vertex, int) { ++m_begins[vertex + 1]; });
    for (std::size_t i = 1; i < m_begins.size(); ++i)
        m_begins[i] += m_begins[i - 1];
    m_polygons.resize(m_begins.back());
    last.assign(last.size(), -1);
    std::vector<std::size_t> ends(m_begins.begin(), m_begins.end() - 1);
    forEachCorner([&](std::size_t vertex, int place) { m_polygons[ends[vertex]++] = place; });
}

CN_WeldSurroundings::CN_WeldSurroundings(CN_Mesh& mesh, const std::vector<Plane>& planes,
                                         const std::vector<int>& vertices, double radius)
    : m_planes(planes), m_radius(radius), m_corners(mesh) {
    m_places.reserve(static_cast<std::size_t>(mesh.getVertexList().count()));
    for (const CN_Vertex& vertex : mesh.getVertexList())
        m_places.push_back(vertex.local);
    m_polygons.reserve(planes.size());
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        m_polygons.push_back(&polygon);
    m_junctions.resize(m_places.size());
    if (radius > 0)
        findJunctions(vertices);
}

/// Looks for the vertices along each edge. Those that a tree finds near its line are asked exactly.
void CN_WeldSurroundings::findJunctions(const std::vector<int>& vertices) {
    std::vector<CN_PointTree::Entry> entries;
    entries.reserve(vertices.size());
    for (const int vertex : vertices)
        entries.push_back({placeOf(vertex), vertex});
    const CN_PointTree tree(std::move(entries));
    for (std::size_t place = 0; place < m_polygons.size(); ++place) {
        int number = -1;
        for (const CN_Edge& edge : m_polygons[place]->getEdgeList()) {
            ++number;
            const Vector &from = edge.getLocal(0), &to = edge.getLocal(1);
            const double length = (to - from).length();
            if (!(length > m_radius)) // then nothing is that far from both ends
                continue;
            const Vector unit = (to - from).normalized();
            const double slack = CN_roundingAlong(from, to);
            tree.visitNear(from - unit * slack, to + unit * slack, m_radius + slack,
                           [&](const CN_PointTree::Entry& entry, double) {
                               const double along = unit.dot(entry.point - from);
                               if (entry.number == edge.index(0) || entry.number == edge.index(1) ||
                                   !(CN_lineDistance(entry.point, from, to) < m_radius) || !(along > m_radius) ||
                                   !(along < length - m_radius))
                                   return;
                               std::vector<Junction>& met = m_junctions[static_cast<std::size_t>(entry.number)];
                               const int polygon = static_cast<int>(place);
                               if (met.empty() || met.back().polygon != polygon)
                                   met.push_back({polygon, number, along});
                           });
        }
    }
}

std::vector<int> CN_WeldSurroundings::find(int vertex, const std::vector<int>& group) const {
    std::vector<int> found;
    for (const int member : group) {
        const std::span<const int> there = m_corners.at(member);
        found.insert(found.end(), there.begin(), there.end());
    }
    for (const Junction& junction : m_junctions[static_cast<std::size_t>(vertex)]) {
        found.push_back(junction.polygon);
        F_System::verbose("Vertex %d on edge %d, %d, ds = %.8lf\n", vertex, junction.edge,
                          static_cast<int>(getPolygon(junction.polygon)->getPolygonIndex()), junction.along);
    }
    thin(found);
    for (const int polygon : found) {
        const auto replacement = polygonReplacements.find(getPolygon(polygon));
        if (replacement != polygonReplacements.end())
            F_System::verbose("replacing %d with %d\n", static_cast<int>(replacement->first->getPolygonIndex()),
                              static_cast<int>(replacement->second->getPolygonIndex()));
    }
    return found;
}

/// Leaves the first polygon of each direction.
void CN_WeldSurroundings::thin(std::vector<int>& polygons) const {
    const auto normalOf = [this](int polygon) -> const Vector& {
        return m_planes[static_cast<std::size_t>(polygon)].getNormal();
    };
    for (std::size_t i = 0; i < polygons.size(); ++i) {
        const int kept = polygons[i];
        const auto goes = [&](int later) {
            if (later == kept)
                return true;
            const double product = std::abs(normalOf(kept).dot(normalOf(later)));
            if (!(std::acos(std::clamp(product, -1.0, 1.0)) < CN_ONE_DIRECTION))
                return false;
            polygonReplacements.emplace(getPolygon(later), getPolygon(kept));
            return true;
        };
        polygons.erase(std::remove_if(polygons.begin() + static_cast<std::ptrdiff_t>(i) + 1, polygons.end(), goes),
                       polygons.end());
    }
}

CN_WeldSurroundings::Vector CN_WeldSurroundings::fit(const std::vector<int>& polygons,
                                                     const std::vector<int>& group) const {
    Vector position;
    for (const int member : group)
        position += placeOf(member);
    position = position / static_cast<double>(group.size());
    std::vector<Plane> planes;
    for (const int polygon : polygons)
        planes.push_back(m_planes[static_cast<std::size_t>(polygon)]);
    fitToPlanes(planes, position);
    return position;
}

} // namespace cairn
