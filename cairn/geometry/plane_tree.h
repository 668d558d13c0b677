#pragma once

#include "cairn/math/matrix3.h"
#include "cairn/math/plane3.h"

#include <cstddef>
#include <limits>
#include <vector>

namespace cairn {

/// Groups of planes whose normals are nearly parallel, by their first planes: a k-d tree over the points of all planes that may
/// become first ones, in a frame with z along their mean normal. A node knows the least group that has begun below it, and
/// the boxes of those planes' points and normals.
class CN_PlaneTree {
  public:
    using Vector = M_Vector3Template<double>;
    using Plane = M_Plane3Template<double>;

    /// What is asked for: the first group before `first` whose first plane the plane matches within a distance.
    struct Query {
        const Plane& plane;
        double distance;
        int first;

        /// True if the plane matches the group's first one, and the group is before the first so far: it is that then.
        void consider(int group, const Plane& other);
    };

    /// A tree of those of the planes that `members` tells, at least one. The planes must stay as long as the tree. Their
    /// normals are nearly unit and less than right angles apart, and their points have squares.
    CN_PlaneTree(const std::vector<Plane>& planes, const std::vector<int>& members);

    /// Which plane stands at a place among the members as the tree has them.
    int planeAt(std::size_t place) const { return m_members[place].plane; }
    /// Begins a group, with the plane at a place for its first.
    void begin(std::size_t place, int group);
    /// Looks for the groups whose first normals point as `direction` does, the plane's normal or its opposite.
    void find(Query& query, const Vector& direction) const;

  private:
    static constexpr int NONE = std::numeric_limits<int>::max();
    static constexpr std::size_t LEAF = 8;

    struct Member {
        int plane;
        int group = NONE; ///< that it began
        Vector place, normal;
    };
    struct Box {
        Vector low, high;

        void expand(const Vector& v);
        Vector center() const { return (low + high) / 2; }
        Vector half() const { return (high - low) / 2; }
    };
    struct Node {
        int least = NONE;
        std::size_t right = 0; ///< its second child, the first being next to it; 0 at leaves
        Box places, normals;   ///< nothing before `least` is there
    };
    struct Search;

    Vector toFrame(const Vector& v) const { return {m_u.dot(v), m_v.dot(v), m_w.dot(v)}; }
    std::size_t build(std::size_t from, std::size_t to);
    void findBelow(std::size_t node, std::size_t from, std::size_t to, Search& search) const;

    const std::vector<Plane>& m_planes; ///< not owned
    Vector m_u, m_v, m_w;               ///< the frame's axes
    double m_farthest = 0;              ///< of the points from the origin
    double m_tilt = 0;                  ///< how much a place along z changes with the normal, for a step across
    std::vector<Member> m_members;
    std::vector<Node> m_nodes;
};

} // namespace cairn
