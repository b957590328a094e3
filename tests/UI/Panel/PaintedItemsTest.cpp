// SPDX-License-Identifier: Apache-2.0
#include "support/WaitUntil.h"

#include "UI/Panel/MarqueeText.h"
#include "UI/Panel/SpectrumGlowView.h"

#include <gtest/gtest.h>
#include <QElapsedTimer>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QQuickWindow>

#include <cmath>

namespace vello {
namespace {

QImage painted(QQuickPaintedItem& item) {
    QImage image(item.size().toSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    item.paint(&painter);
    return image;
}

int inkIn(const QImage& image, const QRect& part) {
    int ink = 0;
    for (int x = part.left(); x <= part.right(); ++x)
        for (int y = part.top(); y <= part.bottom(); ++y)
            ink += qAlpha(image.pixel(x, y));
    return ink;
}

QRect column(const QImage& image, int x) {
    return {x, 0, 1, image.height()};
}

bool isBlank(const QImage& image) {
    return inkIn(image, image.rect()) == 0;
}

/// A route's name in its viewport, in a window, because invisible items do not move.
class MarqueeTextTest : public testing::Test {
protected:
    MarqueeTextTest() {
        text.setParentItem(window.contentItem());
        text.setSize({72.0, 14.0});
        window.resize(200, 100);
        window.show();
    }

    QQuickWindow window;
    MarqueeText text;
};

const QString kLong = QStringLiteral("Living Room Display Audio (HDMI 2)");

TEST_F(MarqueeTextTest, RestsWhileItFits) {
    text.setText(QStringLiteral("HDMI"));
    const QImage image = painted(text);
    EXPECT_GT(inkIn(image, column(image, 1)), 0) << "no fade at its start";
    EXPECT_EQ(inkIn(image, column(image, 71)), 0);
    EXPECT_EQ(text.offset(), 0.0);
}

TEST_F(MarqueeTextTest, MovesToTheLeftAndFadesAtBothEdgesWhenItDoesNotFit) {
    text.setText(kLong);
    ASSERT_TRUE(waitUntil([&] { return text.offset() < -9.2; }));
    const QImage image = painted(text);
    EXPECT_LT(inkIn(image, {0, 0, 4, 14}), inkIn(image, {8, 0, 4, 14}));
    EXPECT_LT(inkIn(image, {68, 0, 4, 14}), inkIn(image, {56, 0, 8, 14}));
}

TEST_F(MarqueeTextTest, IsWhereItsTimeHasBroughtIt) {
    QFont font = QGuiApplication::font();
    font.setPixelSize(10);
    const MarqueeGeometry geometry{std::ceil(QFontMetricsF(font).horizontalAdvance(kLong)), text.width()};
    const auto offsetAfter = [&geometry](qint64 milliseconds) {
        return geometry.marqueeOffset(static_cast<double>(milliseconds) / 1000.0);
    };
    QElapsedTimer sinceBefore;
    sinceBefore.start();
    text.setText(kLong);
    QElapsedTimer sinceAfter;
    sinceAfter.start();
    qint64 earliest = 0; // lower bound of the time at a move, in ms
    QObject::connect(&text, &MarqueeText::offsetChanged, [&] {
        EXPECT_LE(text.offset(), offsetAfter(earliest));
        EXPECT_GE(text.offset(), offsetAfter(sinceBefore.elapsed()));
    });
    ASSERT_TRUE(waitUntil([&] {
        earliest = sinceAfter.elapsed();
        return text.offset() < -2.0;
    }));
}

TEST_F(MarqueeTextTest, BeginsAnewWithAnotherText) {
    text.setText(kLong);
    ASSERT_TRUE(waitUntil([&] { return text.offset() < -2.0; }));
    text.setText(kLong + kLong);
    EXPECT_EQ(text.offset(), 0.0);
}

TEST_F(MarqueeTextTest, StaysAtItsStartWhenMotionIsReduced) {
    text.setText(kLong);
    ASSERT_TRUE(waitUntil([&] { return text.offset() < -2.0; }));
    text.setReduceMotion(true);
    EXPECT_EQ(text.offset(), 0.0);
    int moves = 0;
    QObject::connect(&text, &MarqueeText::offsetChanged, [&moves] { ++moves; });
    MarqueeText other;
    other.setParentItem(window.contentItem());
    other.setSize({72.0, 14.0});
    other.setText(kLong);
    ASSERT_TRUE(waitUntil([&] { return other.offset() < -2.0; })) << "time has passed";
    EXPECT_EQ(moves, 0);
    const QImage image = painted(text);
    EXPECT_LT(inkIn(image, {68, 0, 4, 14}), inkIn(image, {56, 0, 8, 14})) << "its end is faded out";
}

TEST_F(MarqueeTextTest, StandsAtTheRightWhereOneReadsFromThere) {
    text.setText(QStringLiteral("HDMI"));
    text.setMirrored(true);
    const QImage image = painted(text);
    EXPECT_EQ(inkIn(image, {0, 0, 20, 14}), 0);
    EXPECT_GT(inkIn(image, {52, 0, 20, 14}), 0);
}

class SpectrumGlowViewTest : public testing::Test {
protected:
    SpectrumGlowViewTest() {
        const double bleed = SpectrumGlowView::bleed();
        glow.setSize({264.0 + 2.0 * bleed, 132.0 + 2.0 * bleed});
    }

    SpectrumGlowView glow;
};

TEST_F(SpectrumGlowViewTest, DrawsNothingForSilence) {
    EXPECT_TRUE(isBlank(painted(glow)));
    glow.setMagnitudes({0.0F, -1.0F, 0.0F});
    EXPECT_TRUE(isBlank(painted(glow)));
}

TEST_F(SpectrumGlowViewTest, DrawsABarForEveryMagnitudeInItsColour) {
    glow.setMagnitudes({1.0F, 0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 0.5F});
    const QImage image = painted(glow);
    const auto bleed = static_cast<int>(SpectrumGlowView::bleed());
    const QColor warm = image.pixelColor(bleed + 14, bleed + 80);
    const QColor cool = image.pixelColor(bleed + 264 - 14, bleed + 120);
    EXPECT_NEAR(warm.alphaF(), 0.18, 0.03);
    EXPECT_GT(warm.redF(), warm.blueF());
    EXPECT_NEAR(cool.alphaF(), 0.09, 0.02);
    EXPECT_GT(cool.blueF(), cool.greenF());
    EXPECT_EQ(inkIn(image, {bleed + 100, 0, 60, image.height()}), 0);
    EXPECT_EQ(inkIn(image, {bleed + 220, 0, 44, bleed + 40}), 0) << "the half bar is half as high";
}

TEST_F(SpectrumGlowViewTest, BlursBeyondItsBars) {
    glow.setMagnitudes({1.0F});
    const QImage image = painted(glow);
    const auto bleed = static_cast<int>(SpectrumGlowView::bleed());
    EXPECT_GT(qAlpha(image.pixel(bleed - 3, bleed + 60)), 0);
    EXPECT_EQ(qAlpha(image.pixel(0, bleed + 60)), 0);
}

TEST_F(SpectrumGlowViewTest, LosesItsColoursWithItsSaturation) {
    glow.setMagnitudes({1.0F});
    glow.setSaturation(0.0);
    const QColor grey = painted(glow).pixelColor(100, 100);
    EXPECT_NEAR(grey.redF(), grey.blueF(), 0.03);
    EXPECT_NEAR(grey.redF(), grey.greenF(), 0.03);
}

TEST_F(SpectrumGlowViewTest, DisappearsWithReducedTransparency) {
    glow.setMagnitudes({1.0F, 1.0F});
    EXPECT_FALSE(isBlank(painted(glow)));
    glow.setReduceTransparency(true);
    EXPECT_TRUE(isBlank(painted(glow)));
}

} // namespace
} // namespace vello
