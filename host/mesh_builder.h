#pragma once

#include "cairn/entities/mesh_entity.h"

#include <vector>

namespace cairn::host {

/// Brings what derives of a mesh's corners and polygons up to date: world places, texture coordinates that are stale, boxes.
/// Triangulations must be there. The mesh must be in its tree.
void refreshMesh(CN_Mesh& mesh);

/// Fills a mesh entity with polygons over corners that are given by their places.
class MeshBuilder {
  public:
    using Vector = CN_LevelEntity::Vector;
    using Loop = std::vector<int>;

    /// The mesh must be empty and outlive the builder.
    explicit MeshBuilder(CN_LevelEntityMesh& mesh) : m_mesh(mesh) {}

    /// The place of a new corner.
    int addVertex(const Vector& point);
    /// The place of a corner in the mesh's space.
    const Vector& getPoint(int corner) const { return m_mesh.getVertexList()[corner].local; }
    /// A polygon with its plane and texture axes: the outer loop counter-clockwise seen from the side it faces, holes the
    /// other way. The material may be null.
    CN_Polygon& addPolygon(const std::vector<Loop>& loops, CN_Material* material);
    /// Polygons in the order floor, ceiling, least x, greatest z, greatest x, least z, from the least corner on; they face
    /// inward or outward.
    void addBox(const Vector& least, const Vector& sizes, bool inward, CN_Material* material);
    /// Brings all that is derived of the mesh up to date. The mesh must be in its tree.
    void finish();

  private:
    CN_LevelEntityMesh& m_mesh;
    int m_vertices = 0;
};

} // namespace cairn::host
