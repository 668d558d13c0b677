#include "cairn/geometry/plane_matcher.h"

#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/plane_tree.h"
#include "cairn/math/snapping.h"

#include <array>
#include <cmath>
#include <map>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Plane = M_Plane3Template<double>;

constexpr double UNIT_SLACK = 1e-4;     // of squares: mean normals of a weld are as unit as that
constexpr double FARTHEST = 1e100;      // whose squares are far from the end of numbers
constexpr double DIRECTION_CELL = 0.03; // across: normals match those of few cells, and a cell's are nearly parallel
constexpr double REACH = 0.023;         // farther than normals lie apart that match, 1.3 degrees for the longest ones

/// Finds groups by their first planes, which lie in a tree for each cell of directions.
class GroupFinder {
  public:
    /// Of the planes that groups may begin with.
    GroupFinder(const std::vector<Plane>& planes, double distance)
        : m_planes(planes), m_distance(distance), m_places(planes.size()) {
        std::map<Cell, std::vector<int>> members;
        for (std::size_t i = 0; i < planes.size(); ++i)
            if (isUsual(planes[i]))
                members[cellOf(planes[i].getNormal())].push_back(static_cast<int>(i));
        for (const auto& [cell, indices] : members) {
            CN_PlaneTree& tree = m_trees.try_emplace(cell, planes, indices).first->second;
            for (std::size_t i = 0; i < indices.size(); ++i)
                m_places[static_cast<std::size_t>(tree.planeAt(i))] = {&tree, i};
        }
    }

    /// The first group that the plane matches, or -1.
    int find(const Plane& plane) const {
        if (!plane.getNormal().isFinite() || !plane.getPoint().isFinite() || !(m_distance > 0))
            return -1; // it is no distance from anything
        const int none = static_cast<int>(m_firsts.size());
        CN_PlaneTree::Query query{plane, m_distance, none};
        if (isUsual(plane)) {
            for (const int group : m_unusual)
                query.consider(group, firstOf(group));
            findAlong(query, plane.getNormal());
            findAlong(query, -plane.getNormal());
        } else {
            for (int group = 0; group < query.first; ++group)
                query.consider(group, firstOf(group));
        }
        return query.first == none ? -1 : query.first;
    }

    /// Begins the next group with a plane.
    void begin(std::size_t plane) {
        const int group = static_cast<int>(m_firsts.size());
        m_firsts.push_back(plane);
        if (const auto& [tree, place] = m_places[plane]; tree)
            tree->begin(place, group);
        else
            m_unusual.push_back(group);
    }

  private:
    using Cell = std::array<int, 3>;

    static bool isUsual(const Plane& plane) {
        return std::abs(plane.getNormal().lengthSquared() - 1) < UNIT_SLACK &&
               maxAbsComponent(plane.getPoint()) < FARTHEST && plane.getPoint().isFinite();
    }
    static Cell cellOf(const Vector& direction) {
        const auto placeOf = [](double component) { return static_cast<int>(std::floor(component / DIRECTION_CELL)); };
        return {placeOf(direction.x), placeOf(direction.y), placeOf(direction.z)};
    }
    const Plane& firstOf(int group) const { return m_planes[m_firsts[static_cast<std::size_t>(group)]]; }

    void findAlong(CN_PlaneTree::Query& query, const Vector& direction) const {
        const Vector reach(REACH, REACH, REACH);
        const Cell low = cellOf(direction - reach), high = cellOf(direction + reach);
        for (int x = low[0]; x <= high[0]; ++x)
            for (int y = low[1]; y <= high[1]; ++y) {
                // The cells along z stand next to each other.
                const auto end = m_trees.upper_bound({x, y, high[2]});
                for (auto tree = m_trees.lower_bound({x, y, low[2]}); tree != end; ++tree)
                    tree->second.find(query, direction);
            }
    }

    const std::vector<Plane>& m_planes; ///< not owned
    double m_distance;
    std::vector<std::size_t> m_firsts; ///< the groups' first planes
    std::map<Cell, CN_PlaneTree> m_trees;
    std::vector<std::pair<CN_PlaneTree*, std::size_t>> m_places; ///< of the planes in their trees
    std::vector<int> m_unusual;                                  ///< groups whose first planes are in no tree
};

} // namespace

std::vector<std::pair<int, bool>> CN_PlaneMatcher::addAll(const CN_Mesh& mesh) {
    std::vector<Plane> planes;
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        Vector normal = polygon.getNormal(), point = polygon.getPointOnPlane();
        snapPlane(normal, point);
        planes.emplace_back(normal, point);
    }
    GroupFinder finder(planes, m_distance);
    std::vector<std::pair<int, bool>> added;
    m_groups.clear();
    for (const CN_Polygon& polygon : mesh.getPolygonList()) {
        const Plane& plane = planes[added.size()];
        const int found = finder.find(plane);
        if (found < 0) {
            finder.begin(added.size());
            added.emplace_back(static_cast<int>(m_groups.size()), false);
            m_groups.push_back({plane});
            continue;
        }
        std::vector<Plane>& group = m_groups[static_cast<std::size_t>(found)];
        const bool isFlipped = group.front().getNormal().dot(polygon.getNormal()) < 0;
        group.emplace_back(isFlipped ? -plane.getNormal() : plane.getNormal(), plane.getPoint());
        added.emplace_back(found, isFlipped);
    }
    return added;
}

} // namespace cairn
