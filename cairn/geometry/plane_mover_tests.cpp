#include "cairn/geometry/edges_beside.h"
#include "cairn/geometry/plane_mover.h"
#include "cairn/geometry/validate.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace cairn {

namespace {

constexpr double RIGHT_ANGLE = 1.570796327;            // as all angles here are counted
constexpr double IN_PLANE = 0.0017453292522222226;     // radians, 0.1 degree: an edge that a vertex can run along
constexpr double NOT_PARALLEL = 0.0017453292522222226; // radians between edges that lead two ways,
constexpr double NOT_OPPOSITE = 3.139847324747778;     // and from opposite ways
constexpr double ON_OLD_PLANE = 1e-4;                  // distance of an edge's end that lies in the old plane
constexpr double PASSING_STEP = 1e-4;                  // to which an edge still runs towards its far end
constexpr double LONGER = 10;                          // times, beyond which the plane is as good as along the edge
constexpr double ALONG_STEP = 1e-4;                    // to which an edge runs along the old plane
constexpr double ALONG_OTHER = 1e-4;                   // below which an edge runs along another polygon
constexpr double SIDE_STEP = 1e-6;                     // to which an end lies in another polygon's plane
constexpr double TURN_STEP = 0.01;                     // to which an edge keeps its direction
constexpr double LENGTH_STEP = 0.001;                  // to which an edge keeps its length
constexpr double LENGTH_SLACK = 1e-6;                  // by which the least length may be missed
constexpr double PIERCING_STEP = 1e-6;                 // to which an edge runs along the new plane, or ends in it

double signOf(double distance) {
    const double snapped = snapToGrid(distance, SIDE_STEP);
    return snapped > 0 ? 1 : snapped < 0 ? -1 : 0;
}

} // namespace

bool CN_areParallel(const M_Vector3Template<double>& a, const M_Vector3Template<double>& b) {
    constexpr double STEP = 1e-6;
    return snapToGrid(std::abs(a.dot(b)), STEP) == 1;
}

bool CN_leavesPlane(const M_Vector3Template<double>& normal, const M_Vector3Template<double>& vector, double angle) {
    return std::abs(CN_Polygon::angle(normal, vector, false) - RIGHT_ANGLE) > angle;
}

CN_PlaneMoveRefusal CN_findFollowRefusal(const M_Vector3Template<double>& a, const M_Vector3Template<double>& b,
                                         const M_Plane3Template<double>& oldPlane,
                                         const M_Plane3Template<double>& newPlane, double minEdgeLength) {
    const auto isOnOld = [&oldPlane](const M_Vector3Template<double>& p) {
        const M_Vector3Template<double>& n = oldPlane.getNormal();
        return std::abs(n.dot(oldPlane.getPoint()) - n.dot(p)) < ON_OLD_PLANE;
    };
    const bool aIsNear = isOnOld(a);
    if (aIsNear && isOnOld(b))
        return CN_PlaneMoveRefusal::NONE;
    const M_Vector3Template<double>&near = aIsNear ? a : b, &far = aIsNear ? b : a;
    M_Vector3Template<double> hit;
    if (!newPlane.intersectLine(hit, near, far - near) || !hit.isFinite())
        return CN_PlaneMoveRefusal::PARALLEL;
    // An edge that would have no length has no direction either, so that it is refused here.
    if (!(snapToGrid((far - hit).normalized().dot((far - near).normalized()), PASSING_STEP) > 0))
        return CN_PlaneMoveRefusal::BEYOND_FAR_END;
    if (const double length = (hit - far).length(); !(length >= minEdgeLength))
        return CN_PlaneMoveRefusal::TOO_SHORT;
    else if (!(length <= LONGER * (b - a).length()))
        return CN_PlaneMoveRefusal::TOO_LONG;
    return CN_PlaneMoveRefusal::NONE;
}

