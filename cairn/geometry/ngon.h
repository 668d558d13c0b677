#pragma once

#include "cairn/math/plane3.h"
#include "cairn/math/vector3.h"

#include <vector>

namespace cairn {

class CN_Polygon;
class CN_Triangle;

/// A convex piece of a plane that holds its own corners, so that it is cut and regrouped without its mesh.
///
/// Corners are compared exactly: pieces of one polygon share their bits. A corner may occur twice in a row after a `split`,
/// so that whoever walks the edges bears one without length.
class CN_Ngon {
  public:
    using Vector = M_Vector3Template<double>;
    using Plane = M_Plane3Template<double>;

    /// Where a piece lies in a partition of space; 0 before it was asked.
    enum CLASSIFICATION {
        CLASSIFICATION_OUTSIDE = 1,           ///< in outside space
        CLASSIFICATION_INSIDE = 2,            ///< in inside space
        CLASSIFICATION_COPLANAR_SAME = 3,     ///< in a boundary plane, facing as the plane does
        CLASSIFICATION_COPLANAR_OPPOSITE = 4, ///< in a boundary plane, facing the other way
    };

    CN_Ngon() = default;
    /// `construct(triangle, 0)`.
    explicit CN_Ngon(const CN_Triangle* triangle) { construct(triangle, 0); }
    CN_Ngon(const CN_Ngon& other) { copy(&other); }
    CN_Ngon& operator=(const CN_Ngon& other) {
        copy(&other);
        return *this;
    }
    ~CN_Ngon() = default;

    /// Becomes the piece of a polygon: in the mesh's space with `local`, else in the world. The source is the polygon.
    void construct(const CN_Triangle* triangle, int local);
    /// Takes everything over; the walk of the edges is at its start.
    void copy(const CN_Ngon* other);

    /// @name State
    /// @{
    const std::vector<Vector>& getVertices() const { return m_vertices; }
    std::vector<Vector>& accessVertices() { return m_vertices; }
    const Plane& getPlane() const { return m_plane; }
    void setPlane(const Plane& plane) { m_plane = plane; }
    CN_Polygon* getSourcePolygon() const { return m_sourcePolygon; }
    void setSourcePolygon(CN_Polygon* polygon) { m_sourcePolygon = polygon; }
    bool isConvexFlag() const { return m_convexFlag; }
    void setConvexFlag(bool convex) { m_convexFlag = convex; }
    /// True where corners and plane are in the mesh's space, false in the world.
    bool isLocal() const { return m_local; }
    void setLocal(bool local) { m_local = local; }
    CLASSIFICATION getClassification() const { return m_classification; }
    void setClassification(CLASSIFICATION classification) { m_classification = classification; }
    /// Overrides what a classification finds; 0 for none.
    CLASSIFICATION getForcedClassification() const { return m_forcedClassification; }
    void setForcedClassification(CLASSIFICATION classification) { m_forcedClassification = classification; }
    /// @}

    /// @name Corners and edges
    /// @{
    int size() const { return static_cast<int>(m_vertices.size()); }
    void addVertex(const Vector& point) { m_vertices.push_back(point); }
    /// The place of the first corner that equals the point exactly, or -1.
    int hasVertex(const Vector& point) const;
    /// Starts a walk: the edge from corner 0 to corner 1. Needs two corners.
    void firstEdge(Vector& a, Vector& b);
    /// The next edge: `a` becomes what `b` was. 1 up to the edge that ends in corner 0, then 0 and nothing changes.
    int edge(Vector& a, Vector& b);
    /// @}

    /// @name Shape
    /// @{
    /// The area of the fan from corner 0.
    double area() const;
    /// Turns the piece over: plane and order of corners.
    void flip();
    /// 1 where all edges run along the first one, to about 1e-5 in the cosine; 0 where one has no length.
    int degenerate() const;
    /// 1 below three corners, below an area of 1e-12, and where all corners lie nearer than `tolerance` to the line of one
    /// edge.
    int linear(double tolerance) const;
    /// The smallest of the heights over the edges divided by the largest: up to 1, near 0 for a sliver. Edges shorter than
    /// 1e-12 do not count; 0 where nothing has a height.
    double aspectRatio() const;
    /// @}

    /// @name Against a plane: distances are signed, positive on the normal's side
    /// @{
    /// True unless both ends of the segment lie on the same side; distances snap at 0.001, and an end in the plane crosses.
    static bool intersects(const Plane& plane, const Vector& a, const Vector& b);
    /// True if no end of the segment lies behind the plane, with the same snapping.
    static bool isInside(const Plane& plane, const Vector& a, const Vector& b);
    /// 1 where no corner is 0.001 or more behind the plane.
    int isInside(const Plane& plane) const;
    /// 1 where every corner is nearer than 0.001 to the plane.
    int contained(const Plane& plane) const;
    /// The least and the greatest distance of the corners moved by `offset`. Without `full` the walk ends as soon as they
    /// have opposite signs, which shows that the plane cuts.
    void calcMinMax(const Plane& plane, double& min, double& max, bool full, const Vector& offset) const;
    /// Cuts along the plane: what lies in front or in the plane becomes `inside`, the rest `outside`, either of which may be
    /// left with fewer than three corners. A corner in the plane goes to both. Both take over plane, source, space and
    /// forced classification. This may be neither of the two.
    void split(const Plane& plane, CN_Ngon& inside, CN_Ngon& outside) const;
    /// @}

    /// @name Two pieces
    /// @{
    /// True if an edge of this piece, from `a` to `b` (each may be null), is one of the other from end to start.
    bool sharesEdge(const CN_Ngon& other, Vector* a, Vector* b) const;
    /// True if they share an edge and no corner of the other lies more than 0.0001 beyond the line of another edge of this
    /// one, in the plane of the source polygon: for pieces in the mesh's space. The other's edges are not asked.
    bool formsConvexRegion(const CN_Ngon& other) const;
    /// Becomes the outline of two pieces that share an edge; `a` where all its corners are in `b`.
    void unify(const CN_Ngon& a, const CN_Ngon& b);
    /// @}

    /// Writes the corners to the diagnostic log.
    void dump() const;

  private:
    std::vector<Vector> m_vertices;        ///< in the polygon's winding order
    Plane m_plane{Vector(), Vector()};     ///< zero before it is set
    int m_edgeCursor = 0;                  ///< of the walk: the corner the next edge starts at, -1 after the last edge
    CN_Polygon* m_sourcePolygon = nullptr; ///< not owned: the polygon it is a piece of
    bool m_convexFlag = false;             ///< the host's
    bool m_local = false;                  ///< in the mesh's space, not in the world
    CLASSIFICATION m_classification{};     ///< the last one, 0 before
    CLASSIFICATION m_forcedClassification{}; ///< overrides the computed one, 0 for none
};

} // namespace cairn
