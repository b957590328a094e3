// SPDX-License-Identifier: Apache-2.0
// The status item and the panel on a Wayland compositor with a layer shell, by real clicks and keys.
#include "PanelTest.h"
#include "PrivateWaylandDesktop.h"
#include "TrayHost.h"

#include <X11/keysym.h>

namespace vello::session {
namespace {

/// How long something has to keep its place to have come to rest.
constexpr auto rest = 150ms;
/// The panel's width and its distance from bars and edges.
constexpr int panelWidth = 344;
constexpr int gap = 8;

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
    /// What `read` says once it is something and has stayed the same; empty when that does not come.
    template <class Read> QRect awaitAtRest(Read read) {
        QRect last;
        auto since = std::chrono::steady_clock::now();
        const bool isAtRest = screen().waitUntil([&] {
            const auto now = std::chrono::steady_clock::now();
            const QRect area = read();
            if (area != last)
                since = now;
            last = area;
            return !area.isEmpty() && now - since >= rest;
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

TEST_F(PanelOnWayland, opensInItsCornerAndClosesByRealClicksAndByEscape) {
    startPanel("top-right");
    const QRect atLaunch = awaitOpen();
    EXPECT_NEAR(atLaunch.width(), panelWidth, 2);
    EXPECT_NEAR(atLaunch.right(), PrivateScreen::width - 1 - gap, 1);
    EXPECT_NEAR(atLaunch.top(), barHeight + gap, 1);
    screen().click(icon());
    ASSERT_TRUE(awaitClosed()) << "by the icon";
    for (int i = 0; i < 2; ++i) {
        screen().click(icon());
        EXPECT_EQ(awaitOpen(), atLaunch);
        screen().pressKeys({XK_Escape});
        ASSERT_TRUE(awaitClosed()) << "by Escape: it has the keyboard as soon as it is open";
    }
}

TEST_F(PanelOnWayland, standsInTheCornerOfTheUsersChoiceAndGrowsFromThere) {
    startPanel("bottom-left");
    const QRect before = awaitOpen();
    EXPECT_NEAR(before.left(), gap, 1);
    EXPECT_NEAR(before.bottom(), PrivateScreen::height - 1 - gap, 1);
    // The first card is that of the system-wide entry; a click on its name opens it.
    screen().click(before.topLeft() + QPoint(80, 62));
    ASSERT_TRUE(
        screen().waitUntil([&] { return desktop_->drawnBelowBar().height() > before.height() + 100; }));
    const QRect after = awaitOpen();
    EXPECT_EQ(after.left(), before.left());
    EXPECT_EQ(after.bottom(), before.bottom());
    EXPECT_EQ(after.width(), before.width());
}

} // namespace
} // namespace vello::session
