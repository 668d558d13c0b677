#include "bench/support/report.h"
#include "cairn/platform/handlers.h"
#include "tests/support/facets.h"
#include "tests/support/naive_bsp.h"

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef CAIRN_BENCH_WITH_CGAL
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Side_of_triangle_mesh.h>
#include <CGAL/Surface_mesh.h>

#include <map>
#include <tuple>
#endif

// The partition of space by a room's triangles: building it and asking what is inside. A maze of corridors has its faces in
// few planes, a room with a bumpy floor nearly each in its own, a ball is convex and as deep as it has faces. "as told" is the
// rule word for word, up to the size that it can be waited for.

namespace {

using namespace cairn;

using Vector = CN_Ngon::Vector;
using Room = std::shared_ptr<test::Facets>;

/// A number that differs where the trees do.
template <class Node, class Plane, class Child> double fingerprint(const Node* root, Plane plane, Child child) {
    double sum = 0, step = 1;
    std::vector<const Node*> open{root};
    while (!open.empty()) {
        const Node* const node = open.back();
        open.pop_back();
        step = step * 0.999 + 0.1;
        if (!node) {
            sum += step * 0.37;
            continue;
        }
        const Vector normal = plane(*node).getNormal();
        sum += step * (normal.x + 2 * normal.y + 3 * normal.z + 0.01 * plane(*node).getPoint().dot(normal));
        open.push_back(child(*node, false));
        open.push_back(child(*node, true));
    }
    return sum;
}

double fingerprint(const CN_BSPTree& tree) {
    return fingerprint(
        tree.getRoot(), [](const CN_BSPNode& node) { return node.getPlane(); },
        [](const CN_BSPNode& node, bool inside) { return inside ? node.getInsideChild() : node.getOutsideChild(); });
}

double fingerprint(const test::NaiveBSPNode& root) {
    return fingerprint(
        &root, [](const test::NaiveBSPNode& node) { return node.plane; },
        [](const test::NaiveBSPNode& node, bool inside) { return (inside ? node.inside : node.outside).get(); });
}

constexpr double ONCE_FROM = 5000; ///< triangles: a build takes so long that chance averages out

void addBuild(bench::Report& report, const std::string& scene, const Room& room, double toldUpTo) {
    const double n = room->size();
    benchmark::internal::Benchmark* told = nullptr;
    if (n <= toldUpTo)
        told = report.addTimed(scene, "as told", n, [room](bench::Watch& watch) {
            std::list<CN_Ngon> pieces = test::asPieces(room->ngons());
            test::NaiveBSPNode root;
            watch.timed([&] { return test::naiveBSP(std::move(pieces), root); });
            return fingerprint(root);
        });
    benchmark::internal::Benchmark* const row = report.addTimed(scene, "cairn", n, [room](bench::Watch& watch) {
        CN_BSPTree::NgonList ngons = room->ngons();
        CN_BSPTree tree;
        watch.timed([&] { return tree.build(ngons); });
        return fingerprint(tree);
    });
    for (benchmark::internal::Benchmark* const each : {told, row})
        if (each && n > ONCE_FROM)
            each->Repetitions(1);
}

#ifdef CAIRN_BENCH_WITH_CGAL
using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using Surface = CGAL::Surface_mesh<Kernel::Point_3>;

Surface surfaceOf(const test::Facets& room) {
    Surface surface;
    std::map<std::tuple<double, double, double>, Surface::Vertex_index> vertices;
    for (const test::Facets::Piece& piece : room.getPieces()) {
        std::vector<Surface::Vertex_index> face;
        for (const Vector& corner : piece.corners) {
            auto [vertex, isNew] = vertices.try_emplace({corner.x, corner.y, corner.z});
            if (isNew)
                vertex->second = surface.add_vertex(Kernel::Point_3(corner.x, corner.y, corner.z));
            face.push_back(vertex->second);
        }
        surface.add_face(face);
    }
    return surface;
}

struct PeerQuery {
    Surface surface;
    CGAL::Side_of_triangle_mesh<Surface, Kernel> side;

