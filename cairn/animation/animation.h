#pragma once

#include "cairn/animation/keyframes.h"

#include <memory>

namespace cairn {

/// What a dynamic mesh owns for its motion: its keyframes.
class CN_Animation {
  public:
    CN_Animation() = default;
    /// Copies the keyframes.
    CN_Animation(const CN_Animation& other);
    CN_Animation& operator=(const CN_Animation& other);
    virtual ~CN_Animation() = default;

    CN_Keyframes* accessKeyframes() { return m_keyframes.get(); }
    const CN_Keyframes* getKeyframes() const { return m_keyframes.get(); }
    /// Takes over the keyframes and their ownership and deletes the old ones.
    void setKeyframes(CN_Keyframes* keyframes);
    /// Every keyframe's matrix becomes itself times `matrix`.
    void transformKeyframes(const M_Matrix4x3Template<double>& matrix);

  private:
    std::unique_ptr<CN_Keyframes> m_keyframes; ///< null for a mesh that stands still
};

} // namespace cairn
