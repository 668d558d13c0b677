#include "cairn/geometry/plane_matcher.h"

#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/welding.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

constexpr double UNIT_SLACK = 1e-4;     // of squares: mean normals of a weld are as unit as that
constexpr double DIRECTION_CELL = 0.03; // wider than normals lie apart that match, 1.6 degrees for the least unit ones
constexpr double FAMILY_WIDTH = 1e-9;   // between normals that differ by rounding

bool isUnit(const Vector& normal) { return std::abs(normal.lengthSquared() - 1) < UNIT_SLACK; }

std::array<int, 3> cellOf(const Vector& direction) {
    const auto placeOf = [](double component) { return static_cast<int>(std::floor(component / DIRECTION_CELL)); };
    return {placeOf(direction.x), placeOf(direction.y), placeOf(direction.z)};
}

} // namespace

std::pair<int, bool> CN_PlaneMatcher::add(const Plane& plane, const Vector& facing) {
    const int found = find(plane);
    if (found >= 0) {
        std::vector<Plane>& group = m_groups[static_cast<std::size_t>(found)];
        const bool isFlipped = group.front().getNormal().dot(facing) < 0;
        group.emplace_back(isFlipped ? -plane.getNormal() : plane.getNormal(), plane.getPoint());
        return {found, isFlipped};
    }
    const int made = static_cast<int>(m_groups.size());
    m_groups.push_back({plane});
    enter(plane, made);
    return {made, false};
}

std::vector<std::pair<int, bool>> CN_PlaneMatcher::addAll(const CN_Mesh& mesh) {
    std::vector<std::pair<int, bool>> added;
    added.reserve(static_cast<std::size_t>(mesh.getPolygonList().count()));
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        Vector normal = polygon.getNormal(), point = polygon.getPointOnPlane();
        snapPlane(normal, point);
        added.push_back(add({normal, point}, polygon.getNormal()));
    }
    return added;
}

/// The first group that the plane matches, or -1.
int CN_PlaneMatcher::find(const Plane& plane) const {
    const int none = static_cast<int>(m_groups.size());
    int first = none;
    if (!plane.getNormal().isFinite() || !plane.getPoint().isFinite() || !(m_distance > 0))
        return -1; // it is no distance from anything
    if (isUnit(plane.getNormal())) {
        for (const int group : m_unusual)
            consider(plane, group, first);
        findAlong(plane, plane.getNormal(), first);
        findAlong(plane, -plane.getNormal(), first);
    } else {
        for (int group = 0; group < first; ++group)
            consider(plane, group, first);
    }
    return first == none ? -1 : first;
}

void CN_PlaneMatcher::consider(const Plane& plane, int group, int& first) const {
    if (group < first && plane.matches(m_groups[static_cast<std::size_t>(group)].front(), CN_ONE_DIRECTION, m_distance))
        first = group;
}

void CN_PlaneMatcher::findAlong(const Plane& plane, const Vector& normal, int& first) const {
    const Vector reach(DIRECTION_CELL, DIRECTION_CELL, DIRECTION_CELL);
    const Cell low = cellOf(normal - reach), high = cellOf(normal + reach);
    for (int x = low[0]; x <= high[0]; ++x)
        for (int y = low[1]; y <= high[1]; ++y) {
            // The cells along z stand next to each other.
            const auto end = m_families.upper_bound({x, y, high[2]});
            for (auto cell = m_families.lower_bound({x, y, low[2]}); cell != end; ++cell)
                for (const Family& family : cell->second)
                    findInFamily(plane, normal, family, first);
        }
}

void CN_PlaneMatcher::findInFamily(const Plane& plane, const Vector& normal, const Family& family, int& first) const {
    const double apart = (normal - family.direction).length();
    if (!(apart < DIRECTION_CELL))
        return;
    // A point's distance along the normal and its place along the direction differ by no more than these let it.
    constexpr double ROUNDING = 1e-12;
    const double place = plane.getPoint().dot(family.direction);
    const double reach =
        m_distance * (1 + ROUNDING) + (plane.getPoint().length() + family.farthest) * (apart + ROUNDING);
    const auto end = family.groupByPlace.upper_bound(place + reach);
    for (auto group = family.groupByPlace.lower_bound(place - reach); group != end; ++group)
        consider(plane, group->second, first);
}

void CN_PlaneMatcher::enter(const Plane& plane, int group) {
    const Vector& normal = plane.getNormal();
    const double far = plane.getPoint().length();
    if (!normal.isFinite() || !std::isfinite(far))
        return; // nothing ever matches it
    if (!isUnit(normal)) {
        m_unusual.push_back(group);
        return;
    }
    std::vector<Family>& families = m_families[cellOf(normal)];
    auto family = std::find_if(families.begin(), families.end(), [&normal](const Family& each) {
        return (each.direction - normal).length() < FAMILY_WIDTH;
    });
    if (family == families.end()) {
        families.emplace_back().direction = normal;
        family = families.end() - 1;
    }
    family->farthest = std::max(family->farthest, far);
    family->groupByPlace.emplace(plane.getPoint().dot(family->direction), group);
}

} // namespace cairn
