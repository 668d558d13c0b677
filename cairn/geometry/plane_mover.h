#pragma once

#include "cairn/geometry/box_tree.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/plane_move.h"

#include <vector>

namespace cairn {

/// How a plane is to move.
struct CN_PlaneMove {
    double distance = 0;              ///< along the polygon's reference normal
    double minEdgeLength = 0;         ///< that no longer edge may come down to
    bool rotating = false;            ///< about `center`
    M_Matrix3Template<double> matrix; ///< that the normal is turned by
    M_Vector3Template<double> center;
};

/// @name Rules of plane moves
/// @{
/// True for normals that point the same way or opposite ways, to 5e-7 in their product.
bool CN_areParallel(const M_Vector3Template<double>& a, const M_Vector3Template<double>& b);
/// True if the vector leaves the plane of the normal by more than `angle` radians.
bool CN_leavesPlane(const M_Vector3Template<double>& normal, const M_Vector3Template<double>& vector, double angle);
/// Why an edge from `a` to `b`, with an end in the old plane, cannot follow it to the new one; NONE where it can.
CN_PlaneMoveRefusal CN_findFollowRefusal(const M_Vector3Template<double>& a, const M_Vector3Template<double>& b,
                                         const M_Plane3Template<double>& oldPlane,
                                         const M_Plane3Template<double>& newPlane, double minEdgeLength);
/// @}

/// Moves the plane of a polygon, or tells why not: one move, or one question, of one mesh.
///
/// The polygon and its coplanar neighbours are the group; those that share an edge with it from outside are its border. Edges
/// of the border that lead into the group carry its corners along; the others go along the reference normal. All is found from
/// tables of the mesh that are made once, in the order of the mesh's lists.
///
/// What has moved has the texture spaces 0, 1 and 2; one that was missing begins as space 0. A plane that faces the other way
/// than the polygon's goes on doing so. Bounding boxes are those ahead of the move.
class CN_PlaneMover {
  public:
    using Vector = M_Vector3Template<double>;
    using Plane = M_Plane3Template<double>;
    using Refusal = CN_PlaneMoveRefusal;
    using Group = F_DLList<CN_Polygon*>;

    /// Throws an `F_Exception*` where an edge names a vertex that is not there.
    explicit CN_PlaneMover(CN_Mesh& mesh);

    /// For a polygon of the mesh with edges and a normal, and a move of finite numbers. Where this throws, the mesh is as it
    /// was, as on a refusal.
    Refusal run(CN_Polygon& polygon, const CN_PlaneMove& move);

    /// @name Single questions: see the operations of the same names
    /// @{
    bool checkCoplanarVertices(int vertex, const Group& group);
    bool checkEdgePlaneDeadlock(int vertex, const Vector& normal, const Group& border);
    void appendCoplanarNeighbors(const CN_Polygon& polygon, Group& list);
    void appendOwnVertices(const CN_Polygon& polygon, const Group& group, F_DLList<int>& list);
    /// @}

  private:
    class Undo;

    enum class Role : char { NONE, MEMBER, BORDER };
    struct Side {
        CN_Edge* edge; ///< not owned
        int polygon;
        int ends[2];

        bool touches(int vertex) const { return ends[0] == vertex || ends[1] == vertex; }
    };
    /// A corner of the group that no edge carries along, and the polygon in whose plane it stays, -1 for none.
    struct OwnVertex {
        int vertex, slide;
    };
    /// A side of the border that leads into the group with one end.
    struct Following {
        int side, end;
    };

    // Tables (plane_mover_tables.cpp)
    static std::size_t at(int place) { return static_cast<std::size_t>(place); }
    const Side& side(int number) const { return m_sides[at(number)]; }
    CN_Polygon& polygonAt(int number) const { return *m_polygons[at(number)]; }
    template <class Visit> void forEachSideOf(int polygon, Visit&& visit) const {
        for (int i = m_firstSide[at(polygon)]; i < m_firstSide[at(polygon) + 1]; ++i)
            visit(i);
    }
    template <class Visit> void forEachSideAt(int vertex, Visit&& visit) const {
        for (int i = m_firstAt[at(vertex)]; i < m_firstAt[at(vertex) + 1]; ++i)
            visit(m_sidesAt[at(i)]);
    }
    bool holds(int polygon, int vertex) const;
    bool holds(int polygon, const Side& edge) const;
    Vector alongOf(const Side& edge) const { return m_places[at(edge.ends[1])] - m_places[at(edge.ends[0])]; }
    const std::vector<int>& findNear(CN_BoxTree& tree, const Vector& a, const Vector& b);
    CN_BoxTree::Box reachOf(int polygon, const std::vector<Vector>& places) const;
    CN_BoxTree treeOf(const std::vector<int>& polygons, const std::vector<Vector>& places) const;
    CN_BoxTree& accessAllTree();
    void setGroup(std::vector<int> members);
    void setBorder(std::vector<int> border);
    std::vector<int> placesOf(const Group& group) const;

