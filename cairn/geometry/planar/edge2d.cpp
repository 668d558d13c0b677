#include "cairn/geometry/planar/edge2d.h"

#include "cairn/geometry/planar/polygon2d.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace cairn {

void CN_2DEdge::set(int a, int b, CN_2DPolygon* polygon, int lassoId) {
    const std::size_t count = polygon->getVertices().size();
    for (const int end : {a, b})
        if (end < 0 || static_cast<std::size_t>(end) >= count)
            throw std::out_of_range("A planar edge names a vertex that is not there");
    m_parent = polygon;
    m_index[0] = a;
    m_index[1] = b;
    m_lassoId = lassoId;
    derive();
}

void CN_2DEdge::swap() {
    std::swap(m_index[0], m_index[1]);
    derive();
}

const CN_2DEdge::Point& CN_2DEdge::point(int i) const {
    return m_parent->getVertices()[static_cast<std::size_t>(m_index[i])];
}

void CN_2DEdge::derive() {
    m_direction = point(1) - point(0);
    const double length = m_direction.length();
    m_unitDirection = length > 0 ? m_direction * (1 / length) : Point();
    m_normal = {m_unitDirection.y, -m_unitDirection.x};
}

bool CN_2DEdge::front(int vertex, double tolerance) const {
    return distance(m_parent->getVertices().at(static_cast<std::size_t>(vertex))) >= tolerance;
}

bool CN_2DEdge::parallel(const CN_2DEdge& other) const {
    return std::fabs(distance(other.point(0)) - distance(other.point(1))) < m_parent->getSnapTolerance();
}

bool CN_2DEdge::overlaps(const CN_2DEdge& other) const {
    const double tolerance = m_parent->getSnapTolerance();
    if (!(std::fabs(distance(other.point(0))) < tolerance && std::fabs(distance(other.point(1))) < tolerance))
        return false;
    const double a = (other.point(0) - point(0)).dot(m_unitDirection),
                 b = (other.point(1) - point(0)).dot(m_unitDirection);
    return std::min(std::max(a, b), length()) - std::max(std::min(a, b), 0.0) > tolerance;
}

bool CN_2DEdge::intersects(const CN_2DEdge& other) const {
    for (const int mine : m_index)
        for (const int theirs : other.m_index)
            if (mine == theirs)
                return false;
    if (overlaps(other))
        return true;
    if (parallel(other))
        return false;
    // Where the lines cross, as a share of each edge; the ends are beyond them.
    const double across = m_direction.cross(other.m_direction);
    const Point apart = other.point(0) - point(0);
    const double mine = apart.cross(other.m_direction) / across, theirs = apart.cross(m_direction) / across;
    return mine >= 0 && mine < 1 && theirs >= 0 && theirs < 1;
}

int CN_2DEdge::vectorIntersects(const Point& origin, const Point& direction, bool bounded) const {
    const double from = distance(origin), to = distance(origin + direction);
    if (!(std::fabs(from - to) > 2 * m_parent->getSnapTolerance()) || origin == point(1))
        return 0;
    const double along = from / (from - to); // in lengths of the direction
    if (!(along >= 0) || (bounded && !(along <= 1)))
        return 0;
    const double place = (origin + direction * along - point(0)).dot(m_unitDirection);
    return place >= 0 && place < length() ? 1 : 0;
}

} // namespace cairn
