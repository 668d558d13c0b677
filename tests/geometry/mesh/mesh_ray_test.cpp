#include "cairn/materials/material.h"
#include "tests/support/mesh_shelf.h"

#include <gtest/gtest.h>

namespace cairn {
namespace {

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;

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

// The room is 8 x 4 x 6 from the origin; its polygons are the floor, the ceiling and the walls that look along +X, -Z, -X, +Z.
TEST(MeshRay, MeetsTheNearestPolygon) {
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
        {"from outside, where backs count", {-2, 1, 1}, {1, 0, 0}, false, 100, 2, 2},
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
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Vector point = c.polygon < 0 ? Vector(-1, -1, -1) : c.origin + c.direction * c.distance;
        const Hit hit = cast(room, c.origin, c.direction, c.cull, false, nullptr, c.reach);
        EXPECT_EQ(hit.met, c.polygon >= 0);
        EXPECT_EQ(hit.polygon, c.polygon);
        EXPECT_DOUBLE_EQ(hit.distance, c.distance);
        EXPECT_LT((hit.point - point).length(), 1e-12);
        const Hit local = cast(turned, c.origin, c.direction, c.cull, true, nullptr, c.reach);
        EXPECT_EQ(local.polygon, c.polygon) << "in the mesh's own space";
        EXPECT_LT((local.point - point).length(), 1e-12);
        const bool startsInPlane = c.origin.x == 0; // rounding decides of that in the world
        if (c.polygon >= 0 && !startsInPlane && c.distance != c.reach) {
            const Hit world =
                cast(turned, turned.worldTransform(c.origin), c.direction * turned.getWorldRotation(), c.cull);
            EXPECT_EQ(world.polygon, c.polygon) << "in the world";
            EXPECT_LT((world.point - turned.worldTransform(point)).length(), 1e-9);
        }
    }
}

TEST(MeshRay, OfPolygonsThatAreEquallyNearMeetsTheLast) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::boxRoom(document);
    test::fixturePolygon(room, {{0, 4, 5, 1}}); // the first wall again
    test::finishFixture(room);
    EXPECT_EQ(cast(room, {1, 1, 1}, {-1, 0, 0}).polygon, 6);
}

TEST(MeshRay, AsksTheFilterAndClearsSelectionsWhereItMeetsTheSphere) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = *test::boxRoom(document);
    const auto selectAll = [&room] {
        for (CN_Polygon& polygon : room.accessPolygonList())
            polygon.select();
    };
    const auto countSelected = [&room] {
        int count = 0;
        for (const CN_Polygon& polygon : room.getPolygonList())
            count += polygon.selected();
        return count;
    };
    selectAll();
    EXPECT_FALSE(cast(room, {-20, 30, 0}, {1, 0, 0}).met);
    EXPECT_EQ(countSelected(), 6) << "past the sphere";
    EXPECT_FALSE(cast(room, {-20, 1, 1}, {1, 0, 0}, false, false, nullptr, 5).met);
    EXPECT_EQ(countSelected(), 6) << "the sphere is too far";
    room.setVisible(false);
    EXPECT_EQ(cast(room, {1, 1, 1}, {1, 0, 0}).polygon, -1);
    room.setVisible(true);
    EXPECT_EQ(countSelected(), 6);
    const CN_RayFilter allButMoving = [](const CN_Polygon* polygon, const CN_Material* material, bool isDynamic) {
        return polygon->getMaterial() == material && !isDynamic;
    };
    EXPECT_FALSE(cast(room, {1, 1, 1}, {1, 0, 0}, false, false, allButMoving).met);
    EXPECT_EQ(countSelected(), 0) << "of what the filter leaves out, too";
    room.setDynamic(true);
    EXPECT_EQ(cast(room, {1, 1, 1}, {1, 0, 0}, false, false, allButMoving).polygon, 4);
    EXPECT_EQ(cast(room, {1, 1, 20}, {0, 0, 1}).polygon, -1) << "a ray without a hit forgets the last one";
    EXPECT_FALSE(cast(*test::emptyMesh(document), {}, {1, 0, 0}).met) << "without radius";
}

} // namespace
} // namespace cairn
