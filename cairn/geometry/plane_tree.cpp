#include "cairn/geometry/plane_tree.h"

#include "cairn/geometry/welding.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

constexpr double ROUNDING = 1e-12;        // of places in a frame, for each unit that they lie from the origin
constexpr double PARALLEL = 0.9998476951; // less than the cosine of one degree

double along(const Vector& direction, const Vector& half) {
    return std::abs(direction.x) * half.x + std::abs(direction.y) * half.y + std::abs(direction.z) * half.z;
}

} // namespace

/// A query in the frame.
struct CN_PlaneTree::Search {
    Query& query;
    Vector direction;
    double place; ///< of the plane along the direction
    double reach; ///< how far from there points may be

    bool mayMatch(const Node& node) const {
        const double gap = std::abs(direction.dot(node.places.center()) - place) - along(direction, node.places.half());
        return !(gap > reach) &&
               direction.dot(node.normals.center()) + along(direction, node.normals.half()) > PARALLEL;
    }
};

void CN_PlaneTree::Query::consider(int group, const Plane& other) {
    // The angle is dear: most others fall out ahead of it.
    if (group < first && std::abs(plane.getNormal().dot(other.getNormal())) > PARALLEL &&
        std::abs(plane.distance(other.getPoint())) < distance && plane.matches(other, CN_ONE_DIRECTION, distance))
        first = group;
}

CN_PlaneTree::CN_PlaneTree(const std::vector<Plane>& planes, const std::vector<int>& members) : m_planes(planes) {
    for (const int member : members)
        m_w += planes[static_cast<std::size_t>(member)].getNormal();
    m_w = m_w.normalized();
    const Vector across = std::abs(m_w.x) < 0.6 ? Vector(1, 0, 0) : Vector(0, 1, 0);
    m_u = m_w.cross(across).normalized();
    m_v = m_w.cross(m_u);
    for (const int member : members) {
        const Plane& plane = planes[static_cast<std::size_t>(member)];
        m_members.push_back({member, NONE, toFrame(plane.getPoint()), toFrame(plane.getNormal())});
        m_farthest = std::max(m_farthest, plane.getPoint().length());
        m_tilt = std::max(m_tilt, std::hypot(m_members.back().normal.x, m_members.back().normal.y));
    }
    build(0, m_members.size());
}

void CN_PlaneTree::Box::expand(const Vector& v) {
    low = {std::min(low.x, v.x), std::min(low.y, v.y), std::min(low.z, v.z)};
    high = {std::max(high.x, v.x), std::max(high.y, v.y), std::max(high.z, v.z)};
}

/// Makes the node of a range of the members, and those below. Returns where it is.
std::size_t CN_PlaneTree::build(std::size_t from, std::size_t to) {
    const std::size_t made = m_nodes.size();
    m_nodes.emplace_back();
    if (to - from <= LEAF)
        return made;
    Box box{m_members[from].place, m_members[from].place};
    for (std::size_t i = from; i < to; ++i)
        box.expand(m_members[i].place);
    // The axis along which the range tells most of where planes lie that are as tilted as the members are.
    const Vector half = box.half(), size(half.x * m_tilt, half.y * m_tilt, half.z);
    const int axis = size.z >= std::max(size.x, size.y) ? 2 : size.y >= size.x ? 1 : 0;
    const std::size_t middle = from + (to - from) / 2;
    const auto place = [this](std::size_t i) { return m_members.begin() + static_cast<std::ptrdiff_t>(i); };
    std::nth_element(place(from), place(middle), place(to),
                     [axis](const Member& a, const Member& b) { return a.place[axis] < b.place[axis]; });
    build(from, middle);
    m_nodes[made].right = m_nodes.size();
    build(middle, to);
    return made;
}

void CN_PlaneTree::begin(std::size_t place, int group) {
    Member& member = m_members[place];
    member.group = group;
    std::size_t index = 0, from = 0, to = m_members.size();
    while (true) {
        Node& node = m_nodes[index];
        if (node.least == NONE) {
            node.places = {member.place, member.place};
            node.normals = {member.normal, member.normal};
        }
        node.least = std::min(node.least, group);
        node.places.expand(member.place);
        node.normals.expand(member.normal);
        if (node.right == 0)
            return;
        const std::size_t middle = from + (to - from) / 2;
        (place < middle ? to : from) = middle;
        index = place < middle ? index + 1 : node.right;
    }
}

void CN_PlaneTree::find(Query& query, const Vector& direction) const {
    const Vector& point = query.plane.getPoint();
    Search search{query, toFrame(direction), direction.dot(point),
                  query.distance + (point.length() + m_farthest) * ROUNDING};
    if (m_nodes[0].least < query.first && search.mayMatch(m_nodes[0]))
        findBelow(0, 0, m_members.size(), search);
}

void CN_PlaneTree::findBelow(std::size_t node, std::size_t from, std::size_t to, Search& search) const {
    const std::size_t right = m_nodes[node].right;
    if (right == 0) {
        for (std::size_t i = from; i < to; ++i)
            search.query.consider(m_members[i].group, m_planes[static_cast<std::size_t>(m_members[i].plane)]);
        return;
    }
    // The half with the earlier group first: what is found there may spare the other one.
    const std::size_t middle = from + (to - from) / 2;
    const bool isRightFirst = m_nodes[right].least < m_nodes[node + 1].least;
    for (const bool isRight : {isRightFirst, !isRightFirst}) {
        const std::size_t child = isRight ? right : node + 1;
        if (m_nodes[child].least < search.query.first && search.mayMatch(m_nodes[child]))
            findBelow(child, isRight ? middle : from, isRight ? to : middle, search);
    }
}

} // namespace cairn
