#pragma once

#include "cairn/animation/animation_container.h"
#include "cairn/animation/mesh_animation.h"

namespace cairn {

/// The mesh animations of an entity by name, without case.
class CN_MeshAnimations : public CN_AnimationContainer<istring, CN_MeshAnimation> {
  public:
    /// `keyframes` is for the animations made here: not owned, may be null.
    explicit CN_MeshAnimations(CN_Keyframes* keyframes) : m_keyframes(keyframes) {}
    /// Copies of the other's animations that use `keyframes`.
    CN_MeshAnimations(const CN_MeshAnimations& other, CN_Keyframes* keyframes);
    ~CN_MeshAnimations() override;
    CN_MeshAnimation* allocate() override;
    void free(CN_MeshAnimation* animation) override;

    /// Lets every animation here, and those made later, use these keyframes. Matrices and graphs stay.
    void setKeyframes(CN_Keyframes* keyframes);
    /// Brings every animation up to its keyframes' placements: matrices first, then the graphs.
    void updateKeyframes();
    /// True if an animation starts or ends at the keyframe.
    bool keyframeInUse(const string& name) const;
    /// How many animations have a curve that could not stay as a record had it.
    std::size_t getMendedCount() const;
    /// The name of the first animation that is not finite, which no file can hold; null where there is none. Valid as
    /// long as that entry.
    const istring* findNotFinite() const;

  private:
    CN_Keyframes* m_keyframes; ///< not owned: those of the same entity; may be null
};

} // namespace cairn
