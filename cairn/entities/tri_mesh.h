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

    void gotoKeyframe(const string& name) override { m_animation.gotoKeyframe(this, name); }
    bool addKeyframe(const string& name) override { return m_animation.addKeyframe(this, name); }
    void transformKeyframes(const M_Matrix4x3Template<double>& matrix) override {
        m_animation.transformKeyframes(matrix);
    }
    CN_MeshAnimations* accessAnimations() override { return m_animation.accessAnimations(); }
    const CN_MeshAnimations* getAnimations() const override { return m_animation.getAnimations(); }
    CN_Keyframes* accessKeyframes() override { return m_animation.accessKeyframes(); }
    const CN_Keyframes* getKeyframes() const override { return m_animation.getKeyframes(); }
    const string& getCurrentKeyframe() const override { return m_animation.getCurrentKeyframe(); }
    const string& getDefaultKeyframe() const override { return m_animation.getDefaultKeyframe(); }
    const string& getLightingKeyframe() const override { return m_animation.getLightingKeyframe(); }
    void setKeyframes(CN_Keyframes* keyframes) override { m_animation.setKeyframes(keyframes); }
    void setAnimations(CN_MeshAnimations* animations) override { m_animation.setAnimations(animations); }
    void setCurrentKeyframe(const string& name) override { m_animation.setCurrentKeyframe(name); }
    void setDefaultKeyframe(const string& name) override { m_animation.setDefaultKeyframe(name); }
    void setLightingKeyframe(const string& name) override { m_animation.setLightingKeyframe(name); }

  protected:
    bool onCanAdd(int entityId) override;

  private:
    void requestRenderer();

    bool m_dynamic = false;   ///< moves in the game
    CN_Animation m_animation; ///< keyframes and animations
};

} // namespace cairn
