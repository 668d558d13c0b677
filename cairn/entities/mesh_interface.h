#pragma once

namespace cairn {

class CN_MeshProperties;

/// What editable meshes and triangle meshes have in common. Reach it from an entity by `dynamic_cast` only.
class CN_MeshInterface {
  public:
    virtual ~CN_MeshInterface() = default;
    /// Sets the flag alone: keyframes and state machine stay as they are.
    virtual void setDynamic(bool dynamic) = 0;
    /// True for a mesh that moves in the game.
    virtual bool isDynamic() const = 0;
    /// Gives the mesh its first keyframe, a state machine with the handlers of dynamic meshes and the default physical
    /// material, and marks it dynamic; `lit` says whether it is lit.
    virtual void makeDynamic(bool lit) = 0;
    /// Puts the mesh to its default keyframe and takes keyframes, animations and state machine away.
    virtual void makeStatic() = 0;
    virtual void setMeshProperties(const CN_MeshProperties& properties) = 0;
    virtual const CN_MeshProperties& getMeshProperties() const = 0;
    /// Counts the use of each surface's material once up, or down. Loads and copies have counted; who deletes a mesh while
    /// its materials live on counts down first.
    virtual void updateMaterialRefCounts(bool add) = 0;
};

} // namespace cairn
