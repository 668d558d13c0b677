#include "cairn/foundation/exception.h"
#include "cairn/geometry/plane_mover.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace cairn {

namespace {

CN_BoxTree::Box boxAt(const M_Vector3Template<double>& point) { return {point, point}; }

/// Where the entries of each key begin in a list ordered by key, from their counts one place further on.
void addUp(std::vector<int>& counts) {
    for (std::size_t i = 1; i < counts.size(); ++i)
        counts[i] += counts[i - 1];
}

} // namespace

CN_PlaneMover::CN_PlaneMover(CN_Mesh& mesh) : m_mesh(mesh) {
    m_places.reserve(at(mesh.getVertexList().count()));
    for (const CN_Vertex& vertex : mesh.getVertexList())
        m_places.push_back(vertex.local);
    const int vertices = static_cast<int>(m_places.size());
    m_firstAt.assign(at(vertices) + 1, 0);
    m_polygons.reserve(at(mesh.getPolygonList().count()));
    m_firstSide.reserve(m_polygons.capacity() + 1);
    m_firstSide.push_back(0);
    constexpr std::size_t MOSTLY = 4; // corners of a polygon
    m_sides.reserve(MOSTLY * m_polygons.capacity());
    for (CN_Polygon& polygon : mesh.accessPolygonList()) {
        for (CN_Edge& edge : polygon.accessEdgeList()) {
            const Side made{&edge, static_cast<int>(m_polygons.size()), {edge.index(0), edge.index(1)}};
            for (const int vertex : made.ends) {
                if (vertex < 0 || vertex >= vertices)
                    throw new F_Exception(formatText("An edge of %s names vertex %d of %d",
                                                     mesh.getName().str().c_str(), vertex, vertices));
                ++m_firstAt[at(vertex) + 1];
            }
            m_sides.push_back(made);
        }
        m_polygons.push_back(&polygon);
        m_firstSide.push_back(static_cast<int>(m_sides.size()));
    }
    addUp(m_firstAt);
    m_sidesAt.resize(at(m_firstAt.back()));
    std::vector<int> next(m_firstAt.begin(), m_firstAt.end() - 1);
    for (int i = 0; i < static_cast<int>(m_sides.size()); ++i)
        for (const int vertex : side(i).ends)
            m_sidesAt[at(next[at(vertex)]++)] = i;
    m_roles.assign(m_polygons.size(), Role::NONE);
}

/// What `vertexIsInPolygon` says of the vertex. Of a corner, its plane alone decides.
bool CN_PlaneMover::holds(int polygon, int vertex) const {
    constexpr double PLANE_DISTANCE = 1e-4; // as it is there
    const CN_Polygon& asked = polygonAt(polygon);
    const Vector &place = m_places[at(vertex)], &normal = asked.getNormal();
    bool isCorner = false;
    forEachSideAt(vertex, [&](int i) { isCorner |= side(i).polygon == polygon && side(i).ends[0] == vertex; });
    if (!isCorner || !place.isFinite())
        return asked.vertexIsInPolygon(&place);
    const Vector& first = m_places[at(side(m_firstSide[at(polygon)]).ends[0])];
    return normal.isFinite() && normal.length() > 0 && std::fabs((place - first).dot(normal)) < PLANE_DISTANCE;
}

/// What `edgeIsInPolygon` says of the edge.
bool CN_PlaneMover::holds(int polygon, const Side& edge) const {
    constexpr double RUNNING_STEP = 1e-5; // as it is there
    const Vector along = m_places[at(edge.ends[1])] - m_places[at(edge.ends[0])];
    return snapToGrid(along.dot(polygonAt(polygon).getNormal()), RUNNING_STEP) == 0 && holds(polygon, edge.ends[0]) &&
           holds(polygon, edge.ends[1]);
}

/// The places, in what the tree was made of, of the polygons that may hold one point or the other.
const std::vector<int>& CN_PlaneMover::findNear(CN_BoxTree& tree, const Vector& a, const Vector& b) {
    const std::vector<int> nearA = tree.find(boxAt(a));
    const std::vector<int>& nearB = tree.find(boxAt(b));
    m_near.clear();
    std::set_union(nearA.begin(), nearA.end(), nearB.begin(), nearB.end(), std::back_inserter(m_near));
    return m_near;
}

CN_BoxTree::Box CN_PlaneMover::reachOf(int polygon, const std::vector<Vector>& places) const {
    CN_Reach reach(polygonAt(polygon).getNormal());
    forEachSideOf(polygon, [&](int i) { reach.addCorner(places[at(side(i).ends[0])]); });
    return reach.box();
}

CN_BoxTree CN_PlaneMover::treeOf(const std::vector<int>& polygons, const std::vector<Vector>& places) const {
    std::vector<CN_BoxTree::Box> boxes;
    boxes.reserve(polygons.size());
    for (const int polygon : polygons)
        boxes.push_back(reachOf(polygon, places));
    return CN_BoxTree(std::move(boxes));
}

CN_BoxTree& CN_PlaneMover::accessAllTree() {
    if (!m_hasAllTree) {
        std::vector<CN_BoxTree::Box> boxes;
        boxes.reserve(m_polygons.size());
        for (std::size_t i = 0; i < m_polygons.size(); ++i)
            boxes.push_back(reachOf(static_cast<int>(i), m_places));
        m_allTree = CN_BoxTree(std::move(boxes));
        m_hasAllTree = true;
    }
    return m_allTree;
}

/// Those of the list that are in this mesh.
std::vector<int> CN_PlaneMover::placesOf(const Group& group) const {
    std::vector<int> places;
    for (const CN_Polygon* const polygon : group)
        if (const int place = m_mesh.findPolygonIndex(polygon); place >= 0)
            places.push_back(place);
    return places;
}

void CN_PlaneMover::setGroup(std::vector<int> members) {
    m_members = std::move(members);
    for (const int member : m_members)
        m_roles[at(member)] = Role::MEMBER;
    m_memberTree = treeOf(m_members, m_places);
}

void CN_PlaneMover::setBorder(std::vector<int> border) {
    m_border = std::move(border);
    for (const int polygon : m_border)
        m_roles[at(polygon)] = Role::BORDER;
    m_borderTree = treeOf(m_border, m_places);
}

} // namespace cairn
