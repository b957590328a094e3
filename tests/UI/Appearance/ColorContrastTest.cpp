// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/ColorContrast.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace vello {
namespace {

TEST(ColorContrastTest, IsTwentyOneBetweenBlackAndWhiteAndOneBetweenAlikes) {
    EXPECT_NEAR(contrastRatio(Qt::black, Qt::white), 21.0, 0.001);
    EXPECT_NEAR(contrastRatio(Qt::white, Qt::black), 21.0, 0.001);
    EXPECT_EQ(contrastRatio(Qt::red, Qt::red), 1.0);
}

TEST(ColorContrastTest, FindsTheGreyThatIsKnownToBeJustReadableOnWhite) {
    EXPECT_GE(contrastRatio(QColor(0x76, 0x76, 0x76), Qt::white), kTextContrast);
    EXPECT_LT(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white), kTextContrast);
}

TEST(ColorContrastTest, MixesATranslucentColourWithItsGround) {
    const QColor seen = laidOver(QColor(255, 255, 255, 51), Qt::black);
    EXPECT_EQ(seen, QColor(51, 51, 51));
    EXPECT_EQ(laidOver(Qt::transparent, Qt::red), QColor(Qt::red));
}

TEST(ColorContrastTest, LeavesAnInkAloneThatStandsOut) {
    const QColor ink(0x10, 0x20, 0x90);
    EXPECT_EQ(standingOut(ink, std::array{QColor(Qt::white)}, kTextContrast), ink);
}

TEST(ColorContrastTest, MovesAnInkOnlyAsFarAsItMust) {
    const std::array grounds{QColor(Qt::white), QColor(0xe0, 0xe0, 0xe0)};
    const QColor readable = standingOut(Qt::yellow, grounds, kTextContrast);
    EXPECT_GE(contrastRatio(readable, grounds[1]), kTextContrast);
    EXPECT_LT(contrastRatio(readable, grounds[1]), kTextContrast * 1.1);
    EXPECT_GT(readable.red(), readable.blue());
}

TEST(ColorContrastTest, MakesAnyInkReadableOnAnyGround) {
    std::mt19937 random(11);
    std::uniform_int_distribution channel(0, 255);
    const auto any = [&] { return QColor(channel(random), channel(random), channel(random)); };
    for (int round = 0; round < 500; ++round) {
        const QColor ground = any();
        const QColor ink = standingOut(any(), std::array{ground}, kTextContrast);
        EXPECT_GE(contrastRatio(ink, ground), kTextContrast) << qPrintable(ground.name());
    }
}

} // namespace
} // namespace vello
