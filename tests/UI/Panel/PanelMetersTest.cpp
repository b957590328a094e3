// SPDX-License-Identifier: Apache-2.0
#include "PanelQuickTest.h"

#include "UI/Panel/MarqueeText.h"
#include "UI/Panel/SpectrumGlowView.h"

#include <QAccessible>

#include <algorithm>
#include <functional>
#include <iterator>

namespace vello {
namespace {

/// What moves by itself in the panel, at ticks that the test makes.
class PanelMetersTest : public PanelQuickTest {
protected:
    void playMany(int count) {
        for (int number = 0; number < count; ++number)
            scene.play(200 + number, name(number));
        open();
        scene.mainThread.advance(std::chrono::seconds(1));
        scene.hearNoise(0.1);
    }
    static std::string name(int number) { return "App " + std::to_string(number); }
    static std::string identifier(int number) { return "app " + std::to_string(number); }
    void sound(float level) {
        for (const auto& [id, tap] : scene.controller->taps())
            scene.setLevel(id, level);
    }
    /// Ticks until every meter has arrived.
    void letMetersArrive() {
        for (int tick = 0; tick < 5; ++tick)
            scene.tickMeters();
    }
    QQuickItem& row(int number) { return item(QString::fromStdString(name(number)) + ", collapsed"); }
    double shownLevel(int number) {
        return only(QStringLiteral("LevelMeterView"), &row(number)).childItems()[1]->width() / 36.0;
    }
    QQuickItem& flickable() { return only(QStringLiteral("Flickable")); }
    void scrollTo(double y) {
        flickable().setProperty("contentY", y);
        scene.settle();
    }
    void scrollToTheEnd() {
        scrollTo(flickable().property("contentHeight").toDouble() - flickable().height());
    }
    void route(int number) {
        EQSettings settings = scene.controller->settings(identifier(number));
        settings.outputDeviceUID = "monitor"; // its name does not fit
        scene.controller->updateSettings(settings, identifier(number));
        scene.mainThread.advance(std::chrono::seconds(1)); // a tap for this output
    }
    /// How often the window is drawn because of one tick.
    int framesOfATick() {
        int drawn = 0;
        const auto connection = QObject::connect(scene.window, &QQuickWindow::afterRendering, scene.window,
                                                 [&drawn] { ++drawn; });
        scene.tickMeters();
        EXPECT_TRUE(waitUntil([&drawn] { return drawn > 0; }));
        for (int turn = 0; turn < 20; ++turn)
            QCoreApplication::processEvents();
        QObject::disconnect(connection);
        return drawn;
    }
};

TEST_F(PanelMetersTest, DrawTheWindowOnceForEverythingThatMoves) {
    playMany(6);
    route(3);
    route(4);
    click(row(5));
    sound(0.5F);
    scene.tickMeters();
    scene.settle(); // the meters have their place
    float level = 0.3F;
    for (int tick = 0; tick < 10; ++tick) {
        sound(level);
        level = 1.0F - level;
        scene.hearNoise(0.04); // another spectrum
        EXPECT_EQ(framesOfATick(), 1) << tick;
    }
    EXPECT_NE(shownLevel(4), 0.0);
    EXPECT_NE(static_cast<MarqueeText&>(only(QStringLiteral("RouteLabel"), &row(4))).offset(), 0.0);
}

TEST_F(PanelMetersTest, StandStillOnCardsBeyondTheListsEdges) {
    playMany(16);
    sound(0.25F);
    letMetersArrive();
    ASSERT_EQ(shownLevel(0), 0.25);
    sound(0.75F);
    letMetersArrive();
    EXPECT_EQ(shownLevel(0), 0.75);
    EXPECT_EQ(shownLevel(15), 0.0) << "it was never shown";
    EXPECT_EQ(scene.item(identifier(15))->level(), 0.75) << "its level is known";
    scrollToTheEnd();
    EXPECT_EQ(shownLevel(15), 0.75) << "right at once";
    sound(0.5F);
    letMetersArrive();
    EXPECT_EQ(shownLevel(15), 0.5);
    EXPECT_EQ(shownLevel(0), 0.75);
    scrollTo(0);
    EXPECT_EQ(shownLevel(0), 0.5);
}

TEST_F(PanelMetersTest, WarnAtTheirEndForThreeSecondsAfterClipping) {
    playMany(2);
    sound(0.5F);
    scene.tickMeters();
    const QQuickItem& end = *only(QStringLiteral("LevelMeterView"), &row(0)).childItems()[2];
    const auto words = [this](int number) {
        return QAccessible::queryAccessibleInterface(&row(number))->text(QAccessible::Description);
    };
    EXPECT_FALSE(end.isVisible());
    EXPECT_EQ(words(0), "Follows System");
    scene.clip(identifier(0));
    scene.tickMeters();
    scene.settle();
    EXPECT_TRUE(end.isVisible());
    EXPECT_EQ(end.property("color").value<QColor>(), scene.theme.warning());
    EXPECT_EQ(end.x() + end.width(), 36.0);
    EXPECT_EQ(words(0), "Follows System, Clipping");
    EXPECT_EQ(words(1), "Follows System") << "only where it clipped";
    scene.mainThread.advance(std::chrono::milliseconds(2900));
    EXPECT_TRUE(end.isVisible());
    scene.mainThread.advance(std::chrono::milliseconds(200));
    EXPECT_FALSE(end.isVisible());
    EXPECT_EQ(words(0), "Follows System");
}

TEST_F(PanelMetersTest, TellTheSpectrumToTheOpenCardOnly) {
    playMany(2);
    click(row(1));
    int toldTheOpen = 0;
    int toldTheClosed = 0;
    QObject::connect(scene.item(identifier(1))->equalizer(), &EqualizerModel::spectrumChanged,
                     [&toldTheOpen] { ++toldTheOpen; });
    QObject::connect(scene.item(identifier(0))->equalizer(), &EqualizerModel::spectrumChanged,
                     [&toldTheClosed] { ++toldTheClosed; });
    sound(0.5F);
    for (int tick = 0; tick < 5; ++tick) {
        scene.hearNoise(0.04);
        scene.tickMeters();
    }
    EXPECT_EQ(toldTheOpen, 5);
    EXPECT_EQ(toldTheClosed, 0);
}

TEST_F(PanelMetersTest, TakeTheSpectrumFromACardThatCloses) {
    playMany(2);
    click(row(1));
    sound(0.5F);
    scene.hearNoise(0.1);
    scene.tickMeters();
    const auto& glow = static_cast<SpectrumGlowView&>(only(QStringLiteral("SpectrumGlowView")));
    ASSERT_FALSE(glow.magnitudes().isEmpty());
    scene.item(identifier(1))->toggle();
    EXPECT_TRUE(glow.magnitudes().isEmpty());
}

TEST_F(PanelMetersTest, StepAllNamesThatScrollAtTheSameTicks) {
    playMany(4);
    for (int number = 0; number < 4; ++number) {
        route(number); // so that they start at different ticks
        scene.settle();
        scene.tickMeters();
    }
    std::vector<QQuickItem*> names = all(QStringLiteral("RouteLabel"));
    ASSERT_EQ(names.size(), 4U);
    int ticksWithAStep = 0;
    for (int tick = 0; tick < 60; ++tick) {
        scene.settle();
        const auto drawn = [](const QQuickItem* name) {
            return static_cast<const MarqueeText*>(name)->drawnOffset();
        };
        std::vector<double> before;
        std::ranges::transform(names, std::back_inserter(before), drawn);
        scene.tickMeters();
        std::vector<bool> steps;
        for (std::size_t index = 0; index < names.size(); ++index)
            steps.push_back(drawn(names[index]) != before[index]);
        EXPECT_EQ(std::ranges::count(steps, steps.front()), 4) << tick;
        ticksWithAStep += steps.front() ? 1 : 0;
    }
    EXPECT_NEAR(ticksWithAStep, 60 * 0.033 * 18.4, 2.0) << "a pixel at a time";
}

TEST_F(PanelMetersTest, MoveOnACardOfWhichOnlyAnEdgeIsShown) {
    playMany(16);
    scrollTo(2 * 46.0 - 8.0 - 1.0); // of the second card, one point of the lower edge
    sound(0.25F);
    letMetersArrive();
    EXPECT_EQ(shownLevel(0), 0.25);
}

TEST_F(PanelMetersTest, LeaveANameThatScrollsWhereItIsBeyondTheListsEdges) {
    playMany(16);
    route(0);
    scene.settle();
    auto& text = static_cast<MarqueeText&>(only(QStringLiteral("RouteLabel"), &row(0)));
    scene.tickMeters();
    scrollToTheEnd();
    letMetersArrive();
    const double before = text.offset();
    letMetersArrive();
    EXPECT_EQ(text.offset(), before);
    scrollTo(0);
    EXPECT_LT(text.offset(), before) << "its time went on";
}

TEST_F(PanelMetersTest, DrawNoSpectrumForAnOpenCardBeyondTheListsEdges) {
    playMany(16);
    click(row(0));
    sound(0.5F);
    scene.hearNoise(0.1);
    scene.tickMeters();
    const auto& glow = static_cast<SpectrumGlowView&>(only(QStringLiteral("SpectrumGlowView")));
    const auto isLit = [&glow] { return std::ranges::any_of(glow.magnitudes(), std::identity()); };
    EXPECT_TRUE(isLit());
    scrollToTheEnd();
    EXPECT_FALSE(isLit());
    scene.tickMeters();
    EXPECT_FALSE(isLit());
    scrollTo(0);
    EXPECT_TRUE(isLit());
}

} // namespace
} // namespace vello
