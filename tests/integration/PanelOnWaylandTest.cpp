// SPDX-License-Identifier: Apache-2.0
// The status item and the panel on a Wayland compositor with a layer shell, operated with real clicks and
// keys.
#include "PanelTest.h"
#include "PrivateWaylandDesktop.h"
#include "TrayHost.h"

#include <X11/keysym.h>

namespace vello::session {
namespace {

/// How long an item must keep its position to count as at rest.
constexpr auto kRest = 150ms;
/// The panel's width and its distance from bars and edges, in pixels.
constexpr int kPanelWidth = 344;
constexpr int kGap = 8;
constexpr QPoint kOutside(200, 700); ///< also of the second monitor

class PanelOnWayland : public VelloTest {
protected:
    void SetUp() override {
        openSession();
        desktop_ = std::make_unique<PrivateWaylandDesktop>(session().environment(), session().folder());
    }
    void TearDown() override {
        expectNoToolkitWarnings(panel_ ? panel_->output() : "");
        if (HasFailure() && desktop_) {
            keepPicture(screen());
            ADD_FAILURE() << "the panel says:\n"
                          << (panel_ ? panel_->output() : "") << "\nthe desktop says:\n"
                          << desktop_->logs();
        }
        panel_.reset();
        desktop_.reset();
        VelloTest::TearDown();
    }

    PrivateScreen& screen() { return desktop_->screen(); }
    void startPanel(const std::string& corner) {
        panel_ = desktop_->start("panel", {VELLO_PROGRAM}, {{"VELLO_PANEL_CORNER", corner}});
    }
    /// The result of `read` once it is not empty and has stayed the same; empty on timeout.
    template <class Read> QRect awaitAtRest(Read read) {
        QRect last;
        auto since = std::chrono::steady_clock::now();
        const bool isAtRest = screen().waitUntil([&] {
            const auto now = std::chrono::steady_clock::now();
            const QRect area = read();
            if (area != last)
                since = now;
            last = area;
            return !area.isEmpty() && now - since >= kRest;
        });
        return isAtRest ? last : QRect();
    }
    QRect awaitOpen() {
        return awaitAtRest([this] { return desktop_->drawnBelowBar(); });
    }
    bool awaitClosed() {
        return screen().waitUntil([this] { return desktop_->drawnBelowBar().isEmpty(); });
    }
    QPoint icon() {
        return awaitAtRest([this] { return desktop_->trayIcons(); }).center();
    }

    std::unique_ptr<PrivateWaylandDesktop> desktop_;
    std::unique_ptr<ChildProcess> panel_;
};

TEST_F(PanelOnWayland, OpensInItsCornerAndClosesByRealClicksAndByEscape) {
    startPanel("top-right");
    const QRect atLaunch = awaitOpen();
    EXPECT_NEAR(atLaunch.width(), kPanelWidth, 2);
    EXPECT_NEAR(atLaunch.right(), PrivateScreen::width - 1 - kGap, 1);
    EXPECT_NEAR(atLaunch.top(), kBarHeight + kGap, 1);
    screen().clickApart(icon());
    ASSERT_TRUE(awaitClosed()) << "by the icon";
    for (int i = 0; i < 2; ++i) {
        screen().clickApart(icon());
        EXPECT_EQ(awaitOpen(), atLaunch);
        screen().pressKeys({XK_Escape});
        ASSERT_TRUE(awaitClosed()) << "by Escape: it has the keyboard as soon as it is open";
    }
    screen().click(icon());
    awaitOpen();
    screen().click(kOutside);
    ASSERT_TRUE(awaitClosed()) << "by a click outside";
}

TEST_F(PanelOnWayland, StandsInTheCornerOfTheUsersChoiceAndGrowsFromThere) {
    startPanel("bottom-left");
    const QRect before = awaitOpen();
    EXPECT_NEAR(before.left(), kGap, 1);
    EXPECT_NEAR(before.bottom(), PrivateScreen::height - 1 - kGap, 1);
    // The first card is the system-wide entry; a click on its name opens it.
    screen().click(before.topLeft() + QPoint(80, 62));
    ASSERT_TRUE(
        screen().waitUntil([&] { return desktop_->drawnBelowBar().height() > before.height() + 100; }));
    const QRect after = awaitOpen();
    EXPECT_EQ(after.left(), before.left());
    EXPECT_EQ(after.bottom(), before.bottom());
    EXPECT_EQ(after.width(), before.width());
}

TEST_F(PanelOnWayland, OpensOnTheMonitorInUseAndAClickOnAnotherOneClosesIt) {
    startPanel("top-right");
    awaitOpen();
    const QPoint iconOnTheFirst = icon();
    screen().pressKeys({XK_Escape});
    ASSERT_TRUE(awaitClosed());
    desktop_->plugIn();
    const auto again = desktop_->start("again", {VELLO_PROGRAM});
    EXPECT_NEAR(awaitOpen().right(), PrivateWaylandDesktop::secondWidth - 1 - kGap, 1);
    screen().click(kOutside);
    ASSERT_TRUE(awaitClosed());
    screen().clickApart(iconOnTheFirst);
    EXPECT_NEAR(awaitOpen().right(), PrivateScreen::width - 1 - kGap, 1) << "where the icon was clicked";
}

TEST_F(PanelOnWayland, IsOnTheMonitorThatIsLeftWhenItsOwnIsUnplugged) {
    desktop_->plugIn();
    startPanel("top-right");
    const QRect onTheSecond = awaitOpen();
    ASSERT_FALSE(onTheSecond.isEmpty());
    desktop_->unplug();
    const QRect onTheFirst = awaitOpen();
    EXPECT_EQ(onTheFirst.size(), onTheSecond.size());
    EXPECT_NEAR(onTheFirst.right(), PrivateScreen::width - 1 - kGap, 1);
    screen().pressKeys({XK_Escape});
    ASSERT_TRUE(awaitClosed()) << "it has the keyboard there too";
    screen().clickApart(icon());
    EXPECT_EQ(awaitOpen(), onTheFirst);
}

} // namespace
} // namespace vello::session
