// SPDX-License-Identifier: Apache-2.0
// The status item and the panel that it opens, operated with real clicks and keys on real tray hosts.
#include "PanelTest.h"
#include "ScreenConnection.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>

#include <X11/keysym.h>

namespace vello::session {
namespace {

constexpr QPoint emptyPlace(200, 600);
constexpr int wheelUp = 4;
constexpr int wheelDown = 5;

/// The width of the shadow around the panel, in pixels.
constexpr int kShadow = 20;

/// Checks the position of the panel relative to an icon in a bar at the top.
void expectBeside(const QRect& panel, const QRect& icon) {
    EXPECT_GE(panel.top(), kBarHeight);
    EXPECT_LE(panel.top(), kBarHeight + 16);
    EXPECT_LE(panel.left(), icon.center().x());
    EXPECT_GE(panel.right(), icon.center().x());
    EXPECT_LT(panel.right(), PrivateScreen::width);
}

class PanelOnHost : public PanelTest, public testing::WithParamInterface<TrayHost> {};

TEST_P(PanelOnHost, OpensBesideItsIconAndClosesByRealClicks) {
    openDesktop(GetParam());
    startPanel();
    awaitOpen();
    const QRect icon = desktop().awaitTrayIcon();
    screen().clickApart(icon.center());
    awaitClosed();
    for (int i = 0; i < 2; ++i) {
        screen().clickApart(icon.center());
        expectBeside(awaitOpen().area, icon);
        screen().clickApart(icon.center());
        awaitClosed();
    }
    screen().clickApart(icon.center());
    screen().click(icon.center());
    expectBeside(awaitOpen().area, icon); // a double click opens it once
}

INSTANTIATE_TEST_SUITE_P(, PanelOnHost,
                         testing::Values(TrayHost::xfcePanel, TrayHost::lxqtPanel, TrayHost::tint2),
                         [](const auto& host) { return name(host.param); });

/// Whether all threads of the process block the signal.
bool isBlockedInAllThreads(pid_t process, int signal) {
    const std::filesystem::path tasks = "/proc/" + std::to_string(process) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks)) {
        std::ifstream status(task.path() / "status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("SigBlk:") &&
                (std::stoull(line.substr(7), nullptr, 16) >> (signal - 1) & 1U) == 0)
                return false;
    }
    return true;
}

/// Whether a program has told the launchers that the start with this ID is over.
bool tellsEndOfStart(const PrivateScreen::Connection& listener, const std::string& start) {
    const std::string expected = "remove: ID=\"" + start + '"';
    std::string told;
    while (const XReply<xcb_generic_event_t> event{xcb_poll_for_event(listener.xcb())}) {
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
            continue;
        const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(*event);
        if (message.format == 8)
            told.append(reinterpret_cast<const char*>(message.data.data8), sizeof message.data);
    }
    return told.starts_with(expected + '\0');
}

class Panel : public PanelTest {
protected:
    bool isProcessingEnabled() {
        const BusClient bus(session().environment().at("DBUS_SESSION_BUS_ADDRESS"));
        return bus
            .property({"com.quorvin.Vello", "/com/quorvin/Vello"}, "com.quorvin.Vello1", "ProcessingEnabled",
                      "b")
            .flag();
    }
    /// Opens the menu by a real click and chooses the entry by keyboard, because only the host, which draws
    /// the menu, knows the positions of its lines.
    void chooseEntry(int number) {
        const auto menu = [this] {
            const auto all = screen().windows();
            return std::ranges::any_of(all, [](const ScreenWindow& window) {
                return window.isVisible && window.name == "wrapper-2.0" &&
                       window.area.height() > 3 * kBarHeight;
            });
        };
        screen().click(desktop().awaitTrayIcon().center(), 3);
        require(screen().waitUntil(menu), "the host shows no menu");
        for (int i = 0; i < number; ++i)
            screen().pressKeys({XK_Down});
        screen().pressKeys({XK_Return});
        require(screen().waitUntil([&] { return !menu(); }), "the menu stays");
    }
};

TEST_F(Panel, OpensBesideItsIconAtLaunch) {
    openDesktop();
    startPanel();
    const auto window = awaitOpen();
    expectBeside(window.area, desktop().awaitTrayIcon());
}

TEST_F(Panel, EndsInAnOrderlyWayAtASignal) {
    openDesktop();
    startPanel();
    awaitOpen();
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        EXPECT_TRUE(isBlockedInAllThreads(panelProcess().pid(), signal)) << signal;
    panelProcess().signal(SIGTERM);
    expectQuit();
}

TEST_F(Panel, ClosesAtEscapeAndAtAClickOutside) {
    openDesktop();
    startPanel();
    const auto window = awaitOpen();
    screen().pressKeys({XK_Escape});
    awaitClosed();
    screen().clickApart(desktop().awaitTrayIcon().center());
    awaitOpen();
    screen().click(window.area.center()); // inside the panel
    for (const int button : {2, 3, wheelUp, wheelDown})
        screen().click(emptyPlace, button);
    EXPECT_TRUE(find("", "Quit"));
    EXPECT_EQ(awaitOpen().area, window.area) << "only the first button closes it";
    screen().click(emptyPlace);
    awaitClosed();
    // Even an immediate press is a different one from the press that closed the panel.
    screen().click(desktop().awaitTrayIcon().center());
    awaitOpen();
}

