// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/ResponseGeometry.h"

#include "Models/EQSettings.h"

#include <gtest/gtest.h>

namespace vello {
namespace {

constexpr ResponseGeometry kGeometry{.width = 266.0, .height = 132.0}; // columns 28 wide, 6 apart

TEST(ResponseGeometryTest, PutsEachBandInTheMiddleOfItsColumn) {
    for (std::size_t band = 0; band < EQSettings::bandCount; ++band)
        EXPECT_NEAR(kGeometry.horizontal(EQSettings::bandFrequencies[band]),
                    14.0 + 34.0 * static_cast<double>(band), 1e-9)
            << band;
}

TEST(ResponseGeometryTest, ReachesFromEdgeToEdge) {
    EXPECT_EQ(responseFrequencies().front(), 40.0);
    EXPECT_NEAR(responseFrequencies().back(), 16000.0, 1e-6);
    EXPECT_NEAR(kGeometry.horizontal(40.0), 0.0, 1e-9);
    EXPECT_NEAR(kGeometry.horizontal(16000.0), 266.0, 1e-9);
}

TEST(ResponseGeometryTest, GoesFromLeftToRight) {
    double before = -1.0;
    for (const double frequency : responseFrequencies()) {
        EXPECT_GT(kGeometry.horizontal(frequency), before) << frequency;
        before = kGeometry.horizontal(frequency);
    }
}

TEST(ResponseGeometryTest, HasTheScaleOfTheSliders) {
    EXPECT_EQ(kGeometry.vertical(0.0), 66.0);
    EXPECT_EQ(kGeometry.vertical(6.0), 33.0);
    EXPECT_EQ(kGeometry.vertical(-12.0), 132.0);
    EXPECT_EQ(kGeometry.vertical(15.0), 0.0) << "within the sliders' range";
    EXPECT_EQ(kGeometry.vertical(-40.0), 132.0);
}

} // namespace
} // namespace vello
