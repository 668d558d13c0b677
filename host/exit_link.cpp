#include "host/exit_link.h"

#include "cairn/entities/portal.h"
#include "cairn/geometry/mesh/mesh.h"
#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/validate.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>

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

double farthestFrom(const CN_Polygon& plane, const CN_Polygon& polygon) {
    double farthest = 0;
    const Vector point = plane.getEdgeList().first()->getWorld(0);
    for (const CN_Edge& edge : polygon.getEdgeList())
        farthest = std::max(farthest, std::abs((edge.getWorld(0) - point).dot(plane.getWorldNormal())));
    return farthest;
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
    mesh.invalidateMapping();
    mesh.invalidateObject(true);
}

} // namespace

bool ExitPair::matches() const { return findFaults().empty(); }

std::vector<std::string> ExitPair::findFaults() const {
    constexpr double FACING = -0.9999; // less than a degree off
    std::vector<std::string> faults;
    if (!(facing <= FACING))
        faults.push_back(fmt::format("their normals make {:g} degrees, not 180",
                                     std::acos(std::clamp(facing, -1.0, 1.0)) * 180 / 3.14159265358979323846));
    if (!(gap <= CN_LEVEL_TOLERANCE))
        faults.push_back(fmt::format("one lies up to {:g} off the other's plane", gap));
    if (!(std::abs(areas[0] - overlap) <= slack && std::abs(areas[1] - overlap) <= slack))
        faults.push_back(
            fmt::format("their areas are {:g} and {:g}, of which they share {:g}", areas[0], areas[1], overlap));
    return faults;
}

ExitPair compareExits(const CN_Polygon& a, const CN_Polygon& b) {
    ExitPair pair;
    if (a.getEdgeList().empty() || b.getEdgeList().empty())
        return pair;
    pair.facing = a.getWorldNormal().dot(b.getWorldNormal());
    pair.gap = std::max(farthestFrom(a, b), farthestFrom(b, a));
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

void linkExits(CN_Polygon& a, CN_Polygon& b, const std::string& name) {
    makeExit(a, b, name);
    makeExit(b, a, name);
}

} // namespace cairn::host
