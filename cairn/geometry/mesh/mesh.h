#pragma once

#include "cairn/containers/dl_list.h"
#include "cairn/entities/level_entity.h"
#include "cairn/entities/movable_mesh.h"
#include "cairn/entities/trigger_properties.h"
#include "cairn/geometry/polygon/polygon.h"
#include "cairn/geometry/vertex.h"
#include "cairn/math/bbox.h"
#include "cairn/math/plane3.h"
#include "cairn/platform/handlers.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace cairn {

class CN_BSPTree;
class CN_LevelEntityPolygonGroup;
class CN_PlaneMover;
struct CN_HangingStretch;
enum class CN_PlaneMoveRefusal : int;

/// Version of the chunk that holds a mesh.
inline constexpr int CAIRN_MESH_VERSION = 9;

/// The place of a pointer in a list; -1 and a message that names `typeName` where it is not there.
template <class T> int getPointerListIndex(const F_DLList<T*>& list, const T* pointer, const char* typeName) {
    const int index = list.indexOfValue(const_cast<T*>(pointer));
    if (index < 0)
        AfxMessageBox(formatText("getPointerListIndex<%s>; item not found!", typeName));
    return index;
}

/// An editable mesh: a level entity made of polygons over a list of vertices that they share.
///
/// Vertices and polygons keep their addresses as long as they are in the mesh. A vertex is named by its place in the list.
class CN_Mesh : public CN_LevelEntity, public CN_MovableMesh {
  public:
    using VertexList = F_DLListInit<CN_Vertex>;
    using PolygonList = F_DLListInit<CN_Polygon>;
    using PolygonGroups = std::set<CN_LevelEntityPolygonGroup*>;

    ~CN_Mesh() override;

    /// @name Record (mesh_record.cpp)
    /// @{
    /// Reads the record into this mesh in place of what it has, and repairs what it can (see the source and
    /// `CN_Polygon::load`). Exits keep their partners' numbers until `CN_ExitDestinationPointerDeserializer` binds them.
    /// Throws an `F_Exception*` on damage.
    void loadEntitySpecificData(F_MemoryFile& file) override;
    /// Polygons without edges are left out. Throws with the mesh's name where reading would refuse a vertex or a polygon: they
    /// are checked as they are written, as a second walk over a large mesh would cost as much as the write.
    void saveEntitySpecificData(F_MemoryFile& file) override;
    string findRecordFault() const override;
    string findFaultAhead() const override;
    /// @}

    /// @name Entity
    /// @{
    /// A polygon group also joins the mesh's groups.
    void add(CN_LevelEntity* child, bool makeChild) override;
    void remove(CN_LevelEntity* child) override;
    /// Also turns the polygons' world normals and brings the vertices' world places up to date.
    void handleHierarchy(const Vector& parentPosition, const Matrix& parentRotation, bool force) override;
    /// Moves the origin while the children stay, then brings the subtree's world values and the bounding box up to
    /// date. Nothing changes where the rotation has no inverse, nor where a dynamic mesh has keyframes that its own
    /// placement, without inverse, cannot bring along.
    void changeSpaceExplicit(const M_Matrix4x3Template<double>& m) override;
    /// Meets the polygons, the last of those that are equally near, and remembers which (`getLastHitPolygon`). A mesh whose
    /// bounding sphere the ray meets loses the selection marks of all its polygons. `filter` (may be null) is asked about each
    /// polygon and true leaves it out; `cull` leaves out those that look along the ray or at right angles to it. A ray that
    /// starts in a polygon's plane does not meet it. The bounding radius must be current (`calculateBoundingBox`).
    bool intersectRay(Vector& point, double& distance, const Vector& origin, const Vector& direction, bool cull,
                      bool local, CN_RayFilter filter) override;
    /// With `deep` the geometry is marked as changed.
    void invalidateObject(bool deep) override;
    /// Marks coordinates and lightmap mapping of all polygons as stale.
    void invalidateMapping() override;
    /// A machine with the handlers of what the mesh is: of dynamic meshes, or of triggers. They are added to a machine that
    /// is there already.
    void createFSM() override;
    /// @}

    /// @name Mesh interface: the rest is `CN_MovableMesh`'s
    /// @{
    void updateMaterialRefCounts(bool add) override;
    /// @}

