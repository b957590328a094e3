// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/LevelFollower.h"

#include "support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace vello {
namespace {

TEST(LevelFollowerTest, GoesOverInATenthOfASecondInFewSteps) {
    LevelFollower follower;
    std::vector<double> values;
    QObject::connect(&follower, &LevelFollower::valueChanged, [&] { values.push_back(follower.value()); });
    const auto begin = std::chrono::steady_clock::now();
    follower.setTo(1.0);
    EXPECT_EQ(follower.value(), 0.0);
    ASSERT_TRUE(waitUntil([&] { return follower.value() == 1.0; }));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, LevelFollower::duration);
    EXPECT_TRUE(std::ranges::is_sorted(values));
    EXPECT_LE(values.size(), 5U) << "one a step, and the end";
}

TEST(LevelFollowerTest, SetsOutFromWhereItIsWhenItsTargetChangesInFlight) {
    LevelFollower follower;
    follower.setTo(1.0);
    follower.setTo(0.0);
    follower.setTo(-1.0);
    double highest = follower.value();
    QObject::connect(&follower, &LevelFollower::valueChanged,
                     [&] { highest = std::max(highest, follower.value()); });
    ASSERT_TRUE(waitUntil([&] { return follower.value() == -1.0; }));
    EXPECT_EQ(highest, 0.0) << "it had no time to rise";
}

TEST(LevelFollowerTest, JumpsWhileItIsNotAnimated) {
    LevelFollower follower;
    follower.setAnimated(false);
    follower.setTo(0.5);
    EXPECT_EQ(follower.value(), 0.5);
    follower.setAnimated(true);
    follower.setTo(1.0);
    EXPECT_EQ(follower.value(), 0.5);
    follower.setAnimated(false);
    EXPECT_EQ(follower.value(), 1.0);
}

} // namespace
} // namespace vello
