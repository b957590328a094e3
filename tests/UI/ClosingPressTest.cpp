// SPDX-License-Identifier: Apache-2.0
#include "UI/ClosingPress.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

using std::chrono::milliseconds;

constexpr ClosingPress::Clock::time_point kStart{};

ClosingPress afterPress(bool hasClosedPanel) {
    ClosingPress press;
    press.pressed(kStart, hasClosedPanel);
    return press;
}

TEST(ClosingPressTest, KnowsAnActivationThatComesWithThePressThatClosedThePanel) {
    EXPECT_TRUE(afterPress(true).takeActivation(kStart + milliseconds(20)));
}

TEST(ClosingPressTest, KnowsAnActivationThatComesWhenALongPressEnds) {
    ClosingPress press = afterPress(true);
    press.released(kStart + milliseconds(3000));
    EXPECT_TRUE(press.takeActivation(kStart + milliseconds(3050)));
}

TEST(ClosingPressTest, KnowsAnActivationWhileTheButtonIsStillHeld) {
    EXPECT_TRUE(afterPress(true).takeActivation(kStart + milliseconds(3000)));
}

TEST(ClosingPressTest, LetsTheNextPressOnTheItemOpenThePanelHoweverSoonItComes) {
    ClosingPress press = afterPress(true);
    press.released(kStart + milliseconds(50));
    press.pressed(kStart + milliseconds(150), false);
    EXPECT_FALSE(press.takeActivation(kStart + milliseconds(160)));
}

TEST(ClosingPressTest, LetsAnActivationWithoutAPressOpenThePanelLater) {
    ClosingPress press = afterPress(true);
    press.released(kStart + milliseconds(50));
    EXPECT_FALSE(press.takeActivation(kStart + milliseconds(50) + ClosingPress::delay));
}

TEST(ClosingPressTest, HoldsBackOneActivationOnly) {
    ClosingPress press = afterPress(true);
    EXPECT_TRUE(press.takeActivation(kStart + milliseconds(10)));
    EXPECT_FALSE(press.takeActivation(kStart + milliseconds(20)));
}

TEST(ClosingPressTest, HoldsNothingBackAfterAPressThatClosedNothing) {
    EXPECT_FALSE(afterPress(false).takeActivation(kStart));
    EXPECT_FALSE(ClosingPress().takeActivation(kStart));
}

} // namespace
} // namespace vello