    explicit PeerQuery(const test::Facets& room) : surface(surfaceOf(room)), side(surface) {}
};
#endif

/// A thousand random points, half of them no higher than `low`. Those that may count as in a wall's plane are moved off its
/// grid lines, which only the maze has. In the bumpy room a face's plane passes close by nearly every point, and what slivers
/// the tree leaves out shows: about a thousandth of the points is told otherwise than by the peer, and is not compared.
void addQueries(bench::Report& report, const std::string& scene, const Room& room, const Vector& high, double low,
                bool isCompared) {
    const double n = room->size();
    std::mt19937 random(3);
    const auto upTo = [&random](double from, double to) {
        constexpr double CLEAR = 0.002;
        const double number = std::uniform_real_distribution<double>(from, to)(random);
        const double line = std::nearbyint(number);
        return std::fabs(number - line) > CLEAR ? number : line + 2 * CLEAR;
    };
    const auto tree = std::make_shared<CN_BSPTree>();
    CN_BSPTree::NgonList ngons = room->ngons();
    tree->build(ngons);
    auto points = std::make_shared<std::vector<Vector>>();
    for (int i = 0; i < 1000; ++i) {
        const double x = upTo(0, high.x), y = upTo(0, high.y);
        points->emplace_back(x, y, upTo(-0.2, i % 2 ? low : high.z));
    }
    const auto witness = [isCompared](int inside) { return isCompared ? inside : 0; };
#ifdef CAIRN_BENCH_WITH_CGAL
    const auto peer = std::make_shared<PeerQuery>(*room);
    report.add(scene, "CGAL", n, [peer, points, witness] {
        int inside = 0;
        for (const Vector& point : *points)
            inside += peer->side(Kernel::Point_3(point.x, point.y, point.z)) != CGAL::ON_UNBOUNDED_SIDE;
        benchmark::DoNotOptimize(inside);
        return witness(inside);
    });
#endif
    report.add(scene, "cairn", n, [tree, points, witness] {
        int inside = 0;
        for (const Vector& point : *points)
            inside += tree->inside(point);
        benchmark::DoNotOptimize(inside);
        return witness(inside);
    });
    report.add(scene, "node by node", n, [tree, points, witness] {
        int inside = 0;
        for (const Vector& point : *points)
            inside += tree->inside(tree->getRoot(), point, false);
        benchmark::DoNotOptimize(inside);
        return witness(inside);
    });
}

} // namespace

static void measure(cairn::bench::Report& report) {
    bench::keepFreedMemory();
    report.peers({"as told", "CGAL"});
    for (const int size : bench::sizes({100, 1000, 10000, 100000})) {
        const int cells = size == 100 ? 3 : size == 1000 ? 8 : size == 10000 ? 25 : 79;
        const int bumps = size == 100 ? 7 : size == 1000 ? 22 : size == 10000 ? 70 : 223;
        const test::CellRoom maze = test::maze(cells);
        const auto corridors = std::make_shared<test::Facets>(), bumpy = std::make_shared<test::Facets>();
        *corridors = maze.facets();
        *bumpy = test::bumpyRoom(bumps);
        constexpr double TOLD = 20000;
        addBuild(report, "maze", corridors, TOLD);
        addBuild(report, "bumpy room", bumpy, TOLD);
        addQueries(report, "maze, inside", corridors, {maze.end(0), maze.end(1), 1}, 1, true);
        addQueries(report, "bumpy room, inside", bumpy, Vector(1, 1, 1) * bumps, 1, false);
    }
    for (const int rings : bench::sizes({8, 16, 32, 64})) {
        const auto ball = std::make_shared<test::Facets>();
        *ball = test::ballRoom(rings, 2 * rings);
        addBuild(report, "ball", ball, 600);
    }
    report.limitRatio("maze", "cairn", 0.015, 8000, 20000);
    report.limitRatio("bumpy room", "cairn", 0.3, 8000, 20000);
    report.limitGrowth("maze", "cairn", 1.3);
    report.limitGrowth("bumpy room", "cairn", 1.6);
    report.limitGrowth("ball", "cairn", 2.1);
    for (const char* const scene : {"maze", "bumpy room"})
        report.reason(scene, "cairn",
                      "the pieces of the largest room lie outside of the caches, and each level of its "
                      "tree goes through all of them");
    for (const char* const scene : {"maze, inside", "bumpy room, inside"}) {
        report.limitRatioTo("CGAL", scene, "cairn", 0.12);
        report.reasonTo("CGAL", scene, "cairn", "in the smallest room the peer has few boxes to look at, too");
    }
}

static const cairn::bench::Scene
    SCENE("bsp",
          "The partition of space by a room's triangles, and what is inside of it: mazes have few planes, bumpy rooms "
          "one a triangle, balls are as deep as they have triangles.",
          measure);
