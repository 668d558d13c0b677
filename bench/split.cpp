#include "bench/support/floor_mesh.h"
#include "bench/support/report.h"

#include <memory>
#include <vector>

// Cutting all polygons of a mesh by one plane, by their number. Every polygon of the first scene crosses the plane; of the
// second, a floor of squares, few do.

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

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    using namespace cairn;
    for (const int n : bench::sizes({1000, 3162, 10000, 31623, 100000}, 3162))
        addScenes(report, n);
    for (const char* const scene : {"cut all", "cut few"})
        report.limitGrowth(scene, "cairn", 1.2);
}

static const cairn::bench::Scene
    SCENE("split", "All polygons of a mesh cut by one plane, by their number: all cross it, or few do.", measure);
