#pragma once

#include "cairn/animation/animation.h"
#include "cairn/animation/animation_interface.h"
#include "cairn/entities/level_entity.h"
#include "cairn/entities/mesh_interface.h"

namespace cairn {

/// A mesh of fixed triangles that was brought in from a modelling tool.
class CN_LevelEntityTriMesh : public CN_LevelEntity, public CN_MeshInterface, public CN_AnimationInterface {
  public:
    CN_LevelEntityTriMesh();
    CN_LevelEntityTriMesh(const CN_LevelEntityTriMesh& other);
    CN_LevelEntityTriMesh& operator=(const CN_LevelEntityTriMesh& other);

    CN_LevelEntity* clone() override;
    void acceptACVisitor(CN_AcyclicLevelVisitor& visitor) override;
    void loadEntitySpecificData(F_MemoryFile& file) override;
    void saveEntitySpecificData(F_MemoryFile& file) override;
    /// A machine, of a dynamic mesh with the handlers of dynamic meshes.
    void createFSM() override;

    void setDynamic(bool dynamic) override { m_dynamic = dynamic; }
    bool isDynamic() const override { return m_dynamic; }

    void transformKeyframes(const M_Matrix4x3Template<double>& matrix) override;
    CN_Keyframes* accessKeyframes() override { return m_animation.accessKeyframes(); }
    const CN_Keyframes* getKeyframes() const override { return m_animation.getKeyframes(); }
    void setKeyframes(CN_Keyframes* keyframes) override { m_animation.setKeyframes(keyframes); }

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void requestRenderer();

    bool m_dynamic = false;   ///< moves in the game
    CN_Animation m_animation; ///< its keyframes
};

} // namespace cairn
