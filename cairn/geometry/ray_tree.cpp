#include "cairn/geometry/ray_tree.h"

#include "cairn/geometry/lines.h"
#include "cairn/geometry/polygon_ray.h"
#include "cairn/math/snapping.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cairn {

namespace {

using Vector = CN_RayTree::Vector;
using Box = CN_RayBoxes::Box;

constexpr double ROUNDING =
    1e-9; // of places, as a share of their size: what a turn into the world and back leaves, and more
constexpr double NARROW = 4e-6;  // the same in single precision
constexpr double GRAZING = 1e-5; // what of a ray runs along a plane's normal where rounding does not count

/// Where the corner of a polygon is seen from along the normal, in the plane; not finite where there is no telling.
Vector inPlane(const CN_Polygon& polygon, const Vector& corner) {
    const Vector& normal = polygon.getNormal();
    return corner - normal * (polygon.distLocal(corner) / normal.lengthSquared());
}

/// Outside of it no ray meets the polygon.
Box reachOf(const CN_Polygon& polygon, double slack) {
    Box box;
    for (const CN_Edge& edge : polygon.getEdgeList())
        for (int end = 0; end < 2; ++end) {
            const Vector place = inPlane(polygon, edge.getLocal(end));
            if (!place.isFinite())
                return Box::everywhere();
            box.widen(place);
        }
    box.grow(slack);
    return box;
}

double slackOf(const CN_Polygon& polygon) {
    double size = maxAbsComponent(polygon.getPointOnPlane());
    for (const CN_Edge& edge : polygon.getEdgeList())
        for (int end = 0; end < 2; ++end)
            size = std::max(size, maxAbsComponent(edge.getLocal(end)));
    return ROUNDING * (1 + size);
}

std::vector<Box> reachesOf(const CN_Mesh& mesh) {
    std::vector<Box> boxes;
    boxes.reserve(static_cast<std::size_t>(mesh.getPolygonList().count()));
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        boxes.push_back(reachOf(polygon, slackOf(polygon)));
    return boxes;
}

/// True if the extent that `CN_Polygon::pointInPoly` looks at leaves out nothing that is farther inside than half an edge's
/// thickness.
bool isWithinExtent(const CN_Polygon& polygon) {
    if (!polygon.isUVCalculated())
        return true;
    const CN_UVSpace* const base = polygon.getUVSpaces().find(0);
    if (!base)
        return true;
    const CN_Polygon::PlanarSpace& space = base->space;
    const M_Matrix3Template<double>& inverse = space.getInverse();
    const auto slope = [&](double x, double y, double z) {
        Vector steepest(x, y, z);
        steepest -= polygon.getNormal() * steepest.dot(polygon.getNormal());
        return steepest.length() * CN_Polygon::s_dEdgeThickness / 2;
    };
    const double u = slope(inverse.row(0).x, inverse.row(1).x, inverse.row(2).x);
    const double v = slope(inverse.row(0).y, inverse.row(1).y, inverse.row(2).y);
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        const M_Vector2Template<double> uv = space.toUV(inPlane(polygon, edge.getLocal(0)));
        if (!(uv.x >= static_cast<double>(base->min.x) - u && uv.x <= static_cast<double>(base->max.x) + u &&
              uv.y >= static_cast<double>(base->min.y) - v && uv.y <= static_cast<double>(base->max.y) + v))
            return false;
    }
    return true;
}

/// True for a polygon of one loop of so few corners that it winds once, in whose plane there are places.
bool isPlain(const CN_Polygon& polygon) {
    constexpr int MOST = 5;
    constexpr double UNIT = 1e-9;
    const CN_Polygon::EdgeList& edges = polygon.getEdgeList();
    const Vector& normal = polygon.getNormal();
    if (edges.count() < 3 || edges.count() > MOST || !(std::fabs(normal.lengthSquared() - 1) < UNIT))
        return false;
    const CN_Edge* before = edges.last();
    for (const CN_Edge& edge : edges) {
        if (before->index(1) != edge.index(0))
            return false;
        before = &edge;
    }
    // Where texture axis U runs along the normal the polygon throws.
    const Vector u = polygon.getUVSpace(0).getMatrix().row(0).normalized();
    return std::fabs(u.dot(normal)) < 1 - UNIT && u.length() > UNIT && isWithinExtent(polygon);
}

} // namespace

