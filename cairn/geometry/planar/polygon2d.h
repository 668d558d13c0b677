#pragma once

#include "cairn/containers/dl_list.h"
#include "cairn/geometry/planar/edge2d.h"
#include "cairn/geometry/planar/lasso.h"
#include "cairn/math/planar_space3.h"
#include "cairn/math/vector2.h"

#include <vector>

namespace cairn {

class CN_Mesh;
class CN_Polygon;
struct gpc_polygon;

/// A polygon laid out in its own plane: the working form for triangulation and for the results of clipping. It lives for one
/// operation and shares nothing with the polygon it was made from but a pointer to it.
///
/// Points that coincide are one vertex, so that a vertex may bear any number of edges. Seen with U to the right and V up,
/// outlines run clockwise and the inside lies to the right of every edge.
class CN_2DPolygon {
  public:
    using Point = M_Vector2Template<double>;
    using Vector = M_Vector3Template<double>;
    using PlanarSpace = M_PlanarSpace3Template<double>;
    using EdgeList = F_DLListInit<CN_2DEdge>;
    using LassoList = F_DLListInit<LassoContainer>;

    /// @name Making one (polygon2d.cpp)
    /// @{
    /// From a polygon's n-gons (in its mesh's space) where it has some, united; else from its edges; else from the corners
    /// it collects, as a chain that is open between the last one and the first. Points nearer than `snapTolerance` become
    /// one, edges between such points go. With fewer than three corners it is not `valid` and empty. Where the polygon's
    /// texture space 0 gives no plane, it throws `M_PlanarSpace3Exception_Singular`, or with fewer than three corners keeps
    /// the default space.
    CN_2DPolygon(CN_Polygon* polygon, double snapTolerance);
    /// Without vertices, for `createFrom` with contours that are laid out in `space`: `outputPolygons` makes polygons with the
    /// properties of the source of them.
    CN_2DPolygon(CN_Polygon* source, double snapTolerance, const PlanarSpace& space);
    /// Connections of edges of the other's lists become those of the copy's; one to an edge of the caller stays as it is.
    CN_2DPolygon(const CN_2DPolygon& other);
    CN_2DPolygon& operator=(const CN_2DPolygon& other);
    ~CN_2DPolygon() = default;
    /// 0 where the polygon had fewer than three corners.
    int valid() const { return m_valid; }
    /// @}

    /// @name State
    /// @{
    const std::vector<Point>& getVertices() const { return m_vertices; }
    const EdgeList& getEdges() const { return m_edges; }
    EdgeList& accessEdges() { return m_edges; }
    const LassoList& getLassos() const { return m_lassos; }
    LassoList& accessLassos() { return m_lassos; }
    int getNumEdges() const { return m_numEdges; }
    int getNumVertices() const { return m_numVertices; }
    int getNumTriangles() const { return m_numTriangles; }
    /// Three vertices a triangle.
    const std::vector<int>& getTriangles() const { return m_triangles; }
    CN_Polygon* getSource() const { return m_source; }
    double getSnapTolerance() const { return m_snapTolerance; }
    /// Maps a point of the mesh's space into the plane.
    const PlanarSpace& getSpace() const { return m_space; }
    /// For who lays contours out in a space of their own.
    void setSpace(const PlanarSpace& space) { m_space = space; }
    /// The point of the mesh's space that lies at a point of the plane.
    Vector toLocal(const Point& point) const;
    /// The place in the mesh's vertex list of the first corner that became vertex `i`, -1 for none. Throws
    /// `std::out_of_range` for a vertex that is not there.
    int ref(int i) const { return m_ref.at(static_cast<std::size_t>(i)); }
    /// @}

    /// @name Area (polygon2d_triangulation.cpp)
    /// @{
    /// 1 if the inside lies to the right of the edges: if they enclose more area clockwise than counter-clockwise, an open
    /// chain being closed. 1 also without edges and where the area is 0 or too small to tell.
    int isClockwise() const;
    /// Covers the area to the right of the edges with triangles, which run as the edges do. Gives 1, even where there is no
    /// triangle because the edges cross, enclose nothing or leave the range of numbers. Throws an `F_Exception*` where memory
    /// runs out.
    int triangulate();
    /// @}

