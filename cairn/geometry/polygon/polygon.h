#pragma once

#include "cairn/containers/dl_list.h"
#include "cairn/containers/small_map.h"
#include "cairn/foundation/strings.h"
#include "cairn/geometry/edge.h"
#include "cairn/geometry/ngon.h"
#include "cairn/geometry/triangle.h"
#include "cairn/geometry/vertex.h"
#include "cairn/lighting/lightmap_mapping.h"
#include "cairn/math/bbox.h"
#include "cairn/math/planar_space3.h"
#include "cairn/math/plane3.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace cairn {

class CN_2DPolygon;
class CN_Document;
class CN_LevelEntity;
class CN_LevelEntityPolygonGroup;
class CN_LevelEntityPortal;
class CN_LevelEntityRadiosityLight;
class CN_Material;
class CN_Mesh;
class CN_RenderMaterial;
class CN_RenderTexture;
class F_MemoryFile;
struct gpc_polygon;

/// How a polygon is drawn.
enum CN_PolyMode : unsigned int {
    PT_SOLID = 0, ///< the only mode that is lit
    PT_ADD = 1,
    PT_MUL = 2,
    PT_ALPHAMAP = 3,
    PT_EXIT = 4, ///< leads to another room, and has no material
    PT_PHONG = 5,
    PT_ENVMAP = 6,
};

/// The bits of `CN_Polygon::m_saveFeatures` and `m_loadFeatures` that mean something.
enum CN_PolygonFeature : unsigned int {
    PF_EDGES = 0x8,                  ///< edges come from the file; clear: they are constructed on load
    PF_NO_TRIANGLE_NORMALS = 0x1000, ///< triangles have no normal; clear: three doubles ahead of the corners
    PF_TRIANGLE_CORNERS = 0x2000,    ///< triangles have a count of corners; clear on load: three, no count
    PF_UV_SPACES = 0x4000,           ///< the extra texture spaces follow the triangles
    PF_OLD_EXTENT = 0x10000,         ///< version 2 and lower: four floats at the end
    PF_UV_SPACE_KEYS = 0x20000,      ///< extra texture spaces have their key; clear: they are 1 and 2
};

/// A texture space of a polygon and the extent of the polygon's coordinates in it.
struct CN_UVSpace {
    M_PlanarSpace3Template<double> space;
    M_Vector2Template<float> min{std::numeric_limits<float>::max(), std::numeric_limits<float>::max()};
    M_Vector2Template<float> max{-std::numeric_limits<float>::max(), -std::numeric_limits<float>::max()};
};

/// A face of a mesh: one or more closed loops of edges in a plane, with its material, its texture spaces, its place on a
/// lightmap and its triangulation. It owns no vertices: edges and triangles name them by their place in the mesh's list.
///
/// Seen from the side that `normal` points to, the outer loop runs counter-clockwise and holes clockwise. A polygon lives in
/// its mesh's list and never moves; what is a polygon of no mesh has no corners to speak of.
class CN_Polygon {
  public:
    using Vector = M_Vector3Template<double>;
    using Matrix = M_Matrix3Template<double>;
    using PlanarSpace = M_PlanarSpace3Template<double>;
    using UVSpaces = F_SmallMap<CN_UVSpace>;
    using EdgeList = F_DLListInit<CN_Edge>;
    using TriangleList = F_DLListInit<CN_Triangle>;
    using NgonList = F_DLListInit<CN_Ngon>;
    using Groups = std::set<CN_LevelEntityPolygonGroup*>;
    using Lasso = std::vector<CN_Edge*>;

    /// Version of the chunk that holds a polygon.
    static const int CAIRN_POLYGON_VERSION = 3;
    /// What a file has for the partner of a polygon that is no exit.
    static const int NON_EXIT_INDEX = -1;
    /// The number of a polygon that has none.
    static constexpr unsigned int NO_INDEX = 0xFFFFFFFFu;
    /// Half the width of an edge in tests of points.
    static double s_dEdgeThickness;
    /// A tuning value for hosts; the library does not read it.
    static double s_dSplitTolerance;
    /// Whether lightmap ids in files are those of the document's pool, so that loaded polygons count references.
    static bool s_bLightmapIDsAreValidAtLoadTime;
    /// The layout of records on saving and on loading: `CN_PolygonFeature` bits. The library never changes them.
    static unsigned int m_saveFeatures;
    static unsigned int m_loadFeatures;
    /// The next running number of a polygon and the triangles so far, of `enumeratePolygons` and of loads.
    static unsigned int m_suiRunningDocIndex;
    static unsigned int s_uiTriangleIndex;

