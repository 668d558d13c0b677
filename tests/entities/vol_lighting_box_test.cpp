#include "cairn/entities/vol_lighting_box.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

using namespace cairn;

using Vector = CN_LevelEntity::Vector;
using Matrix = CN_LevelEntity::Matrix;

TEST(VolLightingBox, RecordKeepsSizeAndResolution) {
    CN_LevelEntityVolLightingBox box, other;
    EXPECT_EQ(box.getSize(), Vector(5, 5, 5));
    EXPECT_EQ(box.getResolution(), 1);
    box.setSize({1, 2, 3});
    box.setResolution(4);
    F_MemoryFile file;
    box.saveEntitySpecificData(file);
    file.toRead();
    other.loadEntitySpecificData(file);
    EXPECT_EQ(other.getSize(), Vector(1, 2, 3));
    EXPECT_EQ(other.getResolution(), 4);
    EXPECT_EQ(file.getRemaining(), 0u);
}

TEST(VolLightingBox, MeetsRaysAtItsTurnedFaces) {
    CN_LevelEntityVolLightingBox box;
    box.setSize({2, 4, 6});
    // About the y axis, so that the length of 6 lies along x now and that of 2 along z.
    box.handleHierarchy({10, 0, 0}, Matrix::rotationY(std::numbers::pi / 2), true);
    struct Case {
        const char* what;
        Vector origin, direction;
        double distance, hit; ///< -1 for a miss
    } const cases[] = {
        {"from outside", {0, 0, 0}, {1, 0, 0}, 100, 7},
        {"from the other side", {20, 1.9, 0}, {-1, 0, 0}, 100, 7},
        {"beyond the limit", {0, 0, 0}, {1, 0, 0}, 6.9, -1},
        {"from inside it meets the way out", {10, 0, 0}, {0, 1, 0}, 100, 2},
        {"away from it", {0, 0, 0}, {-1, 0, 0}, 100, -1},
        {"parallel to a face and outside it", {0, 2.1, 0}, {1, 0, 0}, 100, -1},
        {"above the short side", {10, 5, 1.1}, {0, -1, 0}, 100, -1},
        {"above the long side", {12.9, 5, 0.9}, {0, -1, 0}, 100, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Vector point;
        double distance = c.distance;
        const bool hit = box.intersectRay(point, distance, c.origin, c.direction, false, false, nullptr);
        ASSERT_EQ(hit, c.hit >= 0);
        if (hit) {
            EXPECT_NEAR(distance, c.hit, 1e-12);
            EXPECT_NEAR((point - (c.origin + c.direction * c.hit)).length(), 0, 1e-12);
        }
    }
    box.setVisible(false);
    Vector point;
    double distance = 100;
    EXPECT_FALSE(box.intersectRay(point, distance, {}, {1, 0, 0}, false, false, nullptr));
}

TEST(VolLightingBox, IsNotMetWhereItHasNoPlaceOrNoSlabBoundsTheRay) {
    struct Case {
        const char* what;
        Vector place;
        Matrix rotation;
        Vector direction;
    } const cases[] = {
        {"a place that is no number", {NAN, 0, 0}, {}, {1, 0, 0}},
        {"an axis without length", {10, 0, 0}, {{0, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {1, 0, 0}},
        {"a ray that goes nowhere", {}, {}, {}},
    };
    for (const Case& c : cases) {
        CN_LevelEntityVolLightingBox box;
        box.handleHierarchy(c.place, c.rotation, true);
        Vector point;
        double distance = std::numeric_limits<double>::infinity();
        EXPECT_FALSE(box.intersectRay(point, distance, {}, c.direction, false, false, nullptr)) << c.what;
    }
}

TEST(VolLightingBox, HoldsWhatLiesStrictlyInside) {
    CN_LevelEntityVolLightingBox box;
    box.setSize({2, 4, 6});
    box.handleHierarchy({10, 0, 0}, {}, true);
    EXPECT_TRUE(box.inside({10.9, 1.9, -2.9}));
    EXPECT_FALSE(box.inside({11, 0, 0})); // on a face
    EXPECT_FALSE(box.inside({10, 0, 3.1}));
    box.calculateBoundingBox();
    EXPECT_EQ(box.getBoundingMin(), Vector(9, -2, -3));
    EXPECT_EQ(box.getBoundingMax(), Vector(11, 2, 3));
}
