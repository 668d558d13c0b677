#pragma once

#include "cairn/animation/animation_container.h"
#include "cairn/foundation/strings.h"
#include "cairn/math/matrix4x3.h"

#include <vector>

namespace cairn {

class CN_LevelEntity;

/// A placement of an entity relative to its parent.
class CN_Keyframe {
  public:
    CN_Keyframe() = default;
    explicit CN_Keyframe(const M_Matrix4x3Template<double>& matrix) : m_matrix(matrix) {}
    CN_Keyframe(const CN_Keyframe&) = default;
    CN_Keyframe& operator=(const CN_Keyframe&) = default;
    virtual ~CN_Keyframe() = default;

    const M_Matrix4x3Template<double>& getMatrix() const { return m_matrix; }
    void setMatrix(const M_Matrix4x3Template<double>& matrix) { m_matrix = matrix; }
    /// Takes the entity's present rotation and position.
    void setMatrix(const CN_LevelEntity* entity);

  private:
    M_Matrix4x3Template<double> m_matrix; ///< rotation and position
};

/// The keyframes of an entity by name, with case.
class CN_Keyframes : public CN_AnimationContainer<string, CN_Keyframe> {
  public:
    /// Appends all names in their order.
    void getNames(std::vector<string>& names) const;
};

} // namespace cairn