    /// @name Vertices (mesh_vertices.cpp)
    /// @{
    const VertexList& getVertexList() const { return m_vertexList; }
    VertexList& accessVertexList() { return m_vertexList; }
    /// A new vertex at the end of the list: empty, or at a point of both spaces, which widens the entity's box.
    CN_Vertex* addVertex();
    CN_Vertex* addVertex(const Vector& point);
    /// The first vertex nearer to the point of the mesh's space than `tolerance`, or a new one there.
    CN_Vertex* addVertexCheck(const Vector& point, double tolerance);
    /// The same for a point of the world.
    CN_Vertex* addVertexCheckWorld(const Vector& point, double tolerance);
    using CN_LevelEntity::transform;
    /// Every vertex's world place from its local one.
    void transform();
    /// @}

    /// @name Polygons
    /// @{
    const PolygonList& getPolygonList() const { return m_polygonList; }
    PolygonList& accessPolygonList() { return m_polygonList; }
    /// A new polygon of this mesh at the end of its list; valid until it is removed.
    CN_Polygon* addPolygon();
    /// Destroys the polygon, which its material counts no more; its vertices stay. False where the mesh has no polygon
    /// left.
    bool deletePolygon(CN_Polygon* polygon);
    /// The place of the polygon in the list, or -1 for one that is not in it.
    int findPolygonIndex(const CN_Polygon* polygon) const { return m_polygonList.indexOf(polygon); }
    /// The polygons that a save writes, those with edges, in their order.
    std::vector<const CN_Polygon*> getWrittenPolygons() const;
    /// The place that the polygon has among those, or -1. Costs a walk of the list: for many polygons use
    /// `getWrittenPolygons`.
    int findWrittenIndex(const CN_Polygon* polygon) const;
    /// Gives every polygon that is no exit the material; with `applyTiles` their texture axes take the lengths of the
    /// material's tiles.
    void texturize(CN_Material* material, bool applyTiles);
    /// @}

    /// @name Upkeep of all polygons (mesh_upkeep.cpp, mesh_t_junctions.cpp, polygon/polygon_neighbors.cpp)
    /// @{
    /// `CN_Polygon::triangulize` for each polygon.
    void triangulizeAll(bool convexify);
    /// `CN_Polygon::createVerticesInTJunctions` for each polygon in list order, with bounding boxes that are built at the
    /// start. `tolerance` is a length, at most 0.1 to be sure to miss none. Cost: near linear in edges.
    void createVerticesInTJunctions(double tolerance);
    /// `CN_Polygon::createSharedEdgeList` for each polygon, with boxes as they are. Cost: near linear in edges and in what
    /// is found.
    void createSharedEdgeLists();
    /// The pairs of polygons of which the first is a `CN_Polygon::neighbor` of the second, by their order in the list, with
    /// boxes as they are and world places that are current. Cost: near linear in edges and in what is found.
    std::vector<std::pair<CN_Polygon*, CN_Polygon*>> findNeighbors();
    /// Turns every polygon over (`CN_Polygon::flip`) and triangulates it anew.
    void flipFaces();
    /// @}

    /// @name Groups
    /// @{
    const PolygonGroups& getPolygonGroups() const { return m_polygonGroups; }
    /// A child with the settings of `group`, which may be of another mesh; with `copyMembers` it takes in those of the group's
    /// polygons that are this mesh's.
    CN_LevelEntityPolygonGroup* addNewPolygroup(const CN_LevelEntityPolygonGroup* group, bool copyMembers);
    /// @}

