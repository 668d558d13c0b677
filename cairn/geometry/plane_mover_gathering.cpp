#include "cairn/geometry/plane_mover.h"
#include "cairn/geometry/polygon/shared_edges.h"

#include <algorithm>
#include <utility>

namespace cairn {

namespace {

constexpr double OUT_OF_PLANE = 0.1; // radians by which an edge that holds a vertex leaves the plane

CN_BoxTree::Box boxOf(const CN_Polygon& polygon) {
    const E_BBox<double>& box = polygon.getBoundingBox();
    return {{box.minX, box.minY, box.minZ}, {box.maxX, box.maxY, box.maxZ}};
}

} // namespace

/// Renews the shared edge list of the polygon, which is asked for once, and gives it.
const F_DLList<CN_Polygon*>& CN_PlaneMover::findSharing(int polygon) {
    CN_Polygon& asked = polygonAt(polygon);
    if (m_hasSharedLists)
        return asked.getSharedEdgeList();
    if (m_boxTree.isEmpty()) {
        std::vector<CN_BoxTree::Box> boxes;
        boxes.reserve(m_polygons.size());
        for (const CN_Polygon* const other : m_polygons)
            boxes.push_back(boxOf(*other));
        m_boxTree = CN_BoxTree(std::move(boxes));
    }
    std::vector<CN_Polygon*> near;
    std::size_t edges = 0;
    for (const int place : m_boxTree.find(boxOf(asked)))
        if (place == polygon || asked.bbIntersect(&polygonAt(place))) {
            near.push_back(m_polygons[at(place)]);
            edges += at(m_firstSide[at(place) + 1] - m_firstSide[at(place)]);
        }
    // What many polygons have large ones beside them for is found faster for all at once.
    m_lookedAt += edges;
    constexpr std::size_t TIMES = 4; // edges of a few polygons are faster
    if (m_lookedAt > TIMES * m_sides.size() + edges) {
        m_mesh.createSharedEdgeLists();
        m_hasSharedLists = true;
    } else {
        CN_createSharedEdgeList(asked, near);
    }
    return asked.getSharedEdgeList();
}

/// Appends the polygons that hang together with one in its plane, depth first, and marks them in `isIn`; those that are marked
/// already are left out.
void CN_PlaneMover::gatherCoplanar(int start, std::vector<char>& isIn, std::vector<int>& found) {
    struct Visit {
        std::vector<int> candidates;
        std::size_t next = 0;
    };
    const auto visit = [this](int polygon) {
        Visit made;
        const Vector& normal = polygonAt(polygon).getNormal();
        const auto add = [&](int other) {
            if (other != polygon && CN_areParallel(normal, polygonAt(other).getNormal()))
                made.candidates.push_back(other);
        };
        for (const CN_Polygon* const other : findSharing(polygon))
            add(m_mesh.findPolygonIndex(other));
        std::vector<int> sharingCorners;
        forEachSideOf(polygon, [&](int own) {
            forEachSideAt(side(own).ends[0], [&](int theirs) {
                if (side(theirs).ends[0] == side(own).ends[0])
                    sharingCorners.push_back(side(theirs).polygon);
            });
        });
        std::sort(sharingCorners.begin(), sharingCorners.end());
        sharingCorners.erase(std::unique(sharingCorners.begin(), sharingCorners.end()), sharingCorners.end());
        for (const int other : sharingCorners)
            add(other);
        return made;
    };
    std::vector<Visit> open;
    open.push_back(visit(start));
    while (!open.empty()) {
        Visit& top = open.back();
        if (top.next == top.candidates.size()) {
            open.pop_back();
            continue;
        }
        const int candidate = top.candidates[top.next++];
        if (std::exchange(isIn[at(candidate)], 1))
            continue;
        found.push_back(candidate);
        open.push_back(visit(candidate)); // the reference is not used from here on
    }
}

/// Finds the group and its border, which becomes the polygon's shared edge list.
void CN_PlaneMover::gather() {
    const int start = m_mesh.findPolygonIndex(m_polygon);
    std::vector<char> isIn(m_polygons.size(), 0);
    std::vector<int> members{start}, border;
    isIn[at(start)] = 1;
    gatherCoplanar(start, isIn, members);
    for (const int member : members)
        for (const CN_Polygon* const other : polygonAt(member).getSharedEdgeList())
            if (const int place = m_mesh.findPolygonIndex(other); !std::exchange(isIn[at(place)], 1))
                border.push_back(place);
    setGroup(std::move(members));
    setBorder(std::move(border));
    Group& list = m_polygon->accessSharedEdgeList();
    list.clear();
    for (const int polygon : m_border)
        list.add(m_polygons[at(polygon)]);
}

/// True if no edge that begins at the corner of a polygon outside the group, and other than the given one, leaves this one's
/// plane.
bool CN_PlaneMover::isOwn(int polygon, int vertex) const {
    const Vector& normal = polygonAt(polygon).getNormal();
    bool isHeld = false;
    forEachSideAt(vertex, [&](int i) {
        const Side& edge = side(i);
        if (edge.polygon != polygon && m_roles[at(edge.polygon)] != Role::MEMBER && edge.ends[0] == vertex)
            isHeld |= CN_leavesPlane(normal, m_places[at(edge.ends[1])] - m_places[at(vertex)], OUT_OF_PLANE);
    });
    return !isHeld;
}

void CN_PlaneMover::gatherOwnVertices() {
    std::vector<char> isIn(m_places.size(), 0);
    for (const int member : m_members)
        forEachSideOf(member, [&](int i) {
            const int vertex = side(i).ends[0];
            if (!isIn[at(vertex)] && isOwn(member, vertex)) {
                isIn[at(vertex)] = 1;
                m_own.push_back({vertex, findSlide(vertex)});
            }
        });
}

/// The first polygon outside the group that holds the vertex and is not parallel to it, or -1.
int CN_PlaneMover::findSlide(int vertex) {
    const Vector& place = m_places[at(vertex)];
    for (const int polygon : accessAllTree().find({place, place}))
        if (m_roles[at(polygon)] != Role::MEMBER && !CN_areParallel(polygonAt(polygon).getNormal(), m_oldNormal) &&
            holds(polygon, vertex))
            return polygon;
    return -1;
}

void CN_PlaneMover::appendCoplanarNeighbors(const CN_Polygon& polygon, Group& list) {
    const int start = m_mesh.findPolygonIndex(&polygon);
    if (start < 0)
        return;
    std::vector<char> isIn(m_polygons.size(), 0);
    for (const int place : placesOf(list))
        isIn[at(place)] = 1;
    std::vector<int> found;
    gatherCoplanar(start, isIn, found);
    for (const int place : found)
        list.add(m_polygons[at(place)]);
}

void CN_PlaneMover::appendOwnVertices(const CN_Polygon& polygon, const Group& group, F_DLList<int>& list) {
    const int place = m_mesh.findPolygonIndex(&polygon);
    if (place < 0)
        return;
    setGroup(placesOf(group));
    std::vector<char> isIn(m_places.size(), 0);
    for (const int vertex : list)
        if (vertex >= 0 && at(vertex) < isIn.size())
            isIn[at(vertex)] = 1;
    forEachSideOf(place, [&](int i) {
        const int vertex = side(i).ends[0];
        if (!isIn[at(vertex)] && isOwn(place, vertex)) {
            isIn[at(vertex)] = 1;
            list.add(vertex);
        }
    });
}

} // namespace cairn
