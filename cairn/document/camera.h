#pragma once

#include "cairn/math/matrix3.h"
#include "cairn/math/plane3.h"
#include "cairn/math/vector2.h"

#include <array>

namespace cairn {

class F_MemoryFile;

/// The editing viewpoint that a document owns and stores: a free-flying camera, steered by angles or by a target, with
/// a speed for its relative moves.
///
/// Angles and target are two ways to one matrix and do not update each other. The matrix's rows are the camera's axes:
/// right, up, forward.
class CN_Camera {
  public:
    using Vector = M_Vector3Template<double>;
    using Matrix = M_Matrix3Template<double>;

    CN_Camera();
    CN_Camera(const CN_Camera&) = default;
    CN_Camera& operator=(const CN_Camera&) = default;

    /// Behind and above the origin, looking down at 45 degrees; speed 1.
    void reset();

    /// @name Position and orientation
    /// @{
    const Vector& pos() const { return m_position; }
    Vector readPosition() const { return m_position; }
    /// Sets the eye and nothing else: the matrices stay.
    void setPosition(const Vector& position) { m_position = position; }
    void setPosition(double x, double y, double z) { m_position = {x, y, z}; }
    const Vector& getTarget() const { return m_target; }
    /// Stores the target and looks at it.
    void setTarget(const Vector& target);
    void setTarget(double x, double y, double z) { setTarget({x, y, z}); }
    const Matrix& getMatrix() const { return m_matrix; }
    /// The general inverse of the matrix.
    const Matrix& getInvMatrix() const { return m_invMatrix; }
    /// Radians about the x, y and z axes.
    M_Vector3Template<float> getAngles() const { return m_angles; }
    /// Stores the angles (radians) and turns the camera to them.
    void setAngles(float x, float y, float z);
    /// Adds to the angles and turns the camera to them.
    void rotateCamera(float x, float y, float z);
    /// @}

    /// Six planes that are kept and copied for the host.
    const std::array<M_Plane3Template<double>, 6>& getFrustum() const { return m_frustum; }
    std::array<M_Plane3Template<double>, 6>& accessFrustum() { return m_frustum; }
    /// Three numbers that are kept and copied for the host.
    const std::array<double, 3>& getProjection() const { return m_projection; }
    std::array<double, 3>& accessProjection() { return m_projection; }

    /// @name Movement
    /// @{
    /// Adds the vector to the position; the speed plays no part.
    void move(const Vector& offset) { m_position += offset; }
    /// Adds the vector times the speed to the position.
    void move(double x, double y, double z) { m_position += Vector(x, y, z) * m_speed; }
    /// Adds the vector, which is along the camera's axes, times the speed to the position.
    void moveLocal(const Vector& offset) { m_position += (offset * m_speed) * m_matrix; }
    void moveLocal(double x, double y, double z) { moveLocal({x, y, z}); }
    /// Moves forward.
    void dolly(double distance) { moveLocal(0, 0, distance); }
    /// Moves the target along the camera's right and up axes and looks at it.
    void moveTarget(double dx, double dy);
    /// Turns the eye about the target, by `a` about the up axis and then by `b` about the right axis, and looks at it.
    void panAroundTarget(double a, double b);
    /// Turns the camera about its forward axis; the angles stay.
    void roll(float angle);
    /// Turns the eye about `point`, by `ax` about the camera's right axis, then by `ay` and `az` about the world's y
    /// and z axes, adds the three to the angles and turns the camera to them.
    void rotateAroundPoint(const Vector& point, float ax, float ay, float az);
    /// @}

    /// @name Speed and field of view
    /// @{
    double getSpeed() const { return m_speed; }
    /// Doubles the speed, up to 8.
    void increaseSpeed();
    /// Halves the speed, down to 0.0625.
    void decreaseSpeed();
    /// Radians.
    double getFOV() const { return m_fov; }
    /// Degrees, strictly between 0 and 180; anything else changes nothing.
    void setFOV(double degrees);
    /// Adds degrees; nothing changes where the field would not stay strictly between 0 and 180.
    void changeFOV(double degrees);
    /// @}

    /// The two ends of the horizon on the screen, x from minus to plus half its width and y upwards, in pixels. Where
    /// the camera looks straight along the vertical there is no horizon: both ends have y 0 then.
    void getHorizon(M_Vector2Template<double>& left, M_Vector2Template<double>& right) const;

    /// Position, angles and speed, without a chunk about them.
    void save(F_MemoryFile& file) const;
    /// Reads what `save` wrote and turns the camera to the angles; target and field of view stay. Throws where the file
    /// ends before.
    void load(F_MemoryFile& file);
    /// False where a number of the stored view is infinite or NaN, which no host can show.
    bool isFinite() const;

  private:
    bool isConstructed() const { return m_constructed; }
    void initializeMembers();
    void angUpdateMatrices();
    void tgtUpdateMatrices();
    void storeFOV(double fov);

    Vector m_position;                                     ///< the eye
    Vector m_target;                                       ///< not stored
    Matrix m_matrix;                                       ///< rows: right, up, forward
    Matrix m_invMatrix;                                    ///< derived: of m_matrix
    M_Vector3Template<float> m_angles;                     ///< radians
    double m_speed = 1.0;                                  ///< multiplier of relative moves
    std::array<M_Plane3Template<double>, 6> m_frustum;     ///< kept for the host
    int m_halfWidth = 320, m_halfHeight = 240;             ///< pixels
    double m_focal = 0.0;                                  ///< distance of the screen from the eye, in half widths
    double m_fov = 0.0;                                    ///< radians, full angle across the width
    std::array<double, 3> m_projection{1.0, 0.01, 1024.0}; ///< kept for the host
    bool m_constructed = false;
};

} // namespace cairn
