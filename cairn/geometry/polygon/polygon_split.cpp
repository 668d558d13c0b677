#include "cairn/document/change_scope.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/system.h"
#include "cairn/geometry/exact_corners.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/planar/line_cut.h"
#include "cairn/geometry/planar/polygon2d.h"
#include "cairn/geometry/plane_line.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

namespace cairn {

namespace {

using Vector = M_Vector3Template<double>;
using Point = M_Vector2Template<double>;

constexpr double SNAP_TOLERANCE = 1e-5; // of the planar engine
constexpr double CLIP_MARGIN = 0.1;     // of the clip rectangle beyond the polygon
constexpr double LEAST_EXTENT = 0.0005; // of a side that is kept

/// The greatest less the least first coordinate; 0 without contours.
double extentOf(const gpc_polygon& area) {
    double low = std::numeric_limits<double>::infinity(), high = -low;
    for (int c = 0; c < area.num_contours; ++c)
        for (int i = 0; i < area.contour[c].num_vertices; ++i) {
            low = std::min(low, area.contour[c].vertex[i].x);
            high = std::max(high, area.contour[c].vertex[i].x);
        }
    return low <= high ? high - low : 0;
}

/// The line of the cut in the polygon's plane, and where an area lies along it and to its right. What is behind the cutting
/// plane lies to the right, as the polygon's space is left-handed against its normal.
class Cut {
  public:
    Cut(const Point& at, const Point& along) : m_at(at), m_along(along), m_right(along.y, -along.x) {}

    /// False where the numbers do not reach.
    bool measure(const gpc_polygon& area) {
        for (int c = 0; c < area.num_contours; ++c)
            for (int i = 0; i < area.contour[c].num_vertices; ++i) {
                const Point p = Point(area.contour[c].vertex[i].x, area.contour[c].vertex[i].y) - m_at;
                const double along = p.dot(m_along), right = p.dot(m_right);
                if (!std::isfinite(along) || !std::isfinite(right))
                    return false;
                m_low = std::min(m_low, along);
                m_high = std::max(m_high, along);
                m_leftmost = std::min(m_leftmost, right);
                m_rightmost = std::max(m_rightmost, right);
            }
        return true;
    }
    /// The sides without the clipper; false where that cannot be.
    bool cut(const gpc_polygon& area, gpc_polygon& behind, gpc_polygon& front) const {
        return CN_cutByLine(area, m_at, m_along, behind, front);
    }
    /// The sides of any area.
    void clip(const gpc_polygon& area, gpc_polygon& behind, gpc_polygon& front) const {
        gpc_free_polygon(&behind);
        gpc_free_polygon(&front);
        // A side that is far away has it all: a rectangle that reached to the line would only make the clipper's grid coarse.
        const gpc_polygon none;
        if (m_leftmost > CLIP_MARGIN) {
            gpc_polygon_clip(GPC_UNION, &area, &none, &behind);
        } else if (m_rightmost < -CLIP_MARGIN) {
            gpc_polygon_clip(GPC_UNION, &area, &none, &front);
        } else {
            gpc_polygon rectangle;
            makeRectangle(rectangle);
            gpc_polygon_clip(GPC_DIFF, &area, &rectangle, &front);
            gpc_polygon_clip(GPC_INT, &area, &rectangle, &behind);
        }
    }

  private:
    /// Covers what lies to the right; there is one, too, where nothing does.
    void makeRectangle(gpc_polygon& rectangle) const {
        const double width = std::max(m_rightmost, -std::numeric_limits<double>::min()) + CLIP_MARGIN;
        const Point start = m_at + m_along * (m_low - CLIP_MARGIN), end = m_at + m_along * (m_high + CLIP_MARGIN);
        const Point endRight = end + m_right * width, startRight = start + m_right * width;
        gpc_vertex corners[] = {
            {start.x, start.y}, {end.x, end.y}, {endRight.x, endRight.y}, {startRight.x, startRight.y}};
        const gpc_vertex_list contour{4, corners};
        gpc_add_contour(&rectangle, &contour, 0);
    }

    Point m_at, m_along, m_right; ///< a point of the line and unit directions
    double m_low = std::numeric_limits<double>::infinity(), m_high = -m_low;                ///< along the line
    double m_leftmost = std::numeric_limits<double>::infinity(), m_rightmost = -m_leftmost; ///< to the right of it
};

/// What the cut leaves on either side.
struct Halves {
    gpc_polygon behindArea, frontArea;
    CN_2DPolygon behind, front;

