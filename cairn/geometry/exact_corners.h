#pragma once

#include "cairn/math/plane3.h"

#include <utility>
#include <vector>

namespace cairn {

class CN_Mesh;
class CN_Polygon;

/// Gives corners that went into a plane's coordinates and back the places that they have: those of the polygons that they come
/// from, and where a plane cuts these polygons' edges. Without it whole numbers would drift with each cut.
class CN_ExactCorners {
  public:
    using Vector = M_Vector3Template<double>;

    /// The corners that edges of the polygon begin at are places.
    void addCorners(const CN_Polygon& polygon);
    /// The places where a plane of the mesh's space, whose normal is unit, cuts the polygon's edges.
    void addCrossings(const CN_Polygon& polygon, const M_Plane3Template<double>& plane);
    /// Moves the vertices of the mesh from the number `first` on to the nearest place where that is as good as the same; those
    /// of others stay. Cost: n log n for n places, and a look-up each.
    void restore(CN_Mesh& mesh, int first);

  private:
    static double keyOf(const Vector& place);

    std::vector<std::pair<double, Vector>> m_places; ///< with their keys
};

} // namespace cairn