TEST_F(Panel, IsWholeWhenTheCompositorStopsAndStartsAgain) {
    openDesktop();
    const auto startCompositor = [this] {
        auto compositor = desktop().start("compositor", {"xcompmgr"});
        require(screen().waitUntil([this] { return screen().hasCompositor(); }), "no compositor starts");
        return compositor;
    };
    const auto awaitWidth = [this](const QRect& panel, int shadow) {
        const QRect expected = panel.adjusted(-shadow, -shadow, shadow, shadow);
        return screen().waitUntil([&] { return this->panel() && this->panel()->area == expected; });
    };
    startPanel();
    const QRect bare = awaitOpen().area;
    for (int i = 0; i < 2; ++i) {
        auto compositor = startCompositor();
        EXPECT_TRUE(awaitWidth(bare, kShadow)) << "it has a shadow";
        compositor.reset();
        EXPECT_TRUE(awaitWidth(bare, 0)) << "it has no edge of the shadow's width";
    }
}

TEST_F(Panel, StaysOpenWhenAnotherWindowComesToTheFront) {
    openDesktop();
    startPanel();
    const auto window = awaitOpen();
    screen().openWindow("another program", {100, 300, 300, 200});
    ASSERT_TRUE(screen().waitUntil([&] { return !screen().hasKeyboard(window); }));
    clickOn("", "System, collapsed");
    await("", "System, expanded");
}

TEST_F(Panel, OpensAtLaunchAndAtTheNextStartWhereThereIsNoTray) {
    openDesktop(TrayHost::none);
    startPanel();
    awaitOpen();
    const PrivateScreen::Connection listener(screen().name());
    EXPECT_TRUE(startAgain("launcher-7_TIME0"));
    EXPECT_TRUE(screen().waitUntil([&] { return tellsEndOfStart(listener, "launcher-7_TIME0"); }));
    EXPECT_TRUE(find("", "Quit")) << "a second start is no switch";
    screen().pressKeys({XK_Escape});
    awaitClosed();
    EXPECT_TRUE(startAgain());
    awaitOpen();
}

TEST_F(Panel, FollowsTheSettingsOfADesktopWithoutAPortal) {
    openDesktop();
    const auto file = session().folder() / "xsettingsd.conf";
    const auto write = [&file](const std::string& theme) {
        std::ofstream(file) << "Net/ThemeName \"" << theme << "\"\n";
    };
    write("Greybird-dark");
    const auto manager = desktop().start("xsettingsd", {"xsettingsd", "--config", file.string()});
    startPanel();
    awaitOpen();
    EXPECT_TRUE(screen().waitUntil([this] { return panelLightness() < 0.3; })) << panelLightness();
    write("Greybird");
    manager->signal(SIGHUP);
    EXPECT_TRUE(screen().waitUntil([this] { return panelLightness() > 0.6; })) << panelLightness();
    write("Greybird-dark");
    manager->signal(SIGHUP);
    EXPECT_TRUE(screen().waitUntil([this] { return panelLightness() < 0.3; })) << panelLightness();
    manager->terminate();
    EXPECT_TRUE(screen().waitUntil([this] { return panelLightness() > 0.6; })) << "without a manager";
}

TEST_F(Panel, FindsATrayThatComesLateAndOneThatComesBack) {
    openDesktop(TrayHost::none);
    startPanel();
    awaitOpen();
    screen().pressKeys({XK_Escape});
    awaitClosed();
    for (int i = 0; i < 2; ++i) {
        desktop().startTrayHost(TrayHost::xfcePanel);
        screen().clickApart(desktop().awaitTrayIcon().center());
        awaitOpen();
        screen().pressKeys({XK_Escape});
        awaitClosed();
        desktop().stopTrayHost();
    }
}

TEST_F(Panel, MovesItsIconFromAnEmbeddingHostToOneOnTheBus) {
    openDesktop(TrayHost::tint2);
    startPanel();
    awaitOpen();
    screen().pressKeys({XK_Escape});
    awaitClosed();
    desktop().stopTrayHost();
    desktop().startTrayHost(TrayHost::xfcePanel);
    const QRect icon = desktop().awaitTrayIcon();
    screen().click(icon.center());
    expectBeside(awaitOpen().area, icon);
}

TEST_F(Panel, DoesWhatTheMenuOfItsIconOffers) {
    constexpr int openEntry = 1, switchEntry = 2, bassBoostEntry = 5, aboutEntry = 9, quitEntry = 10;
    openDesktop();
    startPanel();
    awaitOpen();
    clickOn("", "System, collapsed");
    await("slider", "63 hertz band gain");
    screen().pressKeys({XK_Escape});
    awaitClosed();

    chooseEntry(bassBoostEntry);
    EXPECT_TRUE(isProcessingEnabled());
    chooseEntry(switchEntry);
    EXPECT_TRUE(screen().waitUntil([this] { return !isProcessingEnabled(); }));
    chooseEntry(openEntry);
    expectBeside(awaitOpen().area, desktop().awaitTrayIcon());
    await("", "Bass Boost");
    chooseEntry(aboutEntry);
    EXPECT_TRUE(screen().waitUntil([this] { return screen().window("About VELLO").has_value(); }));
    chooseEntry(quitEntry);
    expectQuit();
}

} // namespace
} // namespace vello::session
