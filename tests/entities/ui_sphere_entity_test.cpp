#include "cairn/entities/dyn_pointlight.h"
#include "cairn/entities/flare.h"
#include "cairn/entities/item.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/ui_sphere_entity.h"
#include "cairn/entities/waypoint.h"
#include "cairn/foundation/exception.h"

#include <gtest/gtest.h>

#include <limits>

using namespace cairn;

namespace {

using Vector = CN_LevelEntity::Vector;

/// Writes the kind's record of `from` and reads it into `to`; gives the bytes that were left.
std::size_t copyRecord(CN_LevelEntity& from, CN_LevelEntity& to) {
    F_MemoryFile file;
    from.saveEntitySpecificData(file);
    file.toRead();
    to.loadEntitySpecificData(file);
    return file.getRemaining();
}

} // namespace

TEST(UISphereEntity, RecordsKeepWhatTheKindStores) {
    CN_LevelEntityWaypoint waypoint, otherWaypoint;
    waypoint.setRadius(3);
    EXPECT_EQ(copyRecord(waypoint, otherWaypoint), 0u);
    EXPECT_EQ(otherWaypoint.getRadius(), 0.5);

    CN_LevelEntityFlare flare, otherFlare;
    flare.setSharedDBName("Sun", false);
    flare.setRadius(3);
    EXPECT_EQ(copyRecord(flare, otherFlare), 0u);
    EXPECT_EQ(otherFlare.getSharedDBName(), "Sun");
    EXPECT_EQ(otherFlare.getRadius(), 3);
    EXPECT_EQ(otherFlare.getBoundingRadius(),
              0.25); // the record's radius alone; the bounding one is the common record's

    CN_LevelEntityItem item, otherItem;
    item.setRadius(3);
    otherItem.setRadius(4);
    EXPECT_EQ(copyRecord(item, otherItem), 0u);
    EXPECT_EQ(otherItem.getRadius(), 0.05f);
    EXPECT_EQ(otherItem.getBoundingRadius(), 0.05f);

    CN_LevelEntityDynPointlight light, otherLight;
    EXPECT_EQ(otherLight.getSharedDBName(), "Pointlight");
    CN_DynPointlightProperties properties;
    properties.color = I_FColor(300, 2.7f, -1, 128);
    properties.intensity = 2;
    properties.falloff = 3;
    light.setDynLightProperties(properties);
    EXPECT_EQ(copyRecord(light, otherLight), 0u);
    EXPECT_EQ(otherLight.getDynLightProperties(), properties);
    EXPECT_EQ(otherLight.getColor(), I_Color(255, 2, 0, 128));
}

TEST(UISphereEntity, RefusesARadiusThatIsNotFinite) {
    CN_LevelEntityFlare flare, other;
    for (const double radius : {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        flare.setRadius(radius);
        EXPECT_THROW(
            try { copyRecord(flare, other); } catch (F_Exception* e) {
                F_ExceptionGuard guard(e);
                EXPECT_NE(e->getErrorMessage().find("not finite"), string::npos);
                throw 0;
            },
            int);
        EXPECT_EQ(other.getRadius(), 0.25);
    }
}

TEST(UISphereEntity, MeetsRaysAtItsBoundingSphere) {
    CN_LevelEntityWaypoint sphere;
    sphere.handleHierarchy({10, 0, 0}, {}, true);
    sphere.setRadius(2);
    struct Case {
        const char* what;
        Vector origin, direction;
        double distance;
        bool local;
        double hit; ///< -1 for a miss
    } const cases[] = {
        {"from outside", {0, 0, 0}, {1, 0, 0}, 100, false, 8},
        {"at the very limit", {0, 0, 0}, {1, 0, 0}, 8, false, 8},
        {"beyond the limit", {0, 0, 0}, {1, 0, 0}, 7.9, false, -1},
        {"from inside", {10, 0, 0}, {1, 0, 0}, 100, false, 2},
        {"away from it", {0, 0, 0}, {-1, 0, 0}, 100, false, -1},
        {"beside it", {0, 2.1, 0}, {1, 0, 0}, 100, false, -1},
        {"touching it", {0, 2, 0}, {1, 0, 0}, 100, false, 10},
        {"relative to it", {0, 0, -5}, {0, 0, 1}, 100, true, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Vector point;
        double distance = c.distance;
        const bool hit = sphere.intersectRay(point, distance, c.origin, c.direction, true, c.local, nullptr);
        ASSERT_EQ(hit, c.hit >= 0);
        EXPECT_EQ(distance, hit ? c.hit : c.distance);
        EXPECT_EQ(point, hit ? c.origin + c.direction * c.hit : Vector());
    }
    Vector point;
    double distance = 100;
    sphere.setVisible(false);
    EXPECT_FALSE(sphere.intersectRay(point, distance, {}, {1, 0, 0}, false, false, nullptr));
    sphere.setVisible(true);
    sphere.setRadius(0);
    EXPECT_FALSE(sphere.intersectRay(point, distance, {}, {1, 0, 0}, false, false, nullptr));
}

TEST(UISphereEntity, FollowsItsParentWhenInvisibleAndHandsForceOn) {
    CN_LevelEntityItem sphere;
    auto* const hidden = new CN_LevelEntityMesh;
    auto* const hiddenSphere = new CN_LevelEntityWaypoint;
    sphere.add(hidden, false);
    sphere.add(hiddenSphere, false);
    for (CN_LevelEntity* const entity : std::initializer_list<CN_LevelEntity*>{&sphere, hidden, hiddenSphere})
        entity->setVisible(false);
    sphere.handleHierarchy({1, 2, 3}, {}, false);
    EXPECT_EQ(sphere.getWorldPosition(), Vector(1, 2, 3));
    EXPECT_EQ(hiddenSphere->getWorldPosition(), Vector(1, 2, 3));
    EXPECT_EQ(hidden->getWorldPosition(), Vector());
    EXPECT_EQ(hiddenSphere->getBoundingMin(), Vector(0.5, 1.5, 2.5));
    EXPECT_EQ(hiddenSphere->getBoundingMax(), Vector(1.5, 2.5, 3.5));
}

TEST(UISphereEntity, BoundingBoxStaysWithinWhatARecordMayHold) {
    constexpr double largest = std::numeric_limits<double>::max();
    CN_LevelEntityWaypoint sphere;
    sphere.handleHierarchy({largest, -std::numeric_limits<double>::infinity(), std::nan("")}, {}, true);
    EXPECT_TRUE(sphere.getBoundingMin().isFinite());
    EXPECT_TRUE(sphere.getBoundingMax().isFinite());
}