CN_RayTree::CN_RayTree(const CN_Mesh& mesh) : m_mesh(&mesh), m_boxes(reachesOf(mesh)) {
    std::vector<CN_Polygon*> polygons;
    for (const CN_Polygon& polygon : mesh.getPolygonList())
        polygons.push_back(const_cast<CN_Polygon*>(&polygon));
    m_faces.reserve(m_boxes.getOrder().size());
    for (const int number : m_boxes.getOrder()) {
        CN_Polygon& polygon = *polygons[static_cast<std::size_t>(number)];
        const Vector& normal = polygon.getNormal();
        m_faces.push_back({normal, polygon.getPointOnPlane(), GRAZING * normal.length(), slackOf(polygon), &polygon,
                           number, static_cast<int>(m_sides.size()), 0, false});
        addSides(m_faces.back());
    }
    m_bundles.reserve(m_boxes.getLeaves().size());
    for (const CN_RayBoxes::Leaf& leaf : m_boxes.getLeaves())
        addBundle(leaf);
}

/// Any plane that has all corners behind it tells of places that are outside: of a convex polygon these are all sides.
void CN_RayTree::addSides(Face& face) {
    constexpr std::size_t MOST = 32; // corners: the polygon's own look at them all costs no more then
    std::vector<Vector> corners;
    for (const CN_Edge& edge : face.polygon->getEdgeList())
        corners.push_back(inPlane(*face.polygon, edge.getLocal(0)));
    for (std::size_t i = 0; i < corners.size() && corners.size() <= MOST; ++i) {
        const Vector along = corners[(i + 1) % corners.size()] - corners[i], square = along.cross(face.normal);
        const Vector outward = square * (1 / (std::fabs(square.x) + std::fabs(square.y) + std::fabs(square.z)));
        const double offset = outward.dot(corners[i]);
        if (std::all_of(corners.begin(), corners.end(),
                        [&](const Vector& corner) { return corner.dot(outward) <= offset + face.slack; }))
            m_sides.push_back({outward, offset});
    }
    face.sides = static_cast<short>(m_sides.size() - static_cast<std::size_t>(face.firstSide));
    face.isBoundedBySides = static_cast<std::size_t>(face.sides) == corners.size() && isPlain(*face.polygon);
}

void CN_RayTree::addBundle(const CN_RayBoxes::Leaf& leaf) {
    const auto put = [](Bundle::Planes& planes, int place, const Vector& normal, double offset) {
        for (int axis = 0; axis < 3; ++axis)
            planes.normal[axis][place] = CN_toFloat(normal[axis]);
        planes.offset[place] = CN_toFloat(offset);
    };
    Bundle bundle{};
    for (int i = 0; i < leaf.count; ++i) {
        const Face& face = m_faces[static_cast<std::size_t>(leaf.first + i)];
        const Vector unit = face.normal.normalized();
        put(bundle.faces, i, unit, unit.dot(face.point));
        for (int side = 0; side < Bundle::SIDES; ++side)
            if (side < face.sides) {
                const Side& plane = m_sides[static_cast<std::size_t>(face.firstSide + side)];
                put(bundle.sides[side], i, plane.normal, plane.offset);
            } else {
                put(bundle.sides[side], i, {}, std::numeric_limits<float>::max()); // which nothing lies in front of
            }
    }
    m_bundles.push_back(bundle);
}

/// The nearest hit of one ray.
class CN_RayTree::Search {
  public:
    Search(const CN_RayTree& tree, const CN_PolygonRay& ray, Vector& point, double& distance)
        : m_tree(tree), m_ray(ray), m_from(ray.local ? ray.origin : tree.m_mesh->worldToObject(ray.origin)),
          m_along(ray.local ? ray.direction : ray.direction * tree.m_mesh->getInvWorldRotation()),
          m_length(m_along.length()), m_unit(ray.direction.length()),
          m_slack(ROUNDING * (1 + maxAbsComponent(ray.origin) + maxAbsComponent(m_from))), m_point(point),
          m_distance(distance) {
        for (int axis = 0; axis < 3; ++axis) {
            m_narrowFrom[axis] = CN_toFloat(m_from[axis]);
            m_narrowAlong[axis] = CN_toFloat(m_along[axis]);
        }
        m_narrowLength = CN_toFloat(m_length);
        m_narrowSlack = CN_toFloat(NARROW * (m_tree.m_boxes.getSize() + maxAbsComponent(m_from)));
    }

    CN_Polygon* run() {
        if (!m_from.isFinite() || !m_along.isFinite())
            return nullptr;
        updateReach();
        m_tree.m_boxes.walk(m_from, m_along, m_reach, [this](std::size_t leaf) { visit(leaf); });
        return m_nearest ? m_nearest->polygon : nullptr;
    }

