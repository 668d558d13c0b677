#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace cairn {
namespace {

using Vector = CN_LevelEntity::Vector;

struct Hit {
    bool met;
    Vector point;
    double distance;
    int polygon; ///< -1 for none
};

Hit cast(CN_LevelEntityMesh& mesh, const Vector& origin, const Vector& direction, bool cull = false, bool local = false,
         CN_RayFilter filter = nullptr, double reach = 100) {
    Hit hit{false, {-1, -1, -1}, reach, -1};
    hit.met = mesh.intersectRay(hit.point, hit.distance, origin, direction, cull, local, filter);
    if (mesh.getLastHitPolygon())
        hit.polygon = mesh.findPolygonIndex(mesh.getLastHitPolygon());
    return hit;
}

// The room is 8 x 4 x 6 from the origin; its polygons are the floor, the ceiling and the walls that look along +X, -Z, -X, +Z;
// the first wall is there twice.
TEST(MeshRay, MeetsTheNearestPolygonAndTheLastOfThoseThatAreEquallyNear) {
    struct Case {
        const char* what;
        Vector origin, direction;
        bool cull;
        double reach;
        int polygon;
        double distance;
    };
    const Case cases[] = {
        {"from inside", {1, 1, 1}, {1, 0, 0}, true, 100, 4, 7},
        {"from outside, through the wall's back", {-2, 1, 1}, {1, 0, 0}, true, 100, 4, 10},
        {"from outside, where backs count", {-2, 1, 1}, {1, 0, 0}, false, 100, 6, 2},
        {"exactly as far as it may", {1, 1, 1}, {1, 0, 0}, true, 7, 4, 7},
        {"too far", {1, 1, 1}, {1, 0, 0}, true, 6.999, -1, 6.999},
        {"away", {-2, 1, 1}, {-1, 0, 0}, false, 100, -1, 100},
        {"past the corner", {-2, 5, 1}, {1, 0, 0}, false, 100, -1, 100},
        {"from a polygon's plane", {0, 1, 1}, {-1, 0, 0}, false, 100, -1, 100},
        {"from a polygon's plane to another one", {0, 1, 1}, {1, 0, 0}, false, 100, 4, 8},
        {"along a polygon", {-1, 0, 1}, {1, 0, 0}, true, 100, -1, 100},
        {"slanting", {4, 1, 3}, {0, -0.8, 0.6}, true, 100, 0, 1.25},
    };
    test::ShelfDocument document;
    CN_LevelEntityMesh &room = *test::boxRoom(document), &turned = *test::rotatedRoom(document);
    for (CN_LevelEntityMesh* const mesh : {&room, &turned}) {
        test::fixturePolygon(*mesh, {{0, 4, 5, 1}});
        test::finishFixture(*mesh);
    }
    const Vector from = turned.worldTransform({4, 1, 3}), along = Vector(0, -0.8, 0.6) * turned.getWorldRotation();
    const Hit inWorld = cast(turned, from, along, true);
    EXPECT_EQ(inWorld.polygon, 0);
    EXPECT_LT((inWorld.point - turned.worldTransform({4, 0, 3.75})).length(), 1e-9);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Vector point = c.polygon < 0 ? Vector(-1, -1, -1) : c.origin + c.direction * c.distance;
        for (CN_LevelEntityMesh* const mesh : {&room, &turned}) {
            const Hit hit = cast(*mesh, c.origin, c.direction, c.cull, mesh == &turned, nullptr, c.reach);
            EXPECT_EQ(hit.met, c.polygon >= 0);
            EXPECT_EQ(hit.polygon, c.polygon);
            EXPECT_DOUBLE_EQ(hit.distance, c.distance);
            EXPECT_LT((hit.point - point).length(), 1e-12);
        }
    }
}

TEST(MeshRay, AsksTheFilterAndClearsSelectionsWhereItMeetsTheSphere) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::boxRoom(document);
    for (CN_Polygon& polygon : room.accessPolygonList())
        polygon.select();
    const auto countSelected = [&room] {
        return std::count_if(room.getPolygonList().begin(), room.getPolygonList().end(),
                             [](const CN_Polygon& polygon) { return polygon.selected(); });
    };
    EXPECT_FALSE(cast(room, {-20, 30, 0}, {1, 0, 0}).met) << "past the sphere";
    EXPECT_FALSE(cast(room, {-20, 1, 1}, {1, 0, 0}, false, false, nullptr, 5).met) << "the sphere is too far";
    room.setVisible(false);
    EXPECT_FALSE(cast(room, {1, 1, 1}, {1, 0, 0}).met);
    room.setVisible(true);
    EXPECT_EQ(countSelected(), 6);
    const CN_RayFilter standing = [](const CN_Polygon* polygon, const CN_Material* material, bool isDynamic) {
        return polygon->getMaterial() == material && !isDynamic;
    };
    EXPECT_FALSE(cast(room, {1, 1, 1}, {1, 0, 0}, false, false, standing).met);
    EXPECT_EQ(countSelected(), 0) << "of what the filter leaves out, too";
    room.setDynamic(true);
    EXPECT_EQ(cast(room, {1, 1, 1}, {1, 0, 0}, false, false, standing).polygon, 4);
    EXPECT_EQ(cast(room, {1, 1, 20}, {0, 0, 1}).polygon, -1) << "a ray without a hit forgets the last one";
    EXPECT_FALSE(cast(*test::emptyMesh(document), {}, {1, 0, 0}).met) << "without radius";
}

} // namespace
} // namespace cairn
