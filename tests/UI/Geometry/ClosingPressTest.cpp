// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/ClosingPress.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

using std::chrono::milliseconds;

constexpr ClosingPress::Clock::time_point kStart{};

class ClosingPressTest : public testing::Test {
protected:
    ClosingPressTest() { press_.pressed(); }

    ClosingPress press_;
};

TEST_F(ClosingPressTest, KnowsAnActivationWhileTheButtonIsHeld) {
    EXPECT_TRUE(press_.takeActivation(kStart + milliseconds(3000), true));
}

TEST_F(ClosingPressTest, KnowsAnActivationThatComesWhenTheButtonIsLetGo) {
    press_.released(kStart + milliseconds(3000));
    EXPECT_TRUE(press_.takeActivation(kStart + milliseconds(3050), true));
}

TEST_F(ClosingPressTest, TakesOneActivationAlsoWhenTheNextPressComesBeforeItIsTold) {
    press_.released(kStart + milliseconds(50));
    press_.released(kStart + milliseconds(250)); // release of the next click, which closes nothing
    EXPECT_TRUE(press_.takeActivation(kStart + milliseconds(260), true));
    EXPECT_FALSE(press_.takeActivation(kStart + milliseconds(270), true));
}

TEST_F(ClosingPressTest, LetsAnActivationElsewhereOpenThePanelHoweverSoonItComes) {
    press_.released(kStart + milliseconds(50));
    EXPECT_FALSE(press_.takeActivation(kStart + milliseconds(150), false));
}

TEST_F(ClosingPressTest, LetsAnActivationOpenThePanelLater) {
    press_.released(kStart);
    EXPECT_FALSE(press_.takeActivation(kStart + ClosingPress::delay, true));
}

TEST(NoClosingPressTest, HoldsNothingBack) {
    ClosingPress press;
    press.released(kStart);
    EXPECT_FALSE(press.takeActivation(kStart, true));
}

} // namespace
} // namespace vello
