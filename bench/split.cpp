#include "bench/support/report.h"
#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"

#include <cmath>
#include <memory>
#include <vector>

// Cutting all polygons of a mesh by one plane, by their number, uniting what was cut, and finding the neighbours of all
// polygons. Every polygon of the first scene crosses the plane; of the second, a floor of squares, few do.

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;
using Plane = M_Plane3Template<double>;

void addQuad(CN_LevelEntityMesh& mesh, double x, double z, double width, double depth) {
    CN_Polygon& polygon = *mesh.addPolygon();
    for (const Vector& corner : {Vector(x, 0, z), {x, 0, z + depth}, {x + width, 0, z + depth}, {x + width, 0, z}})
        polygon.addVertex(corner);
    polygon.constructEdges();
    polygon.setNormal({0, 1, 0});
    polygon.setWorldNormal({0, 1, 0});
    polygon.setReferenceNormal({0, 1, 0});
    polygon.updatePointOnPlane();
    polygon.buildBoundingBox(true);
}

struct Level {
    CN_Document document;
    CN_LevelEntityMesh* mesh;

    Level() {
        document.createCairnLevelEntities();
        mesh = document.accessLevel()->getNewMesh();
    }
};

std::shared_ptr<Level> makePlanks(int n) {
    auto level = std::make_shared<Level>();
    for (int i = 0; i < n; ++i)
        addQuad(*level->mesh, 0, i * 0.25, 8, 0.25);
    return level;
}

std::shared_ptr<Level> makeFloor(int n) {
    auto level = std::make_shared<Level>();
    const int across = static_cast<int>(std::sqrt(n));
    for (int i = 0; i < n; ++i)
        addQuad(*level->mesh, i % across, i / across, 1, 1);
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
        const std::shared_ptr<Level> level = isCutByAll ? makePlanks(n) : makeFloor(n);
        report.addTimed(isCutByAll ? "cut all" : "cut few", "cairn", n, [level, plane](bench::Watch& watch) {
            CN_LevelEntityMesh mesh = *level->mesh;
            return watch.timed([&] { return cutAll(mesh, plane).size(); });
        });
    }
    const std::shared_ptr<Level> floor = makeFloor(n);
    report.addTimed("neighbours", "cairn", n, [floor](bench::Watch& watch) {
        return watch.timed([&floor] { return floor->mesh->findNeighbors().size(); });
    });
    report.addTimed("shared edges", "cairn", n, [floor](bench::Watch& watch) {
        watch.timed([&floor] { floor->mesh->createSharedEdgeLists(); });
        return floor->mesh->getPolygonList().first()->getSharedEdgeList().count();
    });
}

} // namespace
} // namespace cairn

int main(int argc, char** argv) {
    using namespace cairn;
    bench::Report report("split");
    for (const int n : bench::sizes({1000, 3162, 10000, 31623, 100000}, 3162))
        addScenes(report, n);
    for (const char* const scene : {"cut all", "cut few", "neighbours", "shared edges"})
        report.limitGrowth(scene, "cairn", 1.2);
    return report.run(argc, argv);
}
