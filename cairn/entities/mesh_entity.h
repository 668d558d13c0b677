#pragma once

#include "cairn/geometry/mesh/mesh.h"

namespace cairn {

/// The mesh that stands in a level's tree: a room, a part of one or a thing in it.
class CN_LevelEntityMesh : public CN_Mesh {
  public:
    CN_LevelEntityMesh();
    CN_LevelEntityMesh(const CN_LevelEntityMesh& other);
    CN_LevelEntityMesh& operator=(const CN_LevelEntityMesh& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;

    /// True for a mesh with exits directly under the root.
    bool isRoom() const;
    const CN_Mesh* getMesh() const { return this; }
    CN_Mesh* accessMesh() { return this; }

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void requestRenderer();
};

} // namespace cairn
