#pragma once

#include "cairn/containers/dl_list.h"
#include "cairn/geometry/bsp/node.h"

#include <list>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace cairn {

class CN_Mesh;

/// A solid partition of space by the planes of convex pieces: which points and pieces are inside of what they enclose.
///
/// Pieces face the inside. A walk that leaves a node where it has no child ends inside on the plane's positive side and
/// outside on the other. Pointers to nodes stay valid until the tree is built anew or destroyed. Nodes that a tree's
/// operations are given are its own, or of no tree. No operation needs stack space that grows with the depth. Slivers thinner
/// than 0.001 are left out as the tree grows: where faces meet at shallow angles, a point some thousandths from a face's plane
/// may be told wrong.
class CN_BSPTree {
  public:
    using Vector = CN_Ngon::Vector;
    using Plane = CN_Ngon::Plane;
    using NgonList = F_DLListInit<CN_Ngon>;
    using PlaneList = F_DLListInit<Plane>;

    CN_BSPTree() = default;
    CN_BSPTree(const CN_BSPTree&) = delete;
    CN_BSPTree& operator=(const CN_BSPTree&) = delete;
    ~CN_BSPTree() = default;

    /// Null for an empty tree.
    const CN_BSPNode* getRoot() const { return m_root.get(); }
    CN_BSPNode* accessRoot() { return m_root.get(); }
    /// The mesh it was built from, or null.
    const CN_Mesh* getMesh() const { return m_mesh; }
    /// The host's: nothing here fills it.
    const PlaneList& getExtraPlanes() const { return m_extraPlanes; }
    PlaneList& accessExtraPlanes() { return m_extraPlanes; }

    /// @name Building (tree_building.cpp): 1, or 0 and a log of the pieces that no plane of theirs may divide
    /// @{
    /// From the mesh's triangles in the world, in place of what is there. Exit polygons are walls but for those that lead
    /// into the mesh itself. On failure the tree is as far as it was built.
    int build(CN_Mesh* mesh);
    /// From pieces, in place of what is there. Afterwards the list has those that the root's plane leaves to its subtrees,
    /// whole.
    int build(NgonList& ngons);
    /// Below a node, in place of what it has, the node's plane being the first that is chosen; not null.
    ///
    /// Of the planes of all pieces the one with the least |front - behind| + 4 (cut - coplanar) is taken, the first of equal
    /// ones; none in which a piece lies that faces the other way, and none without a finite point and direction. Cost: near
    /// n^1.5 where the pieces spread in space; for the faces of a convex room n^2.
    int build(NgonList& ngons, CN_BSPNode* node);
    /// @}

    /// @name Growing (tree_growing.cpp)
    /// @{
    /// Makes the root of an empty tree from the triangle.
    void createRoot(const CN_Triangle* triangle);
    /// Adds the polygon's triangles in the world to the leaves that they reach; the first one makes the root of an empty
    /// tree. What lies in a node's plane and faces as it does adds nothing.
    void insertBounding(CN_Polygon* polygon);
    /// Adds one piece below a node.
    void insertBounding(CN_BSPNode* node, const CN_Ngon* ngon);
    /// Appends to `output` what the planes from `current` (null: none) to the end of `planes` cut the piece into; slivers
    /// below 0.00001 are dropped. A plane without direction cuts nothing and is told to the log.
    void insertSplit(NgonList& output, const CN_Ngon& ngon, PlaneList& planes, Plane* current);
    /// @}

    /// @name Classification (tree_classification.cpp)
    /// @{
    /// Where a piece lies that no plane cuts. One in a plane is asked for on both of its sides; where they differ it is a
    /// part of the boundary. With `alreadyCoplanar` that question is settled. Outside for a null node.
    CN_Ngon::CLASSIFICATION classify2(const CN_BSPNode* node, const CN_Ngon* ngon, int alreadyCoplanar) const;
    /// Fills the polygon's `ngonList` with classified pieces: its triangles, in the mesh's space, cut by the tree's planes
    /// but for those in which they lie. With `dropSlivers` pieces thinner than 0.0001 are left out. A forced classification
    /// stands.
    void classify2(CN_Polygon* polygon, bool dropSlivers);
    /// @}

    /// @name Queries: an empty tree has nothing inside
    /// @{
    /// 1 for a point inside or in a wall's plane to within 0.0005. Cost: the depth of the tree, along one block of memory.
    int inside(const Vector& point) const;
    /// 1 for a point inside and farther than 0.0005 from the planes that bound it.
    int strictlyInside(const Vector& point) const;
    /// The same from a node on.
    int inside(const CN_BSPNode* node, const Vector& point, bool strict) const;
    /// 1 where all corners are inside.
    int inside(const CN_Ngon* ngon) const;
    /// 1 where a piece that no plane cuts is inside; also for a null node.
    int isInsideSubtree(const CN_BSPNode* node, const CN_Ngon* ngon) const;
    /// The first node, in the order node, inside, outside, whose plane has corners of the piece on both sides, or null.
    CN_BSPNode* getsSplit(const CN_Ngon* ngon);
    CN_BSPNode* getsSplit(CN_BSPNode* node, const CN_Ngon* ngon);
    /// Adds the nodes whose plane passes the point at `radius` or nearer, distances snapped at 0.001, on all branches that
    /// a point so near may take. It begins at the root where `node` is null.
    void gatherSplitPlanes(const Vector& point, double radius, std::set<CN_BSPNode*>& nodes, CN_BSPNode* node);
    /// Appends the nodes of a subtree, not null: those inside, itself, those outside.
    void enumerateNodes(F_DLList<CN_BSPNode*>& nodes, CN_BSPNode* node);
    /// @}

  private:
    /// A node as the queries walk it; a child is the place of a node, or one of the ends.
    struct Step {
        Vector normal;
        double offset; ///< of the plane along its normal
        int inside, outside;
    };
    static constexpr int END_INSIDE = -1, END_OUTSIDE = -2;

    int buildRoot(NgonList& ngons);
    void forgetSteps() { m_steps.clear(); }
    void layOutSteps();
    template <bool STRICT> int walk(const Vector& point) const;
    std::list<CN_Ngon> splitIfNecessary(CN_BSPNode* root, std::list<CN_Ngon> pieces);
    bool parentContained(CN_Polygon* polygon, CN_BSPNode* node) const;
    bool divide(CN_BSPNode& node, std::list<CN_Ngon>& pieces, std::list<CN_Ngon>& outside);

    std::unique_ptr<CN_BSPNode> m_root;                          ///< null when empty
    CN_Mesh* m_mesh = nullptr;                                   ///< not owned: what it was built from
    PlaneList m_extraPlanes;                                     ///< the host's
    std::multimap<CN_Polygon*, CN_BSPNode*> m_containedPolygons; ///< not owned: polygons found in nodes' planes
    std::vector<Step> m_steps; ///< the nodes as `build` left them; empty after any other change
};

} // namespace cairn
