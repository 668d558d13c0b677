#pragma once

#include "cairn/math/plane3.h"
#include "cairn/math/vector2.h"

namespace cairn {

/// What goes wrong with planar spaces.
class M_PlanarSpace3Exception : public M_Plane3Exception {
  public:
    using M_Plane3Exception::M_Plane3Exception;
};

/// The space's matrix has the determinant 0, so that no point has coordinates in it.
class M_PlanarSpace3Exception_Singular : public M_PlanarSpace3Exception {
  public:
    M_PlanarSpace3Exception_Singular() : M_PlanarSpace3Exception("M_PlanarSpace3 is singular!") {}
};

/// A plane with texture axes: rows U, V and N of a matrix (the length of a row is the world length of one UV unit), and
/// a two-dimensional offset. The plane's point is the origin of the space.
template <class T> class M_PlanarSpace3Template : public M_Plane3Template<T> {
  public:
    /// U along +X, V along -Z, N along +Y, origin and offset 0.
    M_PlanarSpace3Template() { recalculate(); }
    /// Throws `M_PlanarSpace3Exception_Singular` where `matrix` has the determinant 0.
    M_PlanarSpace3Template(const M_Matrix3Template<T>& matrix, const M_Vector3Template<T>& origin,
                           const M_Vector2Template<T>& offset)
        : M_Plane3Template<T>({}, origin), m_matrix(matrix), m_offset(offset) {
        recalculate();
    }

    const M_Matrix3Template<T>& getMatrix() const { return m_matrix; }
    const M_Matrix3Template<T>& getInverse() const { return m_inverse; }
    const M_Vector2Template<T>& getOffset() const { return m_offset; }
    void setOffset(const M_Vector2Template<T>& offset) { m_offset = offset; }
    /// Replaces the rows U, V, N and recalculates; a singular matrix throws `M_PlanarSpace3Exception_Singular` and
    /// leaves the space as it was.
    void setMatrix(const M_Matrix3Template<T>& matrix) {
        if (matrix.determinant() == T(0))
            throw new M_PlanarSpace3Exception_Singular;
        m_matrix = matrix;
        recalculate();
    }
    /// Inverts the matrix and takes its third row as the plane's normal. Throws `M_PlanarSpace3Exception_Singular`
    /// where the determinant is exactly 0.
    void recalculate() {
        if (m_matrix.determinant() == T(0))
            throw new M_PlanarSpace3Exception_Singular;
        m_inverse = m_matrix.inverse();
        this->setNormal(m_matrix.row(2));
    }
    /// The UV coordinates of `p`: x and y of (p - origin) times the inverse, plus the offset.
    M_Vector2Template<T> toUV(const M_Vector3Template<T>& p) const {
        const M_Vector3Template<T> q = (p - this->getPoint()) * m_inverse;
        return {q.x + m_offset.x, q.y + m_offset.y};
    }
    /// The point of the plane that has those UV coordinates.
    M_Vector3Template<T> fromUV(const M_Vector2Template<T>& uv) const {
        const M_Vector2Template<T> p = uv - m_offset;
        return this->getPoint() + m_matrix.row(0) * p.x + m_matrix.row(1) * p.y;
    }
    /// The UV coordinates of a direction: x and y of its product with the inverse.
    M_Vector2Template<T> toUVDirection(const M_Vector3Template<T>& direction) const {
        const M_Vector3Template<T> q = direction * m_inverse;
        return {q.x, q.y};
    }

  private:
    M_Matrix3Template<T> m_matrix{{T(1), T(0), T(0)}, {T(0), T(0), T(-1)}, {T(0), T(1), T(0)}}; ///< rows U, V, N
    M_Vector2Template<T> m_offset;                                                              ///< in UV units
    M_Matrix3Template<T> m_inverse;                                                             ///< of m_matrix
};

} // namespace cairn
