#pragma once

#include "cairn/geometry/polygon/polygon.h"

#include <map>
#include <string>

namespace cairn::host {

/// How the two polygons of a pair of exits lie to each other in the world.
struct ExitPair {
    using Vector = M_Vector3Template<double>;

    double gap = 0;        ///< the farthest that a corner of one lies off the other's plane
    Vector gapFrom, gapTo; ///< that corner, and the place below it in the plane
    double angle = 180;    ///< degrees between the normals: 180 where they face each other
    double areas[2] = {};  ///< of each
    double overlap = 0;    ///< the area that they have in common, seen along the first one's normal
    double slack = 0;      ///< by which areas may differ

    /// True where both lie in one plane, face each other and cover the same area.
    bool matches() const { return !isApart() && !isAskew() && !isUneven(); }
    bool isApart() const;
    bool isAskew() const;
    bool isUneven() const;
    /// What keeps them from it, in words.
    std::string gapText() const;
    std::string angleText() const;
    std::string areaText() const;
};

/// Looks at two polygons, whose meshes' world places must be current. Polygons without a plane have nothing in common.
ExitPair compareExits(const CN_Polygon& a, const CN_Polygon& b);

/// The mesh's exits that match their partners, with their names as people see them; looked up only.
std::map<const CN_Polygon*, std::string> findMeetingExits(const CN_Mesh& mesh);

/// Makes two polygons, which are no exits and nobody's lights, exits that lead to each other, with a portal below the mesh of
/// each. Both portals have the name, which must be free there; where the polygons are of one mesh the second has the next free
/// one. The polygons may lie anywhere.
void linkExits(CN_Polygon& a, CN_Polygon& b, const std::string& name);

} // namespace cairn::host
