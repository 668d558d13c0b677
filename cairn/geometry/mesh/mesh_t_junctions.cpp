#include "cairn/document/change_scope.h"
#include "cairn/geometry/lines.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/point_tree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

/// The line of an edge as it is now.
struct EdgeLine {
    Vector start, end, unit;
    double length;

    explicit EdgeLine(const CN_Edge& edge)
        : start(edge.getLocal(0)), end(edge.getLocal(1)), unit((end - start).normalized()),
          length((end - start).length()) {}

    double along(const Vector& point) const { return (point - start).dot(unit); }
    /// True for a point on the edge, away from its ends; `d` is how far along.
    bool holds(const Vector& point, double tolerance, double& d) const {
        d = along(point);
        return CN_lineDistance(point, start, end) < tolerance && d > 2 * tolerance && d < length - 2 * tolerance;
    }
    /// How far a point that one rounding holds and another does not may lie off.
    double slack() const { return CN_roundingAlong(start, end); }
};

/// The corners of polygons that edges of others may run through: the start points of their edges, by place.
class CornerIndex {
  public:
    explicit CornerIndex(CN_Mesh& mesh) : m_mesh(mesh) {}

    /// Takes the corners of all polygons.
    void addAll() {
        std::vector<CN_PointTree::Entry> entries;
        for (CN_Polygon& polygon : m_mesh.accessPolygonList()) {
            m_firstOf.push_back(m_corners.size());
            for (const CN_Edge& edge : polygon.getEdgeList())
                entries.push_back({edge.getLocal(0), add(polygon)});
        }
        m_firstOf.push_back(m_corners.size());
        m_tree = CN_PointTree(std::move(entries));
    }
    /// Takes those of the other polygons that are in reach of this one's edges: of all, or of those whose boxes meet.
    void addReached(const CN_Polygon& center, double tolerance, bool useBoundingBoxes) {
        Vector least, largest;
        double slack = 0;
        bool isFirst = true;
        for (const CN_Edge& edge : center.getEdgeList()) {
            const EdgeLine line(edge);
            slack = std::max(slack, line.slack());
            for (int axis = 0; axis < 3; ++axis) {
                least[axis] =
                    std::min(isFirst ? line.start[axis] : least[axis], std::min(line.start[axis], line.end[axis]));
                largest[axis] =
                    std::max(isFirst ? line.start[axis] : largest[axis], std::max(line.start[axis], line.end[axis]));
            }
            isFirst = false;
        }
        const double reach = tolerance + slack;
        const auto isReached = [&](const Vector& v) {
            for (int axis = 0; axis < 3; ++axis)
                if (v[axis] < least[axis] - reach || v[axis] > largest[axis] + reach)
                    return false;
            return true;
        };
        std::vector<CN_PointTree::Entry> entries;
        for (CN_Polygon& polygon : m_mesh.accessPolygonList()) {
            if (&polygon == &center || (useBoundingBoxes && !center.bbIntersect(&polygon)))
                continue;
            for (const CN_Edge& edge : polygon.getEdgeList())
                if (isReached(edge.getLocal(0)))
                    entries.push_back({edge.getLocal(0), add(polygon)});
        }
        m_tree = CN_PointTree(std::move(entries));
    }
    /// Takes the corners of a polygon anew, which stands at that place in the mesh's list.
    void renew(CN_Polygon& polygon, std::size_t place) {
        for (std::size_t i = m_firstOf[place]; i < m_firstOf[place + 1]; ++i)
            m_corners[i] = nullptr;
        for (const CN_Edge& edge : polygon.getEdgeList())
            m_tree.insert({edge.getLocal(0), add(polygon)});
    }

    /// Calls `visit(point)` for the corners of other polygons within `radius` of the line.
    template <class Visit>
    void visitNear(const CN_Polygon& center, bool useBoundingBoxes, const Vector& from, const Vector& to, double radius,
                   Visit&& visit) const {
        m_tree.visitNear(from, to, radius, [&](const CN_PointTree::Entry& entry, double) {
            const CN_Polygon* const owner = m_corners[static_cast<std::size_t>(entry.number)];
            if (owner && owner != &center && (!useBoundingBoxes || center.bbIntersect(owner)))
                visit(entry.point);
        });
    }

  private:
    int add(CN_Polygon& polygon) {
        m_corners.push_back(&polygon);
        return static_cast<int>(m_corners.size() - 1);
    }

    CN_Mesh& m_mesh;
    CN_PointTree m_tree;                      ///< numbers are places in `m_corners`
    std::vector<const CN_Polygon*> m_corners; ///< whose it is; null for one that is gone
    std::vector<std::size_t> m_firstOf;       ///< of each polygon as it was at first, and the end
};

