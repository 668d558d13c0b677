#pragma once

namespace cairn {

/// What editable meshes and triangle meshes have in common. Reach it from an entity by `dynamic_cast` only.
class CN_MeshInterface {
  public:
    virtual ~CN_MeshInterface() = default;
    /// Sets the flag alone: keyframes and state machine stay as they are.
    virtual void setDynamic(bool dynamic) = 0;
    /// True for a mesh that moves in the game.
    virtual bool isDynamic() const = 0;
};

} // namespace cairn
