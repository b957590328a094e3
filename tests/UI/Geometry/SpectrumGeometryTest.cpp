// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/SpectrumGeometry.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <limits>

namespace vello {
namespace {

constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();
const SpectrumGeometry kGlow{.width = 282.0, .height = 132.0, .barCount = 8};

TEST(SpectrumGeometryTest, SharesTheWidthAmongTheBars) {
    EXPECT_EQ(SpectrumGeometry::spacing, 6.0);
    EXPECT_EQ(SpectrumGeometry::blurRadius, 5.0);
    EXPECT_EQ(kGlow.bar(0, 1.0F).width, 30.0);
    EXPECT_EQ(kGlow.bar(0, 1.0F).left, 0.0);
    EXPECT_EQ(kGlow.bar(1, 1.0F).left, 36.0);
    EXPECT_EQ(kGlow.bar(7, 1.0F).left + kGlow.bar(7, 1.0F).width, 282.0);
}

TEST(SpectrumGeometryTest, MakesLouderBandsTallerAndMoreOpaque) {
    EXPECT_EQ(kGlow.bar(0, 0.5F).height, 66.0);
    EXPECT_DOUBLE_EQ(kGlow.bar(0, 0.5F).opacity, 0.09);
    EXPECT_EQ(kGlow.bar(0, 1.0F).height, 132.0);
    EXPECT_DOUBLE_EQ(kGlow.bar(0, 1.0F).opacity, 0.18);
}

TEST(SpectrumGeometryTest, DrawsNoMoreThanAFullBarAndNothingBelowZero) {
    EXPECT_EQ(kGlow.bar(0, 3.0F).height, 132.0);
    EXPECT_DOUBLE_EQ(kGlow.bar(0, 3.0F).opacity, 0.18);
    EXPECT_EQ(kGlow.bar(0, -1.0F).height, 0.0);
    EXPECT_EQ(kGlow.bar(0, -1.0F).opacity, 0.0);
    EXPECT_EQ(kGlow.bar(0, kNotANumber).height, 0.0);
}

TEST(SpectrumGeometryTest, LeavesNoWidthWhereTheBarsFindNoRoom) {
    EXPECT_EQ((SpectrumGeometry{.width = 20.0, .height = 10.0, .barCount = 8}.bar(3, 1.0F).width), 0.0);
}

TEST(SpectrumGeometryTest, RunsFromWarmToCool) {
    const HueSaturationBrightness palette[] = {{0.03, 0.37, 0.95}, {0.08, 0.37, 0.95}, {0.13, 0.33, 0.92},
                                               {0.24, 0.31, 0.90}, {0.40, 0.31, 0.90}, {0.52, 0.33, 0.92},
                                               {0.60, 0.35, 0.94}, {0.70, 0.33, 0.94}};
    for (std::size_t index = 0; index < std::size(palette); ++index)
        EXPECT_EQ(bandColor(index), palette[index]) << index;
    EXPECT_EQ(bandColor(8), palette[7]);
    EXPECT_EQ(bandColor(1000), palette[7]);
}

TEST(SpectrumGeometryTest, FillsAMeterFromEmptyToFull) {
    EXPECT_EQ(meterFill(0.25F), 0.25);
    EXPECT_EQ(meterFill(1.5F), 1.0);
    EXPECT_EQ(meterFill(-0.5F), 0.0);
    EXPECT_EQ(meterFill(kNotANumber), 0.0);
    EXPECT_EQ(meterFill(std::numeric_limits<float>::infinity()), 1.0);
}

RC_GTEST_PROP(SpectrumGeometryTest, KeepsEveryBarInsideItsPlace, (float magnitude)) {
    const auto index = *rc::gen::inRange<std::size_t>(0, 8);
    const SpectrumGeometry::Bar bar = kGlow.bar(index, magnitude);
    RC_ASSERT(bar.left >= 0.0);
    RC_ASSERT(bar.left + bar.width <= 282.0);
    RC_ASSERT(bar.height >= 0.0);
    RC_ASSERT(bar.height <= 132.0);
}

} // namespace
} // namespace vello
