#pragma once

#include "cairn/geometry/ngon.h"

#include <memory>

namespace cairn {

/// A plane of a partition of space and the subtrees on its two sides; the normal points to the inside.
///
/// Distances are signed, positive on the normal's side, and counted as dot(point, normal) - dot(plane's point, normal).
class CN_BSPNode {
  public:
    using Vector = CN_Ngon::Vector;
    using Plane = CN_Ngon::Plane;

    /// A zero plane.
    CN_BSPNode() = default;
    /// The plane of the triangle's normal through its first corner, in the world.
    explicit CN_BSPNode(const CN_Triangle* triangle);
    /// The ngon's plane.
    explicit CN_BSPNode(const CN_Ngon* ngon) : m_plane(ngon->getPlane()) {}
    /// The other's plane; the subtrees are not copied.
    CN_BSPNode(const CN_BSPNode& other) : m_plane(other.m_plane) {}
    CN_BSPNode& operator=(const CN_BSPNode&) = delete;
    /// Destroys the subtrees, however deep, in constant space.
    ~CN_BSPNode();

    const Plane& getPlane() const { return m_plane; }
    /// What divides the positive side; null where all of it is inside.
    const CN_BSPNode* getInsideChild() const { return m_insideChild.get(); }
    CN_BSPNode* accessInsideChild() { return m_insideChild.get(); }
    /// What divides the negative side; null where all of it is outside.
    const CN_BSPNode* getOutsideChild() const { return m_outsideChild.get(); }
    CN_BSPNode* accessOutsideChild() { return m_outsideChild.get(); }
    /// 1 without subtrees.
    int leaf() const { return !m_insideChild && !m_outsideChild ? 1 : 0; }

    static double distance(const Plane& plane, const Vector& point) {
        return point.dot(plane.getNormal()) - plane.getPoint().dot(plane.getNormal());
    }
    double distance(const Vector& point) const { return distance(m_plane, point); }
    /// 1 where every corner is nearer than 0.001 to the plane.
    int contained(const CN_Ngon* ngon) const { return ngon->contained(m_plane); }
    /// 1 where no corner is 0.001 or more behind the plane.
    int isInside(const CN_Ngon* ngon) const { return ngon->isInside(m_plane); }
    /// 1 where corners lie on both sides, however near.
    int intersects(const CN_Ngon* ngon) const;
    /// 1 where the ends lie on different sides and neither in the plane; distances snap at 0.001.
    int edgeIntersects(const Vector& a, const Vector& b) const;
    /// The same for the edge from the triangle's corner `i` to the next, in the world.
    int edgeIntersects(const CN_Triangle* triangle, int i) const;
    /// 1 where no end lies behind the plane; distances snap at 0.001.
    int isInside(const Vector& a, const Vector& b) const;

  private:
    friend class CN_BSPTree;
    friend class CN_BSPBuilder;

    /// A new node from what its constructor takes. Throws an `F_MemoryException_Allocation*`.
    template <class... Args> static std::unique_ptr<CN_BSPNode> make(const Args&... args) {
        return F_withFoundationExceptions([&args...] { return std::make_unique<CN_BSPNode>(args...); });
    }
    /// The subtree on a side, where a new one is put.
    std::unique_ptr<CN_BSPNode>& child(bool inside) { return inside ? m_insideChild : m_outsideChild; }
    const CN_BSPNode* getChild(bool inside) const { return inside ? m_insideChild.get() : m_outsideChild.get(); }

    Plane m_plane{Vector(), Vector()};          ///< a unit normal and a point
    std::unique_ptr<CN_BSPNode> m_insideChild;  ///< of the positive side
    std::unique_ptr<CN_BSPNode> m_outsideChild; ///< of the negative side
};

} // namespace cairn