    /// Of a mesh, or of none (null). A polygon of a mesh has a first texture space to the scale of the document's
    /// preferences, where there is a document.
    explicit CN_Polygon(CN_Mesh* parent);
    /// A copy of the same mesh: edges and triangles are the copy's own, the material's use is not counted, a lightmap
    /// that is counted is counted once more. The copy is in no group and not visited.
    CN_Polygon(const CN_Polygon& other);
    CN_Polygon& operator=(const CN_Polygon& other);
    /// Leaves its groups, frees the attached entity from it and gives the lightmap's reference back. The material's use
    /// count is `CN_Mesh::updateMaterialRefCounts`'s.
    ~CN_Polygon();

    CN_Mesh* getParent() const { return m_parent; }
    CN_Mesh* accessParent() { return m_parent; }
    /// For the mesh, which takes over the polygons of a copy.
    void setParent(CN_Mesh* parent) { m_parent = parent; }

    /// @name Record (polygon_record.cpp)
    /// @{
    /// Reads the record into this polygon, which must be in its mesh's list with the mesh's vertices read; repairs what
    /// it can (see the source) and says so in the document's load report. Throws an `F_Exception*` on damage; an index
    /// beyond the mesh's vertices names the polygon.
    void load(F_MemoryFile& file);
    /// Writes the record. Polygon numbers must be current (`CN_PolygonValidator::enumeratePolygons`).
    void save(F_MemoryFile& file) const;
    /// @}

    /// @name Boundary (polygon_edges.cpp)
    /// @{
    const EdgeList& getEdgeList() const { return m_edgeList; }
    EdgeList& accessEdgeList() { return m_edgeList; }
    /// The corners that `constructEdges` will take.
    const F_DLList<CN_Vertex*>& getVertexBuffer() const { return lists().vertexBuffer; }
    /// Collects a corner for `constructEdges` and counts it.
    void addVertex(CN_Vertex* vertex);
    /// Makes the vertex in the mesh, which the polygon must have, and collects it.
    void addVertex(const Vector& point);
    void addVertex();
    /// Collects and gives the first vertex of the mesh that is nearer than 1e-6 to a point of the world; where there is
    /// none, one that is made at the point in both spaces.
    CN_Vertex* addVertexCheck(const Vector& point);
    /// Drops the corner that was collected last. False where there is none.
    bool removeVertex();
    /// Makes one closed loop of the collected corners, in place of the edges, and empties the buffer. Throws, and nothing
    /// has changed, where one is no vertex of the mesh. Cost: constant for each corner.
    void constructEdges();
    /// Appends an edge from the mesh's vertex `a` to its vertex `b`; nothing and null where they are the same.
    CN_Edge* addEdge(int a, int b, bool holeStart);
    /// The same between two places in the mesh's space, whose vertices are found within 1e-6 or made. Needs a mesh.
    CN_Edge* addEdge(const Vector& a, const Vector& b);
    /// Appends a pointer to each edge.
    void insertEdges(F_DLList<CN_Edge*>& list);
    /// The loops of edges, cut where neighbours in the list do not meet; the first row is the loop that comes first.
    std::vector<Lasso> getLassos();
    /// The count of corners: kept by `addVertex`, loaded as the count of edges, and set by who builds a polygon of edges.
    int numVertices() const { return m_numVertices; }
    void setNumVertices(int count) { m_numVertices = count; }
    int getNumHoles() const { return m_numHoles; }
    void setNumHoles(int count) { m_numHoles = count; }
    /// Removes edges without length by index, then each edge and its follower in the list (the first follows the last) that
    /// run out and straight back. One walk: a pair that only becomes one by that stays. The count of corners and the
    /// triangulation stay.
    void killNullEdges();
    /// Removes pairs of edges that run out and straight back, and makes one edge of two that follow each other where the
    /// corner between them lies nearer than 1e-4 to the line from end to end. Corners are compared by index, so that a break
    /// between loops stays. Vertices stay in the mesh; so do the count of corners and the triangulation.
    void optimizeRedundantVertices();
    /// Puts a new vertex into each edge wherever a corner of another polygon lies on it: nearer than `tolerance` to its line
    /// and farther than twice that from its ends, along the edge. The vertices are this polygon's own, not the neighbours':
    /// a weld makes them one. With `useBoundingBoxes` only polygons whose boxes meet this one's are looked at (see
    /// `buildBoundingBox`), so that a tolerance above the boxes' margin of 0.1 may miss some.
    ///
    /// It begins with `optimizeRedundantVertices`, which may take a shared corner out that is put back as a vertex of the
    /// polygon's own. Where anything was put in, world places are renewed, the polygon is triangulated anew (convex pieces,
    /// with coordinates) and the mesh is marked; the count of corners stays. Cost: of one polygon, a walk of the mesh's
    /// edges and a look-up for each edge.
    void createVerticesInTJunctions(double tolerance, bool useBoundingBoxes);
    /// @}

