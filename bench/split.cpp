#include "bench/support/floor_mesh.h"
#include "bench/support/report.h"
#include "cairn/geometry/planar/gpc.h"
#include "cairn/geometry/planar/line_cut.h"

#include <cmath>
#include <memory>
#include <random>
#include <vector>

// Cutting all polygons of a mesh by one plane, by their number. Every polygon of the first scene crosses the plane; of the
// second, a floor of squares, few do. And the cut alone of one ragged outline by a line, by its corners: both sides of it, by
// way of the clipper and by a walk. A walk that makes one side, and trusts the outline not to cross itself, was measured at
// 0.12 of the clipper's time for a quad and at 0.0006 for 4,096 corners: that is the limit.

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;
using Plane = M_Plane3Template<double>;

std::shared_ptr<bench::MeshLevel> makePlanks(int n) {
    auto level = std::make_shared<bench::MeshLevel>();
    for (int i = 0; i < n; ++i)
        bench::addQuad(*level->mesh, 0, i * 0.25, 8, 0.25);
    return level;
}

/// Cuts all polygons and gives the pieces: behind and in front, side by side.
std::vector<CN_Polygon*> cutAll(CN_LevelEntityMesh& mesh, const Plane& plane) {
    std::vector<CN_Polygon*> sources, pieces;
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        sources.push_back(&polygon);
    for (CN_Polygon* const source : sources) {
        source->split(plane, &mesh, &pieces, &pieces, true);
        mesh.deletePolygon(source);
    }
    return pieces;
}

void addScenes(bench::Report& report, int n) {
    const Plane plane(Vector(1, 0, 0.0001).normalized(), {3.5, 0, 0});
    for (const bool isCutByAll : {true, false}) {
        const std::shared_ptr<bench::MeshLevel> level = isCutByAll ? makePlanks(n) : bench::makeFloor(n);
        report.addTimed(isCutByAll ? "cut all" : "cut few", "cairn", n, [level, plane](bench::Watch& watch) {
            CN_LevelEntityMesh mesh = *level->mesh;
            return watch.timed([&] { return cutAll(mesh, plane).size(); });
        });
    }
}

/// A star with each corner in a sector of its own.
std::shared_ptr<gpc_polygon> makeStar(int corners) {
    std::mt19937 random(5);
    std::vector<gpc_vertex> outline;
    for (int i = 0; i < corners; ++i) {
        const double part = std::uniform_real_distribution<double>(0, 0.4)(random);
        const double radius = std::uniform_real_distribution<double>(0.5, 2)(random);
        const double angle = -(i + part) * 2 * 3.141592653589793 / corners;
        outline.push_back({std::cos(angle) * radius, std::sin(angle) * radius});
    }
    auto star = std::make_shared<gpc_polygon>();
    const gpc_vertex_list contour{corners, outline.data()};
    gpc_add_contour(star.get(), &contour, 0);
    return star;
}

/// The witness is the number of pieces.
void addOutlines(bench::Report& report, int corners) {
    const std::shared_ptr<gpc_polygon> star = makeStar(corners), rectangle = std::make_shared<gpc_polygon>();
    gpc_vertex right[] = {{0.1, -3}, {0.1, 3}, {3, 3}, {3, -3}};
    const gpc_vertex_list contour{4, right};
    gpc_add_contour(rectangle.get(), &contour, 0);
    report.add("outline", "clipper", corners, [star, rectangle] {
        gpc_polygon inside, outside;
        gpc_polygon_clip(GPC_INT, star.get(), rectangle.get(), &inside);
        gpc_polygon_clip(GPC_DIFF, star.get(), rectangle.get(), &outside);
        return inside.num_contours + outside.num_contours;
    });
    report.add("outline", "cairn", corners, [star] {
        gpc_polygon inside, outside;
        return CN_cutByLine(*star, {0.1, 0}, {0, 1}, inside, outside) ? inside.num_contours + outside.num_contours : -1;
    });
}

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    using namespace cairn;
    bench::keepFreedMemory();
    for (const int n : bench::sizes({1000, 3162, 10000, 31623, 100000}, 3162))
        addScenes(report, n);
    for (const int corners : bench::sizes({4, 16, 64, 256, 1024, 4096}))
        addOutlines(report, corners);
    report.limitRatio("outline", "cairn", 0.12, 0, 4);
    report.limitRatio("outline", "cairn", 0.0006, 4096);
    report.limitRatio("outline", "cairn", 0.25);
    report.reason(
        "outline", "cairn",
        "the walk that was measured made one side and trusted the outline; this one makes both, and looks first "
        "whether the outline crosses itself, for which it sorts its edges");
    report.limitGrowth("outline", "cairn", 1.2);
    for (const char* const scene : {"cut all", "cut few"})
        report.limitGrowth(scene, "cairn", 1.2);
}

static const cairn::bench::Scene
    SCENE("split", "All polygons of a mesh cut by one plane, by their number: all cross it, or few do.", measure);
