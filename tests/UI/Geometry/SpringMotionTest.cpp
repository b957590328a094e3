// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/SpringMotion.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vello {
namespace {

/// The springs of the title, of the cards, and of the contents of a card.
constexpr Spring kSprings[] = {{0.256, 1.0}, {0.26, 0.85}, {0.3, 1.0}, {0.25, 1.0}, {0.2, 1.0}};

/// The motion from 0 to 1, integrated numerically from the equation of motion, without the closed form.
double integrated(Spring spring, double time) {
    const double w = 2.0 * std::numbers::pi / spring.response;
    const int steps = 200000;
    const double step = time / steps;
    double offset = -1.0;
    double velocity = 0.0;
    for (int count = 0; count < steps; ++count) {
        velocity += (-w * w * offset - 2.0 * spring.dampingFraction * w * velocity) * step;
        offset += velocity * step;
    }
    return 1.0 + offset;
}

TEST(SpringMotionTest, RestsUntilItHasATarget) {
    const SpringMotion motion(3.0);
    EXPECT_EQ(motion.value(0.0), 3.0);
    EXPECT_EQ(motion.value(100.0), 3.0);
    EXPECT_EQ(motion.velocity(100.0), 0.0);
    EXPECT_TRUE(motion.isSettled(0.0, 1e-12));
}

TEST(SpringMotionTest, FollowsTheEquationOfMotion) {
    for (const Spring spring : kSprings) {
        SpringMotion motion(0.0);
        motion.retarget(1.0, spring, 10.0);
        for (const double time : {0.02, 0.05, 0.1, 0.2, 0.3, 0.5})
            EXPECT_NEAR(motion.value(10.0 + time), integrated(spring, time), 0.001)
                << spring.response << ' ' << spring.dampingFraction << ' ' << time;
    }
}

TEST(SpringMotionTest, FollowsTheCriticallyDampedFormula) {
    SpringMotion motion(0.0);
    motion.retarget(1.0, {0.256, 1.0}, 0.0);
    const double w = 2.0 * std::numbers::pi / 0.256;
    for (double time = 0.0; time < 0.6; time += 0.01)
        EXPECT_NEAR(motion.value(time), 1.0 - std::exp(-w * time) * (1.0 + w * time), 1e-12);
}

TEST(SpringMotionTest, FollowsTheUnderdampedFormula) {
    SpringMotion motion(0.0);
    motion.retarget(1.0, {0.26, 0.85}, 0.0);
    const double w = 2.0 * std::numbers::pi / 0.26;
    const double z = 0.85;
    const double wd = w * std::sqrt(1.0 - z * z);
    for (double time = 0.0; time < 0.6; time += 0.01)
        EXPECT_NEAR(motion.value(time),
                    1.0 - std::exp(-z * w * time) * (std::cos(wd * time) + z * w / wd * std::sin(wd * time)),
                    1e-12);
}

TEST(SpringMotionTest, OvershootsOnlyWhenItIsNotFullyDamped) {
    SpringMotion critical(0.0);
    SpringMotion slightlySwinging(0.0);
    critical.retarget(1.0, {0.26, 1.0}, 0.0);
    slightlySwinging.retarget(1.0, {0.26, 0.85}, 0.0);
    double highestCritical = 0.0;
    double highestSwinging = 0.0;
    for (double time = 0.0; time < 1.0; time += 0.001) {
        highestCritical = std::max(highestCritical, critical.value(time));
        highestSwinging = std::max(highestSwinging, slightlySwinging.value(time));
    }
    EXPECT_LE(highestCritical, 1.0);
    // exp(-pi z / sqrt(1 - z^2)) for z = 0.85.
    EXPECT_NEAR(highestSwinging, 1.0 + std::exp(-std::numbers::pi * 0.85 / std::sqrt(1.0 - 0.7225)), 1e-4);
}

TEST(SpringMotionTest, TakesItsVelocityAlongToANewTarget) {
    SpringMotion motion(0.0);
    motion.retarget(1.0, {0.26, 0.85}, 0.0);
    const double value = motion.value(0.07);
    const double velocity = motion.velocity(0.07);
    ASSERT_GT(velocity, 5.0);
    motion.retarget(0.0, {0.256, 1.0}, 0.07);
    EXPECT_NEAR(motion.value(0.07), value, 1e-12);
    EXPECT_NEAR(motion.velocity(0.07), velocity, 1e-9);
    // It first moves further up, and only then turns.
    EXPECT_GT(motion.value(0.075), value);
    EXPECT_NEAR(motion.value(2.0), 0.0, 1e-9);
}

TEST(SpringMotionTest, JumpsWithoutAMotionLeftOver) {
    SpringMotion motion(0.0);
    motion.retarget(1.0, {0.3, 1.0}, 0.0);
    motion.jump(5.0);
    EXPECT_EQ(motion.value(0.1), 5.0);
    EXPECT_EQ(motion.velocity(0.1), 0.0);
}

TEST(SpringMotionTest, IsNotSettledWhileItPassesItsTargetInASwing) {
    SpringMotion motion(0.0);
    motion.retarget(1.0, {0.26, 0.5}, 0.0);
    double crossing = 0.0;
    while (motion.value(crossing) < 1.0)
        crossing += 0.0001;
    EXPECT_NEAR(motion.value(crossing), 1.0, 0.01);
    EXPECT_FALSE(motion.isSettled(crossing, 0.02));
    EXPECT_TRUE(motion.isSettled(3.0, 0.001));
}

RC_GTEST_PROP(SpringMotionTest, IsSmoothWheneverItsTargetChanges, ()) {
    const Spring spring = *rc::gen::elementOf(std::vector(std::begin(kSprings), std::end(kSprings)));
    SpringMotion motion(*rc::gen::inRange(-100, 100) / 10.0);
    double now = 0.0;
    for (const int milliseconds : *rc::gen::container<std::vector<int>>(5, rc::gen::inRange(0, 300))) {
        now += milliseconds / 1000.0;
        const double value = motion.value(now);
        const double velocity = motion.velocity(now);
        motion.retarget(*rc::gen::inRange(-100, 100) / 10.0, spring, now);
        RC_ASSERT(std::abs(motion.value(now) - value) < 1e-9);
        RC_ASSERT(std::abs(motion.velocity(now) - velocity) < 1e-6);
    }
    RC_ASSERT(std::abs(motion.value(now + 5.0) - motion.target()) < 1e-6);
}

} // namespace
} // namespace vello
