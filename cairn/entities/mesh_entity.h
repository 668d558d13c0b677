#pragma once

#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

class CN_VolumeLighting;

/// Version of the chunk around a mesh entity's record. Its id is 1, so that it is told from the mesh's own chunk, with which
/// older records begin.
inline constexpr int CAIRN_LVL_ENTITY_MESH_VERSION = 0;

/// The mesh that stands in a level's tree: a room, a part of one or a thing in it.
class CN_LevelEntityMesh : public CN_Mesh {
  public:
    CN_LevelEntityMesh();
    /// A copy has its own volume lighting.
    CN_LevelEntityMesh(const CN_LevelEntityMesh& other);
    CN_LevelEntityMesh& operator=(const CN_LevelEntityMesh& other);
    ~CN_LevelEntityMesh() override;

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;

    /// True for a mesh with exits directly under the root.
    bool isRoom() const;
    const CN_Mesh* getMesh() const { return this; }
    CN_Mesh* accessMesh() { return this; }
    /// The sampled lighting of a room; null for none, and as long as it has no grid. Valid until it is replaced.
    const CN_VolumeLighting* getVolumeLighting() const;
    /// Takes the lighting (null for none) and its ownership over and deletes the old one; the one it has is kept. One
    /// without a grid is not written by a save.
    void replaceVolumeLighting(CN_VolumeLighting* lighting);

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void requestRenderer();

    std::unique_ptr<CN_VolumeLighting> m_volumeLighting; ///< may be null
};

} // namespace cairn