    /// @name Contours of a clip result (polygon2d_contours.cpp)
    /// @{
    /// Replaces the contents by loops of the contours, which are in `getSpace`. Loops that run along each other are fused
    /// into one, a vertex on an edge splits it, corners on a straight line go. Holes hang on the smallest top-level loop that
    /// contains them; one that is in none has no parent.
    ///
    /// True where the loops are the contours but for corners on straight lines, as each of these has three corners or more,
    /// no two corners of any are nearer than the tolerance and none is on another's side.
    ///
    /// Cost: near linear in corners where they lie as in levels. It adds up the corners in the box of each long slanted side,
    /// the square of the edges at a vertex, and for each hole the corners of the top-level loops whose box it lies in.
    bool createFrom(const gpc_polygon* polygon);
    /// @}

    /// @name Writing polygons (polygon2d_output.cpp)
    /// @{
    /// A new polygon at the end of the mesh for each top-level loop of three edges or more, with its holes and the properties
    /// of the source. Their vertices are new and shared with nothing, they have no triangles yet. With `local` the mesh is in
    /// the source's space, without it the source's space is the world. With `flip` they are turned over and triangulated.
    std::vector<CN_Polygon*> outputPolygons(CN_Mesh* mesh, int flip, int local);
    /// Appends a loop, with new vertices of the polygon's mesh.
    void outputLassoToPolygon(CN_Polygon* polygon, const LassoContainer& lasso) const;
    /// @}

    /// @name Edges (polygon2d_edges.cpp)
    /// @{
    /// Appends an edge between two vertices: a copy of `edge`, or a new one for null. Gives the edge in the list.
    CN_2DEdge* addEdge(int a, int b, const CN_2DEdge* edge);
    /// Takes an edge of the list out; the pointer is dead afterwards.
    void removeEdge(CN_2DEdge* edge);
    /// How many edges run from one vertex to the other.
    int edgeRef(int from, int to) const;
    /// The last edge that was connected from one vertex to the other, or null.
    CN_2DEdge* edge(int from, int to) const;
    void connect(int from, int to, CN_2DEdge* edge);
    void makeConnection(CN_2DEdge* edge) { connect(edge->index(0), edge->index(1), edge); }
    void clearConnection(int from, int to) { connect(from, to, nullptr); }
    /// True if an edge is connected either way.
    bool connected(int a, int b) const { return edge(a, b) || edge(b, a); }
    /// Recounts the edge ends of each vertex.
    void referenceVertices();
    /// Edge ends of the vertex, of the last count.
    int getDegree(int vertex) const { return m_degrees.at(static_cast<std::size_t>(vertex)); }
    /// Where a walk that came along `edge` goes on: the edges that start at its end and are not `getUsed`, but for
    /// `previous`; those of its own loop first, and of these the sharpest right turn. Null where there is none.
    CN_2DEdge* findSuccessor(const CN_2DEdge* edge, const CN_2DEdge* previous);
    /// True if an edge from `a` to `b` would cross or touch one that is there; false where they are connected.
    bool intersects(int a, int b) const;
    /// 1 if no two edges intersect; with `closing` neither does an edge from the last one's end to the first one's start.
    int checkSimplicity(int closing) const;
    /// 1 if the stretch from the first edge's start to a point of the mesh's space crosses no edge but perhaps the first.
    int checkIncompleteSimplicity(const Vector& point) const;
    /// @}

