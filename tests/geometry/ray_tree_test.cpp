#include "cairn/geometry/ray_tree.h"
#include "tests/support/mesh_shelf.h"
#include "tests/support/random_polygons.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

using Vector = CN_RayTree::Vector;
using Box = CN_RayBoxes::Box;

/// Holds what the tree tells of a ray against the mesh's own walk of all polygons. True for a hit.
bool checkRay(CN_LevelEntityMesh& mesh, const CN_RayTree& tree, const Vector& origin, const Vector& direction,
              double reach, bool cull, bool local, CN_RayFilter filter) {
    Vector point(-1, -1, -1), expectedPoint = point;
    double distance = reach, expectedDistance = reach;
    const CN_Polygon* const found = tree.findNearest(point, distance, origin, direction, cull, local, filter);
    const bool met = mesh.intersectRay(expectedPoint, expectedDistance, origin, direction, cull, local, filter);
    EXPECT_EQ(found, met ? mesh.getLastHitPolygon() : nullptr);
    EXPECT_EQ(point, expectedPoint);
    EXPECT_EQ(distance, expectedDistance);
    return met;
}

/// Rays from on and off the corners' grid, along the axes, at corners and anywhere.
int checkRays(CN_LevelEntityMesh& mesh, test::RandomPolygons& random, int rays) {
    mesh.calculateBoundingBox();
    const CN_RayTree tree(mesh);
    const CN_RayFilter odd = [](const CN_Polygon* polygon, const CN_Material*, bool) {
        return polygon->getEdgeList().count() % 2 == 1;
    };
    const auto size = static_cast<double>(mesh.getBoundingRadius());
    int hits = 0;
    for (int i = 0; i < rays && !testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE(i);
        const bool isOnGrid = random.count(0, 2) == 0, local = random.count(0, 1) == 1;
        Vector origin(random.number(-size, size), random.number(-size, size), random.number(-size, size)), direction;
        if (isOnGrid)
            origin = {std::round(origin.x), std::round(origin.y), std::round(origin.z)};
        const CN_Vertex& corner = mesh.getVertexList()[random.count(0, mesh.getVertexList().count() - 1)];
        if (const int kind = random.count(0, 3); kind == 0)
            direction[random.count(0, 2)] = random.count(0, 1) == 1 ? 1 : -1;
        else if (kind == 1)
            direction = ((local ? corner.local : corner.world) - origin).normalized();
        else
            direction = random.rotation().row(0);
        const double reach = random.count(0, 3) == 0 ? random.number(0, size) : 1e30;
        hits += checkRay(mesh, tree, local ? origin : mesh.worldTransform(origin), direction, reach,
                         random.count(0, 1) == 1, local, random.count(0, 3) == 0 ? odd : nullptr)
                    ? 1
                    : 0;
    }
    return hits;
}

TEST(RayTree, MeetsWhatAWalkOfAllPolygonsMeets) {
    for (const test::ShelfMesh& sample : test::meshShelf()) {
        SCOPED_TRACE(sample.name);
        test::RandomPolygons random(5);
        test::ShelfDocument document;
        CN_LevelEntityMesh& mesh = *sample.build(document);
        if (mesh.getVertexList().count() > 0)
            checkRays(mesh, random, sample.polygons > 100 ? 200 : 2000);
    }
    // Many polygons with holes that lie across one another, each twice, in a mesh that is turned in the world.
    test::RandomPolygons random(6);
    test::ShelfDocument document;
    CN_LevelEntityMesh& mesh = *test::emptyMesh(document);
    for (int i = 0; i < 150; ++i) {
        const CN_Polygon* const polygon = random.add(mesh);
        if (i % 3 == 0)
            mesh.addPolygon()->operator=(*polygon);
    }
    mesh.setPosition({1000, -20, 3});
    mesh.setRotation(random.rotation());
    mesh.handleOwnHierarchy();
    EXPECT_GT(checkRays(mesh, random, 3000), 400);
}

TEST(RayTree, LeavesTheMeshAsItIs) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::boxRoom(document);
    for (CN_Polygon& polygon : room.accessPolygonList())
        polygon.select();
    room.setVisible(false);
    const CN_RayTree tree(room);
    Vector point;
    double distance = 100;
    EXPECT_EQ(tree.findNearest(point, distance, {1, 1, 1}, {1, 0, 0}, true, true, nullptr), &room.getPolygonList()[4]);
    EXPECT_EQ(distance, 7);
    EXPECT_EQ(room.getLastHitPolygon(), nullptr);
    EXPECT_TRUE(room.getPolygonList()[0].selected());
    for (const Vector& direction : {Vector(), Vector(1, 0, 0) * std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(tree.findNearest(point, distance, {1, 1, 1}, direction, false, true, nullptr), nullptr);
}

/// A ray is led to all boxes that it meets, of which many are flat or the same or reach beyond all numbers.
TEST(RayBoxes, TellEachBoxThatARayMeets) {
    test::RandomPolygons random(7);
    for (const int count : {0, 1, 3, 17, 400, 3000}) {
        std::vector<Box> boxes;
        for (int i = 0; i < count; ++i) {
            Box box;
            const double x = random.count(-20, 20), y = random.count(-20, 20), z = random.count(-20, 20);
            box.widen({x, y, count == 17 ? 0 : z});
            const double width = random.count(0, 2), height = random.count(0, 2);
            box.widen({x + width, y + height, count == 17 ? 0 : z});
            boxes.push_back(i % 100 == 50   ? Box::everywhere()
                            : i % 100 == 51 ? Box()
                            : i % 7 == 3    ? boxes.back()
                                            : box);
        }
        const CN_RayBoxes tree(boxes);
        std::size_t told = 0, asked = 0;
        for (int ray = 0; ray < 300; ++ray) {
            const double x = random.count(-25, 25), y = random.count(-25, 25), z = random.count(-25, 25);
            const Vector origin(x, y, z);
            Vector way = random.rotation().row(0);
            if (ray % 3 == 0)
                way = ray % 2 ? Vector(0, 0, -1) : Vector(1, 0, 0);
            const double reach = 30;
            std::vector<bool> isTold(boxes.size());
            tree.walk(origin, way, reach, [&](std::size_t place) {
                const CN_RayBoxes::Leaf leaf = tree.getLeaves()[place];
                for (int i = leaf.first; i < leaf.first + leaf.count; ++i)
                    isTold[static_cast<std::size_t>(tree.getOrder()[static_cast<std::size_t>(i)])] = true;
            });
            for (std::size_t i = 0; i < boxes.size(); ++i) {
                // By points along the ray: coarse, but it misses no box of which a point is met.
                bool meets = false;
                for (double t = 0; t < reach && !meets; t += 0.25)
                    meets = boxes[i].meets({origin + way * t, origin + way * t});
                ASSERT_TRUE(isTold[i] || !meets) << count << ' ' << ray << ' ' << i;
                told += isTold[i] ? 1u : 0u;
            }
            asked += boxes.size();
        }
        if (count >= 400) {
            EXPECT_LT(told * 5, asked);
        }
    }
}

} // namespace
} // namespace cairn
