#include "cairn/document/change_scope.h"
#include "cairn/foundation/exception.h"
#include "cairn/geometry/exact_corners.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/planar/polygon2d.h"
#include "cairn/platform/handlers.h"

#include <algorithm>
#include <cmath>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;

constexpr double SNAP_TOLERANCE = 1e-5; // of the planar engine
constexpr float GREATEST_ANGLE = 0.1F;  // degrees between polygons that become one

double largestComponent(const Vector& v) { return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)}); }

float degreesBetween(const Vector& a, const Vector& b) {
    constexpr double PI = 3.141592654;
    return std::abs(static_cast<float>(std::acos(std::clamp(a.dot(b), -1.0, 1.0)) * (180 / PI)));
}

/// A stretch along an edge, in lengths of the edge.
struct Reach {
    double low, high;

    Reach(double a, double b) : low(std::min(a, b)), high(std::max(a, b)) {}
    bool overlaps(const Reach& other) const { return high > other.low && other.high > low; }
};

/// Places along an edge of a polygon, where its frame tells them.
class EdgeRuler {
  public:
    EdgeRuler(const CN_Edge& edge, const Vector& normal)
        : m_start(edge.getLocal(0)),
          m_inverse(CN_Polygon::Matrix(edge.dir(), normal, normal.cross(edge.dir())).inverse()) {}
    Reach reach(const Vector& a, const Vector& b) const { return {place(a), place(b)}; }

  private:
    double place(const Vector& point) const { return ((point - m_start) * m_inverse).x; }

    Vector m_start;
    CN_Polygon::Matrix m_inverse;
};

/// The exit polygons of the mesh but for two and their partners.
std::vector<const CN_Polygon*> findOtherExits(const CN_Mesh& mesh, const CN_Polygon& a, const CN_Polygon& b) {
    std::vector<const CN_Polygon*> exits;
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        if (polygon.isExitPolygon() && &polygon != &a && &polygon != &b && &polygon != a.getExitDestination() &&
            &polygon != b.getExitDestination())
            exits.push_back(&polygon);
    return exits;
}

/// The axes of a texture space laid into the plane of a normal. Throws where they give no space there.
CN_Polygon::Matrix laidIntoPlane(const CN_Polygon::PlanarSpace& space, const Vector& normal) {
    CN_Polygon::Matrix matrix = space.getMatrix();
    for (int axis = 0; axis < 2; ++axis)
        CN_Polygon::projectGeneral(matrix.row(axis), normal, {});
    matrix.row(2) = normal;
    if (matrix.determinant() == 0)
        throw new M_PlanarSpace3Exception_Singular;
    return matrix;
}

} // namespace

bool CN_Polygon::canUnify(const CN_Polygon* other) const {
    if (other == this)
        return false;
    const auto refuse = [](const char* why) {
        AfxMessageBox(why);
        return false;
    };
    if (m_parent != other->m_parent)
        return refuse("Polys have to be in the same object!");
    if (!(degreesBetween(m_normal, other->m_normal) <= GREATEST_ANGLE))
        return refuse("Polys have to be coplanar!");
    Vector point, vector;
    if (!other->findCommonEdgeSegment(this, point, vector))
        return refuse("Polys have to share edges!");
    if (!other->unificationLegal(this))
        return refuse("Polygons cannot be exits or touched by the same exit!");
    return true;
}

bool CN_Polygon::unificationLegal(const CN_Polygon* other) const {
    if (isExitPolygon() != other->isExitPolygon())
        return false;
    const std::vector<const CN_Polygon*> exits = findOtherExits(requireMesh(), *this, *other);
    if (exits.empty())
        return true;
    for (const CN_Edge& edge : m_edgeList)
        for (const CN_Edge& theirs : other->m_edgeList) {
            Vector point, vector, exitPoint, exitVector;
            if (!edge.sharesSpaceLocal(&theirs, point, vector))
                continue;
            const EdgeRuler ruler(edge, m_normal);
            const Reach shared = ruler.reach(point, point + vector);
            for (const CN_Polygon* const exit : exits)
                for (const CN_Edge& contour : exit->m_edgeList)
                    if ((contour.sharesSpace(&edge, exitPoint, exitVector) ||
                         contour.sharesSpace(&theirs, exitPoint, exitVector)) &&
                        ruler.reach(contour.getLocal(0), contour.getLocal(1)).overlaps(shared))
                        return false;
        }
    return true;
}

std::vector<CN_Polygon*> CN_Polygon::buildFrom(CN_Polygon* a, CN_Polygon* b) {
    CN_Mesh &mesh = a->requireMesh(), &target = requireMesh();
    // What may be refused comes first.
    const CN_Polygon& plane = largestComponent(a->m_normal) > largestComponent(b->m_normal) ? *a : *b;
    const Vector normal = plane.m_normal, pointOnPlane = plane.m_pointOnPlane;
    constexpr int KEYS = 3;
    const Matrix axes[KEYS] = {laidIntoPlane(a->getUVSpace(0), normal), laidIntoPlane(a->getUVSpace(1), normal),
                               laidIntoPlane(a->getUVSpace(2), normal)};
    const PlanarSpace space = a->getSpace();
    gpc_polygon first, second, united;
    a->create_gpc_polygon(&first, space);
    b->create_gpc_polygon(&second, space);
    if (!gpc_is_finite(&first) || !gpc_is_finite(&second))
        throw new F_Exception(formatText("Polygons %d and %d cannot be united: they are not finite",
                                         static_cast<int>(a->m_polygonIndex), static_cast<int>(b->m_polygonIndex)));

    const CN_ChangeScope change(target.getDocument());
    copyProperties(a, true);
    m_normal = normal;
    m_pointOnPlane = pointOnPlane;
    for (int key = 0; key < KEYS; ++key)
        editUVSpace(key).setMatrix(axes[key]);
    gpc_polygon_clip(GPC_UNION, &first, &second, &united);
    mesh.handleOwnHierarchy();
    CN_2DPolygon planar(this, SNAP_TOLERANCE, space);
    planar.createFrom(&united);
    std::vector<CN_Polygon*> made;
    const int before = target.getVertexList().count();
    if (planar.getNumVertices() > 0)
        made = planar.outputPolygons(&target, false, true);
    CN_ExactCorners exact;
    exact.addCorners(*a);
    exact.addCorners(*b);
    exact.restore(target, before);
    mesh.handleOwnHierarchy();
    for (CN_Polygon* const source : {a, b})
        if (!source->getNgonList().empty())
            source->accessNgonList().clear();
    return made;
}

} // namespace cairn