    // Gathering (plane_mover_gathering.cpp)
    void gather();
    void gatherCoplanar(int start, std::vector<char>& isIn, std::vector<int>& found);
    const F_DLList<CN_Polygon*>& findSharing(int polygon);
    bool isOwn(int polygon, int vertex) const;
    void gatherOwnVertices();
    int findSlide(int vertex);

    // Tests (plane_mover_tests.cpp)
    Refusal checkCorners();
    bool leavesOneWay(int vertex);
    bool leavesGroup(const Side& edge);
    bool runsAlongGroup(const Side& edge);
    bool isFree(int vertex, const Vector& normal);
    Refusal checkFollowing();
    bool crosses();
    bool crossesAny(const Side& edge, int vertex, const Vector& along);
    bool crossesOne(const Side& edge, const CN_Polygon& other, const Vector& along) const;
    Refusal checkShape() const;
    bool bends() const;
    bool isPierced();

    // Moving (plane_mover.cpp)
    void refreshDerived();
    Refusal findRefusal(Undo& undo);
    void aim();
    Refusal placeCorners();
    bool placeFollowing();
    bool placeOwn();
    void touch(int side);
    Refusal commit(Undo& undo);
    bool turnSpace(CN_Polygon::PlanarSpace& space) const;

    CN_Mesh& m_mesh;
    std::vector<CN_Polygon*> m_polygons; ///< not owned: in list order
    std::vector<int> m_firstSide;        ///< of each polygon in `m_sides`, and the end
    std::vector<Side> m_sides;           ///< of all polygons, in the order of their lists
    std::vector<Vector> m_places;        ///< of all vertices ahead of the move
    std::vector<int> m_firstAt;          ///< of each vertex in `m_sidesAt`, and the end
    std::vector<int> m_sidesAt;          ///< that begin or end at a vertex, ascending
    CN_BoxTree m_allTree;                ///< reaches of all polygons, made when first asked for
    bool m_hasAllTree = false;

    std::vector<Role> m_roles;          ///< of all polygons
    std::vector<int> m_members;         ///< the polygon first
    std::vector<int> m_border;          ///< in the order of the polygon's shared edge list
    CN_BoxTree m_memberTree;            ///< reaches of the members ahead of the move
    CN_BoxTree m_borderTree;            ///< of the border
    std::vector<int> m_memberSides;     ///< all sides of members
    CN_BoxTree m_memberSideTree;        ///< where they run in the world
    bool m_hasMemberSideTree = false;   ///< made when first asked for
    std::vector<OwnVertex> m_own;       ///< in the order in which they were found
    std::vector<Following> m_following; ///< in the order of the border
    std::vector<int> m_far;             ///< sides of the border that are apart from the group
    std::vector<int> m_near;            ///< of the last question
    CN_BoxTree m_boxTree;               ///< the polygons' own boxes, made when first asked for
    std::size_t m_lookedAt = 0;         ///< edges, for shared edge lists of single polygons
    bool m_hasSharedLists = false;      ///< those of all polygons are current

    CN_Polygon* m_polygon = nullptr; ///< not owned: what is moved
    CN_PlaneMove m_move;             ///< with what the snap made of its centre
    Vector m_oldNormal, m_newNormal; ///< of the polygon
    Vector m_delta;                  ///< of the plane's point
    Plane m_target;                  ///< the new plane, where corners end up
    std::vector<Vector> m_newPlaces; ///< of all vertices
    std::vector<char> m_isTouched;   ///< by side
    std::vector<int> m_touched;      ///< sides whose ends move, in the order in which they are met
};

} // namespace cairn