    Halves(CN_Polygon* source, const CN_Polygon::PlanarSpace& space)
        : behind(source, SNAP_TOLERANCE, space), front(source, SNAP_TOLERANCE, space) {}

    void make(const gpc_polygon& whole, const Cut& cut) {
        // What comes near enough to itself to be merged may have been cut in another way by the clipper.
        if (cut.cut(whole, behindArea, frontArea) && behind.createFrom(&behindArea) && front.createFrom(&frontArea))
            return;
        cut.clip(whole, behindArea, frontArea);
        behind.createFrom(&behindArea);
        front.createFrom(&frontArea);
    }
};

/// Makes the polygons of one side and appends them to `made`, and to the list unless it is null.
void outputSide(CN_2DPolygon& side, CN_Mesh* mesh, std::vector<CN_Polygon*>& made, std::vector<CN_Polygon*>* list) {
    const std::vector<CN_Polygon*> pieces = side.outputPolygons(mesh, false, true);
    made.insert(made.end(), pieces.begin(), pieces.end());
    if (list)
        list->insert(list->end(), pieces.begin(), pieces.end());
}

} // namespace

/// Adds a copy of the polygon's properties and outline to the mesh. In another mesh than its own it has corners of its own.
void CN_Polygon::addCopyTo(CN_Mesh& mesh) {
    std::map<int, int> placeThere; // in that other mesh
    const auto placeOf = [&](const CN_Edge& edge, int end) {
        if (&mesh == m_parent)
            return edge.index(end);
        const auto [it, isNew] = placeThere.emplace(edge.index(end), mesh.getVertexList().count());
        if (isNew)
            mesh.addVertex(edge.getLocal(end));
        return it->second;
    };
    const CN_ChangeScope change(mesh.getDocument());
    CN_Polygon* const copy = mesh.addPolygon();
    copy->copyProperties(this, true);
    for (const CN_Edge& edge : m_edgeList)
        copy->addEdge(placeOf(edge, 0), placeOf(edge, 1), false);
}

void CN_Polygon::split(const M_Plane3Template<double>& plane, CN_Mesh* mesh, std::vector<CN_Polygon*>* behindList,
                       std::vector<CN_Polygon*>* frontList, bool checkExtents) {
    const auto refuse = [this](const char* why) {
        throw new F_Exception(formatText("Polygon %d cannot be split: %s", static_cast<int>(m_polygonIndex), why));
    };
    if (!mesh)
        refuse("there is no mesh for the pieces");
    if (!plane.getNormal().isFinite() || !plane.getPoint().isFinite())
        refuse("the plane is not finite");
    const Vector normal = plane.getNormal().normalized();
    if (normal == Vector())
        refuse("the plane has no normal");
    const PlanarSpace space = getSpace();
    gpc_polygon whole;
    create_gpc_polygon(&whole, space);
    if (!m_normal.isFinite() || !gpc_is_finite(&whole))
        refuse("it is not finite");

    CN_Line line;
    if (!CN_findPlaneLine(getPlane(), {normal, plane.getPoint()}, line)) {
        addCopyTo(*mesh);
        return;
    }
    const Point along = space.toUVDirection(line.direction);
    Cut cut(space.toUV(line.point), along * (1 / along.length()));
    if (!cut.measure(whole))
        refuse("the plane is too far away");
    Halves halves(this, space);
    if (whole.num_contours > 0)
        halves.make(whole, cut);
    bool keepsBehind = true, keepsFront = true;
    if (checkExtents) {
        const double inside = extentOf(halves.behindArea), outside = extentOf(halves.frontArea);
        keepsBehind = inside >= LEAST_EXTENT;
        keepsFront = outside >= LEAST_EXTENT;
        if (!keepsBehind || !keepsFront)
            F_System::verbose("Extents: In %.9lf, out %.9lf\n", inside, outside);
    }
    const CN_ChangeScope change(mesh->getDocument());
    std::vector<CN_Polygon*> made;
    const int before = mesh->getVertexList().count();
    if (keepsBehind)
        outputSide(halves.behind, mesh, made, behindList);
    if (keepsFront)
        outputSide(halves.front, mesh, made, frontList);
    CN_ExactCorners exact;
    exact.addCorners(*this);
    exact.addCrossings(*this, {normal, plane.getPoint()});
    exact.restore(*mesh, before);
    for (CN_Polygon* const piece : made) {
        piece->m_lightmapMapping = m_lightmapMapping;
        piece->referenceLightmap();
    }
}

} // namespace cairn
