#include "bench/support/floor_mesh.h"
#include "bench/support/report.h"

#include <memory>

// Finding all that touch: the shared edges, neighbours and passages of all polygons of a floor of squares, over which exits
// stand along every tenth row, by the number of polygons; beside it, where that ends, the question put to every pair.

namespace cairn {
namespace {

using Floor = std::shared_ptr<bench::MeshLevel>;

/// A floor with exits upright along some of the lines between rows, which shut off passages.
Floor makeFloorWithExits(int n) {
    constexpr int SPACING = 10;
    Floor level = bench::makeFloor(n);
    CN_LevelEntityMesh& mesh = *level->mesh;
    const int across = static_cast<int>(std::sqrt(n));
    CN_Polygon* before = nullptr;
    for (int row = SPACING; row < across; row += SPACING) {
        CN_Polygon& exit = *mesh.addPolygon();
        const double z = row, end = across;
        for (const CN_LevelEntity::Vector& corner :
             {CN_LevelEntity::Vector(0, 0, z), {0, 2, z}, {end, 2, z}, {end, 0, z}})
            exit.addVertex(corner);
        exit.constructEdges();
        exit.setNormal({0, 0, -1});
        exit.setWorldNormal({0, 0, -1});
        exit.updatePointOnPlane();
        exit.buildBoundingBox(true);
        if (before) {
            before->setExitDestination(&exit);
            exit.setExitDestination(before);
        }
        before = before ? nullptr : &exit;
    }
    return level;
}

template <class Ask> std::size_t countPairs(CN_LevelEntityMesh& mesh, Ask&& ask) {
    std::size_t pairs = 0;
    for (CN_Polygon& a : mesh.accessPolygonList())
        for (CN_Polygon& b : mesh.accessPolygonList())
            pairs += &a != &b && ask(a, b);
    return pairs;
}

void addScenes(bench::Report& report, int n) {
    constexpr int PAIRS_UP_TO = 1000;
    const Floor floor = makeFloorWithExits(n);
    CN_LevelEntityMesh* const mesh = floor->mesh;
    if (n <= PAIRS_UP_TO) {
        report.addTimed("neighbours", "pair by pair", n, [floor, mesh](bench::Watch& watch) {
            return watch.timed(
                [&] { return countPairs(*mesh, [](CN_Polygon& a, CN_Polygon& b) { return a.neighbor(&b); }); });
        });
        report.addTimed("passages", "pair by pair", n, [floor, mesh](bench::Watch& watch) {
            return watch.timed(
                [&] { return countPairs(*mesh, [](CN_Polygon& a, CN_Polygon& b) { return a.jumpable(&b); }); });
        });
    }
    report.addTimed("neighbours", "cairn", n, [floor, mesh](bench::Watch& watch) {
        return watch.timed([mesh] { return mesh->findNeighbors().size(); });
    });
    report.addTimed("passages", "cairn", n, [floor, mesh](bench::Watch& watch) {
        return watch.timed([mesh] { return mesh->findPassages().size(); });
    });
    report.addTimed("shared edges", "cairn", n, [floor, mesh](bench::Watch& watch) {
        watch.timed([mesh] { mesh->createSharedEdgeLists(); });
        return mesh->getPolygonList().first()->getSharedEdgeList().count();
    });
}

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    using namespace cairn;
    report.peers({"pair by pair"});
    for (const int n : bench::sizes({1000, 10000, 100000}, 1000))
        addScenes(report, n);
    for (const char* const scene : {"neighbours", "passages", "shared edges"})
        report.limitGrowth(scene, "cairn", 1.2);
}

static const cairn::bench::Scene SCENE("adjacency",
                                       "Shared edges, neighbours and passages of all polygons of a floor, by their "
                                       "number; beside the question put to every pair.",
                                       measure);
