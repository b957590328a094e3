// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/LevelFollower.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vello {
namespace {

using namespace std::chrono_literals;

class LevelFollowerTest : public testing::Test {
protected:
    LevelFollowerTest() {
        follower.setClock(&clock);
        QObject::connect(&follower, &LevelFollower::valueChanged, [this] { ++changes; });
        tickAfter(1h);
    }
    void tickAfter(std::chrono::milliseconds duration) { clock.tick(clock.now() + duration); }
    /// The value at the next tick of the meters.
    double next() {
        tickAfter(33ms);
        return follower.value();
    }

    FrameClock clock;
    LevelFollower follower;
    int changes = 0;
};

TEST_F(LevelFollowerTest, GoesOverLinearlyInATenthOfASecond) {
    follower.setTo(1.0);
    EXPECT_EQ(follower.value(), 0.0);
    EXPECT_EQ(next(), 0.0) << "it sets out at the tick that brings the level";
    EXPECT_NEAR(next(), 0.33, 1e-9);
    EXPECT_NEAR(next(), 0.66, 1e-9);
    EXPECT_EQ(next(), 1.0) << "99 ms are closer to the end than the next tick is";
    EXPECT_EQ(changes, 3);
}

TEST_F(LevelFollowerTest, IsWhereItsTimeHasBroughtItWhenTicksAreLate) {
    follower.setTo(1.0);
    next();
    tickAfter(80ms);
    EXPECT_NEAR(follower.value(), 0.8, 1e-9);
    tickAfter(1s);
    EXPECT_EQ(follower.value(), 1.0);
}

TEST_F(LevelFollowerTest, RestsAtItsTarget) {
    follower.setTo(1.0);
    tickAfter(0ms);
    tickAfter(1s);
    changes = 0;
    for (int tick = 0; tick < 10; ++tick)
        EXPECT_EQ(next(), 1.0);
    EXPECT_EQ(changes, 0);
}

TEST_F(LevelFollowerTest, SetsOutFromWhereItIsWhenItsTargetChangesInFlight) {
    follower.setTo(1.0);
    next();
    next();
    follower.setTo(-1.0);
    EXPECT_NEAR(next(), 0.66, 1e-9) << "it was on its way";
    EXPECT_NEAR(next(), 0.66 - 0.33 * 1.66, 1e-9);
    next();
    EXPECT_EQ(next(), -1.0);
}

TEST_F(LevelFollowerTest, JumpsWhileItIsNotAnimated) {
    follower.setAnimated(false);
    follower.setTo(0.5);
    EXPECT_EQ(follower.value(), 0.5);
    follower.setAnimated(true);
    follower.setTo(1.0);
    EXPECT_EQ(follower.value(), 0.5);
    follower.setAnimated(false);
    EXPECT_EQ(follower.value(), 1.0);
    EXPECT_EQ(next(), 1.0);
}

TEST_F(LevelFollowerTest, JumpsWithoutAClock) {
    follower.setClock(nullptr);
    follower.setTo(0.5);
    EXPECT_EQ(follower.value(), 0.5);
}

TEST_F(LevelFollowerTest, StandsStillWhileItIsNotOnTheScreenAndIsRightAtOnceWhenItIs) {
    follower.setOnScreen(false);
    follower.setTo(0.25);
    next();
    follower.setAnimated(false);
    follower.setTo(0.5);
    follower.setAnimated(true);
    follower.setTo(0.75);
    next();
    EXPECT_EQ(follower.value(), 0.0);
    EXPECT_EQ(changes, 0);
    follower.setOnScreen(true);
    EXPECT_EQ(follower.value(), 0.75);
    EXPECT_EQ(next(), 0.75);
}

} // namespace
} // namespace vello