    /// @name Exits (mesh_exits.cpp)
    /// @{
    /// True if a polygon leads into another mesh.
    bool hasExits() const;
    /// All exit polygons in list order, those that lead into this mesh too.
    std::vector<const CN_Polygon*> getExitList() const;
    /// The first exit polygon of that name (see `CN_Polygon::getExitName`), or null. An exit without a portal has the name "".
    const CN_Polygon* findExit(const istring& name) const;
    CN_Polygon* findExit(const istring& name);
    /// "Exit0", or with the first number from there up that no exit has, in any case of letters.
    istring getNextExitName() const;
    /// True if some stretch of a closed contour, of the mesh's space, lies on no polygon: one of its edges by more than 0.001 in
    /// sum. `touched` gets the polygons that it lies on and that it does not hold yet, as they are met. The log is told. The
    /// mesh's triangulation must be current. Throws `M_PlanarSpace3Exception_Singular` where texture space 0 of a polygon gives
    /// no plane. Cost: a walk of the mesh's polygons for each edge.
    bool exitHangs(const F_DLListInit<Vector>& contour, F_DLList<CN_Polygon*>& touched);
    /// The same question: what is left free of the edges that hang, in the order of the contour; none where it is attached.
    /// `except`, which may be null, is a polygon that nothing lies on: the exit itself, where it is there already.
    std::vector<CN_HangingStretch> findHangingStretches(const F_DLListInit<Vector>& contour,
                                                        F_DLList<CN_Polygon*>& touched, const CN_Polygon* except);
    /// True if two edges share a stretch in the mesh's space of which exit polygons leave 0.001 free, in sum; those that are the
    /// edges' own and those that lead to one of these do not count. Cost: a walk of the mesh's polygons.
    bool edgesAreJumpable(const CN_Edge* a, const CN_Edge* b) const;
    /// The pairs of polygons of which the first is `CN_Polygon::jumpable` to the second, in the order of both in the list, with
    /// boxes as they are and world places that are current. Cost: near linear in edges and in what is found.
    std::vector<std::pair<CN_Polygon*, CN_Polygon*>> findPassages();
    /// @}

    /// @name Smooth normals (mesh_smooth_normals.cpp)
    /// Corners that polygons of one group share get one normal: the unit sum of the polygons' normals. A group counts while it
    /// is smooth, and with `geometry` while its geometry is, too; one that has others' polygons as well is smooth with those.
    /// @{
    /// A unit normal by the vertex's place in the list.
    using VertexNormals = std::map<int, Vector>;
    /// The polygon and the members of those groups of this mesh that count and that it is in. What is in other groups of a
    /// member is not reached.
    std::set<CN_Polygon*> getAllPolysToSmooth(CN_Polygon* polygon, bool geometry) const;
    /// Puts the normals of all polygons of the mesh into `result`, where those that are there already stay. Polygons that are
    /// smoothed together get the same normals, those of all their corners, where a polygon counts once for each edge that
    /// begins there. A normal that would make the sum zero does not count; a corner whose sum is zero has no normal. Throws
    /// `std::out_of_range`, and nothing has changed, where an edge names a vertex that is not there. Cost: near linear in
    /// corners and in what it puts into `result`: for n polygons smoothed together n copies of their normals.
    void calculateVertexNormals(std::map<CN_Polygon*, VertexNormals>& result, bool geometry);
    /// The same normals, shared by the polygons that have them in common. Cost: near linear in corners.
    std::map<CN_Polygon*, std::shared_ptr<const VertexNormals>> calculateSharedVertexNormals(bool geometry);
    /// Puts a normal for each corner, in their order, of each piece of the polygons' triangulations into `result`, where pieces
    /// that are there already keep theirs. A polygon counts once for a vertex; a corner whose sum is zero has the normal zero.
    /// Groups' polygons of other meshes take part. Throws `std::out_of_range`, and nothing has changed, where a piece names a
    /// vertex that this mesh lacks. Cost: near linear in corners.
    void calculateVertexNormalsForTriangles(std::map<CN_Triangle*, std::vector<Vector>>& result, bool geometry);
    /// @}