    /// @name Triangulation (polygon_triangulation.cpp)
    /// @{
    const TriangleList& getTriangleList() const { return m_triangleList; }
    TriangleList& accessTriangleList() { return m_triangleList; }
    /// The pieces that a classification has cut it into.
    const NgonList& getNgonList() const;
    NgonList& accessNgonList();
    /// Renews the triangulation from the boundary, or from corners that are collected, and with `convexify` merges it into
    /// convex pieces. The triangles' corners are vertices of the mesh, and they run as the boundary does.
    ///
    /// A boundary that runs the wrong way round in the plane of texture space 0 is turned by `flipVertexOrder` first, with
    /// a message unless the polygon has no number. One that encloses nothing or crosses itself gives a message, a dump to
    /// the log and no triangles. Nothing happens without edges and corners. Texture coordinates are gone afterwards. Throws
    /// `M_PlanarSpace3Exception_Singular` where texture space 0 gives no plane.
    void triangulize(bool convexify);
    /// True if a triangulation of the boundary as it stands, without a turn, has triangles. Changes nothing.
    bool canTriangulize() const;
    /// True only if the pieces are those of the last `triangulize(true)`, and it would make the same again. False as well after
    /// a load. Cost: a look at each corner.
    bool isTriangulationCurrent() const;
    /// Leaves such a triangulation as `triangulize(true)` would, without its work. Never throws.
    void renewTriangulation() noexcept;
    /// Merges the pieces of the triangulation into convex ones: always the first pair in list order that forms a convex
    /// region, which becomes a piece at the end, until none does. The n-gons go. Coordinates of merged pieces are zero.
    /// Throws `M_PlanarSpace3Exception_Singular` where texture space 0 gives no plane, and an `F_Exception*` where a piece
    /// names a vertex that the mesh lacks; the pieces stay then. Cost: n log n for n pieces, and a look at each corner of
    /// every piece that is made on the way.
    void convexify();
    /// The sum of the pieces' areas.
    double calcArea() const;
    /// @}

    /// @name Clipping (geometry/planar)
    /// @{
    /// Makes contours of the loops, seen through `space`: the first one an outline, all others holes. Frees what `out` held.
    void create_gpc_polygon(gpc_polygon* out, const PlanarSpace& space);
    /// @}

    /// @name Plane (polygon_plane.cpp)
    /// @{
    const Vector& getNormal() const { return m_normal; }
    void setNormal(const Vector& normal) { m_normal = normal; }
    const Vector& getWorldNormal() const { return m_worldNormal; }
    void setWorldNormal(const Vector& normal) { m_worldNormal = normal; }
    const Vector& getReferenceNormal() const { return m_referenceNormal; }
    void setReferenceNormal(const Vector& normal) { m_referenceNormal = normal; }
    const Vector& getPointOnPlane() const { return m_pointOnPlane; }
    void setPointOnPlane(const Vector& point) { m_pointOnPlane = point; }
    /// The point becomes the average of the edges' start points; it stays without edges.
    void updatePointOnPlane();
    /// The plane of `getNormal` through `getPointOnPlane`, in the mesh's space.
    M_Plane3Template<double> getPlane() const;
    /// The normal becomes the unit mean of the corners' normals, each on the side that the normal has now, so that a concave
    /// corner counts like others. A corner that its neighbours' line misses by less than 1e-5 does not count; the normal
    /// stays where none is left.
    void updateNormal();
    /// An orthonormal space of the plane in the mesh's space: U along that of texture space 0, N the normal, V so that the
    /// space is left-handed and the inside lies to the right of the edges. Throws `M_PlanarSpace3Exception_Singular` for a
    /// normal of zero and where U runs along the normal.
    PlanarSpace getSpace() const;
    /// The signed distance of a point of the mesh's space from the plane, positive on the normal's side.
    double distLocal(const Vector& point) const;
    /// Moves the point onto the plane, along the normal.
    void project(Vector& point) const;
    /// The same for the plane of a unit normal through a point.
    static void projectGeneral(Vector& point, const Vector& normal, const Vector& pointOnPlane);
    /// Moves the point onto the plane along a direction of any length; it stays where that runs along the plane.
    void projectAlong(Vector& point, const Vector& direction) const;
    static void projectAlongGeneral(Vector& point, const Vector& direction, const Vector& normal,
                                    const Vector& pointOnPlane);
    /// The angle between two vectors in radians, to the precision of `float` unless they are `unitVectors`: then their
    /// product counts as it is. With a vector of length 0 it is no number.
    static double angle(const Vector& a, const Vector& b, bool unitVectors);
    /// Turns the polygon over: normals, the third rows of the texture spaces 0, 1 and 2 (which are all there afterwards) and
    /// the order of corners. With `retriangulate` it is triangulated anew in convex pieces, without it triangles keep their
    /// order. A space that was missing takes the axes of space 0, with origin and offset 0.
    void flip(bool retriangulate);
    /// Reverses all loops, and the triangles with them; while corners are being collected, their order alone. Holes come
    /// first in the list afterwards.
    void flipVertexOrder();
    /// @}

