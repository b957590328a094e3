// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/PanelPresenter.h"

#include "FakeWindowSystem.h"
#include "PanelScene.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>
#include <QGuiApplication>
#include <QScreen>
#include <QStyleHints>

#include <optional>

namespace vello {
namespace {

/// At the top edge of the screen, near its middle.
const QRect kIcon(389, 0, 22, 22);

class PanelPresenterTest : public testing::Test {
protected:
    /// Clicks are not double clicks here unless a test says so.
    PanelPresenterTest() { QGuiApplication::styleHints()->setMouseDoubleClickInterval(0); }
    ~PanelPresenterTest() override {
        QGuiApplication::styleHints()->setMouseDoubleClickInterval(doubleClickInterval_);
    }

    PanelPresenter& makePresenter(std::optional<ScreenCorner> corner = {}) {
        presenter_.emplace(*scene_.model, scene_.theme, windows_, corner);
        return *presenter_;
    }
    /// The visible part of the window, in screen coordinates.
    QRect panel() const {
        const QQuickWindow& window = *presenter_->window();
        return window.property("surface").toRectF().toAlignedRect().translated(window.position());
    }
    /// A complete click at `place`, in logical pixels; on the item also the activation that its host reports.
    void click(QPoint place, bool isOnItem = false) {
        emit windows_.buttonPressed(place * 2);
        emit windows_.buttonReleased(place * 2);
        if (isOnItem)
            presenter_->toggle(kIcon);
    }
    static QRect screen() { return QGuiApplication::primaryScreen()->availableGeometry(); }

    const int doubleClickInterval_ = QGuiApplication::styleHints()->mouseDoubleClickInterval();
    PanelScene scene_;
    FakeWindowSystem windows_;
    std::optional<PanelPresenter> presenter_;
};

TEST_F(PanelPresenterTest, OpensThePanelUnderTheItemAndClosesItAgain) {
    PanelPresenter& presenter = makePresenter();
    presenter.toggle(kIcon);
    ASSERT_TRUE(presenter.isPanelVisible());
    EXPECT_NEAR(panel().center().x(), kIcon.center().x(), 1);
    EXPECT_EQ(panel().top(), kIcon.y() + kIcon.height() + 8);
    presenter.toggle(kIcon);
    EXPECT_FALSE(presenter.isPanelVisible());
}

TEST_F(PanelPresenterTest, TellsThePanelHowHighTheScreenIs) {
    PanelPresenter& presenter = makePresenter(ScreenCorner::bottomLeft);
    for (int number = 0; number < 30; ++number)
        scene_.play(200 + number, "App " + std::to_string(number));
    presenter.show(std::nullopt);
    EXPECT_EQ(presenter.window()->property("availableHeight").toInt(), screen().height() - 16);
    EXPECT_LE(panel().height(), screen().height() - 16);
    EXPECT_LE(presenter.window()->height(), screen().height() - 16 + 40);
}

TEST_F(PanelPresenterTest, WritesCrispLettersOnEveryRenderer) {
    makePresenter();
    EXPECT_EQ(QQuickWindow::textRenderType(), QQuickWindow::NativeTextRendering);
}

TEST_F(PanelPresenterTest, OpensThePanelInTheChosenCornerWhereTheItemsPlaceIsNotKnown) {
    PanelPresenter& presenter = makePresenter(ScreenCorner::bottomLeft);
    presenter.show(std::nullopt);
    EXPECT_EQ(panel().left(), screen().left() + 8);
    EXPECT_EQ(panel().bottom(), screen().bottom() - 8);
    ASSERT_EQ(windows_.prepared.size(), 1);
    EXPECT_EQ(windows_.prepared.first().corner, ScreenCorner::bottomLeft);
    const int inset = 8 - panel().left() + presenter.window()->x();
    EXPECT_EQ(windows_.prepared.first().horizontal, inset)
        << "so that the panel, not its clear margin, stands 8 from the edges";
    EXPECT_EQ(windows_.prepared.first().vertical, inset);
}

TEST_F(PanelPresenterTest, OpensThePanelAtTheBarWhereTheItemsPlaceIsNotKnown) {
    PanelPresenter& presenter = makePresenter();
    for (const auto& [bars, corner] : {std::pair(QMargins(0, 30, 0, 0), ScreenCorner::topRight),
                                       std::pair(QMargins(0, 0, 0, 40), ScreenCorner::bottomRight),
                                       std::pair(QMargins(60, 0, 0, 0), ScreenCorner::bottomLeft),
                                       std::pair(QMargins(0, 0, 60, 0), ScreenCorner::bottomRight)}) {
        windows_.bars = bars;
        presenter.show(std::nullopt);
        EXPECT_EQ(windows_.prepared.last().corner, corner);
        const QRect area = screen().marginsRemoved(bars).adjusted(8, 8, -8, -8);
        EXPECT_TRUE(area.contains(panel()));
        EXPECT_EQ(isTop(corner) ? panel().top() : panel().bottom(),
                  isTop(corner) ? area.top() : area.bottom());
        EXPECT_EQ(isLeft(corner) ? panel().left() : panel().right(),
                  isLeft(corner) ? area.left() : area.right());
        presenter.hide();
    }
}

TEST_F(PanelPresenterTest, RemembersWhereTheItemWas) {
    PanelPresenter& presenter = makePresenter();
    presenter.toggle(kIcon);
    const QRect before = panel();
    presenter.toggle(kIcon);
    presenter.show(std::nullopt);
    EXPECT_EQ(panel(), before);
}

TEST_F(PanelPresenterTest, ForgetsAPlaceThatIsOnNoScreen) {
    PanelPresenter& presenter = makePresenter(ScreenCorner::bottomLeft);
    presenter.show(kIcon.translated(10'000, 0));
    EXPECT_EQ(panel().left(), screen().left() + 8);
}

TEST_F(PanelPresenterTest, HandsTheWindowToTheWindowSystemBeforeItIsShown) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    EXPECT_EQ(windows_.adopted, QList<QWindow*>{presenter.window()});
    presenter.hide();
    presenter.show(kIcon);
    EXPECT_EQ(windows_.adopted.size(), 1) << "the window is kept";
    EXPECT_EQ(windows_.prepared.size(), 2) << "it is prepared every time";
    EXPECT_FALSE(windows_.wasVisibleWhenPrepared);
}

TEST_F(PanelPresenterTest, LeavesAnOpenPanelWhereItIs) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    const QRect before = panel();
    presenter.show(std::nullopt);
    EXPECT_TRUE(presenter.isPanelVisible());
    EXPECT_EQ(panel(), before);
}

TEST_F(PanelPresenterTest, CountsAsShownWhileTheWindowIsVisible) {
    PanelPresenter& presenter = makePresenter();
    QList<bool> changes;
    QObject::connect(&presenter, &PanelPresenter::visibleChanged,
                     [&](bool isVisible) { changes.append(isVisible); });
    presenter.show(kIcon);
    presenter.hide();
    EXPECT_EQ(changes, (QList<bool>{true, false}));
}

TEST_F(PanelPresenterTest, ClosesOnAClickOutsideAndStaysOnOneInside) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    click(panel().center());
    EXPECT_TRUE(presenter.isPanelVisible());
    click(panel().bottomRight() + QPoint(10, 0));
    EXPECT_FALSE(presenter.isPanelVisible()) << "the clear margin is outside";
}

TEST_F(PanelPresenterTest, StaysOpenForADragThatBeginsOutsideAndEndsOnIt) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    QCoreApplication::processEvents();
    ASSERT_TRUE(presenter.window()->isActive());
    emit windows_.buttonPressed(screen().bottomLeft() * 2);
    emit windows_.keyboardLost(); // the window under the press has taken it
    EXPECT_TRUE(presenter.isPanelVisible());
    emit windows_.buttonReleased(panel().center() * 2);
    EXPECT_TRUE(presenter.isPanelVisible());
    emit windows_.buttonPressed(screen().bottomLeft() * 2);
    EXPECT_TRUE(presenter.isPanelVisible()) << "it may become a drag";
    emit windows_.buttonReleased(screen().topLeft() * 2);
    EXPECT_FALSE(presenter.isPanelVisible());
}

