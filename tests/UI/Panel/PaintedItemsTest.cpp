// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/ResponseGeometry.h"
#include "UI/Panel/MarqueeText.h"
#include "UI/Panel/ResponseView.h"
#include "UI/Panel/SpectrumGlowView.h"

#include <gtest/gtest.h>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QQuickWindow>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace vello {
namespace {

using namespace std::chrono_literals;

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
        text.setClock(&clock);
        window.resize(200, 100);
        window.show();
    }
    void tickAfter(std::chrono::milliseconds duration) { clock.tick(clock.now() + duration); }

    QQuickWindow window;
    FrameClock clock;
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
    tickAfter(0ms);
    tickAfter(500ms);
    EXPECT_DOUBLE_EQ(text.offset(), -9.2);
    const QImage image = painted(text);
    EXPECT_LT(inkIn(image, {0, 0, 4, 14}), inkIn(image, {8, 0, 4, 14}));
    EXPECT_LT(inkIn(image, {68, 0, 4, 14}), inkIn(image, {56, 0, 8, 14}));
}

TEST_F(MarqueeTextTest, IsWhereItsTimeHasBroughtIt) {
    QFont font = QGuiApplication::font();
    font.setPixelSize(10);
    const MarqueeGeometry geometry{std::ceil(QFontMetricsF(font).horizontalAdvance(kLong)), text.width()};
    text.setText(kLong);
    tickAfter(0ms);
    for (int tick = 1; tick < 1000; ++tick) {
        tickAfter(33ms);
        ASSERT_NEAR(text.offset(), geometry.marqueeOffset(0.033 * tick), 1e-9) << tick;
    }
}

TEST_F(MarqueeTextTest, BeginsAnewWithAnotherText) {
    text.setText(kLong);
    tickAfter(0ms);
    tickAfter(1s);
    ASSERT_LT(text.offset(), -2.0);
    text.setText(kLong + kLong);
    EXPECT_EQ(text.offset(), 0.0);
    tickAfter(1s);
    EXPECT_EQ(text.offset(), 0.0) << "its time begins with a tick";
    tickAfter(1s);
    EXPECT_DOUBLE_EQ(text.offset(), -18.4);
}

TEST_F(MarqueeTextTest, StaysAtItsStartWhenMotionIsReduced) {
    text.setText(kLong);
    tickAfter(0ms);
    tickAfter(1s);
    ASSERT_LT(text.offset(), -2.0);
    text.setReduceMotion(true);
    EXPECT_EQ(text.offset(), 0.0);
    tickAfter(1s);
    EXPECT_EQ(text.offset(), 0.0);
    const QImage image = painted(text);
    EXPECT_LT(inkIn(image, {68, 0, 4, 14}), inkIn(image, {56, 0, 8, 14})) << "its end is faded out";
}

TEST_F(MarqueeTextTest, StandsStillWhileItIsNotOnTheScreenAndIsWhereItBelongsWhenItIs) {
    text.setText(kLong);
    tickAfter(0ms);
    tickAfter(500ms);
    text.setOnScreen(false);
    int moves = 0;
    QObject::connect(&text, &MarqueeText::offsetChanged, [&moves] { ++moves; });
    tickAfter(500ms);
    EXPECT_EQ(moves, 0);
    text.setOnScreen(true);
    EXPECT_DOUBLE_EQ(text.offset(), -18.4);
}

TEST_F(MarqueeTextTest, RestsWithoutAClock) {
    text.setText(kLong);
    text.setClock(nullptr);
    tickAfter(0ms);
    tickAfter(1s);
    text.setOnScreen(false);
    text.setOnScreen(true);
    EXPECT_EQ(text.offset(), 0.0);
}

TEST_F(MarqueeTextTest, StandsAtTheRightWhereOneReadsFromThere) {
    text.setText(QStringLiteral("HDMI"));
    text.setMirrored(true);
    const QImage image = painted(text);
    EXPECT_EQ(inkIn(image, {0, 0, 20, 14}), 0);
    EXPECT_GT(inkIn(image, {52, 0, 20, 14}), 0);
}

class ResponseViewTest : public testing::Test {
protected:
    ResponseViewTest() {
        view.setSize({266.0, 132.0});
        view.setColor(Qt::black);
        view.setSampleRate(48000.0);
    }
    /// The row with the most ink in this column: where the line is.
    static int lineIn(const QImage& image, int x) {
        int best = 0;
        for (int y = 1; y < image.height(); ++y)
            if (qAlpha(image.pixel(x, y)) > qAlpha(image.pixel(x, best)))
                best = y;
        return best;
    }

    ResponseView view;
};

TEST_F(ResponseViewTest, DrawsNothingWithoutAGainForEachBand) {
    EXPECT_TRUE(isBlank(painted(view)));
    view.setGains({1.0, 2.0});
    EXPECT_TRUE(isBlank(painted(view)));
}

TEST_F(ResponseViewTest, DrawsTheGainOfTheFilterAtEachFrequency) {
    view.setGains({0, 0, 0, 8, 0, 0, -6, 0});
    const QImage image = painted(view);
    const ResponseGeometry geometry{.width = 266.0, .height = 132.0};
    const auto response = view.response();
    ASSERT_EQ(response.size(), responseFrequencies().size());
    for (std::size_t point = 12; point + 12 < response.size(); point += 4) { // beyond the faded ends
        const auto x = static_cast<int>(geometry.horizontal(responseFrequencies()[point]));
        EXPECT_NEAR(lineIn(image, x), geometry.vertical(response[point]), 3.0) << x;
    }
    EXPECT_NEAR(lineIn(image, 14 + 3 * 34), geometry.vertical(8.0), 2.0) << "the band itself";
}

TEST_F(ResponseViewTest, EndsGradually) {
    view.setGains(QList<double>(8, 3.0));
    const QImage image = painted(view);
    EXPECT_LT(inkIn(image, column(image, 1)), inkIn(image, column(image, 30)) / 4);
    EXPECT_LT(inkIn(image, column(image, 264)), inkIn(image, column(image, 236)) / 4);
}

TEST_F(ResponseViewTest, EndsWhereASlowDeviceDoes) {
    view.setGains({0, 0, 0, 0, 0, 0, 6, 0});
    view.setSampleRate(16000.0);
    const auto response = view.response();
    EXPECT_EQ(response.back(), response[response.size() - 10]) << "16 kHz is beyond what it carries";
    EXPECT_TRUE(std::ranges::all_of(response, [](double gain) { return std::isfinite(gain); }));
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
