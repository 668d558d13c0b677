#pragma once

#include "cairn/math/plane3.h"

#include <utility>
#include <vector>

namespace cairn {

class CN_Mesh;

/// Puts planes into groups, one by one: each joins the first group whose first plane it matches within one degree and a
/// distance (`M_Plane3Template::matches`), or begins a new one.
class CN_PlaneMatcher {
  public:
    using Plane = M_Plane3Template<double>;

    explicit CN_PlaneMatcher(double distance) : m_distance(distance) {}

    /// Groups the planes of a mesh's polygons, snapped (`snapPlane`), in list order, in place of those before. Returns for each
    /// its group, and whether its polygon faces against the group's first plane; it is in the group turned over then.
    ///
    /// Cost: near logarithmic for a plane in a world of few directions. On terrain, whose directions all differ, a plane looks
    /// at what lies where it cuts the ground: about the square root of the planes there. One whose normal is not unit is
    /// compared with all groups.
    std::vector<std::pair<int, bool>> addAll(const CN_Mesh& mesh);
    const std::vector<std::vector<Plane>>& getGroups() const { return m_groups; }
    std::vector<std::vector<Plane>> takeGroups() { return std::move(m_groups); }

  private:
    double m_distance;
    std::vector<std::vector<Plane>> m_groups;
};

} // namespace cairn
