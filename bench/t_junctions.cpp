#include "bench/support/report.h"
#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/mesh_entity.h"

#include <cmath>
#include <memory>

// Finding and mending the corners that lie on edges of other polygons, and finding the polygons that share edges then, by the
// number of polygons: a brick wall, in which each brick's corners lie on the long edges of the rows above and below, and one
// long kerb along all bricks of a row.

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;

constexpr double TOLERANCE = 0.001;

void addQuad(CN_LevelEntityMesh& mesh, double x, double z, double width, double depth) {
    CN_Polygon& polygon = *mesh.addPolygon();
    for (const Vector& corner : {Vector(x, 0, z), {x, 0, z + depth}, {x + width, 0, z + depth}, {x + width, 0, z}})
        polygon.addVertex(corner);
    polygon.constructEdges();
    polygon.setNormal({0, 1, 0});
    polygon.setWorldNormal({0, 1, 0});
    polygon.setReferenceNormal({0, 1, 0});
    polygon.updatePointOnPlane();
}

struct Level {
    CN_Document document;
    CN_LevelEntityMesh* mesh;

    Level() {
        document.createCairnLevelEntities();
        mesh = document.accessLevel()->getNewMesh();
    }
};

std::shared_ptr<Level> makeWall(int bricks) {
    auto level = std::make_shared<Level>();
    const int across = static_cast<int>(std::sqrt(bricks));
    for (int i = 0; i < bricks; ++i) {
        const int row = i / across;
        addQuad(*level->mesh, i % across + (row % 2 ? 0.5 : 0), row * 0.5, 1, 0.5);
    }
    return level;
}

std::shared_ptr<Level> makeKerb(int bricks) {
    auto level = std::make_shared<Level>();
    addQuad(*level->mesh, 0, -1, bricks, 1);
    for (int i = 0; i < bricks - 1; ++i)
        addQuad(*level->mesh, i, 0, 1, 0.5);
    return level;
}

/// Finding and mending, and finding the neighbours of all polygons in what is mended then.
void addScenes(bench::Report& report, const std::string& scene, int n, std::shared_ptr<Level> (*make)(int)) {
    const std::shared_ptr<Level> level = make(n);
    report.addTimed(scene, "cairn", n, [level](bench::Watch& watch) {
        CN_LevelEntityMesh mesh = *level->mesh;
        watch.timed([&mesh] { mesh.createVerticesInTJunctions(TOLERANCE); });
        return mesh.getVertexList().count();
    });
    auto mended = std::make_shared<CN_LevelEntityMesh>(*level->mesh);
    mended->createVerticesInTJunctions(TOLERANCE);
    mended->transform();
    report.addTimed(scene + ", neighbours", "cairn", n, [level, mended](bench::Watch& watch) {
        watch.timed([&mended] { mended->createSharedEdgeLists(); });
        return mended->getPolygonList().first()->getSharedEdgeList().count();
    });
}

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    using namespace cairn;
    report.repeat(3);
    for (const int n : bench::sizes({1000, 3162, 10000, 31623, 100000}, 3162)) {
        addScenes(report, "brick wall", n, makeWall);
        addScenes(report, "kerb", n, makeKerb);
    }
    for (const char* const scene : {"brick wall", "kerb", "brick wall, neighbours", "kerb, neighbours"})
        report.limitGrowth(scene, "cairn", 1.2);
}

static const cairn::bench::Scene SCENE("t_junctions",
                                       "T-junctions mended in a brick wall and along one edge of a kerb, by the number "
                                       "of polygons, and what then touches.",
                                       measure);
