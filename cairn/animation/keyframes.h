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

    /// Throws an `F_Exception*` where the placement is not finite. One whose rotation has no inverse is taken.
    void load(F_MemoryFile& file) { loadBase(file); }
    void save(F_MemoryFile& file) const { saveBase(file); }
    void loadBase(F_MemoryFile& file);
    void saveBase(F_MemoryFile& file) const;

  private:
    M_Matrix4x3Template<double> m_matrix; ///< rotation and position
};

/// The keyframes of an entity by name, with case.
class CN_Keyframes : public CN_AnimationContainer<string, CN_Keyframe> {
  public:
    CN_Keyframes() = default;
    /// Copies the keyframes.
    CN_Keyframes(const CN_Keyframes& other);
    CN_Keyframes& operator=(const CN_Keyframes& other);
    ~CN_Keyframes() override;
    CN_Keyframe* allocate() override;
    void free(CN_Keyframe* keyframe) override;

    /// Appends all names in their order.
    void getNames(std::vector<string>& names) const;
    /// Every keyframe's matrix becomes itself times `matrix`. The cursor stays.
    void transform(const M_Matrix4x3Template<double>& matrix);
    /// The name of the first keyframe whose matrix is not finite, which no file can hold; null where there is none.
    /// Valid as long as that entry.
    const string* findNotFinite() const;
};

} // namespace cairn
