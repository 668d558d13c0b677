#pragma once

#include "cairn/animation/animation.h"
#include "cairn/animation/animation_interface.h"
#include "cairn/entities/mesh_interface.h"
#include "cairn/entities/mesh_properties.h"

namespace cairn {

class CN_LevelEntity;

/// The half of a mesh that editable meshes and triangle meshes share: the settings for the game, and what makes it move.
class CN_MovableMesh : public CN_MeshInterface, public CN_AnimationInterface {
  public:
    /// @name Mesh interface
    /// @{
    void setDynamic(bool dynamic) override { m_dynamic = dynamic; }
    bool isDynamic() const override { return m_dynamic; }
    void makeDynamic(bool lit) override;
    void makeStatic() override;
    void setMeshProperties(const CN_MeshProperties& properties) override { m_meshProperties = properties; }
    const CN_MeshProperties& getMeshProperties() const override { return m_meshProperties; }
    CN_MeshProperties& accessMeshProperties() { return m_meshProperties; }
    /// @}

    /// @name Animation interface: the mesh's own `CN_Animation`
    /// @{
    void gotoKeyframe(const string& name) override { m_animation.gotoKeyframe(&accessEntity(), name); }
    bool addKeyframe(const string& name) override { return m_animation.addKeyframe(&accessEntity(), name); }
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
    /// @}

  protected:
    /// True for a dynamic mesh with keyframes, which `moveOriginOfKeyframes` changes.
    bool movesByKeyframes() const { return m_dynamic && getKeyframes(); }
    /// Keeps the mesh's points where they are at each keyframe when its origin moves. `toOldSpace` brings a point of the
    /// space that is the mesh's then into the one that was. Nothing happens while the mesh stands still.
    void moveOriginOfKeyframes(const M_Matrix4x3Template<double>& toOldSpace);

    CN_MeshProperties m_meshProperties; ///< for the game
    bool m_dynamic = false;             ///< moves in the game
    CN_Animation m_animation;           ///< its keyframes and animations

  private:
    /// The entity that is the mesh.
    virtual CN_LevelEntity& accessEntity() = 0;
};

} // namespace cairn