// Each vertex is asked about once: the answer is the same for all polygons that meet there.
CN_PlaneMover::Refusal CN_PlaneMover::checkCorners() {
    std::vector<char> isAsked(m_places.size(), 0);
    const auto forEachCorner = [&](const std::vector<int>& polygons, auto&& ask) {
        for (const int polygon : polygons)
            for (int i = m_firstSide[at(polygon)]; i < m_firstSide[at(polygon) + 1]; ++i) {
                const int vertex = side(i).ends[0];
                if (std::exchange(isAsked[at(vertex)], 1))
                    continue;
                if (const Refusal refusal = ask(vertex); refusal != Refusal::NONE)
                    return refusal;
            }
        return Refusal::NONE;
    };
    const Refusal refusal = forEachCorner(m_members, [this](int vertex) {
        return !leavesOneWay(vertex)          ? Refusal::SPREADING_EDGES
               : !isFree(vertex, m_oldNormal) ? Refusal::HELD_CORNER
                                              : Refusal::NONE;
    });
    if (refusal != Refusal::NONE)
        return refusal;
    return forEachCorner(
        m_border, [this](int vertex) { return leavesOneWay(vertex) ? Refusal::NONE : Refusal::SPREADING_EDGES; });
}

/// False where edges at the vertex that lead into or out of the group have two directions.
bool CN_PlaneMover::leavesOneWay(int vertex) {
    Vector first;
    bool hasFirst = false;
    for (int k = m_firstAt[at(vertex)]; k < m_firstAt[at(vertex) + 1]; ++k) {
        const Side& edge = side(m_sidesAt[at(k)]);
        if (m_roles[at(edge.polygon)] == Role::MEMBER || !leavesGroup(edge) || runsAlongGroup(edge))
            continue;
        const Vector along = alongOf(edge);
        if (!hasFirst) {
            first = along;
            hasFirst = true;
        } else if (const double angle = CN_Polygon::angle(first, along, false);
                   angle > NOT_PARALLEL && angle < NOT_OPPOSITE)
            return false;
    }
    return true;
}

/// True if the first member that holds an end of the edge holds the other one not.
bool CN_PlaneMover::leavesGroup(const Side& edge) {
    for (const int near : findNear(m_memberTree, m_places[at(edge.ends[0])], m_places[at(edge.ends[1])])) {
        const int member = m_members[at(near)];
        const bool holdsStart = holds(member, edge.ends[0]), holdsEnd = holds(member, edge.ends[1]);
        if (holdsStart || holdsEnd)
            return holdsStart != holdsEnd;
    }
    return false;
}

/// True if a stretch of the edge lies along an edge of a member, in the world.
bool CN_PlaneMover::runsAlongGroup(const Side& edge) {
    using Box = CN_BoxTree::Box;
    if (!m_hasMemberSideTree) {
        std::vector<Box> boxes;
        for (const int member : m_members)
            forEachSideOf(member, [&](int i) {
                Box box;
                for (const int end : {0, 1})
                    box.widen(side(i).edge->getWorld(end));
                boxes.push_back(box);
                m_memberSides.push_back(i);
            });
        m_memberSideTree = CN_BoxTree(std::move(boxes));
        m_hasMemberSideTree = true;
    }
    const CN_EdgeSurroundings around(edge.edge->getWorld(0), edge.edge->getWorld(1),
                                     polygonAt(edge.polygon).getWorldNormal());
    Box box;
    box.widen(around.from);
    box.widen(around.to);
    box.grow(around.near);
    for (const int place : m_memberSideTree.find(box)) {
        Vector point, vector;
        if (edge.edge->sharesSpace(side(m_memberSides[at(place)]).edge, point, vector))
            return true;
    }
    return false;
}

