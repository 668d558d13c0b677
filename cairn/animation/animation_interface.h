#pragma once

#include "cairn/foundation/strings.h"
#include "cairn/math/matrix4x3.h"

namespace cairn {

class CN_Keyframes;
class CN_MeshAnimations;

/// How the animation of an entity is reached; the entity forwards to its `CN_Animation`, where the operations are
/// described. Get it from an entity by `dynamic_cast` only.
class CN_AnimationInterface {
  public:
    virtual ~CN_AnimationInterface() = default;
    /// Places the entity at the keyframe; nothing happens for a name that is not held.
    virtual void gotoKeyframe(const string& name) = 0;
    /// Keeps the entity's present placement as a keyframe.
    virtual bool addKeyframe(const string& name) = 0;
    /// Every keyframe's matrix becomes itself times `matrix`.
    virtual void transformKeyframes(const M_Matrix4x3Template<double>& matrix) = 0;
    /// The mesh animations, or null for an entity that stands still.
    virtual CN_MeshAnimations* accessAnimations() = 0;
    virtual const CN_MeshAnimations* getAnimations() const = 0;
    /// The keyframes, or null for an entity that stands still.
    virtual CN_Keyframes* accessKeyframes() = 0;
    virtual const CN_Keyframes* getKeyframes() const = 0;
    virtual const string& getCurrentKeyframe() const = 0;
    virtual const string& getDefaultKeyframe() const = 0;
    virtual const string& getLightingKeyframe() const = 0;
    /// Takes over the keyframes (null for none) and with them their ownership, and deletes the old ones.
    virtual void setKeyframes(CN_Keyframes* keyframes) = 0;
    /// Takes over the animations (null for none) and with them their ownership, and deletes the old ones.
    virtual void setAnimations(CN_MeshAnimations* animations) = 0;
    /// Sets the name alone; the entity stays where it is.
    virtual void setCurrentKeyframe(const string& name) = 0;
    virtual void setDefaultKeyframe(const string& name) = 0;
    virtual void setLightingKeyframe(const string& name) = 0;
};

} // namespace cairn