    /// @name Questions of shape (polygon_queries.cpp)
    /// @{
    /// True where all corners lie within 1e-5 of the line of an edge of length, or where there are fewer than three edges; a
    /// polygon whose edges have no length is none. Without edges, true for a count of corners below three.
    bool linear() const;
    /// The average of the edges' start points in the world; zero without edges.
    void getCenter(Vector& out) const;
    /// How far the corners reach along a direction of any length, in the mesh's space; 0 without edges.
    double lengthAlong(const Vector& direction) const;
    /// The vertex that is farthest from a point of the mesh's space among those that start edges, the first one on a tie;
    /// null without edges.
    CN_Vertex* findFarthestVertex(const Vector& point);
    /// The edge that is nearest to a point of the world among those that the point falls onto at a right angle, the first
    /// one on a tie; null where it falls onto none.
    CN_Edge* findSelectedEdge(const Vector& point);
    /// Writes the polygon to the diagnostic log.
    void dump() const;
    /// @}

    /// @name Points and stretches in the polygon (polygon_inside.cpp)
    /// Questions of a polygon without edges or without a normal are answered with false, and so are those of places that are no
    /// numbers. Where texture space 0 gives no plane, `M_PlanarSpace3Exception_Singular` is thrown. Cost: a walk of the edges.
    /// @{
    /// True if the point, seen along the normal, lies in the area, farther than `s_dEdgeThickness` from each edge; a hole is
    /// no area. The point is of the mesh's space with `local`, else of the world. While `isUVCalculated`, a point beyond the
    /// extent of texture space 0 is outside, which is known to the precision of `float`. By the even-odd rule: what several
    /// loops cover lies inside where their number is odd.
    bool pointInPoly(const Vector& point, bool local) const;
    /// True if a point of the mesh's space lies on the outline: nearer than 1e-4 to `getPlane` and than 1e-5 to an edge.
    bool pointSkinsPolygon(const Vector& point) const;
    /// True if a point of the mesh's space lies in the area or on the outline: nearer than 1e-4 to the plane through the first
    /// corner and `pointInPoly`, or within `s_dEdgeThickness` of an edge.
    bool vertexIsInPolygon(const Vector* point) const;
    /// True if an edge of the same mesh runs along the plane with both ends in the polygon or on its outline.
    bool edgeIsInPolygon(const CN_Edge* edge) const;
    /// True if one end or the other of the edge is in the polygon or on its outline, but the edge is not `edgeIsInPolygon`.
    bool edgeConnectsToPolygon(const CN_Edge* edge) const;
    /// True if one of this polygon's edges is in the other (`edgeIsInPolygon`).
    bool sharesEdges(const CN_Polygon* other) const;
    /// True if the stretch of the mesh's space, seen along the normal, leaves a part of the area through an edge farther than
    /// `s_dEdgeThickness` from where it came in. It counts crossings in the order of the edges; a stretch that crosses none is
    /// not found, even inside.
    bool rangeIntersects(const Vector& start, const Vector& vector) const;
    /// The same for a stretch in the polygon's plane; false for one with an end more than 0.00025 off it.
    bool edgeRunsInPolygon(const Vector& start, const Vector& vector) const;
    /// Where a ray meets the polygon's plane: `out`, in the space of the ray, which is the mesh's with `local`, else the world;
    /// `t`, unless null, is how many times `direction` it is from `origin`. False, and nothing set, for a ray that starts in
    /// the plane, runs along it or leads away from it. Edges play no part.
    bool intersectPlane(Vector& out, const Vector& direction, const Vector& origin, double* t, bool local) const;
    /// @}

