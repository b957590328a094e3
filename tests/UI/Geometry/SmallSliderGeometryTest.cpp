// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/SmallSliderGeometry.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>

namespace vello {
namespace {

const SmallSliderGeometry kSmallSlider{.width = 115.0};
const SmallSliderGeometry kMirrored{.width = 115.0, .isMirrored = true};

/// A level or position of the slider's range, in steps of a hundredth.
rc::Gen<double> shares() {
    return rc::gen::map(rc::gen::inRange(0, 101), [](int hundredths) { return hundredths / 100.0; });
}

TEST(SmallSliderGeometryTest, IsMadeForTheVolume) {
    EXPECT_EQ(SmallSliderGeometry::trackHeight, 4.0);
    EXPECT_EQ(SmallSliderGeometry::thumbDiameter, 15.0);
    EXPECT_EQ(SmallSliderGeometry::step, 0.01);
    EXPECT_EQ(SmallSliderGeometry::page, 0.05);
}

TEST(SmallSliderGeometryTest, MovesTheThumbFromOneEndToTheOther) {
    EXPECT_EQ(kSmallSlider.thumbLeft(0.0), 0.0);
    EXPECT_EQ(kSmallSlider.thumbLeft(0.5), 50.0);
    EXPECT_EQ(kSmallSlider.thumbLeft(1.0), 100.0);
    EXPECT_EQ(kMirrored.thumbLeft(0.0), 100.0);
    EXPECT_EQ(kMirrored.thumbLeft(1.0), 0.0);
}

TEST(SmallSliderGeometryTest, EndsTheBarAtTheCentreOfTheThumb) {
    EXPECT_EQ(kSmallSlider.valueBar(0.0).left, 0.0);
    EXPECT_EQ(kSmallSlider.valueBar(0.0).width, 7.5);
    EXPECT_EQ(kSmallSlider.valueBar(0.5).width, 57.5);
    EXPECT_EQ(kMirrored.valueBar(0.0).left, 107.5);
    EXPECT_EQ(kMirrored.valueBar(0.0).width, 7.5);
    EXPECT_EQ(kMirrored.valueBar(1.0).left, 7.5);
}

TEST(SmallSliderGeometryTest, ShowsALevelBeyondItsRangeAtTheEnd) {
    EXPECT_EQ(SmallSliderGeometry::shownLevel(-0.5), 0.0);
    EXPECT_EQ(SmallSliderGeometry::shownLevel(0.3), 0.3);
    EXPECT_EQ(SmallSliderGeometry::shownLevel(1.5), 1.0);
}

TEST(SmallSliderGeometryTest, MovesALevelWithinItsRange) {
    EXPECT_EQ(SmallSliderGeometry::movedLevel(0.5, 0.25), 0.75);
    EXPECT_EQ(SmallSliderGeometry::movedLevel(0.5, -0.25), 0.25);
    EXPECT_EQ(SmallSliderGeometry::movedLevel(0.95, 0.25), 1.0);
    EXPECT_EQ(SmallSliderGeometry::movedLevel(0.05, -0.25), 0.0);
    EXPECT_EQ(SmallSliderGeometry::movedLevel(1.5, -0.25), 1.0);
}

RC_GTEST_PROP(SmallSliderGeometryTest, KeepsTheThumbInside, ()) {
    const double position = *shares();
    for (const SmallSliderGeometry& slider : {kSmallSlider, kMirrored}) {
        RC_ASSERT(slider.thumbLeft(position) >= 0.0);
        RC_ASSERT(slider.thumbLeft(position) <= slider.width - SmallSliderGeometry::thumbDiameter);
    }
}

RC_GTEST_PROP(SmallSliderGeometryTest, MirrorsItsParts, ()) {
    const double position = *shares();
    const double thumbRight = kSmallSlider.thumbLeft(position) + SmallSliderGeometry::thumbDiameter;
    RC_ASSERT(std::abs(kMirrored.thumbLeft(position) - (kSmallSlider.width - thumbRight)) < 1e-9);
    RC_ASSERT(std::abs(kMirrored.valueBar(position).width - kSmallSlider.valueBar(position).width) < 1e-9);
}

} // namespace
} // namespace vello
