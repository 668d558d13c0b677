#include "bench/support/floor_mesh.h"
#include "bench/support/report.h"

#include <memory>
#include <vector>

// Pushing one wall of a room to and fro, by the number of the room's polygons, beside the time that it takes to triangulate all
// of them. Blocks hang in the first room and stand on the floor of the second, which is one polygon with a hole for each; in
// the third there are steps, each a part of both walls beside them; and the fourth is a ring of walls, so that
// floor and ceiling are half of all the corners there are, and are triangulated anew with every push.

namespace cairn {
namespace {

using Vector = M_Vector3Template<double>;
using Loop = std::vector<int>;

/// A level whose mesh is made of loops of vertices.
class Builder {
  public:
    int addVertex(const Vector& place) {
        m_mesh.addVertex(place);
        return m_mesh.getVertexList().count() - 1;
    }
    CN_Polygon& addPolygon(const std::vector<Loop>& loops) {
        CN_Polygon& polygon = *m_mesh.addPolygon();
        Vector area;
        for (const Loop& loop : loops)
            for (std::size_t i = 0; i < loop.size(); ++i) {
                const int a = loop[i], b = loop[(i + 1) % loop.size()];
                polygon.addEdge(a, b, false);
                area += m_mesh.getVertexList()[a].local.cross(m_mesh.getVertexList()[b].local);
            }
        const Vector normal = area.normalized(), u = polygon.getEdgeList().first()->dir().normalized();
        polygon.setNormal(normal);
        polygon.setReferenceNormal(normal);
        polygon.updatePointOnPlane();
        polygon.setNumVertices(polygon.getEdgeList().count());
        polygon.accessUVSpaces()[0].space = {{u, u.cross(normal), normal}, polygon.getPointOnPlane(), {}};
        return polygon;
    }
    /// Sides between a loop and one above it, which look to the loop's right.
    void addSides(const Loop& bottom, const Loop& top) {
        for (std::size_t i = 0; i < bottom.size(); ++i) {
            const std::size_t next = (i + 1) % bottom.size();
            addPolygon({{bottom[i], top[i], top[next], bottom[next]}});
        }
    }
    Loop addRectangle(double x, double z, double width, double depth, double y) {
        return {addVertex({x, y, z}), addVertex({x, y, z + depth}), addVertex({x + width, y, z + depth}),
                addVertex({x + width, y, z})};
    }
    static Loop reversed(const Loop& loop) { return {loop.rbegin(), loop.rend()}; }

    std::shared_ptr<bench::MeshLevel> level = std::make_shared<bench::MeshLevel>();