/// False where polygons of the border hold the vertex and it has no edge of the border in the plane of one of them.
bool CN_PlaneMover::isFree(int vertex, const Vector& normal) {
    const Vector& place = m_places[at(vertex)];
    std::vector<int> holding;
    for (const int near : m_borderTree.find({place, place}))
        if (const int polygon = m_border[at(near)];
            !CN_areParallel(polygonAt(polygon).getNormal(), normal) && holds(polygon, vertex))
            holding.push_back(polygon);
    bool isFree = holding.empty();
    forEachSideAt(vertex, [&](int i) {
        if (m_roles[at(side(i).polygon)] == Role::BORDER)
            for (const int polygon : holding)
                isFree |= std::abs(CN_Polygon::angle(polygonAt(polygon).getNormal(), alongOf(side(i)), false) -
                                   RIGHT_ANGLE) < IN_PLANE;
    });
    return isFree;
}

/// Asks the edges of the border; those that lead into the group, and those that are apart from it, are known afterwards.
CN_PlaneMover::Refusal CN_PlaneMover::checkFollowing() {
    const Vector point = m_polygon->getPointOnPlane();
    const Plane oldPlane(m_oldNormal, point);
    const Plane newPlane(m_newNormal, point + m_polygon->getReferenceNormal() * m_move.distance);
    for (const int polygon : m_border)
        for (int i = m_firstSide[at(polygon)]; i < m_firstSide[at(polygon) + 1]; ++i) {
            const Side& edge = side(i);
            const Vector &a = m_places[at(edge.ends[0])], &b = m_places[at(edge.ends[1])];
            bool isIn = false, isHeld[2] = {false, false};
            for (const int near : findNear(m_memberTree, a, b)) {
                const int member = m_members[at(near)];
                isIn |= holds(member, edge);
                for (const int end : {0, 1})
                    isHeld[end] |= holds(member, edge.ends[end]);
            }
            if (isIn)
                continue;
            if (!isHeld[0] && !isHeld[1]) {
                m_far.push_back(i);
                continue;
            }
            if (isHeld[0] != isHeld[1])
                m_following.push_back({i, isHeld[0] ? 0 : 1});
            if (const Refusal refusal = CN_findFollowRefusal(a, b, oldPlane, newPlane, m_move.minEdgeLength);
                refusal != Refusal::NONE)
                return refusal;
        }
    return Refusal::NONE;
}

/// True if the end of an edge changes sides of a polygon outside the group that the edge's line goes through.
bool CN_PlaneMover::crosses() {
    for (const int i : m_touched) {
        const Vector along = alongOf(side(i));
        if (snapToGrid(along.dot(m_oldNormal), ALONG_STEP) == 0)
            continue;
        for (const int vertex : side(i).ends)
            if (!(m_newPlaces[at(vertex)] == m_places[at(vertex)]) && crossesAny(side(i), vertex, along))
                return true;
    }
    return false;
}

// Where the line goes through a polygon whose side the end changes, it is not farther from the end than the end goes along the
// line, but for what goes across: the line leaves the polygon's plane by at least the tolerance.
bool CN_PlaneMover::crossesAny(const Side& edge, int vertex, const Vector& along) {
    constexpr double ROUNDING = 1e-12, SLACK = 1.1; // by the size of places; for normals that are not quite unit
    const Vector &old = m_places[at(vertex)], way = m_newPlaces[at(vertex)] - old, unit = along.normalized();
    const double straight = way.dot(unit), across = (way - unit * straight).length() + SIDE_STEP +
                                                    ROUNDING * (maxAbsComponent(old) + maxAbsComponent(way));
    const double reach = SLACK * (std::abs(straight) + across * along.length() / ALONG_OTHER);
    CN_BoxTree::Box box;
    box.widen(old - unit * reach);
    box.widen(old + unit * reach);
    for (const int other : accessAllTree().find(box))
        if (other != edge.polygon && m_roles[at(other)] != Role::MEMBER && crossesOne(edge, polygonAt(other), along))
            return true;
    return false;
}

bool CN_PlaneMover::crossesOne(const Side& edge, const CN_Polygon& other, const Vector& along) const {
    if (std::abs(other.getNormal().dot(along)) < ALONG_OTHER)
        return false;
    const Plane plane = other.getPlane();
    const auto changesSides = [&](int vertex) {
        return signOf(plane.distance(m_places[at(vertex)])) != signOf(plane.distance(m_newPlaces[at(vertex)]));
    };
    Vector hit;
    return (changesSides(edge.ends[0]) || changesSides(edge.ends[1])) &&
           plane.intersectLine(hit, m_places[at(edge.ends[1])], along) && other.vertexIsInPolygon(&hit);
}