    /// @name Cutting (polygon_split.cpp)
    /// @{
    /// Cuts the polygon by a plane of the mesh's space, whose normal is unit. What lies behind and in front of it becomes new
    /// polygons of `mesh`, which has this one's space, and is appended to the lists, each of which may be null. The polygon
    /// stays as it is, for the caller to delete.
    ///
    /// The pieces have this polygon's properties, an exit's partner too, its lightmap mapping, which counts the lightmap once
    /// for each piece, and vertices of their own. They have no triangles and boxes yet; in a mesh that is not at the origin of
    /// the world their world places are wrong until `CN_Mesh::handleOwnHierarchy`. With `checkExtents` a side that reaches less
    /// than 0.0005 along U of `getSpace` is left out, and the log is told. A plane within 0.1 degree of the polygon's own cuts
    /// nothing: the mesh gets a copy, without the mapping, and no list does.
    ///
    /// Throws, and nothing has changed, an `F_Exception*` for a plane without a normal and where the plane or the polygon are
    /// not finite numbers, and `M_PlanarSpace3Exception_Singular` for a polygon that has no plane.
    void split(const M_Plane3Template<double>& plane, CN_Mesh* mesh, std::vector<CN_Polygon*>* behindList,
               std::vector<CN_Polygon*>* frontList, bool checkExtents);
    /// @}

    /// @name Uniting (polygon_unify.cpp)
    /// @{
    /// True if the polygons may become one: two of one mesh, facing the same way to 0.1 degree, with a stretch of an edge in
    /// common (`findCommonEdgeSegment`) and `unificationLegal`. Otherwise a message box says what is amiss, unless it is the
    /// polygon itself. How far their planes are apart is not asked.
    bool canUnify(const CN_Polygon* other) const;
    /// False if one is an exit and the other is not, and where the contour of a third exit polygon of the mesh, which is not
    /// the partner of either, rests on a stretch that both share.
    bool unificationLegal(const CN_Polygon* other) const;
    /// Makes new polygons of this one's mesh that cover what `a` and `b`, of the same mesh, cover together, and gives them: one
    /// where they touch along an edge. `a` and `b` stay in the mesh for the caller to delete, without n-gons. The new ones have
    /// vertices of their own and no triangles yet; the hierarchy of the mesh is brought up to date.
    ///
    /// This polygon carries the properties: those of `a`, but normal, plane and texture spaces 0, 1 and 2 those of the one of
    /// the two whose normal is closer to an axis (`b` on a tie). It counts its material as any polygon does. Throws, and nothing
    /// has changed, `M_PlanarSpace3Exception_Singular` where a texture space gives no plane and an `F_Exception*` where corners
    /// are not finite.
    std::vector<CN_Polygon*> buildFrom(CN_Polygon* a, CN_Polygon* b);
    /// @}

    /// @name Neighbours (polygon_neighbors.cpp)
    /// @{
    /// The box of the last `buildBoundingBox`; zero before.
    const E_BBox<double>& getBoundingBox() const { return m_boundingBox; }
    /// Renews the box from the edges' start points, in the mesh's space or the world, with a margin of 0.1. Bounds count in
    /// single precision.
    void buildBoundingBox(bool local);
    /// True where the boxes, as they were last built, share more than a face.
    bool bbIntersect(const CN_Polygon* other) const;
    /// True if an edge of each share a stretch in the world (`CN_Edge::sharesSpace`). It is that of the first such pair in
    /// the order of this polygon's edges, from `point` along `vector`, which stay where there is none.
    bool findCommonEdgeSegment(const CN_Polygon* other, Vector& point, Vector& vector) const;
    /// True if the polygons lie in one plane of the world and face the same way: to 5e-6 in the product of the normals and in
    /// the distance.
    bool coplanar(const CN_Polygon* other) const;
    /// True if the boxes meet and an edge of each run along each other in opposite directions, sharing a stretch in the mesh's
    /// space (`CN_Edge::sharesSpaceLocal`). For all pairs of a mesh use `CN_Mesh::findNeighbors`.
    bool neighbor(const CN_Polygon* other) const;
    /// True if the pieces of the two triangulations, of one mesh, pierce each other; touching counts, to 0.001. Polygons
    /// within 0.1 degree of parallel never do. Boxes must be current. Throws `M_PlanarSpace3Exception_Singular` where texture
    /// space 0 of one gives no plane.
    bool polygonIntersects(const CN_Polygon* other) const;
    /// Finds the polygons of the mesh that share a stretch of an edge with this one in the world, in list order, among those
    /// whose boxes meet its own. Cost: a walk of the mesh's polygons; for all of them use `CN_Mesh::createSharedEdgeLists`.
    void createSharedEdgeList();
    /// Appends the polygons that lie in one plane with this one and hang together with it, either way round, and that the list
    /// does not hold yet; one that shares a corner only counts, too. Shared edge lists are made anew on the way.
    void createListOfCoplanarNeighbors(F_DLList<CN_Polygon*>& list);
    /// Appends the vertices of this polygon's edges, once each, that no edge of a polygon outside the group leaves out of its
    /// plane.
    void createListOfOnlyOwnVertices(const F_DLList<CN_Polygon*>& group, F_DLList<int>& list);
    /// @}