  private:
    CN_LevelEntityMesh& m_mesh = *level->mesh;
};

/// A room of four walls, and blocks in rows: its first polygon is the wall x = 0.
std::shared_ptr<bench::MeshLevel> makeBlocks(int n, bool areStanding) {
    Builder builder;
    const int blocks = (n - 6) / (areStanding ? 5 : 6), across = static_cast<int>(std::ceil(std::sqrt(blocks)));
    const double size = 2 * across + 4;
    const Loop floor = builder.addRectangle(0, 0, size, size, 0), ceiling = builder.addRectangle(0, 0, size, size, 4);
    builder.addSides(floor, ceiling);
    builder.addPolygon({Builder::reversed(ceiling)});
    std::vector<Loop> floors{floor};
    for (int i = 0; i < blocks; ++i) {
        const double x = 2 + 2 * (i % across), z = 2 + 2 * (i / across);
        const Loop bottom = Builder::reversed(builder.addRectangle(x, z, 1, 1, areStanding ? 0 : 1));
        const Loop top = Builder::reversed(builder.addRectangle(x, z, 1, 1, 2));
        builder.addSides(bottom, top);
        builder.addPolygon({Builder::reversed(top)});
        if (areStanding)
            floors.push_back(bottom);
        else
            builder.addPolygon({bottom});
    }
    builder.addPolygon(floors);
    return builder.level;
}

/// A stair between two walls, of a tread and a riser for each step, beside which each wall has a strip of its own.
std::shared_ptr<bench::MeshLevel> makeStair(int n) {
    Builder builder;
    const int steps = (n - 2) / 5;
    const double width = 4, high = steps + 4;
    // Left and right: the foot of each strip's near and far side, and above them the ceiling.
    std::vector<Loop> sides[2];
    for (int side = 0; side < 2; ++side) {
        const double x = side * width;
        int low = builder.addVertex({x, 0, 0}), above = builder.addVertex({x, high, 0});
        for (int i = 0; i < steps; ++i) {
            const double z = i + 1, y = i;
            const int foot = builder.addVertex({x, y, z});
            const int roof = builder.addVertex({x, high, z});
            const int next = builder.addVertex({x, y + 1, z});
            sides[side].push_back({low, foot, next, roof, above});
            low = next;
            above = roof;
        }
    }
    for (int i = 0; i < steps; ++i) {
        const Loop &l = sides[0][static_cast<std::size_t>(i)], &r = sides[1][static_cast<std::size_t>(i)];
        builder.addPolygon({{l[0], l[4], l[3], l[2], l[1]}});
        builder.addPolygon({r});
        builder.addPolygon({{l[0], l[1], r[1], r[0]}});
        builder.addPolygon({{l[1], l[2], r[2], r[1]}});
        builder.addPolygon({{l[4], r[4], r[3], l[3]}});
    }
    const Loop &l = sides[0].front(), &r = sides[1].front(), &lastL = sides[0].back(), &lastR = sides[1].back();
    builder.addPolygon({{l[0], r[0], r[4], l[4]}});
    builder.addPolygon({{lastL[2], lastL[3], lastR[3], lastR[2]}});
    return builder.level;
}

/// Walls that stand in and out by turns, so that none is as good as parallel to its neighbour.
std::shared_ptr<bench::MeshLevel> makeRing(int n) {
    Builder builder;
    constexpr double PI = 3.141592653589793;
    Loop floor, ceiling;
    for (Loop* const loop : {&floor, &ceiling})
        for (int i = 0; i < n - 2; ++i) {
            const double angle = -2 * PI * i / (n - 2), radius = n + i % 2 * 4;
            loop->push_back(
                builder.addVertex({radius * std::cos(angle), loop == &floor ? 0.0 : 4.0, radius * std::sin(angle)}));
        }
    builder.addSides(floor, ceiling);
    builder.addPolygon({floor});
    builder.addPolygon({Builder::reversed(ceiling)});
    return builder.level;
}

void addScene(bench::Report& report, const char* scene, int n, const std::shared_ptr<bench::MeshLevel>& level) {
    CN_LevelEntityMesh* const mesh = level->mesh;
    mesh->handleOwnHierarchy();
    mesh->triangulizeAll(true);
    const int polygons = mesh->getPolygonList().count();
    report.addTimed(scene, "triangulizeAll", n, [level, mesh, polygons](bench::Watch& watch) {
        watch.timed([mesh] { mesh->triangulizeAll(true); });
        return polygons;
    });
    report.addTimed(scene, "cairn", n, [level, mesh, polygons, distance = 0.25](bench::Watch& watch) mutable {
        CN_Polygon* const wall = mesh->accessPolygonList().first();
        const bool isDone = watch.timed([&] { return mesh->movePolygonPlaneWorker(wall, distance, 0, false, {}, {}); });
        distance = -distance;
        return isDone ? polygons : -1;
    });
}

} // namespace
} // namespace cairn

static void measure(cairn::bench::Report& report) {
    using namespace cairn;
    bench::keepFreedMemory();
    for (const int n : bench::sizes({100, 1000, 10000}, 1000)) {
        addScene(report, "hanging blocks", n, makeBlocks(n, false));
        addScene(report, "standing blocks", n, makeBlocks(n, true));
        addScene(report, "stair", n, makeStair(n));
        addScene(report, "ring", n, makeRing(n));
    }
    for (const char* const scene : {"hanging blocks", "standing blocks", "stair", "ring"})
        report.limitGrowth(scene, "cairn", 1.2);
    for (const char* const scene : {"hanging blocks", "standing blocks", "stair", "ring"})
        report.limitRatio(scene, "cairn", 0.25, 1000);
    for (const char* const scene : {"standing blocks", "stair", "ring"})
        report.reason(scene, "cairn",
                      "most of the room touches the wall: it moves, is looked at and is triangulated anew");
}

static const cairn::bench::Scene
    SCENE("push", "One wall of a room pushed to and fro, by the room's polygons, beside triangulating all of them.",
          measure);
