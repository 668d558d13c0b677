#include "cairn/document/mouse_quantizer.h"

#include <gtest/gtest.h>

#include <climits>

namespace cairn {
namespace {

TEST(MouseQuantizer, WaitsForWholeSteps) {
    E_MouseQuantizer mouse;
    mouse.setStep(4, 0);
    mouse.addMovement(3, 1);
    EXPECT_FALSE(mouse.hasMovedX());
    EXPECT_EQ(mouse.movedY(), 1);
    mouse.addMovement(6, 0);
    EXPECT_EQ(mouse.movedX(), 2);
    mouse.addMovement(-5, 0); // the unit that waited goes first
    EXPECT_EQ(mouse.movedX(), -1);
}

TEST(MouseQuantizer, FollowsPositionsAndStaysInRange) {
    E_MouseQuantizer mouse, copy;
    mouse.moveTo(INT_MIN, 5);
    EXPECT_FALSE(mouse.hasMovedX());
    mouse.moveTo(INT_MAX, 7);
    copy = mouse;
    EXPECT_EQ(mouse.movedX(), INT_MAX);
    EXPECT_EQ(mouse.movedY(), 2);
    copy.moveTo(INT_MAX, 10);
    EXPECT_EQ(copy.movedY(), 5);
    copy.clear();
    EXPECT_FALSE(copy.hasMovedX());
    copy.moveTo(1, 1);
    EXPECT_FALSE(copy.hasMovedX());
}

} // namespace
} // namespace cairn