    /// @name Plane moves (mesh_plane_moves.cpp)
    /// A polygon is pushed or tilted with all that lies in its plane and hangs together with it, and the mesh stays closed and
    /// flat: corners slide along the edges and planes around. A move is done whole or refused, with no message and nothing
    /// changed but boxes and shared edge lists. It looks at where corners end up, not at what lies on the way. Corners must be
    /// shared by index: after a cut, T-junctions and a weld come first. Not for a polygon of another mesh.
    /// @{
    /// Moves the plane of `polygon` by `distance` along its `getReferenceNormal`, or, `rotating`, by `matrix` about `center` of
    /// the mesh's space. False where it is refused: see `CN_PlaneMoveRefusal`. No edge that is longer becomes as short as
    /// `minEdgeLength`. A tilt leaves the reference normal behind, so that the next push goes along the old direction. The new
    /// triangles have no coordinates until `CN_Polygon::calculateUVCoordinates`. What moves has the texture spaces 0, 1 and 2
    /// afterwards, a new one as space 0 was. A plane that turns comes to pass through `center`. Throws
    /// `M_PlanarSpace3Exception_Singular` where texture space 0 of a polygon of the mesh gives no plane, and an `F_Exception*`
    /// where an edge names no vertex; the mesh is as it was then. Cost: near linear in what is looked at.
    bool movePolygonPlaneWorker(CN_Polygon* polygon, double distance, double minEdgeLength, bool rotating,
                                Matrix matrix, Vector center);
    /// The same move, and why it was refused.
    CN_PlaneMoveRefusal tryMovePolygonPlane(CN_Polygon* polygon, double distance, double minEdgeLength, bool rotating,
                                            Matrix matrix, Vector center);
    /// Tilts the plane by `angle` radians, in single precision, about the axis from one point to another of the mesh's space;
    /// a positive angle about +Z takes +X to +Y. The hierarchy is brought up to date in any case.
    bool rotatePolygonPlane(CN_Polygon* polygon, const Vector& axisStart, const Vector& axisEnd, double angle,
                            double minEdgeLength);
    CN_PlaneMoveRefusal tryRotatePolygonPlane(CN_Polygon* polygon, const Vector& axisStart, const Vector& axisEnd,
                                              double angle, double minEdgeLength);
    /// False where edges leave the group of polygons at a vertex in two directions, which no move can follow both.
    bool checkCoplanarVertices(int vertex, const F_DLList<CN_Polygon*>& group);
    /// False where a polygon of `border` that is not parallel to `normal` holds the vertex, and no edge there runs in such a
    /// polygon's plane.
    bool checkEdgePlaneDeadlock(int vertex, const Vector& normal, const F_DLList<CN_Polygon*>& border);
    /// Makes a closed prism of a polygon with more than two collected corners and no edges yet: a cap at `distance` along its
    /// normal and a side for each edge are added. World normals are right after `handleOwnHierarchy`. Throws
    /// `M_PlanarSpace3Exception_Singular` where two corners that follow each other are one.
    void loftPolygon(CN_Polygon* polygon, double distance);
    /// @}

    /// @name Welding (mesh_welding.cpp; see geometry/welding.h)
    /// Merges vertices and planes that nearly coincide. One weld runs to its end before another starts, in a process. All work is
    /// in the mesh's space.
    /// @{
    using PlaneGroups = std::vector<std::vector<M_Plane3Template<double>>>;
    using PlaneGroupOfPolygon = std::map<CN_Polygon*, std::pair<int, bool>>;
    /// Fills the table of groups: each vertex strictly nearer than `radius` to one of a group is in it, and the first vertex
    /// of the list holds it. Cost: near linear in vertices and in what lies within the radius.
    void createWeldGroups(double radius);
    /// Moves the group of `other` into that of `keeper`, with all that is tied to it.
    void addWeldVertices(CN_Vertex& keeper, CN_Vertex& other);
    /// Merges the groups of `createWeldGroups` and planes within one degree and `radius`, puts each vertex that stays where the
    /// planes around it meet, deletes polygons that collapse, and writes what it did into `report`. With three groups or
    /// fewer it does nothing. The vertices are new ones, shared edge lists are empty, and those of the texture spaces 0 to 2
    /// that are there begin at the planes' points. Merged normals are plain means, not made unit. Pieces of triangulations may
    /// hold a corner twice afterwards: triangulate before anything that merges them. Throws an `F_Exception*`, and nothing has
    /// changed, where an edge, a piece or a group names a vertex that is not there. Cost: near n log n, and at a vertex n cubed
    /// for n polygons that face n ways.
    void weldVertices(double radius, CString& report);
    void temporaryCreateWeldGroupsAndWeldVertices(double groupRadius, double weldRadius, CString& report);
    /// Puts every vertex where the planes of the polygons that begin an edge there meet, by up to 0.001 for each axis, or
    /// farther where planes were snapped to an axis before. Cost: near linear in corners.
    void reworkVerticesWithoutWelding();
    /// Groups the planes of the mesh's polygons that lie within one degree and `distance` of a group's first one, and tells
    /// for each polygon its group and whether it faces against that one.
    static void s_matchPlanes(CN_Mesh* mesh, double distance, PlaneGroups& groups, PlaneGroupOfPolygon& polygonMap);
    /// The mean of each group.
    static void s_createFinalPlanes(const PlaneGroups& groups, std::vector<M_Plane3Template<double>>& finals);
    /// Of the polygons that begin an edge at the vertex's group, or have it well inside an edge, one for each direction.
    std::vector<CN_Polygon*> getNearbyPolygons(CN_Vertex& vertex, double radius);
    /// Where the planes of those meet, near the mean of the group; zero without a group.
    Vector calculateVertexPosition(CN_Vertex& vertex, double radius);
    /// @}