    /// @name Exit (polygon_exits.cpp; see geometry/exits.h)
    /// @{
    /// True for a polygon that leads somewhere.
    bool isExitPolygon() const { return m_exitDestination != nullptr; }
    CN_Polygon* getExitDestination() const { return m_exitDestination; }
    /// Leads to `partner`, or with null nowhere. A partner that dies takes the exit with it.
    void setExitDestination(CN_Polygon* partner);
    /// The mesh it leads into; null for a polygon that is no exit.
    CN_Mesh* getExitDestinationMesh() const;
    /// The name of the exit's portal; empty where it has none, and for a polygon that is no exit.
    istring getExitName() const;
    /// The number of the partner as a load read it, `NON_EXIT_INDEX` for none and once the partner is bound.
    int getExitDestinationIndex() const { return m_exitDestinationIndex; }
    void setExitDestinationIndex(int index) { m_exitDestinationIndex = index; }
    /// Makes an exit a wall, of that material where it has none (null leaves it so): nobody is led anywhere and no
    /// portal is attached.
    void sealExit(CN_Material* material);
    /// Makes a polygon that was just added to its mesh, and has no edges yet, an exit over a contour of the mesh's space. `space`
    /// is the contour's plane and texture space in the world: the polygon looks along its normal, or the other way where
    /// `forward` and `flipSide` are the same. Corners are taken in their order if `forward`, else from the last one on; those
    /// nearer than 1e-6 to a vertex of the mesh take that. The material goes, all texture spaces become the one given, and the
    /// polygon is triangulated. Mode, partner, portal and reference normal are the caller's to set; world places of new
    /// vertices are right only after `CN_Mesh::handleOwnHierarchy`.
    ///
    /// Throws, and nothing has changed, an `F_Exception*` where a corner or the plane, seen from the mesh, is not finite, and
    /// `M_PlanarSpace3Exception_Singular` for a texture space that has no inverse.
    void createExitPolygon(const F_DLListInit<Vector>& corners, bool forward, bool flipSide, const PlanarSpace* space);
    /// True if one can pass from this polygon to the other of its mesh: they are `neighbor`s, and an edge of each
    /// `CN_Mesh::edgesAreJumpable`. For all pairs of a mesh use `CN_Mesh::findPassages`.
    bool jumpable(const CN_Polygon* other) const;
    /// @}

    /// @name What stands on the polygon
    /// @{
    /// The portal or radiosity light that stands for this polygon, or null.
    CN_LevelEntity* getAttachedEntity() const { return m_attachedEntity; }
    void setAttachedEntity(CN_LevelEntity* entity);
    /// True if a radiosity light stands on this polygon.
    bool isLight() const { return getRadiosityLight() != nullptr; }
    /// That light, or null. An attached entity that is no longer alive counts as none.
    CN_LevelEntityRadiosityLight* getRadiosityLight() const;
    /// The portal of an exit polygon, or null.
    CN_LevelEntityPortal* getLevelEntityPortal() const;
    const Groups& getGroups() const { return m_groups; }
    /// For the group, which keeps both sides.
    void joinGroup(CN_LevelEntityPolygonGroup* group) { m_groups.insert(group); }
    void leaveGroup(CN_LevelEntityPolygonGroup* group) { m_groups.erase(group); }
    /// True if one of its groups is smooth.
    bool isSmoothed() const;
    /// True if one of its groups has frozen lightmaps.
    bool isFrozenLightmap() const;
    /// @}

