#pragma once

#include "cairn/entities/level_entity.h"
#include "cairn/geometry/ray_boxes.h"

#include <cstddef>
#include <vector>

namespace cairn {

class CN_Mesh;
class CN_Polygon;

/// Finds what rays meet in a mesh, for whoever sends many of them: the same as `CN_Mesh::intersectRay`, to the last bit and
/// also where polygons are equally near, without the look at all polygons.
///
/// It knows where the polygons were when it was made, and holds pointers to the mesh and to them. It is good until a vertex
/// moves, an edge, a polygon, its normal, its `getPointOnPlane`, its texture space 0 or the extent of its coordinates changes
/// or goes. Where the mesh stands in the world may change.
class CN_RayTree {
  public:
    using Vector = M_Vector3Template<double>;

    /// Cost: n log n for n corners.
    explicit CN_RayTree(const CN_Mesh& mesh);

    /// The nearest polygon that the ray from `origin` along the unit vector `direction` meets, at most `distance` away; null
    /// and nothing set where there is none. `point` and `distance` become those of the hit. Space, `cull` and `filter` are those
    /// of `CN_Mesh::intersectRay`, but that the filter is asked only about polygons that the ray comes near to. Neither the
    /// mesh's visibility nor its bounding radius plays a part, and no selection and no `getLastHitPolygon` changes. Throws
    /// `M_PlanarSpace3Exception_Singular` where texture space 0 of a polygon that may be met gives no plane.
    CN_Polygon* findNearest(Vector& point, double& distance, const Vector& origin, const Vector& direction, bool cull,
                            bool local, CN_RayFilter filter) const;

  private:
    /// A polygon, as far as most rays need it.
    struct Face {
        Vector normal, point; ///< of the plane, as the polygon has them
        double
            leastApproach; ///< of a unit vector along the normal: for one that runs more along the plane numbers tell little
        double slack;      ///< by which places in the plane may be off
        CN_Polygon* polygon;   ///< not owned
        int number;            ///< in the mesh's list
        int firstSide;         ///< in `m_sides`
        short sides;           ///< planes there
        bool isBoundedBySides; ///< what is well behind all of them is in the polygon
    };
    /// A plane square to a polygon's, through one of its sides, with all of it behind. The normal's components add up to one.
    struct Side {
        Vector normal;
        double offset; ///< along the normal
    };
    /// The planes of a leaf's faces and of up to as many of their sides, in single precision: what rays surely pass by is told
    /// for all of them at once.
    struct Bundle {
        using Numbers = CN_RayBoxes::Numbers;
        static constexpr int SIDES = 4;

        /// One plane of each face.
        struct Planes {
            Numbers normal[3], offset; ///< unit, and along the normal
        } faces, sides[SIDES];
    };
    class Search;

    void addSides(Face& face);
    void addBundle(const CN_RayBoxes::Leaf& leaf);

    const CN_Mesh* m_mesh;     ///< not owned
    std::vector<Face> m_faces; ///< by position in the boxes' order
    std::vector<Side> m_sides; ///< of all faces, one after the other
    CN_RayBoxes m_boxes;
    std::vector<Bundle> m_bundles; ///< by leaf
};

} // namespace cairn
