#pragma once

#include "cairn/math/plane3.h"

#include <array>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

namespace cairn {

class CN_Mesh;

/// Puts planes into groups, one by one: each joins the first group whose first plane it matches within one degree and a
/// distance (`M_Plane3Template::matches`), or begins a new one.
///
/// First planes lie in a table by the cell of directions that their normal is in, in families of one direction, and by their
/// place along that. Cost: near logarithmic, but for the number of families within two degrees.
class CN_PlaneMatcher {
  public:
    using Vector = M_Vector3Template<double>;
    using Plane = M_Plane3Template<double>;

    explicit CN_PlaneMatcher(double distance) : m_distance(distance) {}

    /// The group that the plane joins, and whether a plane of the direction `facing` faces against the group's first one; the
    /// plane is turned over then.
    std::pair<int, bool> add(const Plane& plane, const Vector& facing);
    /// The same for the planes of a mesh's polygons, snapped (`snapPlane`), in list order.
    std::vector<std::pair<int, bool>> addAll(const CN_Mesh& mesh);
    const std::vector<std::vector<Plane>>& getGroups() const { return m_groups; }
    std::vector<std::vector<Plane>> takeGroups() { return std::move(m_groups); }

  private:
    using Cell = std::array<int, 3>;

    /// Groups whose first planes have one direction, but for rounding.
    struct Family {
        Vector direction;
        double farthest = 0;                     ///< of the groups' first points from the origin
        std::multimap<double, int> groupByPlace; ///< of first points along the direction
    };

    int find(const Plane& plane) const;
    void findAlong(const Plane& plane, const Vector& normal, int& first) const;
    void findInFamily(const Plane& plane, const Vector& normal, const Family& family, int& first) const;
    void consider(const Plane& plane, int group, int& first) const;
    void enter(const Plane& plane, int group);

    double m_distance;
    std::vector<std::vector<Plane>> m_groups;
    std::map<Cell, std::vector<Family>> m_families; ///< by the cell of their direction
    std::vector<int> m_unusual;                     ///< groups whose first normal is not unit, which the table lacks
};

} // namespace cairn
