// SPDX-License-Identifier: Apache-2.0
// The list of cards: what of it is in view, and how cards come, go and move.
#include "PanelQuickTest.h"

#include <cmath>

namespace vello {
namespace {

class PanelListTest : public PanelQuickTest {
protected:
    void playMany(int count) {
        for (int number = 0; number < count; ++number)
            scene.play(200 + number, name(number).toStdString());
        open();
    }
    /// In alphabetical order.
    static QString name(int number) { return QStringLiteral("App %1").arg(number, 2, 10, QLatin1Char('0')); }
    QQuickItem& row(int number, const char* state = "collapsed") {
        return item(name(number) + QStringLiteral(", ") + QLatin1String(state));
    }
    QQuickItem& list() { return only(QStringLiteral("SourceList")); }
    QQuickItem& flickable() { return only(QStringLiteral("Flickable"), &list()); }
    double contentY() { return flickable().property("contentY").toDouble(); }
    bool isInView(const QQuickItem& what) {
        const QRectF view = place(list()).adjusted(-1, -1, 1, 1);
        return place(what).top() >= view.top() && place(what).bottom() <= view.bottom();
    }
    void limitTo(double height) {
        scene.window->setProperty("availableHeight", height);
        scene.settle();
    }
    QQuickItem& card(int number) {
        for (QQuickItem* const found : all(QStringLiteral("SourceSection")))
            if (found->property("source").value<SourceItem*>()->name() == name(number))
                return *found;
        throw std::runtime_error("no card of " + name(number).toStdString());
    }
    int cardCount() { return static_cast<int>(all(QStringLiteral("SourceSection")).size()); }
};

// Low screens

TEST_F(PanelListTest, IsNoHigherThanTheScreenLeavesRoomForSoThatTheFooterIsSeen) {
    playMany(20);
    const QQuickItem& panel = only(QStringLiteral("MenuPanelView"));
    EXPECT_EQ(list().height(), 460.0);
    limitTo(492.0); // a screen of 540 points with a bar of 32
    EXPECT_LE(panel.height(), 492.0);
    EXPECT_GE(panel.height(), 490.0);
    EXPECT_LT(list().height(), 460.0);
    EXPECT_LE(place(item(QStringLiteral("Quit"))).bottom(), place(panel).bottom() - 12.0);
    EXPECT_LE(scene.window->height(), 492 + 40);
    limitTo(2000.0);
    EXPECT_EQ(list().height(), 460.0);
}

TEST_F(PanelListTest, KeepsTheFooterOfALowScreenInViewWithLargeTextsAndAProblem) {
    playMany(20);
    scene.loginItem.failsToChange = true;
    scene.model->setLaunchesAtLogin(true);
    scene.theme.setAppearance({.isMotionReduced = true, .fontScale = 1.5});
    limitTo(492.0);
    const QQuickItem& panel = only(QStringLiteral("MenuPanelView"));
    EXPECT_LE(panel.height(), 492.0);
    EXPECT_LE(place(item(QStringLiteral("Quit"))).bottom(), place(panel).bottom());
}

TEST_F(PanelListTest, OpensItsMenusWithinThePanelWhereverTheCardIs) {
    playMany(20);
    limitTo(492.0);
    for (int number = 0; number < 30; ++number)
        scene.controller->saveUserPreset("Preset " + std::to_string(number),
                                         std::vector<double>(8, number + 1.0));
    click(row(5));
    // Only the upper part of the open card is in view.
    flickable().setProperty("contentY", flickable().property("contentY").toDouble() - 150.0);
    for (const char* button : {"Flat", "Output route"}) {
        click(item(QString::fromLatin1(button)));
        const QQuickItem& menu = *only(QStringLiteral("MenuList")).parentItem()->parentItem();
        const QRectF panel = place(only(QStringLiteral("MenuPanelView")));
        EXPECT_GE(place(menu).top(), panel.top() + 8.0) << button;
        EXPECT_LE(place(menu).bottom(), panel.bottom() - 8.0) << button;
        press(Qt::Key_Escape);
        ASSERT_TRUE(waitUntil([&] { return all(QStringLiteral("MenuList")).empty(); }));
    }
}

TEST_F(PanelListTest, MarksHowFarALongMenuIsScrolled) {
    for (int number = 0; number < 30; ++number)
        scene.controller->saveUserPreset("Preset " + std::to_string(number),
                                         std::vector<double>(8, number + 1.0));
    openPlayer();
    click(item(QStringLiteral("Output route")));
    EXPECT_TRUE(all(QStringLiteral("ScrollMark")).empty()) << "nothing to scroll";
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([&] { return all(QStringLiteral("MenuList")).empty(); }));
    click(item(QStringLiteral("Flat")));
    const QQuickItem& mark = only(QStringLiteral("ScrollMark"));
    const QQuickItem& menu = only(QStringLiteral("MenuList"));
    EXPECT_EQ(place(mark).top(), place(menu).top());
    press(Qt::Key_Up);
    EXPECT_NEAR(place(mark).bottom(), place(menu).bottom(), 0.5) << "the last entry is marked";
    const QQuickItem& entry = item(QStringLiteral("Import…"));
    EXPECT_LE(place(entry).right(), place(mark).left());
}

// What is in view

TEST_F(PanelListTest, ScrollsToWhatTabReaches) {
    playMany(20);
    for (int number = 0; number < 20; ++number) {
        item(QStringLiteral("EQ enabled for ") + name(number)).forceActiveFocus(Qt::TabFocusReason);
        press(number % 2 == 0 ? Qt::Key_Shift : Qt::Key_Control);
        EXPECT_TRUE(isInView(card(number))) << number;
    }
    item(QStringLiteral("System, collapsed")).forceActiveFocus(Qt::BacktabFocusReason);
    scene.settle();
    EXPECT_EQ(contentY(), 0.0);
    item(QStringLiteral("Quit")).forceActiveFocus(Qt::BacktabFocusReason);
    press(Qt::Key_Tab);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(item(QStringLiteral("EQ enabled for ") + name(19)).hasActiveFocus());
    EXPECT_TRUE(isInView(card(19)));
}

TEST_F(PanelListTest, ScrollsAnOpeningCardIntoView) {
    playMany(20);
    row(8).forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    EXPECT_TRUE(isInView(card(8)));
    // One that opens below another that closes.
    flickable().setProperty("contentY", contentY() + 40.0);
    click(row(9));
    EXPECT_TRUE(isInView(card(9)));
    // One whose lower part is beyond the edge.
    flickable().setProperty("contentY", 0.0);
    click(row(7));
    EXPECT_TRUE(isInView(card(7)));
}

TEST_F(PanelListTest, KeepsAnOpenCardInViewWhenItGrowsOrOthersCome) {
    playMany(20);
    click(row(8));
    const std::vector<double> own{1, 0, 0, 0, 0, 0, 0, 0};
    EQSettings settings = scene.controller->settings("app 08");
    settings.bandGains = own;
    scene.controller->updateSettings(settings, "app 08");
    scene.settle();
    click(item(QStringLiteral("Save")));
    EXPECT_TRUE(isInView(item(QStringLiteral("Preset name"))));
    press(Qt::Key_Escape);
    scene.play(150, "Aaa");
    scene.settle();
    EXPECT_TRUE(isInView(item(name(8) + QStringLiteral(", expanded"))));
}

TEST_F(PanelListTest, StaysWhereTheUserScrollsIt) {
    playMany(20);
    click(row(3));
    const QPoint centre = place(list()).center().toPoint();
    QWheelEvent wheel(centre, scene.window->mapToGlobal(centre), {}, {0, -240}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(scene.window, &wheel);
    ASSERT_TRUE(waitUntil([&] { return contentY() > 0.0 && !flickable().property("moving").toBool(); }));
    const double scrolled = contentY();
    scene.play(150, "Zzz");
    scene.settle();
    EXPECT_EQ(contentY(), scrolled);
}

TEST_F(PanelListTest, DoesNotMoveUnderThePointerThatPressesACardAtItsEdge) {
    playMany(20);
    flickable().setProperty("contentY", 20.0);
    scene.settle();
    QQuickItem& cut = item(QStringLiteral("System, collapsed"));
    const QPoint lowest = at(cut, 20, cut.height() - 3);
    QTest::mousePress(scene.window, Qt::LeftButton, {}, lowest);
    scene.settle();
    EXPECT_EQ(contentY(), 20.0);
    QTest::mouseRelease(scene.window, Qt::LeftButton, {}, lowest);
    scene.settle();
    EXPECT_TRUE(scene.item(std::string(kSystemSourceID))->isExpanded());
}

TEST_F(PanelListTest, ShowsItsMarkAsLongAsThereIsMoreAndIsDraggedByIt) {
    playMany(3);
    EXPECT_TRUE(all(QStringLiteral("ScrollMark")).empty());
    for (int number = 3; number < 20; ++number)
        scene.play(200 + number, name(number).toStdString());
    scene.settle();
    const QQuickItem& mark = only(QStringLiteral("ScrollMark"));
    EXPECT_EQ(mark.opacity(), 1.0);
    EXPECT_EQ(place(mark).top(), place(list()).top());
    // Ten points beside what is seen.
    QPoint pointer = at(mark, -10, 5);
    QTest::mousePress(scene.window, Qt::LeftButton, {}, pointer);
    for (int step = 0; step < 60; ++step)
        QTest::mouseMove(scene.window, pointer += {0, 10});
    EXPECT_NEAR(place(mark).bottom(), place(list()).bottom(), 0.5);
    EXPECT_NEAR(contentY(), flickable().property("contentHeight").toDouble() - 460.0, 0.5);
    QTest::mouseRelease(scene.window, Qt::LeftButton, {}, pointer);
    scene.settle();
    EXPECT_TRUE(isInView(card(19)));
}

// Everything off

TEST_F(PanelListTest, IsDimmedWhileEverythingIsSwitchedOff) {
    scene.theme.setAppearance({.isDark = true});
    openPlayer();
    const auto brightest = [this](const QQuickItem& what) {
        const QImage picture = scene.picture().copy(place(what).toRect());
        int most = 0;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                most = std::max(most, qGray(picture.pixel(x, y)));
        return most;
    };
    const QQuickItem& label = showing(QStringLiteral("Player"));
    const QQuickItem& quit = item(QStringLiteral("Quit"));
    const int before = brightest(label);
    const int quitBefore = brightest(quit);
    click(item(QStringLiteral("Equalizing enabled")));
    EXPECT_LT(brightest(label), before * 0.75);
    EXPECT_GT(brightest(label), before * 0.3) << "it can still be read";
    EXPECT_EQ(brightest(quit), quitBefore);
    click(item(QStringLiteral("1K hertz band gain")));
    click(playerRow("expanded"));
    EXPECT_FALSE(scene.item("player")->isExpanded()) << "it can still be used";
    click(item(QStringLiteral("Equalizing enabled")));
    EXPECT_EQ(brightest(label), before);
}

// Cards that come, go and move

TEST_F(PanelListTest, LetsACardComeAndGoOnItsSpring) {
    playMany(3);
    const double place2 = place(card(2)).top();
    const double height = list().height();
    scene.play(150, "App 01b");
    double last = place(card(2)).top();
    int steps = 0;
    ASSERT_TRUE(waitUntil([&] {
        const double now = place(card(2)).top();
        steps += now != last ? 1 : 0;
        last = now;
        return std::abs(now - place2 - 46.0) < 0.01 && list().height() == height + 46.0;
    }));
    EXPECT_GT(steps, 8) << "it was not a jump";
    scene.settle();
    scene.stop(150);
    EXPECT_EQ(cardCount(), 5) << "it is on its way out";
    EXPECT_EQ(scene.model->sources()->count(), 4);
    scene.settle();
    EXPECT_EQ(cardCount(), 4);
    EXPECT_EQ(place(card(2)).top(), place2);
    EXPECT_EQ(scene.item("app 01b"), nullptr);
}

TEST_F(PanelListTest, TakesBackACardThatReturnsOnItsWayOut) {
    playMany(2);
    SourceItem* const leaving = scene.item("app 01");
    scene.stop(201);
    ASSERT_TRUE(leaving->isLeaving());
    scene.play(201, "App 01");
    EXPECT_EQ(scene.item("app 01"), leaving);
    scene.settle();
    EXPECT_FALSE(leaving->isLeaving());
    EXPECT_EQ(card(1).height(), 38.0);
    EXPECT_EQ(cardCount(), 3);
}

TEST_F(PanelListTest, MovesACardToItsNewPlaceOnTheSpring) {
    playMany(4);
    const double first = place(card(0)).top();
    const double last = place(card(3)).top();
    QQuickItem& moved = card(3);
    scene.applications.applications[203] = {"app 03", "App -1", std::nullopt};
    scene.play(300, "Zzz"); // the names are read again
    int steps = 0;
    double before = last;
    ASSERT_TRUE(waitUntil([&] {
        steps += place(moved).top() != before ? 1 : 0;
        before = place(moved).top();
        return std::abs(before - first) < 0.01;
    }));
    EXPECT_GT(steps, 8);
}

TEST_F(PanelListTest, LosesACardAtOnceWhileThePanelIsHidden) {
    playMany(2);
    scene.window->hide();
    scene.model->setShown(false);
    scene.stop(201);
    EXPECT_EQ(scene.item("app 01"), nullptr);
}

TEST_F(PanelListTest, LosesACardAtOnceWhereTheUserWantsLessMotion) {
    scene.theme.setAppearance({.isMotionReduced = true});
    playMany(2);
    scene.stop(201);
    QCoreApplication::processEvents();
    EXPECT_EQ(scene.item("app 01"), nullptr);
}

// A card that the user is in

TEST_F(PanelListTest, KeepsACardWhoseSliderIsDraggedUntilTheDragEnds) {
    openPlayer();
    QQuickItem& slider = item(QStringLiteral("1K hertz band gain"));
    QTest::mousePress(scene.window, Qt::LeftButton, {}, at(slider, 13, 33));
    scene.stop(101);
    scene.settle();
    ASSERT_TRUE(scene.item("player"));
    EXPECT_FALSE(scene.item("player")->isLeaving());
    const QPoint beyond = place(item(QStringLiteral("Quit"))).center().toPoint(); // the drag leaves the card
    QTest::mouseMove(scene.window, beyond);
    EXPECT_EQ(gains()[4], -12.0);
    scene.settle();
    EXPECT_EQ(cardCount(), 2);
    QTest::mouseRelease(scene.window, Qt::LeftButton, {}, beyond);
    scene.settle();
    EXPECT_EQ(cardCount(), 1);
}

TEST_F(PanelListTest, KeepsACardThatTheKeyboardIsInUntilItLeaves) {
    openPlayer();
    item(QStringLiteral("EQ enabled for System")).forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Tab);
    ASSERT_TRUE(playerRow("expanded").hasActiveFocus());
    scene.stop(101);
    scene.settle();
    EXPECT_EQ(cardCount(), 2);
    item(QStringLiteral("63 hertz band gain")).forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Up);
    EXPECT_EQ(gains()[0], 1.0);
    EXPECT_EQ(cardCount(), 2);
    item(QStringLiteral("Quit")).forceActiveFocus(Qt::TabFocusReason);
    scene.settle();
    EXPECT_EQ(cardCount(), 1);
}

TEST_F(PanelListTest, KeepsACardWhilePresetIsNamedOrAMenuIsOpen) {
    openPlayer();
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.settle();
    click(item(QStringLiteral("Save")));
    scene.stop(101);
    scene.settle();
    EXPECT_EQ(cardCount(), 2);
    press(Qt::Key_A);
    press(Qt::Key_Return);
    EXPECT_EQ(scene.controller->userPresets().value().size(), 1U);
    scene.play(101, "Player");
    click(item(QStringLiteral("Output route")));
    scene.stop(101);
    scene.settle();
    EXPECT_EQ(cardCount(), 2);
    click(item(QStringLiteral("Studio Headphones")));
    EXPECT_EQ(scene.controller->settings("player").outputDeviceUID, "headphones");
    ASSERT_TRUE(waitUntil([&] { return cardCount() == 1; }));
}

TEST_F(PanelListTest, LosesACardThatWasOnlyOpenedByThePointer) {
    openPlayer();
    scene.stop(101);
    scene.settle();
    EXPECT_EQ(cardCount(), 1);
}

} // namespace
} // namespace vello
