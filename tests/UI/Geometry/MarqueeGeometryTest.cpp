// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/MarqueeGeometry.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>

namespace vello {
namespace {

const MarqueeGeometry kLongText{.textWidth = 100.0, .viewportWidth = 72.0};
constexpr double kSpeed = MarqueeGeometry::pointsPerSecond;

TEST(MarqueeGeometryTest, MovesThirtyTimesASecondAtItsOwnSpeed) {
    EXPECT_EQ(MarqueeGeometry::pointsPerSecond, 18.4);
    EXPECT_DOUBLE_EQ(kLongText.marqueeOffset(1.0), -18.4);
}

TEST(MarqueeGeometryTest, FitsUpToTheViewportsWidth) {
    EXPECT_FALSE((MarqueeGeometry{72.0, 72.0}.overflows()));
    EXPECT_TRUE((MarqueeGeometry{73.0, 72.0}.overflows()));
}

TEST(MarqueeGeometryTest, FadesOnlyATextThatOverflows) {
    EXPECT_EQ((MarqueeGeometry{72.0, 72.0}.edgeFade()), std::nullopt);
    EXPECT_EQ(kLongText.edgeFade(), 8.0 / 72.0);
}

TEST(MarqueeGeometryTest, DoesNotFadeWhereTwoFadesFindNoRoom) {
    EXPECT_EQ((MarqueeGeometry{100.0, 16.0}.edgeFade()), std::nullopt);
    EXPECT_EQ((MarqueeGeometry{100.0, 17.0}.edgeFade()), 8.0 / 17.0);
}

TEST(MarqueeGeometryTest, LeavesToTheLeftAndEntersFromTheRight) {
    EXPECT_EQ(kLongText.marqueeOffset(0.0), 0.0);
    EXPECT_DOUBLE_EQ(kLongText.marqueeOffset(100.0 / kSpeed), -100.0);
    EXPECT_NEAR(kLongText.marqueeOffset(100.001 / kSpeed), 72.0, 0.01);
    EXPECT_NEAR(kLongText.marqueeOffset(136.0 / kSpeed), 36.0, 1e-9);
    EXPECT_NEAR(kLongText.marqueeOffset(171.999 / kSpeed), 0.0, 0.01);
    EXPECT_NEAR(kLongText.marqueeOffset(182.0 / kSpeed), -10.0, 1e-9);
}

TEST(MarqueeGeometryTest, WaitsAtItsStartForAClockThatGoesBack) {
    EXPECT_EQ(kLongText.marqueeOffset(-5.0), 0.0);
}

RC_GTEST_PROP(MarqueeGeometryTest, MovesWithoutAPauseOrAJumpButTheOneAcrossTheViewport, ()) {
    const MarqueeGeometry text{.textWidth = static_cast<double>(*rc::gen::inRange(73, 400)),
                               .viewportWidth = 72.0};
    const double elapsed = *rc::gen::inRange(0, 100000) / 100.0;
    const double step = text.marqueeOffset(elapsed) - text.marqueeOffset(elapsed + 0.01);
    const double wrap = text.textWidth + text.viewportWidth;
    RC_ASSERT(std::min(std::abs(step - 0.184), std::abs(step + wrap - 0.184)) < 1e-6);
    RC_ASSERT(text.marqueeOffset(elapsed) >= -text.textWidth);
    RC_ASSERT(text.marqueeOffset(elapsed) <= text.viewportWidth);
}

} // namespace
} // namespace vello
