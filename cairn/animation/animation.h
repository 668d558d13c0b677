#pragma once

#include "cairn/foundation/strings.h"
#include "cairn/math/matrix4x3.h"

#include <memory>

namespace cairn {

class CN_Keyframes;
class CN_LevelEntity;
class CN_MeshAnimations;
class F_MemoryFile;

/// What a dynamic entity owns for its motion: keyframes, the animations that run between them, and the names of three of
/// the keyframes. It is static, with neither set, until it is made dynamic or loaded. The entity is handed to each
/// operation that needs it.
class CN_Animation {
  public:
    /// Version of the chunk that holds the record.
    static constexpr int CAIRN_MESH_ANIMATION = 1;

    CN_Animation();
    /// Copies both sets; the copied animations use the copied keyframes.
    CN_Animation(const CN_Animation& other);
    CN_Animation& operator=(const CN_Animation& other);
    virtual ~CN_Animation();

    /// The sets, null while static; valid until they are replaced.
    CN_MeshAnimations* accessAnimations() { return m_animations.get(); }
    const CN_MeshAnimations* getAnimations() const { return m_animations.get(); }
    CN_Keyframes* accessKeyframes() { return m_keyframes.get(); }
    const CN_Keyframes* getKeyframes() const { return m_keyframes.get(); }
    /// The keyframe at which the entity now stands.
    const string& getCurrentKeyframe() const { return m_currentKeyframe; }
    /// The keyframe of the entity's rest placement.
    const string& getDefaultKeyframe() const { return m_defaultKeyframe; }
    /// The keyframe at which the entity is lit.
    const string& getLightingKeyframe() const { return m_lightingKeyframe; }
    /// Takes over the keyframes (null for none) and their ownership and deletes the old ones. The animations use the new
    /// ones from then on; their matrices stay until `updateKeyframes`.
    void setKeyframes(CN_Keyframes* keyframes);
    /// Takes over the animations (null for none) and their ownership and deletes the old ones. They use the keyframes
    /// held here from then on; their matrices stay until `updateKeyframes`.
    void setAnimations(CN_MeshAnimations* animations);
    /// The names alone: neither the entity nor the keyframes change.
    void setCurrentKeyframe(const string& name) { m_currentKeyframe = name; }
    void setDefaultKeyframe(const string& name) { m_defaultKeyframe = name; }
    void setLightingKeyframe(const string& name) { m_lightingKeyframe = name; }

    /// Places the entity, first its position, then its rotation, and brings the world values up to date after each.
    /// The keyframe is the current one then. Nothing happens for a name that is not held.
    void gotoKeyframe(CN_LevelEntity* entity, const string& name);
    /// Keeps the entity's present placement as a keyframe. True, also where the name is held: the keyframe there stays
    /// as it is. False while static.
    bool addKeyframe(CN_LevelEntity* entity, const string& name);
    /// Every keyframe's matrix becomes itself times `matrix`. The animations follow with their `updateKeyframes`.
    void transformKeyframes(const M_Matrix4x3Template<double>& matrix);
    /// Makes the sets where they are missing, keeps the entity's present placement as a keyframe under the next free
    /// name "Keyframe_0", "Keyframe_1", ..., and makes all three names that one, also for a dynamic entity.
    void makeDynamic(CN_LevelEntity* entity);
    /// Places the entity at its default keyframe, then drops both sets and the names.
    void makeStatic(CN_LevelEntity* entity);

    /// @name Record
    /// @{
    /// Replaces everything by the record, of the present or the older form. The animations take their matrices from the
    /// keyframes read and scale their curves to them. Throws an `F_Exception*` on damage; nothing has changed then.
    void loadAnimations(F_MemoryFile& file);
    /// What loads into the present sets have dropped and mended, for a load report; empty where nothing. A copy does not
    /// know what was dropped.
    string describeLoadRepairs() const;
    /// Throws an `F_Exception*` before the first byte while static and where `findRecordFault` tells a fault.
    void saveAnimations(F_MemoryFile& file) const;
    /// Why `loadAnimations` would refuse what `saveAnimations` writes, as the end of a sentence about the entity; empty
    /// where it would not.
    string findRecordFault() const;
    /// @}

  private:
    void swap(CN_Animation& other) noexcept;

    std::unique_ptr<CN_Keyframes> m_keyframes;       ///< null while static
    std::unique_ptr<CN_MeshAnimations> m_animations; ///< null while static; uses the keyframes
    string m_currentKeyframe;                        ///< where the entity stands
    string m_defaultKeyframe;                        ///< where it rests
    string m_lightingKeyframe;                       ///< where it is lit
};

} // namespace cairn
