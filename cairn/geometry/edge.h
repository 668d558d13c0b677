#pragma once

#include "cairn/containers/dl_list.h"
#include "cairn/math/vector3.h"

#include <utility>

namespace cairn {

class CN_Polygon;
struct CN_Vertex;

/// A side of a polygon, directed from its end 0 to its end 1: two places in the vertex list of the polygon's mesh.
class CN_Edge {
  public:
    using Vector = M_Vector3Template<double>;

    CN_Edge() = default;
    CN_Edge(int a, int b) : m_index{a, b} {}
    /// A copy begins no hole.
    CN_Edge(const CN_Edge& other) : m_parent(other.m_parent), m_index{other.m_index[0], other.m_index[1]} {}
    /// Copies all but `isHoleStart`, which stays.
    CN_Edge& operator=(const CN_Edge& other) {
        m_parent = other.m_parent;
        m_index[0] = other.m_index[0];
        m_index[1] = other.m_index[1];
        return *this;
    }
    ~CN_Edge() = default;

    CN_Polygon* getParent() const { return m_parent; }
    void setParent(CN_Polygon* parent) { m_parent = parent; }
    void set(int a, int b) { m_index[0] = a, m_index[1] = b; }
    /// The place of end `i` (0 or 1) in the mesh's vertex list, -1 for none.
    int& index(int i) { return m_index[i]; }
    int index(int i) const { return m_index[i]; }
    /// Exchanges the ends.
    void swap() { std::swap(m_index[0], m_index[1]); }
    /// True for the first edge of a loop that was added as a hole; no file keeps it.
    bool isHoleStart() const { return m_holeStart; }
    void setHoleStart(bool holeStart) { m_holeStart = holeStart; }

    /// @name Corners: the edge needs a polygon of a mesh, and indices that are in its list (else they throw)
    /// @{
    const CN_Vertex& getVertex(int i) const;
    /// The place of end `i` in the mesh's space; valid until the mesh loses the vertex.
    const Vector& getLocal(int i) const;
    const Vector& getWorld(int i) const;
    /// End 1 minus end 0 in the mesh's space, not normalised.
    Vector dir() const;
    Vector dirWorld() const;
    /// The end that is nearer to a point of the world: 0 or 1, 0 where both are as near.
    int findSelectedVertex(const Vector& point) const;
    /// Exactly the same two places in the world, in either direction.
    bool operator==(const CN_Edge& other) const;
    /// True if the angle between the edges' lines in the mesh's space, whichever way the edges run, is below `maxAngle`
    /// radians; false for an edge without length.
    bool colinear(const CN_Edge& other, double maxAngle) const;
    /// True if the other edge lies along this one, its ends nearer than 0.001 to this one's line, for more than 0.001. The
    /// stretch they share runs from `point` along `vector`, in the world. False, and nothing set, where the polygon has no
    /// normal in the world.
    bool sharesSpace(const CN_Edge* other, Vector& point, Vector& vector) const;
    /// The same in the mesh's space.
    bool sharesSpaceLocal(const CN_Edge* other, Vector& point, Vector& vector) const;
    /// True if the edge, of a polygon beside a group that moves, can follow the group's plane to `newNormal` and `distance` along
    /// the first member's reference normal. An edge that touches no member is appended to `farEdges`.
    bool requestPlaneIntersect(const F_DLList<CN_Polygon*>& group, F_DLList<CN_Edge*>& farEdges, double distance,
                               const Vector& newNormal, double minEdgeLength);
    /// Appends the places of both ends and whether one of them, the one in the group, moves to where the edge's line meets
    /// the plane, and gives that; an edge of the group's outline stays.
    bool intersectWithPlane(const F_DLList<CN_Polygon*>& group, const Vector& planePoint, const Vector& planeNormal,
                            F_DLListInit<Vector>& startOut, F_DLListInit<Vector>& endOut,
                            F_DLListInit<bool>& changedOut);
    /// @}

  private:
    CN_Polygon* m_parent = nullptr; ///< not owned: the polygon whose boundary it is in
    int m_index[2] = {-1, -1};      ///< of the ends in the mesh's vertex list
    bool m_holeStart = false;       ///< first edge of a hole's loop
};

} // namespace cairn