TEST_F(PanelPresenterTest, ForgetsAPressOutsideWhenItIsShownAnew) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    emit windows_.buttonPressed(screen().bottomLeft() * 2);
    presenter.hide();
    presenter.show(kIcon);
    emit windows_.buttonReleased(screen().bottomLeft() * 2);
    EXPECT_TRUE(presenter.isPanelVisible());
}

TEST_F(PanelPresenterTest, StaysOpenWhileTheUserIsAskedForConsentAndShowsTheAnswer) {
    scene_.authorization.answer = Consent::undecided;
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    scene_.authorization.isQuestionOpen = true;
    QCoreApplication::processEvents();
    click(screen().bottomLeft()); // a button of the question
    emit windows_.keyboardLost();
    EXPECT_TRUE(presenter.isPanelVisible());
    EXPECT_TRUE(scene_.model->isAskingForConsent());
    scene_.authorization.isQuestionOpen = false;
    scene_.authorization.change(Consent::allowed);
    EXPECT_TRUE(scene_.model->isAuthorized());
    click(screen().bottomLeft());
    EXPECT_FALSE(presenter.isPanelVisible());
}

TEST_F(PanelPresenterTest, ClosesWhenItLosesTheKeyboardAndStaysClosedAtTheSameClick) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    emit windows_.keyboardLost();
    EXPECT_TRUE(presenter.isPanelVisible()) << "it does not have the keyboard yet";
    QCoreApplication::processEvents();
    ASSERT_TRUE(presenter.window()->isActive());
    emit windows_.keyboardLost();
    EXPECT_FALSE(presenter.isPanelVisible());
    presenter.toggle(kIcon); // the press that took the keyboard was on the item
    EXPECT_FALSE(presenter.isPanelVisible());
    presenter.toggle(kIcon);
    EXPECT_TRUE(presenter.isPanelVisible());
}

