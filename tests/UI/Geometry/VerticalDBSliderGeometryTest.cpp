// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/VerticalDBSliderGeometry.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>

namespace vello {
namespace {

const VerticalDBSliderGeometry kSlider;

/// A gain within the slider's range, in steps of 0.01 dB.
rc::Gen<double> gains() {
    return rc::gen::map(rc::gen::inRange(-1200, 1201), [](int hundredths) { return hundredths / 100.0; });
}

/// A pointer on the slider, or up to its height beyond either end.
rc::Gen<double> pointerPositions() {
    return rc::gen::map(rc::gen::inRange(-1320, 2640), [](int tenths) { return tenths / 10.0; });
}

TEST(VerticalDBSliderGeometryTest, IsMadeForTheBandsOfTheEqualizer) {
    EXPECT_EQ(VerticalDBSliderGeometry::width, 26.0);
    EXPECT_EQ(kSlider.height, 132.0);
    EXPECT_EQ(kSlider.lower, -12.0);
    EXPECT_EQ(kSlider.upper, 12.0);
    EXPECT_EQ(kSlider.trackWidth, 5.0);
    EXPECT_EQ(kSlider.thumbDiameter, 19.5);
    EXPECT_EQ(kSlider.thumbDotDiameter, 6.0);
    EXPECT_EQ(kSlider.zeroSnapWindow, 0.6);
    EXPECT_EQ(kSlider.zeroMarkWidth(), 13.0);
}

TEST(VerticalDBSliderGeometryTest, MeasuresPositionsFromTheUpperBoundDown) {
    EXPECT_EQ(kSlider.position(12.0), 0.0);
    EXPECT_EQ(kSlider.position(0.0), 66.0);
    EXPECT_EQ(kSlider.position(-12.0), 132.0);
    EXPECT_EQ(kSlider.position(6.0), 33.0);
}

TEST(VerticalDBSliderGeometryTest, KeepsTheMiddleAlsoForARangeThatIsNotSymmetric) {
    const VerticalDBSliderGeometry slider{.height = 100.0, .lower = 0.0, .upper = 10.0};
    EXPECT_EQ(slider.middle(), 50.0);
    EXPECT_EQ(slider.valueBar(0.0).centre, 75.0);
    EXPECT_EQ(slider.valueBar(0.0).height, 50.0);
}

TEST(VerticalDBSliderGeometryTest, StopsTheThumbAtTheEndsWhileTheBarReachesThem) {
    EXPECT_EQ(kSlider.thumbCentre(12.0), 9.75);
    EXPECT_EQ(kSlider.thumbCentre(-12.0), 132.0 - 9.75);
    EXPECT_EQ(kSlider.thumbCentre(0.0), 66.0);
    EXPECT_EQ(kSlider.valueBar(12.0).height, 66.0);
    EXPECT_EQ(kSlider.valueBar(12.0).centre, 33.0);
    EXPECT_EQ(kSlider.valueBar(-12.0).centre, 99.0);
}

TEST(VerticalDBSliderGeometryTest, ShowsARoundDotAtZero) {
    EXPECT_EQ(kSlider.valueBar(0.0).height, kSlider.trackWidth);
    EXPECT_EQ(kSlider.valueBar(0.0).centre, 66.0);
    EXPECT_EQ(kSlider.valueBar(0.3).height, kSlider.trackWidth);
}

TEST(VerticalDBSliderGeometryTest, SetsTheGainUnderThePointer) {
    EXPECT_EQ(kSlider.draggedGain(0.0), 12.0);
    EXPECT_EQ(kSlider.draggedGain(132.0), -12.0);
    EXPECT_EQ(kSlider.draggedGain(66.0), 0.0);
    EXPECT_EQ(kSlider.draggedGain(-50.0), 12.0);
    EXPECT_EQ(kSlider.draggedGain(500.0), -12.0);
    EXPECT_DOUBLE_EQ(kSlider.draggedGain(33.0), 6.0);
}

TEST(VerticalDBSliderGeometryTest, SnapsBelowSixTenthsOfADecibelOnly) {
    EXPECT_EQ(kSlider.draggedGain(kSlider.position(0.59)), 0.0);
    EXPECT_EQ(kSlider.draggedGain(kSlider.position(-0.59)), 0.0);
    // In these ranges the pointer's gain is exact in binary, so the bound itself is reached.
    const VerticalDBSliderGeometry exact{.height = 16.0, .lower = -8.0, .upper = 8.0, .zeroSnapWindow = 1.0};
    EXPECT_EQ(exact.draggedGain(7.0), 1.0);
    EXPECT_EQ(exact.draggedGain(9.0), -1.0);
    EXPECT_EQ(exact.draggedGain(7.25), 0.0);
    EXPECT_EQ(exact.draggedGain(8.75), 0.0);
    EXPECT_NEAR(kSlider.draggedGain(kSlider.position(0.6000001)), 0.6, 1e-6);
    EXPECT_NEAR(kSlider.draggedGain(kSlider.position(-0.6000001)), -0.6, 1e-6);
}

TEST(VerticalDBSliderGeometryTest, StepsWithoutSnappingOrRounding) {
    EXPECT_EQ(kSlider.steppedGain(11.5, 1.0), 12.0);
    EXPECT_EQ(kSlider.steppedGain(0.4, 1.0), 1.4);
    EXPECT_EQ(kSlider.steppedGain(-11.5, -1.0), -12.0);
    EXPECT_EQ(kSlider.steppedGain(0.5, -1.0), -0.5);
    EXPECT_EQ(kSlider.steppedGain(10.0, 3.0), 12.0);
}

TEST(VerticalDBSliderGeometryTest, StepsFromAGainBeyondTheEndsWithoutJumpingToThem) {
    EXPECT_EQ(kSlider.steppedGain(20.0, -1.0), 19.0);
    EXPECT_EQ(kSlider.steppedGain(-20.0, 3.0), -17.0);
    EXPECT_EQ(kSlider.steppedGain(20.0, 1.0), 12.0);
    EXPECT_EQ(kSlider.steppedGain(-20.0, -1.0), -12.0);
}

TEST(VerticalDBSliderGeometryTest, SpeaksOfWholeDecibels) {
    EXPECT_EQ(spokenDecibels(3.0), 3);
    EXPECT_EQ(spokenDecibels(-12.0), -12);
    EXPECT_EQ(spokenDecibels(2.5), 3);
    EXPECT_EQ(spokenDecibels(-2.5), -3);
    EXPECT_EQ(spokenDecibels(-0.4), 0);
    EXPECT_EQ(spokenDecibels(1e300), 1000000);
}

RC_GTEST_PROP(VerticalDBSliderGeometryTest, StaysInRangeWhereverThePointerIs, ()) {
    const double gain = kSlider.draggedGain(*pointerPositions());
    RC_ASSERT(gain >= -12.0);
    RC_ASSERT(gain <= 12.0);
    RC_ASSERT(gain == 0.0 || std::abs(gain) >= 0.6);
}

RC_GTEST_PROP(VerticalDBSliderGeometryTest, ReturnsTheGainWhosePositionIsPointedAt, ()) {
    const double gain = *gains();
    RC_PRE(std::abs(std::abs(gain) - 0.6) > 1e-6); // rounding on the way through the position
    const double expected = std::abs(gain) < 0.6 ? 0.0 : gain;
    RC_ASSERT(std::abs(kSlider.draggedGain(kSlider.position(gain)) - expected) < 1e-9);
}

RC_GTEST_PROP(VerticalDBSliderGeometryTest, KeepsTheThumbInsideAndTheBarAsWideAsTheTrack, ()) {
    const double gain = *gains();
    RC_ASSERT(kSlider.thumbCentre(gain) >= 9.75);
    RC_ASSERT(kSlider.thumbCentre(gain) <= 122.25);
    RC_ASSERT(kSlider.valueBar(gain).height >= 5.0);
    RC_ASSERT(kSlider.valueBar(gain).height <= 66.0);
}

} // namespace
} // namespace vello