    /// @name Loops (polygon2d_lassos.cpp)
    /// @{
    /// Walk the loops from the cursor: the next hole or top-level loop, null at the end, where the cursor starts anew.
    LassoContainer* getNextHole();
    LassoContainer* getNextTopLevel();
    /// 1 if a point just to the right of the edge's middle lies inside the edges whose loop is not `lassoId`: within an odd
    /// number of them.
    int intersectAll(const CN_2DEdge& edge, int lassoId) const;
    /// The same for the edges of one loop.
    static int intersectLasso(const CN_2DEdge& edge, const LassoContainer& lasso);
    /// Finds the shortest line from the start of an edge of one loop to the start of one of the other that crosses no edge;
    /// false where there is none. Cost: all pairs of their edges, held and sorted, and all edges of the polygon for each pair
    /// that is tried, which are all of them where there is none.
    bool findConnection(LassoContainer& a, LassoContainer& b, CN_2DEdge*& edgeA, CN_2DEdge*& edgeB) const;
    /// Tells holes from top-level loops by where they lie, removes corners on straight lines, and hangs the holes on the
    /// smallest top-level loops that contain them.
    void connectLassos2();
    /// Nothing.
    void rationalize2() {}
    /// Makes one edge of two that run along a line, and none of two that run out and back.
    void deleteRedundantVertices(LassoContainer& lasso);
    /// @}

    /// @name Closing outlines (polygon2d_closing.cpp)
    /// @{
    /// The best third corner of a triangle on the edge: a vertex with edges, to the left, whose triangle has no vertex
    /// inside and whose sides cross nothing, with the smallest sum of distances to the edge's ends. -1 for none.
    int findBestVertex(const CN_2DEdge& edge) const;
    /// Extends the path from its last edge along edges that are not used until it closes on its first edge, depth first.
    /// False, and the path as it was, where it would reach `limit` edges.
    bool shortestPathRecursion(std::vector<CN_2DEdge*>& path, int limit);
    /// Adds the triangle of the edge and a vertex and puts its two other sides in the edge's place, less those that run
    /// along an edge the other way, which go with it. The edge is gone afterwards.
    void makeTriangle(CN_2DEdge* edge, int vertex);
    /// @}

  private:
    /// An edge, at the vertex it starts at.
    struct Link {
        int to;
        CN_2DEdge* edge; ///< not owned; null once cleared
        bool counted;    ///< stands for an edge of the list, and is no mere connection
    };
    using Links = std::vector<Link>;

    class Contours;

    void makeSpace(const Vector& origin);
    void layOutEdges();
    void layOutCorners();
    void uniteNgons();
    void copyFrom(const CN_2DPolygon& other);
    void copyLinks(const CN_2DPolygon& other);
    void clear();
    std::vector<Links>& requireLinks() const;
    const Links& linksFrom(int vertex) const { return requireLinks().at(static_cast<std::size_t>(vertex)); }
    void hangHoles();
    void takeEdgesOfLassos();
    void removeRedundantVertices();
    bool isStraight(int start, int corner, int end) const;
    void removeRedundantCorners(LassoContainer& lasso);
    void makeTriangles();

    std::vector<Point> m_vertices;      ///< no two nearer than the tolerance
    mutable std::vector<Links> m_links; ///< by the vertex they start at: made when first asked for, then kept in step
    mutable bool m_linksMade = false;   ///< `m_links` follows the edges
    std::vector<int> m_degrees;         ///< edge ends of each vertex, of the last count
    std::vector<int> m_ref;             ///< places in the mesh's vertex list, -1 for none
    std::vector<int> m_triangles;       ///< three vertices each
    EdgeList m_edges;                   ///< all edges
    int m_numEdges = 0;                 ///< of `edges`
    int m_numVertices = 0;              ///< of `vertices`
    int m_numTriangles = 0;             ///< of `triangles`
    CN_Polygon* m_source = nullptr;     ///< not owned
    int m_valid = 1;                    ///< 0 for fewer than three corners
    PlanarSpace m_space;                ///< maps a point of the mesh's space into the plane
    LassoList m_lassos;                 ///< the loops of a clip result
    double m_snapTolerance = 0;         ///< points nearer than this are one
    LassoContainer* m_holeCursor = nullptr;     ///< not owned: the last one given, null before the first
    LassoContainer* m_topLevelCursor = nullptr; ///< not owned: likewise
};

} // namespace cairn
