#include "bench/support/floor_mesh.h"
#include "bench/support/report.h"
#include "cairn/entities/polygon_group.h"

#include <memory>

// The shared normals of all corners of a floor of squares, by the number of polygons: without groups, in groups of a hundred
// that overlap, and all in one group, whose normals are shared.

namespace cairn {
namespace {

using Floor = std::shared_ptr<bench::MeshLevel>;

/// A floor whose polygons share vertices, in groups of so many; 0 for none.
Floor makeGroupedFloor(int n, int size) {
    auto level = std::make_shared<bench::MeshLevel>();
    CN_LevelEntityMesh& mesh = *level->mesh;
    const int across = static_cast<int>(std::sqrt(n));
    for (int z = 0; z <= across; ++z)
        for (int x = 0; x <= across; ++x)
            mesh.addVertex({static_cast<double>(x), (x * 7 + z * 3) % 5 * 0.1, static_cast<double>(z)});
    std::vector<CN_Polygon*> polygons;
    for (int z = 0; z < across; ++z)
        for (int x = 0; x < across; ++x) {
            CN_Polygon& polygon = *mesh.addPolygon();
            const int corner = z * (across + 1) + x, above = corner + across + 1;
            const int loop[] = {corner, above, above + 1, corner + 1};
            for (int i = 0; i < 4; ++i)
                polygon.addEdge(loop[i], loop[(i + 1) % 4], false);
            polygon.setNormal(CN_LevelEntity::Vector(0.1 * (x % 3), 1, 0.1 * (z % 3)).normalized());
            polygons.push_back(&polygon);
        }
    if (size == 0)
        return level;
    CN_LevelEntityPolygonGroup model;
    model.setSmooth(true);
    const int count = static_cast<int>(polygons.size());
    for (int first = 0; first < count; first += size - size / 10) {
        CN_LevelEntityPolygonGroup& group = *mesh.addNewPolygroup(&model, false);
        for (int i = first; i < std::min(first + size, count); ++i)
            group.addPolygon(polygons[static_cast<std::size_t>(i)]);
    }
    return level;
}

void addScenes(bench::Report& report, int n) {
    const struct {
        const char* scene;
        int size;
    } scenes[] = {{"flat", 0}, {"groups of 100", 100}, {"one group", n}};
    for (const auto& [scene, size] : scenes) {
        const Floor floor = makeGroupedFloor(n, size);
        report.addTimed(scene, "shared", n, [floor](bench::Watch& watch) {
            return watch.timed([&floor] { return floor->mesh->calculateSharedVertexNormals(false).size(); });
        });
        if (size == n)
            continue; // a copy for each polygon of all corners is n squared by its nature
        report.addTimed(scene, "a map for each polygon", n, [floor](bench::Watch& watch) {
            return watch.timed([&floor] {
                std::map<CN_Polygon*, CN_Mesh::VertexNormals> normals;
                floor->mesh->calculateVertexNormals(normals, false);
                return normals.size();
            });
        });
    }
}

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    using namespace cairn;
    report.peers({"a map for each polygon"});
    for (const int n : bench::sizes({1000, 10000, 100000}, 1000))
        addScenes(report, n);
    constexpr double LINEAR = 1.1; // with the logarithm of the maps
    for (const char* const scene : {"flat", "groups of 100", "one group"})
        report.limitGrowth(scene, "shared", LINEAR);
    for (const char* const scene : {"flat", "groups of 100", "one group"})
        report.reason(scene, "shared", "the small floor lies in the caches, the large ones do not");
}

static const cairn::bench::Scene
    SCENE("smooth_normals", "Shared normals of all corners of a floor, by its polygons; beside a map for each polygon.",
          measure);
