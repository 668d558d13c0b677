#pragma once

#include "cairn/math/vector2.h"

namespace cairn {

class CN_2DPolygon;

/// A directed edge between two vertices of a planar polygon. Inside lies to its right. Predicates take the polygon's
/// `getSnapTolerance`, and the edge must have been `set`.
class CN_2DEdge {
  public:
    using Point = M_Vector2Template<double>;

    CN_2DEdge() = default;

    /// Runs from vertex `a` to vertex `b` of the polygon; `lassoId` is -1 for none. An index beyond the polygon's vertices
    /// throws `std::out_of_range`.
    void set(int a, int b, CN_2DPolygon* polygon, int lassoId);
    /// Exchanges the ends.
    void swap();

    /// The place of end `i` (0 or 1) in the polygon's vertices.
    int index(int i) const { return m_index[i]; }
    /// The point of end `i`; valid until the polygon's vertices change.
    const Point& point(int i) const;
    const Point& operator[](int i) const { return point(i); }
    double length() const { return m_direction.length(); }
    /// End minus start.
    const Point& getDirection() const { return m_direction; }
    /// The same at unit length; zero for an edge without length.
    const Point& getUnitDirection() const { return m_unitDirection; }
    /// Unit, to the right of the direction.
    const Point& getNormal() const { return m_normal; }
    CN_2DPolygon* getParent() const { return m_parent; }
    /// For the polygon, which takes over the edges of a copy.
    void setParent(CN_2DPolygon* parent) { m_parent = parent; }
    /// The mark of walks.
    int getUsed() const { return m_used; }
    void setUsed(int used) { m_used = used; }
    int getLassoID() const { return m_lassoId; }
    void setLassoID(int lassoId) { m_lassoId = lassoId; }

    /// The distance of a point from the edge's line, positive on the right.
    double distance(const Point& at) const { return (at - point(0)).dot(m_normal); }
    /// True if the vertex lies at least `tolerance` to the right of the line.
    bool front(int vertex, double tolerance) const;
    /// True if the other's ends are as far from this one's line, to the tolerance.
    bool parallel(const CN_2DEdge& other) const;
    /// True if the edges lie on one line and share a stretch, to the tolerance.
    bool overlaps(const CN_2DEdge& other) const;
    /// True if the edges cross, touch with the start of one of them, or overlap; false where they share a vertex.
    bool intersects(const CN_2DEdge& other) const;
    /// 1 if the ray from `origin` along `direction` meets the edge (its end excluded), with `bounded` within the length of
    /// `direction`. 0 for a ray along the edge and for one that starts on the edge's end.
    int vectorIntersects(const Point& origin, const Point& direction, bool bounded) const;
    /// The same for the segment from `a` to `b`.
    int intervalIntersects(const Point& a, const Point& b) const { return vectorIntersects(a, b - a, true); }

  private:
    void derive();

    int m_index[2] = {0, 0};          ///< of the ends in the polygon's vertices
    CN_2DPolygon* m_parent = nullptr; ///< not owned
    Point m_normal;                   ///< unit, to the right
    Point m_direction;                ///< end minus start
    Point m_unitDirection;            ///< the same at unit length
    int m_used = 0;                   ///< mark of walks
    int m_lassoId = -1;               ///< number of its loop, -1 for none
};

} // namespace cairn