    /// @name Material and light
    /// @{
    CN_Material* getMaterial() const { return m_material; }
    /// Takes the material, which may be null, and counts its use instead of the old one's. A material with a light layer
    /// brings the texture space 2, one without takes it away; coordinates and mapping become stale. Nothing happens for
    /// the same one.
    void setMaterial(CN_Material* material);
    unsigned int getPolyMode() const { return m_polyMode; }
    void setPolyMode(unsigned int mode) { m_polyMode = mode; }
    const CN_LightmapMapping& getLightmapMapping() const { return m_lightmapMapping; }
    CN_LightmapMapping& accessLightmapMapping() { return m_lightmapMapping; }
    /// Assigns a lightmap of the document's pool, or none for `NO_LIGHTMAP` and -1, and counts references: the new one
    /// first. Throws an `F_Exception*` for an id that the pool lacks; nothing has changed then.
    void setLightmap(unsigned long id);
    /// True if light is to be computed for it: it has a material whose surface is drawn, is solid, and its mesh is
    /// visible and either stands still or is lit while dynamic.
    bool needsToBeLit() const;
    /// @}

    /// @name Texture spaces
    /// @{
    /// More spaces than this are neither read nor written: two are in use.
    static constexpr int MAX_UV_SPACES = 64;
    /// Key 0 is the base texture's, key 2 the light layer's. Key 0 is always there unless a caller deletes it.
    const UVSpaces& getUVSpaces() const { return m_uvSpaces; }
    UVSpaces& accessUVSpaces() { return m_uvSpaces; }
    bool hasUVSpace(int key) const { return m_uvSpaces.contains(key); }
    /// The space of the key, or space 0 where there is none; a default one where that is missing, too. Valid until the
    /// spaces change.
    const PlanarSpace& getUVSpace(int key) const;
    /// The space of the key for writing, a default one where there was none. Coordinates and extents become stale.
    PlanarSpace& editUVSpace(int key);
    /// A copy of space 0 and its extent under a new key; nothing for a key that is there.
    void addUVSpace(int key);
    void deleteUVSpace(int key) { m_uvSpaces.erase(key); }
    /// The key of the space that is shown: 2 where the document renders light layers and the material and this polygon
    /// have one, else 0.
    int getUVSpaceID() const;
    bool isUVDirty() const { return m_uvDirty; }
    void setUVDirty(bool dirty) { m_uvDirty = dirty; }
    bool isUVCalculated() const { return m_uvCalculated; }
    void setUVCalculated(bool calculated) { m_uvCalculated = calculated; }
    bool isMappingDirty() const { return m_mappingDirty; }
    void setMappingDirty(bool dirty) { m_mappingDirty = dirty; }
    /// Marks the polygon and its mesh.
    void markUVDirty();
    void markMappingDirty();
    /// Fills the coordinates of all pieces (base texture or light layer by `getUVSpaceID`, lightmap, detail texture) and the
    /// extent of the space. The offset of the space moves by a whole number of repeats that brings the coordinates around 0.
    /// Without a triangulation the extent is empty and coordinates stay stale.
    void calculateUVCoordinates();
    /// Projects a texture space of the world onto the polygon along the space's normal, so that a texture that is laid over
    /// several polygons goes on from one to the next; it becomes the space of `getUVSpaceID`. Nothing changes where the
    /// normals are 89 degrees apart or more. Throws `M_PlanarSpace3Exception_Singular`, and nothing has changed, where the
    /// space has no inverse in the polygon's plane.
    void planarMap(const PlanarSpace& space);
    /// Takes over all that is not shape: normals, texture spaces, material (counted), mode, exit, attached entity, number and
    /// counts. With `local` the source stands in the same space, without it the polygon's space is the world. Not taken:
    /// edges, triangles, groups, lightmap mapping. Nothing happens for the polygon itself.
    void copyProperties(const CN_Polygon* source, bool local);
    void copyPropertiesLocal(const CN_Polygon* source) { copyProperties(source, true); }
    /// @}

    /// @name Marks
    /// @{
    void select() { m_selected = true; }
    void deSelect() { m_selected = false; }
    bool selected() const { return m_selected; }
    bool isVisited() const { return m_visited; }
    void setVisited(bool visited) { m_visited = visited; }
    /// The running number in the document: what a file stores and messages print; `NO_INDEX` before one was given.
    unsigned int getPolygonIndex() const { return m_polygonIndex; }
    void setPolygonIndex(unsigned int index) { m_polygonIndex = index; }
    /// They are emptied when the mesh loses a polygon.
    const F_DLList<CN_Polygon*>& getSharedEdgeList() const { return lists().sharedEdgeList; }
    F_DLList<CN_Polygon*>& accessSharedEdgeList();
    /// The host's, not owned.
    Vector* getAdditionalPoint() const { return m_additionalPoint; }
    void setAdditionalPoint(Vector* point) { m_additionalPoint = point; }
    CN_RenderMaterial* getRenderMaterial() const { return m_renderMaterial; }
    void setRenderMaterial(CN_RenderMaterial* material) { m_renderMaterial = material; }
    CN_RenderTexture* getRenderTexture(int i) const { return m_renderTextures[i]; }
    void setRenderTexture(int i, CN_RenderTexture* texture) { m_renderTextures[i] = texture; }
    /// @}