/// Puts vertices into the edges of one polygon.
///
/// The rule is to look for the first corner along the edge, to cut the edge there, and to look again at the rest. Which of
/// several corners at one distance it is makes no difference, as the new vertex depends on the distance alone. The corners
/// near the whole edge are looked up once; each cut then measures those that can be first.
class EdgeCutter {
  public:
    EdgeCutter(CN_Polygon& polygon, double tolerance, bool useBoundingBoxes, const CornerIndex& corners)
        : m_polygon(polygon), m_tolerance(tolerance), m_useBoundingBoxes(useBoundingBoxes), m_corners(corners) {}

    /// True where an edge was cut.
    bool cutAll() {
        bool anyCut = false;
        for (CN_Edge* edge = m_polygon.accessEdgeList().first(); edge; edge = m_polygon.accessEdgeList().next(edge))
            anyCut |= cut(*edge);
        return anyCut;
    }

  private:
    struct Candidate {
        double along; ///< on the whole edge
        Vector point;
    };

    bool cut(CN_Edge& edge) {
        const EdgeLine whole(edge);
        if (!(whole.length > 0))
            return false;
        find(whole);
        const double slack = whole.slack();
        bool anyCut = false;
        std::size_t first = 0;
        for (;;) {
            const EdgeLine rest(edge);
            const double passed = whole.along(rest.start);
            while (first < m_found.size() && m_found[first].along < passed + 2 * m_tolerance - slack)
                ++first;
            double nearest = std::numeric_limits<double>::infinity();
            for (std::size_t i = first; i < m_found.size() && !(m_found[i].along - passed > nearest + slack); ++i) {
                double d = 0;
                if (rest.holds(m_found[i].point, m_tolerance, d))
                    nearest = std::min(nearest, d);
            }
            const Vector point = rest.start + rest.unit * nearest;
            // Where places are too far apart to tell the cut from an end there is none.
            if (!std::isfinite(nearest) || point == rest.start || point == rest.end)
                return anyCut;
            insert(edge, point);
            anyCut = true;
        }
    }

    void find(const EdgeLine& line) {
        m_found.clear();
        const double slack = line.slack();
        m_corners.visitNear(m_polygon, m_useBoundingBoxes, line.start - line.unit * slack, line.end + line.unit * slack,
                            m_tolerance + slack, [&](const Vector& point) {
                                m_found.push_back({line.along(point), point});
                            });
        std::sort(m_found.begin(), m_found.end(),
                  [](const Candidate& a, const Candidate& b) { return a.along < b.along; });
    }

    void insert(CN_Edge& edge, const Vector& point) {
        CN_Mesh& mesh = *m_polygon.accessParent();
        const int made = mesh.getVertexList().count();
        CN_Vertex& vertex = *mesh.addVertex();
        vertex.local = point;
        vertex.world = mesh.worldTransform(point);
        CN_Edge& before = m_polygon.accessEdgeList().emplaceBefore(&edge, edge.index(0), made);
        before.setParent(&m_polygon);
        before.setHoleStart(edge.isHoleStart());
        edge.setHoleStart(false);
        edge.index(0) = made;
    }

    CN_Polygon& m_polygon;
    double m_tolerance;
    bool m_useBoundingBoxes;
    const CornerIndex& m_corners;
    std::vector<Candidate> m_found; ///< of the edge that is cut
};

} // namespace

void CN_Polygon::createVerticesInTJunctions(double tolerance, bool useBoundingBoxes) {
    CN_Mesh& mesh = requireMesh();
    const CN_ChangeScope change(mesh.getDocument());
    optimizeRedundantVertices();
    CornerIndex corners(mesh);
    corners.addReached(*this, tolerance, useBoundingBoxes);
    if (!EdgeCutter(*this, tolerance, useBoundingBoxes, corners).cutAll())
        return;
    mesh.setGeometryDirty(); // whatever the triangulation says
    mesh.handleOwnHierarchy();
    triangulize(true);
    calculateUVCoordinates();
    mesh.invalidateObject(true);
}

// One index serves all polygons and follows what each of them changes. The hierarchy is renewed once, at the first cut: from
// then on new vertices get their right place in the world, which is what a polygon that is triangulated may tell of.
void CN_Mesh::createVerticesInTJunctions(double tolerance) {
    for (CN_Polygon& polygon : m_polygonList)
        polygon.buildBoundingBox(true);
    CornerIndex corners(*this);
    corners.addAll();
    const CN_ChangeScope change(getDocument());
    bool anyCut = false;
    const auto finish = [&] {
        if (anyCut)
            invalidateObject(true);
    };
    try {
        std::size_t place = 0;
        for (CN_Polygon& polygon : m_polygonList) {
            const int edges = polygon.getEdgeList().count();
            polygon.optimizeRedundantVertices();
            const bool isCut = EdgeCutter(polygon, tolerance, true, corners).cutAll();
            if (isCut) {
                if (!std::exchange(anyCut, true))
                    handleOwnHierarchy();
                polygon.triangulize(true);
                polygon.calculateUVCoordinates();
            }
            if (isCut || polygon.getEdgeList().count() != edges)
                corners.renew(polygon, place);
            ++place;
        }
    } catch (...) {
        finish();
        throw;
    }
    finish();
}

} // namespace cairn