    /// @name Restructuring (mesh_parts.cpp, mesh_joining.cpp, mesh_transforming.cpp, mesh_closure.cpp)
    /// A null mesh, a polygon of another mesh, a plane without a normal, a grid that is not finite and the like are refused: an
    /// `F_Exception*` is thrown and nothing has changed.
    /// @{
    /// Walks from `start` over polygons that are `CN_Polygon::jumpable`: `reached` gets those it meets, in their order, and
    /// `rest` the others in list order, where the answer is true: where that cuts the mesh in two, and for an exit that does not
    /// meet its partner. Boxes are made anew. Cost: near linear in edges and in what meets.
    bool separated(CN_Polygon* start, F_DLList<CN_Polygon*>& reached, F_DLList<CN_Polygon*>& rest);
    /// Makes two new meshes, siblings of this one, of what `separated` found; of a dynamic mesh one, of the part that holds
    /// `polygon`. Exits and groups go along, and each mesh has its origin on the `grid` (0 for none). The parent owns them, or the
    /// caller where there is none. This mesh stays for the caller to delete, with its portals and lights, which the copies
    /// know but which still stand on the old polygons.
    std::pair<CN_Mesh*, CN_Mesh*> separate(CN_Polygon* polygon, F_DLList<CN_Polygon*>& reached,
                                           F_DLList<CN_Polygon*>& rest, double grid);
    /// Fills a fresh mesh with copies of some polygons of `source`, whose sibling with the same settings it becomes. Corners
    /// nearer than 1e-6 share a vertex. Coordinates of the new triangulations are the caller's to calculate.
    void buildFrom(CN_Mesh* source, const F_DLList<CN_Polygon*>& polygons);
    /// Appends copies of polygons of the same space whose vertices are there, from place `vertexOffset` on.
    void copyPolygonsLocal(const PolygonList& polygons, int vertexOffset);
    /// Appends the polygons of another mesh, where they are in the world. What leads to them and stands on them changes over;
    /// `other` keeps them otherwise, for the caller to delete. Of modes it is the exits' alone that is taken over. Throws, and
    /// nothing has changed, `M_PlanarSpace3Exception_Singular` where the texture space 0 of one gives no plane.
    void join(CN_Mesh* other);
    /// Reflects the geometry in the plane through the mesh's origin that is parallel to a plane of the world, and keyframes of
    /// a dynamic mesh in the plane itself, or as the geometry with `relativeKeyframes`. As after `changeSpaceExplicit` polygons
    /// have the texture spaces 0, 1 and 2 then, and vertices have gone where planes meet, by up to 0.001 along each axis.
    void mirror(const M_Plane3Template<double>& plane, bool relativeKeyframes);
    /// Stretches the geometry about a point of its space, along its axes, or those of `space`, of the world: the first row by
    /// `factors.x`, the third by `factors.y`, the second by `factors.z`. Throws an `F_Exception*`, and nothing has changed,
    /// for a factor that is 0 or not finite. Negative factors turn the polygons' corners around.
    void scale(const Vector& center, const Vector& factors, const M_Matrix4x3Template<double>* space);
    /// Moves the origin to the mean of all vertices, on the `grid` of the parent's space (0 for none), without rotation.
    void relocateCenter(double grid);
    /// Destroys those of the candidates that share no stretch of an edge with another polygon, and gives their number. Boxes
    /// must be current. No flag is set.
    int deleteFloatingFaces(const std::set<CN_Polygon*>& candidates);
    /// True if each edge of each polygon shares a stretch with one of another polygon. `openPolygons`, which may be null, gets
    /// those for which it does not. Cost: near linear in edges and in what meets.
    bool connected(std::set<CN_Polygon*>* openPolygons);
    /// @}