/// Asks what becomes of the edges whose ends move.
CN_PlaneMover::Refusal CN_PlaneMover::checkShape() const {
    const double limit = m_move.minEdgeLength - LENGTH_SLACK;
    for (const int i : m_touched) {
        const Side& edge = side(i);
        const Vector old = alongOf(edge), made = m_newPlaces[at(edge.ends[1])] - m_newPlaces[at(edge.ends[0])];
        if (!(snapToGrid(old.dot(made), TURN_STEP) >= 0))
            return Refusal::TURNED_OVER;
        const double was = old.length(), is = made.length();
        if (snapToGrid(was, LENGTH_STEP) > snapToGrid(is, LENGTH_STEP) && was > limit && is <= limit)
            return Refusal::SHRUNK;
    }
    return Refusal::NONE;
}

/// True if an edge apart from the group goes through a member. New places must be written; members have their old normals
/// still, so that of a tilted plane hardly anything is seen.
/// True if a corner ends up off the plane of one of its polygons: it slides along an edge that is short or lies between nearly
/// equal planes, where what edges are off already grows. One that was as far off before is no reason.
bool CN_PlaneMover::bends() const {
    for (std::size_t vertex = 0; vertex < m_places.size(); ++vertex) {
        const Vector &old = m_places[vertex], &now = m_newPlaces[vertex];
        for (int i = m_firstAt[vertex]; i < m_firstAt[vertex + 1]; ++i) {
            const int polygon = side(m_sidesAt[at(i)]).polygon;
            const bool isMember = m_roles[at(polygon)] == Role::MEMBER; // whose corners may have been left behind
            if (!isMember && now == old)
                continue;
            const Plane own = polygonAt(polygon).getPlane();
            const double before = isMember ? 0 : std::abs(own.distance(old));
            if (!(std::abs((isMember ? m_target : own).distance(now)) <= std::max(before, CN_LEVEL_TOLERANCE)))
                return true;
        }
    }
    return false;
}

bool CN_PlaneMover::isPierced() {
    CN_BoxTree members = treeOf(m_members, m_newPlaces);
    const auto pierces = [&](int i) {
        const Vector &a = m_newPlaces[at(side(i).ends[0])], &b = m_newPlaces[at(side(i).ends[1])];
        Vector hit;
        if (snapToGrid((b - a).dot(m_target.getNormal()), PIERCING_STEP) == 0 ||
            !m_target.intersectLine(hit, b, b - a) || !(snapToGrid((hit - a).dot(hit - b), PIERCING_STEP) < 0))
            return false;
        const std::vector<int>& near = members.find({hit, hit});
        return std::any_of(near.begin(), near.end(),
                           [&](int place) { return polygonAt(m_members[at(place)]).vertexIsInPolygon(&hit); });
    };
    for (std::size_t polygon = 0; polygon < m_polygons.size(); ++polygon)
        if (m_roles[polygon] == Role::NONE)
            for (int i = m_firstSide[polygon]; i < m_firstSide[polygon + 1]; ++i)
                if (pierces(i))
                    return true;
    return std::any_of(m_far.begin(), m_far.end(), pierces);
}

bool CN_PlaneMover::checkCoplanarVertices(int vertex, const Group& group) {
    if (vertex < 0 || at(vertex) >= m_places.size())
        return true;
    setGroup(placesOf(group));
    return leavesOneWay(vertex);
}

bool CN_PlaneMover::checkEdgePlaneDeadlock(int vertex, const Vector& normal, const Group& border) {
    if (vertex < 0 || at(vertex) >= m_places.size())
        return true;
    setBorder(placesOf(border));
    return isFree(vertex, normal);
}

} // namespace cairn
