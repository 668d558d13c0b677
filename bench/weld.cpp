#include "bench/support/floor_mesh.h"
#include "bench/support/report.h"
#include "cairn/geometry/welding.h"

#ifdef CAIRN_BENCH_WITH_MESHOPTIMIZER
#include <meshoptimizer.h>
#endif
#ifdef CAIRN_BENCH_WITH_NANOFLANN
#include <nanoflann.hpp>
#endif

#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numeric>
#include <vector>

// Welding by the number of vertices: boxes that touch, in a block, each face with corners of its own, exactly where the next
// one's are, or a little off. Beside the finding of groups a k-d tree with a union of sets, and a remap that finds exactly
// equal vertices only, of which the first kind has no others. And the grouping of planes by the number of triangles of gentle
// hills, which all lie within some degrees and all differ.

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;

constexpr double RADIUS = 0.01;
constexpr int BOX_VERTICES = 24;

std::shared_ptr<bench::MeshLevel> makeBoxes(int vertices, bool isExact) {
    constexpr double OFF = 1.0 / 1024;
    static const int FACES[6][4] = {{0, 1, 3, 2}, {4, 6, 7, 5}, {0, 4, 5, 1}, {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 5, 7, 3}};
    static const Vector NORMALS[6] = {{0, 0, 1}, {0, 0, -1}, {0, 1, 0}, {0, -1, 0}, {1, 0, 0}, {-1, 0, 0}};
    auto level = std::make_shared<bench::MeshLevel>();
    CN_LevelEntityMesh& mesh = *level->mesh;
    const int boxes = std::max(1, vertices / BOX_VERTICES);
    const int across = std::max(1, static_cast<int>(std::cbrt(boxes)));
    int made = 0;
    for (int box = 0; box < boxes; ++box) {
        const Vector place(box % across, box / across % across, box / across / across);
        for (int face = 0; face < 6; ++face) {
            CN_Polygon& polygon = *mesh.addPolygon();
            for (const int corner : FACES[face]) {
                Vector at = place + Vector(corner & 1, corner >> 1 & 1, corner >> 2 & 1);
                if (!isExact)
                    at += Vector(made % 3, made / 3 % 3, made / 9 % 3) * OFF;
                polygon.addVertex(at);
                ++made;
            }
            polygon.constructEdges();
            polygon.setNormal(NORMALS[face]);
            polygon.setReferenceNormal(NORMALS[face]);
            polygon.updatePointOnPlane();
            const Vector u = polygon.getEdgeList().first()->dir();
            polygon.accessUVSpaces()[0].space = {{u, u.cross(NORMALS[face]), NORMALS[face]}, place, {}};
        }
    }
    mesh.triangulizeAll(true);
    return level;
}

#ifdef CAIRN_BENCH_WITH_NANOFLANN
struct Cloud {
    std::vector<Vector> points;

    std::size_t kdtree_get_point_count() const { return points.size(); }
    double kdtree_get_pt(std::size_t i, std::size_t axis) const { return points[i][static_cast<int>(axis)]; }
    template <class Box> bool kdtree_get_bbox(Box&) const { return false; }
};

std::size_t countByTree(const Cloud& cloud) {
    using Tree =
        nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, Cloud>, Cloud, 3, std::uint32_t>;
    const Tree tree(3, cloud, nanoflann::KDTreeSingleIndexAdaptorParams(10));
    std::vector<std::uint32_t> sets(cloud.points.size());
    std::iota(sets.begin(), sets.end(), 0u);
    const auto find = [&sets](std::uint32_t i) {
        while (sets[i] != i)
            i = sets[i] = sets[sets[i]];
        return i;
    };
    std::size_t clusters = cloud.points.size();
    std::vector<std::pair<std::uint32_t, double>> near;
    for (std::uint32_t i = 0; i < sets.size(); ++i) {
        const double query[3] = {cloud.points[i].x, cloud.points[i].y, cloud.points[i].z};
        near.clear();
        tree.radiusSearch(query, RADIUS * RADIUS, near, nanoflann::SearchParams(0, 0, false));
        for (const auto& [other, distance] : near) {
            const std::uint32_t a = find(i), b = find(other);
            clusters -= a != b;
            sets[std::max(a, b)] = std::min(a, b);
        }
    }
    return clusters;
}
#endif

#ifdef CAIRN_BENCH_WITH_MESHOPTIMIZER
std::size_t countByRemap(const std::vector<std::array<float, 3>>& points) {
    std::vector<unsigned int> remap(points.size());
    return meshopt_generateVertexRemap(remap.data(), nullptr, points.size(), points.data(), points.size(),
                                       sizeof(points[0]));
}
#endif

