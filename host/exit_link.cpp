#include "host/exit_link.h"

#include "cairn/entities/portal.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/validate.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

namespace cairn::host {

namespace {

using Vector = CN_LevelEntity::Vector;

/// Lays points of the world into a plane.
struct PlaneAxes {
    Vector origin, u, v;

    explicit PlaneAxes(const CN_Polygon& polygon) : origin(polygon.getEdgeList().first()->getWorld(0)) {
        const Vector n = polygon.getWorldNormal();
        // The axis that the normal leans on least.
        Vector axis;
        axis[std::abs(n.x) <= std::abs(n.y) && std::abs(n.x) <= std::abs(n.z) ? 0
             : std::abs(n.y) <= std::abs(n.z)                                 ? 1
                                                                              : 2] = 1;
        u = axis.cross(n).normalized();
        v = n.cross(u);
    }
    gpc_vertex at(const Vector& point) const { return {(point - origin).dot(u), (point - origin).dot(v)}; }
};

void layOut(const CN_Polygon& polygon, const PlaneAxes& axes, gpc_polygon& area) {
    std::vector<gpc_vertex> contour;
    const auto close = [&] {
        const gpc_vertex_list list{static_cast<int>(contour.size()), contour.data()};
        if (!contour.empty())
            gpc_add_contour(&area, &list, area.num_contours > 0 ? 1 : 0);
        contour.clear();
    };
    int end = -1;
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        if (edge.index(0) != end)
            close();
        contour.push_back(axes.at(edge.getWorld(0)));
        end = edge.index(1);
    }
    close();
}

/// The area of a clipping's result: outlines less holes.
double areaOf(const gpc_polygon& polygon) {
    double sum = 0;
    for (int i = 0; i < polygon.num_contours; ++i) {
        const gpc_vertex_list& contour = polygon.contour[i];
        double twice = 0;
        for (int k = 0; k < contour.num_vertices; ++k) {
            const gpc_vertex &a = contour.vertex[k], &b = contour.vertex[(k + 1) % contour.num_vertices];
            twice += a.x * b.y - a.y * b.x;
        }
        sum += std::abs(twice) / 2 * (polygon.hole[i] ? -1 : 1);
    }
    return sum;
}

/// Takes over what lies farther off the plane than what is known.
void measureGap(const CN_Polygon& plane, const CN_Polygon& polygon, ExitPair& pair) {
    const Vector point = plane.getEdgeList().first()->getWorld(0), normal = plane.getWorldNormal();
    for (const CN_Edge& edge : polygon.getEdgeList()) {
        const double distance = (edge.getWorld(0) - point).dot(normal);
        if (!(std::abs(distance) > pair.gap))
            continue;
        pair.gap = std::abs(distance);
        pair.gapFrom = edge.getWorld(0);
        pair.gapTo = edge.getWorld(0) - normal * distance;
    }
}

/// Along the outlines: areas may differ by as much as corners may be off.
double lengthOf(const CN_Polygon& polygon) {
    double length = 0;
    for (const CN_Edge& edge : polygon.getEdgeList())
        length += edge.dir().length();
    return length;
}

void makeExit(CN_Polygon& polygon, CN_Polygon& partner, const std::string& name) {
    CN_Mesh& mesh = *polygon.getParent();
    polygon.setMaterial(nullptr);
    polygon.setPolyMode(PT_EXIT);
    polygon.setExitDestination(&partner);
    auto made = std::make_unique<CN_LevelEntityPortal>();
    CN_LevelEntityPortal& portal = *made;
    portal.setDocument(mesh.getDocument());
    portal.setName(CString(name), true);
    mesh.addOwned(std::move(made), false);
    portal.setPortalPolygon(&polygon);
    // As of any mesh that has exits; a load would say so.
    CN_MeshProperties& properties = mesh.accessMeshProperties();
    properties.collideA = properties.collideB = properties.collideC = true;
    mesh.invalidateMapping();
    mesh.invalidateObject(true);
}

} // namespace

bool ExitPair::isApart() const { return !(gap <= CN_LEVEL_TOLERANCE); }

bool ExitPair::isAskew() const {
    constexpr double STRAIGHT = 179; // a degree off, as where polygons count as back to back
    return !(angle >= STRAIGHT);
}

bool ExitPair::isUneven() const {
    return !(std::abs(areas[0] - overlap) <= slack && std::abs(areas[1] - overlap) <= slack);
}

std::string ExitPair::gapText() const { return fmt::format("one lies up to {:g} off the other's plane", gap); }

std::string ExitPair::angleText() const {
    return fmt::format("their normals make {:g} degrees in place of 180", angle);
}

std::string ExitPair::areaText() const {
    return fmt::format("they cover {:g} and {:g}, of which they share {:g}", areas[0], areas[1], overlap);
}

ExitPair compareExits(const CN_Polygon& a, const CN_Polygon& b) {
    ExitPair pair;
    if (a.getEdgeList().empty() || b.getEdgeList().empty()) {
        pair.angle = 0;
        return pair;
    }
    const Vector n = a.getWorldNormal(), m = b.getWorldNormal();
    pair.angle = std::atan2(n.cross(m).length(), n.dot(m)) * 180 / std::numbers::pi;
    measureGap(a, b, pair);
    measureGap(b, a, pair);
    pair.areas[0] = CN_areaVector(a).length();
    pair.areas[1] = CN_areaVector(b).length();
    pair.slack = CN_LEVEL_TOLERANCE * (lengthOf(a) + lengthOf(b));
    const PlaneAxes axes(a);
    gpc_polygon first, second, both;
    layOut(a, axes, first);
    layOut(b, axes, second);
    gpc_polygon_clip(GPC_INT, &first, &second, &both);
    pair.overlap = areaOf(both);
    return pair;
}

std::map<const CN_Polygon*, std::string> findMeetingExits(const CN_Mesh& mesh) {
    std::map<const CN_Polygon*, std::string> meeting;
    for (const CN_Polygon& exit : mesh.getPolygonList())
        if (exit.isExitPolygon() && compareExits(exit, *exit.getExitDestination()).matches())
            meeting.emplace(&exit, toShownText(toString(exit.getExitName())));
    return meeting;
}

void linkExits(CN_Polygon& a, CN_Polygon& b, const std::string& name) {
    makeExit(a, b, name);
    makeExit(b, a, name);
}

} // namespace cairn::host