  private:
    friend class CN_Mesh;
    class Reader;

    /// What few polygons have at a time.
    struct Lists {
        F_DLList<CN_Vertex*> vertexBuffer;      ///< not owned: corners on the way to `constructEdges`
        F_DLList<CN_Polygon*> sharedEdgeList;   ///< not owned: polygons of the mesh that touch along an edge
        NgonList ngonList;                      ///< pieces of a classification
        std::vector<CN_Polygon*> incomingExits; ///< not owned: polygons that lead here
    };

    static const Lists& noLists();
    const Lists& lists() const { return m_lists ? *m_lists : noLists(); }
    Lists& accessLists();
    CN_Document* getDocument() const;
    CN_LevelEntity* findAttachedEntity() const;
    CN_Mesh& requireMesh() const;
    void copyFields(const CN_Polygon& other);
    void adoptParts();
    void addCopyTo(CN_Mesh& mesh);
    CN_2DPolygon makePlanar();
    std::uint64_t findTriangulationKey() const;
    void forgetExits();
    void saveExtraSpaces(F_MemoryFile& file) const;
    CN_Polygon* findWrittenPartner() const;
    string findRecordFault() const;
    void leaveDeserializer();
    void referenceLightmap();
    static void dereferenceLightmap(CN_Document* document, unsigned long id);

    // What a save reads, in one piece: a large mesh lies beyond the caches.
    CN_Polygon* m_exitDestination = nullptr;     ///< not owned: the partner, of an exit
    int m_exitDestinationIndex = NON_EXIT_INDEX; ///< the partner's number until a load has bound it
    std::uint32_t m_incomingPlace = 0;           ///< of an exit: where the partner's list has it
    Vector m_normal;                             ///< unit, in the mesh's space
    Vector m_worldNormal;                 ///< unit, in the world; after a load `normal`, until the hierarchy is updated
    Vector m_referenceNormal;             ///< unit: what plane moves push along
    int m_numVertices = 0;                ///< corners
    int m_numHoles = 0;                   ///< loops of `edgeList` that are holes
    CN_Mesh* m_parent;                    ///< not owned
    TriangleList m_triangleList;          ///< the triangulation
    EdgeList m_edgeList;                  ///< the boundary: closed loops, one after the other
    Vector m_pointOnPlane;                ///< in the mesh's space
    CN_Material* m_material = nullptr;    ///< counted: by use, not owned; null on an exit
    CN_LightmapMapping m_lightmapMapping; ///< its place on its lightmap
    unsigned int m_polygonIndex = NO_INDEX; ///< running number in the document
    UVSpaces m_uvSpaces;                    ///< by key
    unsigned int m_polyMode = PT_SOLID;     ///< a `CN_PolyMode`, as the file has it

    // What it does not read.
    CN_LevelEntity* m_attachedEntity = nullptr; ///< not owned: a portal or radiosity light below the mesh
    std::uint32_t m_attachedNumber = 0;         ///< that entity's process number: a copy of the polygon may outlive it
    std::unique_ptr<Lists> m_lists;             ///< null while all of them are empty
    E_BBox<double> m_boundingBox;               ///< of the last `buildBoundingBox`, in the space it was built in
    std::uint64_t m_triangulationKey = 0;       ///< of the last `triangulize(true)`, 0 for none
    bool m_selected = false;                    ///< by the host
    bool m_visited = false;                     ///< transient mark of a walk
    bool m_uvCalculated = false;                ///< the extents of the texture spaces hold
    bool m_uvDirty = true;                      ///< texture coordinates are stale
    bool m_mappingDirty = true;                 ///< the lightmap mapping is stale
    Vector* m_additionalPoint = nullptr;        ///< not owned: the host's
    std::uint32_t m_countedLightmap = NO_INDEX; ///< counted: the id of the lightmap that counts this polygon
    Groups m_groups;                            ///< not owned: those it belongs to
    CN_RenderMaterial* m_renderMaterial = nullptr; ///< not owned: the host renderer's
    CN_RenderTexture* m_renderTextures[4] = {};    ///< not owned: the host renderer's
};

} // namespace cairn