[[maybe_unused]] std::vector<Vector> placesOf(const CN_Mesh& mesh) {
    std::vector<Vector> places;
    for (const CN_Vertex& vertex : mesh.getVertexList())
        places.push_back(vertex.local);
    return places;
}

void addScenes(bench::Report& report, int n, bool isExact) {
    const std::string kind = isExact ? "exact" : "a little off";
    const std::shared_ptr<bench::MeshLevel> level = makeBoxes(n, isExact);
    report.add("groups, " + kind, "cairn", n, [level] {
        level->mesh->createWeldGroups(RADIUS);
        return weldGroups.size();
    });
#ifdef CAIRN_BENCH_WITH_NANOFLANN
    report.add("groups, " + kind, "nanoflann", n,
               [cloud = Cloud{placesOf(*level->mesh)}] { return countByTree(cloud); });
#endif
#ifdef CAIRN_BENCH_WITH_MESHOPTIMIZER
    if (isExact) {
        std::vector<std::array<float, 3>> points;
        for (const Vector& place : placesOf(*level->mesh))
            points.push_back({static_cast<float>(place.x), static_cast<float>(place.y), static_cast<float>(place.z)});
        report.add("groups, " + kind, "meshoptimizer", n, [points] { return countByRemap(points); });
    }
#endif
    report.addTimed("weld, " + kind, "cairn", n, [level](bench::Watch& watch) {
        CN_LevelEntityMesh mesh = *level->mesh;
        CString text;
        watch.timed([&] { mesh.temporaryCreateWeldGroupsAndWeldVertices(RADIUS, RADIUS, text); });
        return mesh.getVertexList().count();
    });
}

/// Hills of one size, in ever smaller triangles; their planes only.
std::shared_ptr<bench::MeshLevel> makeHills(int triangles) {
    constexpr double SIZE = 100;
    const int across = std::max(1, static_cast<int>(std::sqrt(triangles / 2)));
    const auto at = [across](int i, int j) {
        const double x = SIZE * i / across, z = SIZE * j / across;
        return Vector(x, 0.4 * std::sin(0.11 * x + 0.3) + 0.3 * std::cos(0.13 * z + 0.02 * x), z);
    };
    auto level = std::make_shared<bench::MeshLevel>();
    const auto add = [&level](const Vector& a, const Vector& b, const Vector& c) {
        CN_Polygon& polygon = *level->mesh->addPolygon();
        polygon.setNormal((b - a).cross(c - a).normalized());
        polygon.setPointOnPlane((a + b + c) / 3);
    };
    for (int i = 0; i < across; ++i)
        for (int j = 0; j < across; ++j) {
            add(at(i, j), at(i, j + 1), at(i + 1, j));
            add(at(i + 1, j), at(i, j + 1), at(i + 1, j + 1));
        }
    return level;
}

void addHills(bench::Report& report, int n) {
    report.add("planes, hills", "cairn", n, [level = makeHills(n)] {
        constexpr double APART = 0.001; // so that many groups are made
        CN_Mesh::PlaneGroups groups;
        CN_Mesh::PlaneGroupOfPolygon groupOfPolygon;
        CN_Mesh::s_matchPlanes(level->mesh, APART, groups, groupOfPolygon);
        return groups.size();
    });
}

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    using namespace cairn;
    bench::keepFreedMemory();
    report.peers({"nanoflann", "meshoptimizer"});
    constexpr double PEERS_FROM = 8000, REMAP_FROM = 240; // for fewer it is what tables cost that hold nothing yet
    for (const bool isExact : {true, false})
        for (const int n : bench::sizes({24, 240, 2400, 8000, 24000, 240000, 1000000}, 8000))
            addScenes(report, n, isExact);
    for (const int n : bench::sizes({3200, 12800, 51200}, 3200))
        addHills(report, n);
    report.limitGrowth("planes, hills", "cairn", 1.3);
    for (const std::string kind : {"exact", "a little off"}) {
        report.limitRatioTo("nanoflann", "groups, " + kind, "cairn", 0.25, PEERS_FROM);
        report.limitRatioTo("meshoptimizer", "groups, " + kind, "cairn", 5, REMAP_FROM);
        report.reasonTo(
            "meshoptimizer", "groups, " + kind, "cairn",
            "the peer joins exactly equal vertices by one hash; few vertices do not make up for tables and cells");
        report.limitGrowth("groups, " + kind, "cairn", 1.1);
        report.limitGrowth("weld, " + kind, "cairn", 1.25);
    }
}

static const cairn::bench::Scene SCENE(
    "weld",
    "Near corners of boxes grouped and welded by their number, exactly equal or a little off; planes of hills grouped.",
    measure);
