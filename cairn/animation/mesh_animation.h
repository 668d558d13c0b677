#pragma once

#include "cairn/animation/graph_edit.h"
#include "cairn/foundation/strings.h"
#include "cairn/math/matrix4x3.h"
#include "cairn/math/quaternion.h"

namespace cairn {

class CN_Keyframes;

/// A move of an entity from one keyframe to another: along the straight line between them as the position graph has it,
/// turning the shorter way as the rotation graph has it. It is usable from its constructor on. A copy uses the same
/// keyframes.
class CN_MeshAnimation {
  public:
    /// Version of the chunk that holds the record.
    static constexpr int CAIRN_MESH_ANIMATION_VERSION = 1;

    /// `keyframes` may be null and is not owned: it must outlive the animation or be replaced.
    explicit CN_MeshAnimation(CN_Keyframes* keyframes);
    CN_MeshAnimation(const CN_MeshAnimation&) = default;
    CN_MeshAnimation& operator=(const CN_MeshAnimation&) = default;
    virtual ~CN_MeshAnimation() = default;
    /// Reads the record of the present or the older form. Throws an `F_Exception*` on damage and where a matrix or the
    /// length is not finite; the animation is good for nothing but its end then.
    virtual void load(F_MemoryFile& file);
    /// Writes the record of the present form, whatever the numbers: `isFinite` tells whether `load` will take it.
    virtual void save(F_MemoryFile& file) const;

    /// The set that names are looked up in from now on; matrices and graphs stay.
    void setKeyFrames(CN_Keyframes* keyframes) { m_keyframes = keyframes; }
    /// How long the move takes, in the caller's unit of time.
    double getLength() const { return m_length; }
    void setLength(double length) { m_length = length; }
    const string& getStartFrame() const { return m_startFrame; }
    const string& getEndFrame() const { return m_endFrame; }
    /// Sets the name and copies the keyframe's placement; for a name that is not held the placement stays. The graphs
    /// stay: `updateAllGraphs` follows.
    void setStartFrame(const string& name);
    void setEndFrame(const string& name);
    /// Distance travelled against time 0 to 1. A caller that changes it calls `updatePositionGraph`.
    const U_GraphEdit& getPositionGraph() const { return m_positionGraph; }
    U_GraphEdit& getPositionGraph() { return m_positionGraph; }
    /// Fraction of the rotation against time 0 to 1. A caller that changes it calls `updateRotationGraph`.
    const U_GraphEdit& getRotationGraph() const { return m_rotationGraph; }
    U_GraphEdit& getRotationGraph() { return m_rotationGraph; }
    /// Renews the samples that a play-back reads.
    void updatePositionGraph() { m_positionSamples = m_positionGraph.sampled(); }
    void updateRotationGraph() { m_rotationSamples = m_rotationGraph.sampled(); }
    /// Scales the position graph to the present distance of the keyframes, so that it ends there, and renews the
    /// samples. A second call changes nothing. Nothing happens where one of the keyframes is not held.
    void updateAllGraphs();
    /// Sets the length to 0 and both y ranges to 0 to 1, and adds the nodes (0, 0) and (1, 1) to both graphs.
    void reset();
    /// The placement at the time: that of the start keyframe at 0 and before, that of the end keyframe from the length
    /// on. All animations share the matrix: it is valid until the next call for any of them, on one thread.
    const M_Matrix4x3Template<float>& getMatrixAt(float time) const;
    /// True where a curve could not stay as the record read last has it: it had more samples than there can be, or fewer
    /// than one, or no scaling brought it to its distance, so that it is straight now.
    bool isMended() const;
    /// True where matrices and length are finite, as a stored animation's must be.
    bool isFinite() const;

  private:
    using Quaternion = M_QuaternionTemplate<float>;

    void setStartMatrix(const M_Matrix4x3Template<float>& matrix);
    void setEndMatrix(const M_Matrix4x3Template<float>& matrix);
    void updateInverseDistance();
    void loadBody(F_MemoryFile& file);
    void straightenPosition(float distance);
    void settlePosition(float distance);

    string m_startFrame;                      ///< keyframe at time 0
    string m_endFrame;                        ///< keyframe at the end
    M_Matrix4x3Template<float> m_startMatrix; ///< copy of the start keyframe
    M_Matrix4x3Template<float> m_endMatrix;   ///< copy of the end keyframe
    Quaternion m_startRotation;               ///< of the start matrix
    Quaternion m_endRotation;                 ///< of the end matrix, of the sign that is nearer to the start's
    U_Graph m_positionSamples;                ///< of the position graph
    U_Graph m_rotationSamples;                ///< of the rotation graph
    U_GraphEdit m_positionGraph;              ///< distance against time
    U_GraphEdit m_rotationGraph;              ///< fraction of the rotation against time
    CN_Keyframes* m_keyframes;                ///< not owned: those of the same entity; may be null
    double m_length = 0;                      ///< in time
    bool m_straightened = false;              ///< the position graph could not be scaled since it was read
    float m_inverseDistance = 0;              ///< 1 / distance between the placements, 0 where they coincide
};

} // namespace cairn
