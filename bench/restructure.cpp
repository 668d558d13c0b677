#include "bench/support/floor_mesh.h"
#include "bench/support/report.h"
#include "tests/support/naive_restructuring.h"

#include <memory>
#include <vector>

// Meshes cut in two, joined and asked whether they are closed, by the number of polygons; beside it, where that ends, the
// walk over all pairs of polygons and all vertices. The mesh is two square tubes with open ends side by side.

namespace cairn {
namespace {

using Level = std::shared_ptr<bench::MeshLevel>;
using Vector = M_Vector3Template<double>;

void addSide(CN_LevelEntityMesh& mesh, const int (&corners)[4]) {
    CN_Polygon& polygon = *mesh.addPolygon();
    for (int i = 0; i < 4; ++i)
        polygon.addEdge(corners[i], corners[(i + 1) % 4], false);
    const CN_Polygon::EdgeList& edges = polygon.getEdgeList();
    const Vector u = edges[0].dir().normalized(), normal = edges[0].dir().cross(edges[1].dir()).normalized();
    polygon.setNormal(normal);
    polygon.setReferenceNormal(normal);
    polygon.updatePointOnPlane();
    polygon.accessUVSpaces()[0].space = {{u, u.cross(normal), normal}, edges[0].getLocal(0), {}};
}

Level makeTubes(int n) {
    auto level = std::make_shared<bench::MeshLevel>();
    CN_LevelEntityMesh& mesh = *level->mesh;
    const int sections = n / 8;
    for (const double x : {0.0, 10.0}) {
        const int begin = mesh.getVertexList().count();
        for (int i = 0; i <= sections; ++i)
            for (const Vector& corner : {Vector(x, 0, i), Vector(x, 3, i), Vector(x + 4, 3, i), Vector(x + 4, 0, i)})
                mesh.addVertex(corner);
        for (int near = begin; near < begin + 4 * sections; near += 4)
            for (int corner = 0; corner < 4; ++corner) {
                const int next = (corner + 1) % 4;
                addSide(mesh, {near + corner, near + next, near + 4 + next, near + 4 + corner});
            }
    }
    mesh.handleOwnHierarchy();
    mesh.triangulizeAll(true);
    for (CN_Polygon& polygon : mesh.accessPolygonList())
        polygon.buildBoundingBox(true);
    return level;
}

void discard(CN_Mesh* mesh) {
    mesh->updateMaterialRefCounts(false);
    mesh->getParent()->remove(mesh);
    delete mesh;
}

void addNaiveScenes(bench::Report& report, int n, const Level& level) {
    CN_LevelEntityMesh* const mesh = level->mesh;
    report.addTimed("walk", "pair by pair", n, [level, mesh](bench::Watch& watch) {
        return watch.timed([&] { return test::naiveSeparated(*mesh, mesh->accessPolygonList().first()); }).rest.size();
    });
    report.addTimed("join", "vertex by vertex, outlines alone", n, [level, mesh](bench::Watch& watch) {
        std::vector<const CN_Polygon*> polygons;
        for (const CN_Polygon& polygon : mesh->getPolygonList())
            polygons.push_back(&polygon);
        CN_LevelEntityMesh joined;
        watch.timed([&] { test::naiveAddOutlines(joined, polygons); });
        return joined.getVertexList().count();
    });
    report.addTimed("connected", "pair by pair", n, [level, mesh](bench::Watch& watch) {
        return watch.timed([mesh] { return test::naiveOpenPolygons(*mesh).size(); });
    });
}

void addScenes(bench::Report& report, int n) {
    constexpr int PAIRS_UP_TO = 1000;
    const Level level = makeTubes(n);
    CN_LevelEntityMesh* const mesh = level->mesh;
    if (n <= PAIRS_UP_TO)
        addNaiveScenes(report, n, level);
    report.addTimed("walk", "cairn", n, [level, mesh](bench::Watch& watch) {
        F_DLList<CN_Polygon*> reached, rest;
        watch.timed([&] { return mesh->separated(mesh->accessPolygonList().first(), reached, rest); });
        return rest.count();
    });
    report.addTimed("separate", "cairn", n, [level, mesh](bench::Watch& watch) {
        CN_Polygon* const start = mesh->accessPolygonList().first();
        F_DLList<CN_Polygon*> reached, rest;
        mesh->separated(start, reached, rest);
        const auto [a, b] = watch.timed([&] { return mesh->separate(start, reached, rest, 0.5); });
        const int count = b->getPolygonList().count();
        discard(a);
        discard(b);
        return count;
    });
    report.addTimed("join", "cairn", n, [level, mesh](bench::Watch& watch) {
        CN_LevelEntityMesh joined;
        watch.timed([&] { joined.join(mesh); });
        return joined.getVertexList().count();
    });
    report.addTimed("connected", "cairn", n, [level, mesh](bench::Watch& watch) {
        std::set<CN_Polygon*> open;
        watch.timed([&] { return mesh->connected(&open); });
        return open.size();
    });
}

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    using namespace cairn;
    bench::keepFreedMemory();
    report.peers({"pair by pair", "vertex by vertex, outlines alone"});
    for (const int n : bench::sizes({1000, 10000, 100000}, 1000))
        addScenes(report, n);
    for (const char* const scene : {"walk", "separate", "join", "connected"})
        report.limitGrowth(scene, "cairn", 1.2);
}

static const cairn::bench::Scene SCENE("restructure",
                                       "Meshes cut in two, joined and asked whether they are closed, by their "
                                       "polygons; beside the question put to every pair.",
                                       measure);
