#pragma once

#include "cairn/foundation/exception.h"
#include "cairn/math/matrix3.h"

#include <algorithm>
#include <cmath>

namespace cairn {

/// What goes wrong with planes.
class M_Plane3Exception : public F_Exception {
  public:
    using F_Exception::F_Exception;
};

/// A plane as a unit normal and a point on it.
template <class T> class M_Plane3Template {
  public:
    /// The ground: normal +Y through the origin.
    M_Plane3Template() = default;
    M_Plane3Template(const M_Vector3Template<T>& normal, const M_Vector3Template<T>& point)
        : m_normal(normal), m_point(point) {}
    M_Plane3Template(const M_Plane3Template&) = default;
    M_Plane3Template& operator=(const M_Plane3Template&) = default;
    virtual ~M_Plane3Template() = default;

    /// Stores the normal, which the caller gives at unit length.
    virtual void setNormal(const M_Vector3Template<T>& normal) { m_normal = normal; }
    /// Turns the normal by `rotation`; the point stays.
    virtual void rotate(const M_Matrix3Template<T>& rotation) { m_normal = m_normal * rotation; }
    /// The side of the line from `a` to `b`: 1 where both ends lie on the normal's side or in the plane, -1 where both
    /// lie behind or in it, 0 where the line crosses the plane or lies in it.
    virtual int lineSide(const M_Vector3Template<T>& a, const M_Vector3Template<T>& b) const {
        const T da = distance(a), db = distance(b);
        if ((da > T(0) && db < T(0)) || (da < T(0) && db > T(0)) || (da == T(0) && db == T(0)))
            return 0;
        return da + db > T(0) ? 1 : -1;
    }

    /// Where the line through `start` along `direction`, of any length, meets the plane: true, and `out` is set. False for a
    /// line that runs along the plane.
    bool intersectLine(M_Vector3Template<T>& out, const M_Vector3Template<T>& start,
                       const M_Vector3Template<T>& direction) const {
        const T across = m_normal.dot(direction);
        if (across == T(0))
            return false;
        out = start + direction * ((m_normal.dot(m_point) - m_normal.dot(start)) / across);
        return true;
    }
    /// True if the planes are as good as one: their normals, whichever way they point, are less than `maxAngle` radians apart,
    /// and the other plane's point is nearer than `maxDistance` to this one.
    bool matches(const M_Plane3Template& other, T maxAngle, T maxDistance) const {
        return std::acos(std::clamp(std::abs(m_normal.dot(other.m_normal)), T(-1), T(1))) < maxAngle &&
               std::abs(distance(other.m_point)) < maxDistance;
    }

    const M_Vector3Template<T>& getNormal() const { return m_normal; }
    const M_Vector3Template<T>& getPoint() const { return m_point; }
    void setPoint(const M_Vector3Template<T>& point) { m_point = point; }
    /// The signed distance of `p`, positive on the normal's side.
    T distance(const M_Vector3Template<T>& p) const { return (p - m_point).dot(m_normal); }

  protected:
    M_Vector3Template<T> m_normal{T(0), T(1), T(0)}; ///< unit length
    M_Vector3Template<T> m_point;                    ///< any point of the plane
};

} // namespace cairn