  private:
    void updateReach() { m_reach = (m_distance * (1 + ROUNDING) + m_slack) / m_unit; }

    /// Looks at those faces of a leaf that single precision does not rule out.
    void visit(std::size_t leaf) {
        using Numbers = Bundle::Numbers;
        const Bundle& bundle = m_tree.m_bundles[leaf];
        const auto dot = [](const Numbers* a, const auto& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; };
        const Numbers inverse = 1 / dot(bundle.faces.normal, m_narrowAlong);
        const Numbers k = (bundle.faces.offset - dot(bundle.faces.normal, m_narrowFrom)) * inverse;
        const Numbers slack = m_narrowSlack * (inverse < 0 ? -inverse : inverse); // of k
        Numbers place[3];
        for (int axis = 0; axis < 3; ++axis)
            place[axis] = m_narrowFrom[axis] + m_narrowAlong[axis] * k;
        Numbers depth = Numbers{} + std::numeric_limits<float>::max();
        for (const Bundle::Planes& side : bundle.sides) {
            const Numbers behind = side.offset - dot(side.normal, place);
            depth = behind < depth ? behind : depth;
        }
        const auto isPassed =
            (k < -slack) | (k > CN_toFloat(m_reach) + slack) | (depth < -(m_narrowSlack + slack * m_narrowLength));
        const CN_RayBoxes::Leaf& faces = m_tree.m_boxes.getLeaves()[leaf];
        for (int i = 0; i < faces.count; ++i)
            if (!isPassed[i])
                look(m_tree.m_faces[static_cast<std::size_t>(faces.first + i)]);
    }
    void look(const Face& face) {
        const double side = (m_from - face.point).dot(face.normal), approach = m_along.dot(face.normal);
        if (!(std::fabs(approach) > face.leastApproach * m_length))
            return ask(face);
        // From here to the hit in the polygon's own way, so that it comes out the same.
        const double k = -side / approach, slack = face.slack + m_slack;
        if (!(k >= -slack && k <= m_reach + slack))
            return;
        const Vector hit = m_from + m_along * k;
        const double inside = depth(face, hit);
        if (inside < -2 * slack)
            return;
        const bool isSure = face.isBoundedBySides && inside > CN_Polygon::s_dEdgeThickness + 2 * slack &&
                            ((side > 0 && approach < 0) || (side < 0 && approach > 0)) && !m_ray.filter &&
                            (m_ray.local || !m_ray.cull);
        if (!isSure)
            return ask(face);
        if (m_ray.cull && !(approach < 0))
            return;
        const Vector place = m_ray.local ? hit : m_tree.m_mesh->worldTransform(hit);
        if (const double length = (place - m_ray.origin).length(); length <= m_distance)
            take(face, place, length);
    }
    /// How far a place is behind the planes of the face's sides at least, negative in front of one.
    double depth(const Face& face, const Vector& place) const {
        const Side* const sides = m_tree.m_sides.data() + face.firstSide;
        double least = std::numeric_limits<double>::max();
        for (int i = 0; i < face.sides; ++i)
            least = std::min(least, sides[i].offset - place.dot(sides[i].normal));
        return least;
    }
    /// The polygon itself.
    void ask(const Face& face) {
        Vector place;
        double length = m_distance;
        if (m_ray.meets(*face.polygon, place, length))
            take(face, place, length);
    }
    void take(const Face& face, const Vector& place, double length) {
        // Of those as near it is the last in the list.
        if (m_nearest && length == m_distance && face.number < m_nearest->number)
            return;
        m_nearest = &face;
        m_point = place;
        m_distance = length;
        updateReach();
    }

    const CN_RayTree& m_tree;
    const CN_PolygonRay& m_ray;
    Vector m_from, m_along;  ///< the ray in the mesh's space
    double m_length, m_unit; ///< of the direction there and where it is given
    double m_slack;          ///< by which places on the ray may be off
    double m_reach = 0;      ///< what is farther is no nearer hit, in lengths of the direction
    const Face* m_nearest = nullptr;
    float m_narrowFrom[3], m_narrowAlong[3], m_narrowLength, m_narrowSlack; ///< in single precision
    Vector& m_point;                                                        ///< the caller's
    double& m_distance;                                                     ///< the caller's
};

CN_Polygon* CN_RayTree::findNearest(Vector& point, double& distance, const Vector& origin, const Vector& direction,
                                    bool cull, bool local, CN_RayFilter filter) const {
    const CN_PolygonRay ray{origin, direction, cull, local, filter};
    return Search(*this, ray, point, distance).run();
}

} // namespace cairn