TEST_F(PanelPresenterTest, ClosesAtAPressThatTheWindowSystemCaughtOutside) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    emit windows_.pressedOutside();
    EXPECT_FALSE(presenter.isPanelVisible());
    presenter.toggle(kIcon);
    EXPECT_TRUE(presenter.isPanelVisible()) << "the press was not on the item";
}

TEST_F(PanelPresenterTest, TakesTheShapeAndPlaceThatAStoppedCompositorLeavesIt) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    const QRect before = panel();
    windows_.isTranslucent = false;
    emit windows_.translucencyChanged();
    EXPECT_TRUE(waitUntil([this] { return windows_.limits.cornerRadius > 0.0; }));
    EXPECT_TRUE(presenter.isPanelVisible());
    EXPECT_EQ(panel(), before);
}

TEST_F(PanelPresenterTest, StandsOnAScreenAgainAfterItsScreenWentAway) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(std::nullopt);
    emit windows_.windowClosed();
    EXPECT_FALSE(presenter.isPanelVisible());
    emit qGuiApp->screenRemoved(QGuiApplication::primaryScreen());
    EXPECT_TRUE(waitUntil([&] { return presenter.isPanelVisible(); }));
}

TEST_F(PanelPresenterTest, FollowsTheBarOfItsScreen) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(std::nullopt);
    ASSERT_EQ(panel().top(), screen().top() + 8);
    windows_.bars = {0, 0, 0, 40};
    QScreen& itsScreen = *QGuiApplication::primaryScreen();
    emit itsScreen.availableGeometryChanged({});
    EXPECT_TRUE(waitUntil([this] { return panel().bottom() == screen().bottom() - 48; }));
    EXPECT_TRUE(presenter.isPanelVisible());
    emit itsScreen.availableGeometryChanged({});
    presenter.hide();
    EXPECT_EQ(windows_.prepared.size(), 2);
}

TEST_F(PanelPresenterTest, StaysClosedAfterTheClickOnTheItemThatClosedIt) {
    PanelPresenter& presenter = makePresenter();
    click(kIcon.center(), true);
    EXPECT_TRUE(presenter.isPanelVisible());
    click(kIcon.center(), true);
    EXPECT_FALSE(presenter.isPanelVisible());
    click(kIcon.center(), true);
    EXPECT_TRUE(presenter.isPanelVisible());
}

TEST_F(PanelPresenterTest, StaysOpenAtTheSecondPressOfADoubleClickOnTheItem) {
    QGuiApplication::styleHints()->setMouseDoubleClickInterval(60'000);
    PanelPresenter& presenter = makePresenter();
    click(kIcon.center(), true);
    click(kIcon.center());
    EXPECT_TRUE(presenter.isPanelVisible());
    click(screen().bottomLeft());
    EXPECT_FALSE(presenter.isPanelVisible()) << "elsewhere it is a click of its own";
}

TEST_F(PanelPresenterTest, CountsClicksThatAreFasterThanTheItemsHost) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    click(kIcon.center());
    click(kIcon.center());
    presenter.toggle(kIcon); // the first click
    EXPECT_FALSE(presenter.isPanelVisible());
    presenter.toggle(kIcon); // the second click
    EXPECT_TRUE(presenter.isPanelVisible());
}

TEST_F(PanelPresenterTest, OpensOnAClickOnTheItemRightAfterOneOutside) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    click(screen().bottomLeft());
    ASSERT_FALSE(presenter.isPanelVisible());
    click(kIcon.center(), true);
    EXPECT_TRUE(presenter.isPanelVisible());
}

TEST_F(PanelPresenterTest, ClosesWhenThePanelAsksForIt) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    QMetaObject::invokeMethod(presenter.window(), "dismissed");
    EXPECT_FALSE(presenter.isPanelVisible());
}

TEST_F(PanelPresenterTest, TellsTheWindowSystemWhereThePanelIsInItsWindow) {
    makePresenter().show(kIcon);
    const QRect inWindow = panel().translated(-presenter_->window()->position());
    EXPECT_EQ(windows_.limits.panel, inWindow);
    EXPECT_EQ(windows_.limits.shadow, inWindow.x());
    EXPECT_EQ(windows_.limits.cornerRadius, 0.0);
}

TEST_F(PanelPresenterTest, GivesTheWindowThePanelsShapeWhereNothingIsTranslucent) {
    windows_.isTranslucent = false;
    makePresenter().show(kIcon);
    EXPECT_EQ(windows_.limits.panel.topLeft(), QPoint(0, 0));
    EXPECT_GT(windows_.limits.cornerRadius, 0.0);
}

TEST_F(PanelPresenterTest, ShowsTheAboutWindowBesideThePanel) {
    PanelPresenter& presenter = makePresenter();
    presenter.show(kIcon);
    presenter.showAbout();
    const auto isAbout = [](const QWindow* window) {
        return window->isVisible() && window->title() == QStringLiteral("About VELLO");
    };
    EXPECT_TRUE(std::ranges::any_of(QGuiApplication::topLevelWindows(), isAbout));
    EXPECT_TRUE(presenter.isPanelVisible());
}

} // namespace
} // namespace vello