    /// @name State
    /// @{
    bool isTrigger() const { return m_triggerProperties != nullptr; }
    const CN_TriggerProperties* getTriggerProperties() const { return m_triggerProperties.get(); }
    CN_TriggerProperties* accessTriggerProperties() { return m_triggerProperties.get(); }
    /// A copy of the settings makes the mesh a trigger, null makes it none.
    void setTriggerProperties(const CN_TriggerProperties* properties);
    bool areFacesFlipped() const { return m_facesFlipped; }
    void setFacesFlipped(bool flipped) { m_facesFlipped = flipped; }
    bool isGeometryDirty() const { return m_geometryDirty; }
    bool isBSPDirty() const { return m_bspDirty; }
    /// Marks geometry and BSP tree.
    void setGeometryDirty() { m_geometryDirty = m_bspDirty = true; }
    void setBSPDirty() { m_bspDirty = true; }
    void clearGeometryDirty() { m_geometryDirty = false; }
    bool isUVDirty() const { return m_uvDirty; }
    void setUVDirty(bool dirty) { m_uvDirty = dirty; }
    bool isMappingDirty() const { return m_mappingDirty; }
    void setMappingDirty(bool dirty) { m_mappingDirty = dirty; }
    const CN_Polygon* getLastHitPolygon() const { return m_lastHitPolygon; }
    /// The average of all polygons' corners in the mesh's space, where one that polygons share counts for each of them; of
    /// the last `calculateBoundingBox`.
    const Vector& getCenterOfArea() const { return m_centerOfArea; }
    /// The box of the last `calculateBoundingBox` in the mesh's space.
    const E_BBox<double>& getLocalBox() const { return m_boundingBox; }
    /// Renews the bounding boxes, the radius and the centre; a mesh without corners has the unset box and the radius 0.
    void calculateBoundingBox();
    /// @}

    /// @name Inside and outside (mesh_bsp.cpp)
    /// @{
    /// Partitions space by the mesh's triangles where it stands. False where they leave no plane to divide by, as those of a
    /// mesh without polygons and of sheets back to back do: the mesh has no tree then.
    bool createBoundingBSP();
    /// The last tree that was made, older than the mesh where `isBSPDirty` says so; null where there is none.
    const CN_BSPTree* getBoundingBSP() const { return m_boundingBSP.get(); }
    CN_BSPTree* accessBoundingBSP() { return m_boundingBSP.get(); }
    /// True for a point of the world inside, or in a wall's plane to within 0.0005; false where no tree can be made. One that
    /// is stale is made anew first, which is the cost of the first query after a change.
    bool isPositionInside(const Vector& position);
    /// True if the entity may be moved below this mesh: it is no room and stands inside. A mesh entity stands where its
    /// polygons' corners do on average, and at the world's origin where it has none.
    bool isParentableNonRoom(const CN_LevelEntity* entity);
    /// @}

  protected:
    CN_Mesh(int entityId, int imageIndex, CN_Document* document);
    /// A copy has copies of vertices, polygons, keyframes and trigger settings; it is in no group.
    CN_Mesh(const CN_Mesh& other);
    CN_Mesh& operator=(const CN_Mesh& other);
    bool onCanAdd(int entityId) override;

  private:
    friend class CN_PlaneMover;
    friend class CN_Polygon;

    CN_LevelEntity& accessEntity() override { return *this; }
    void initializeMembers();
    void dropPolygons();
    void dropSharedEdgeLists();
    void dropPolygon(CN_Polygon* polygon);
    void copyGeometry(const CN_Mesh& other);
    void adopt(CN_Polygon& polygon, const CN_Mesh& other);
    std::size_t savePolygons(F_MemoryFile& file) const;
    bool loadPolygons(F_MemoryFile& file);
    void loadAnimation(F_MemoryFile& file);
    void loadTrigger(F_MemoryFile& file, int version);

    Vector m_centerOfArea;                                     ///< in the mesh's space
    VertexList m_vertexList;                                   ///< owned
    PolygonList m_polygonList;                                 ///< owned
    bool m_geometryDirty = true;                               ///< the geometry has changed
    bool m_uvDirty = true;                                     ///< some polygon's coordinates are stale
    bool m_mappingDirty = true;                                ///< some polygon's lightmap mapping is stale
    bool m_facesFlipped = false;                               ///< stored in the file
    bool m_hasSharedEdgeLists = false;                         ///< some polygon may name neighbours
    CN_Polygon* m_lastHitPolygon = nullptr;                    ///< not owned: of the last ray
    std::unique_ptr<CN_BSPTree> m_boundingBSP;                 ///< null before it was asked for
    bool m_bspDirty = true;                                    ///< the tree is older than the geometry or the place
    PolygonGroups m_polygonGroups;                             ///< not owned: those among the children
    std::unique_ptr<CN_TriggerProperties> m_triggerProperties; ///< null for a mesh that is no trigger
    E_BBox<double> m_boundingBox;                              ///< in the mesh's space
};

} // namespace cairn
