#pragma once

#include "cairn/math/matrix4x3.h"

namespace cairn {

class CN_Keyframes;

/// How the animation of an entity is reached. Get it from an entity by `dynamic_cast` only.
class CN_AnimationInterface {
  public:
    virtual ~CN_AnimationInterface() = default;
    /// Every keyframe's matrix becomes itself times `matrix`.
    virtual void transformKeyframes(const M_Matrix4x3Template<double>& matrix) = 0;
    /// The keyframes, or null for an entity that has none.
    virtual CN_Keyframes* accessKeyframes() = 0;
    virtual const CN_Keyframes* getKeyframes() const = 0;
    /// Takes over the keyframes (null for none) and with them their ownership, and deletes the old ones.
    virtual void setKeyframes(CN_Keyframes* keyframes) = 0;
};

} // namespace cairn
