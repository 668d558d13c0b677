#pragma once

#include "cairn/entities/level_entity.h"
#include "cairn/entities/movable_mesh.h"
#include "cairn/entities/trimesh_parts.h"
#include "cairn/lighting/lightmap_pool_interface.h"

#include <vector>

namespace cairn {

/// Version of the chunk that holds a triangle mesh.
inline constexpr int CAIRN_LVL_ENTITY_TRIMESH_VERSION = 3;

/// A mesh of fixed triangles that was brought in from a modelling tool, in a vertex and a triangle list.
class CN_LevelEntityTriMesh : public CN_LevelEntity, public CN_MovableMesh {
  public:
    using VertexVector = std::vector<CN_TMVertex>;
    using TriangleVector = std::vector<CN_TMTriangle>;

    CN_LevelEntityTriMesh();
    /// A copy has its own geometry, keyframes and animations; it counts its materials, but not the lightmap.
    CN_LevelEntityTriMesh(const CN_LevelEntityTriMesh& other);
    CN_LevelEntityTriMesh& operator=(const CN_LevelEntityTriMesh& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    /// Replaces the geometry and counts the materials of the new one instead of those of the old. Numbers in triangles are
    /// taken as they stand, a vertex that is not finite throws. The lightmap is counted where the document's pool has it.
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    string findRecordFault() const override;

    /// Moves the origin while geometry, keyframes and children stay, then brings the subtree's world values and the bounding
    /// box up to date. Nothing changes where the rotation has no inverse, nor where a dynamic mesh has keyframes that its
    /// own placement, without inverse, cannot bring along.
    void changeSpaceExplicit(const M_Matrix4x3Template<double>& m) override;
    /// Meets the triangles, the first of those that are equally near. `filter` is asked about their materials.
    bool intersectRay(Vector& point, double& distance, const Vector& origin, const Vector& direction, bool cull,
                      bool local, CN_RayFilter filter) override;
    /// With `deep` the geometry is marked as changed.
    void invalidateObject(bool deep) override;
    /// A machine, of a dynamic mesh with the handlers of dynamic meshes, which are added to one that is there already.
    void createFSM() override;
    /// Renews the boxes in both spaces and the radius; a mesh without vertices has unset boxes and the radius 0.
    void calculateBoundingBox();

    /// @name Mesh interface: the rest is `CN_MovableMesh`'s
    /// @{
    void updateMaterialRefCounts(bool add) override;
    /// @}

    /// @name Geometry
    /// @{
    const VertexVector& getVertices() const { return m_vertices; }
    VertexVector& accessVertices() { return m_vertices; }
    const TriangleVector& getTriangles() const { return m_triangles; }
    /// Triangles that are put in need this mesh as their parent.
    TriangleVector& accessTriangles() { return m_triangles; }
    /// Drops the vertices, and with `withTriangles` the triangles with their material counts. Asks the host for a
    /// renderer where the entity has none.
    void discardGeometry(bool withTriangles);
    bool isGeometryDirty() const { return m_geometryDirty; }
    void setGeometryDirty(bool dirty) { m_geometryDirty = dirty; }
    /// The corners of the box of the last `calculateBoundingBox` in the mesh's own space.
    const Vector& getLocalMin() const { return m_localMin; }
    const Vector& getLocalMax() const { return m_localMax; }
    /// The triangle that a ray met last, or null. Valid until the triangles change.
    const CN_TMTriangle* getLastHitTriangle() const;
    /// @}

    /// @name Fields
    /// @{
    /// The names of the object and of the file that the mesh came from.
    const string& getSourceObjectName() const { return m_sourceObjectName; }
    void setSourceObjectName(const string& name) { m_sourceObjectName = name; }
    const string& getSourceFileName() const { return m_sourceFileName; }
    void setSourceFileName(const string& name) { m_sourceFileName = name; }
    /// The id of the one lightmap, or `NO_LIGHTMAP`. Setting it counts nothing, takes -1 for none, and throws an
    /// `F_Exception*` for another number of more than 32 bits.
    unsigned long getLightmapID() const { return m_lightmapID; }
    void setLightmapID(unsigned long id) { m_lightmapID = CN_lightmapID(id); }
    /// @}

  protected:
    bool onCanAdd(int entityId) override;

  private:
    CN_LevelEntity& accessEntity() override { return *this; }
    void requestRenderer();
    void copyFields(const CN_LevelEntityTriMesh& other);
    void dropTriangles();
    void referenceLightmap() const;
    void reportRepair(const string& text) const;

    Vector m_localMin{CN_UNSET_BOUND, CN_UNSET_BOUND, CN_UNSET_BOUND};    ///< in the mesh's own space
    Vector m_localMax{-CN_UNSET_BOUND, -CN_UNSET_BOUND, -CN_UNSET_BOUND}; ///< in the mesh's own space
    string m_sourceObjectName;                                            ///< in the modelling tool
    string m_sourceFileName;                                              ///< in the modelling tool
    VertexVector m_vertices;                                              ///< what triangles name by place
    TriangleVector m_triangles;                                           ///< of this mesh
    bool m_geometryDirty = true;                                          ///< the geometry has changed
    unsigned long m_lightmapID = NO_LIGHTMAP;                             ///< in the document's pool
    int m_lastHitTriangle = -1;                                           ///< place of the triangle of the last ray
};

} // namespace cairn
