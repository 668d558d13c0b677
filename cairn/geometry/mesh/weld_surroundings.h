#pragma once

#include "cairn/geometry/mesh/mesh.h"

#include <cstddef>
#include <span>
#include <vector>

namespace cairn {

/// The polygons that begin an edge at each vertex of a mesh, in list order, once each; by their places in the list.
class CN_CornerTable {
  public:
    /// Throws an `F_Exception*` where an edge begins at a vertex that is not there. Cost: linear in edges.
    explicit CN_CornerTable(const CN_Mesh& mesh);
    std::span<const int> at(int vertex) const {
        const auto v = static_cast<std::size_t>(vertex);
        return {m_polygons.data() + m_begins[v], m_begins[v + 1] - m_begins[v]};
    }

  private:
    std::vector<std::size_t> m_begins; ///< of each vertex, and the end
    std::vector<int> m_polygons;
};

/// What bears on where vertices end up in a weld: the work behind `CN_Mesh::getNearbyPolygons`, with tables that serve many
/// vertices. Polygons are named by their places in the mesh's list. The mesh must not change meanwhile.
class CN_WeldSurroundings {
  public:
    using Vector = M_Vector3Template<double>;
    using Plane = M_Plane3Template<double>;

    /// `planes` are the polygons', and stay the caller's; they may be other ones than those they have now. `vertices` are
    /// those that will be asked about. Cost: near linear in edges and in vertices near the lines of edges.
    CN_WeldSurroundings(CN_Mesh& mesh, const std::vector<Plane>& planes, const std::vector<int>& vertices,
                        double radius);

    /// The polygons near one of those vertices, whose group is given: one for each direction. Tells the log of corners inside
    /// of edges and enters what is left out into `polygonReplacements`.
    std::vector<int> find(int vertex, const std::vector<int>& group) const;
    /// Where their planes meet, near the mean of the group.
    Vector fit(const std::vector<int>& polygons, const std::vector<int>& group) const;
    CN_Polygon* getPolygon(int place) const { return m_polygons[static_cast<std::size_t>(place)]; }

  private:
    /// A polygon with the vertex well inside one of its edges: the first one.
    struct Junction {
        int polygon, edge; ///< the edge's place in its polygon
        double along;      ///< how far along it is
    };

    const Vector& placeOf(int vertex) const { return m_places[static_cast<std::size_t>(vertex)]; }
    void findJunctions(const std::vector<int>& vertices);
    void thin(std::vector<int>& polygons) const;

    const std::vector<Plane>& m_planes;
    double m_radius;
    CN_CornerTable m_corners;
    std::vector<Vector> m_places;                   ///< of all vertices
    std::vector<CN_Polygon*> m_polygons;            ///< not owned: in list order
    std::vector<std::vector<Junction>> m_junctions; ///< of each vertex, by polygon; none without any
};

} // namespace cairn
