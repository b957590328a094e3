// SPDX-License-Identifier: Apache-2.0
#include "PrivateDesktop.h"

#include "Picture.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace vello::session {
namespace {

using namespace std::chrono_literals;

/// Windows get the keyboard focus when they appear and when they are clicked. A click on the empty desktop
/// does nothing.
constexpr char kWindowManagerConfiguration[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew><focusLast>yes</focusLast><followMouse>no</followMouse></focus>
  <theme><animateIconify>no</animateIconify></theme>
  <mouse>
    <context name="Client">
      <mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind>
    </context>
    <context name="Close">
      <mousebind button="Left" action="Click"><action name="Close"/></mousebind>
    </context>
  </mouse>
</openbox_config>
)";

Environment desktopEnvironment(Environment environment, const std::string& screen) {
    const Environment desktop{
        {"DISPLAY", screen},
        {"XDG_SESSION_TYPE", "x11"},
        {"QT_QPA_PLATFORM", "xcb"},
        {"QSG_RENDER_LOOP", "basic"}, // the threaded loop is not throttled without vertical sync
        {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"},
        {"QT_FORCE_STDERR_LOGGING", "1"},
        {"QT_MESSAGE_PATTERN", "[qt %{type}] %{message}"},
        {"GSETTINGS_BACKEND", "memory"},
    };
    for (const auto& [name, value] : desktop)
        environment[name] = value;
    return environment;
}

} // namespace

PrivateDesktop::PrivateDesktop(const Environment& session, std::filesystem::path folder, TrayHost trayHost)
    : folder_(std::move(folder)), screen_(session, folder_) {
    environment_ = desktopEnvironment(session, screen_.name());
    startAccessibility();
    startWindowManager();
    if (trayHost != TrayHost::none)
        startTrayHost(trayHost);
}

template <class Condition> void PrivateDesktop::require(Condition condition, const std::string& what) const {
    if (!screen_.waitUntil(condition, 30s)) // two tests may start their programs at the same time
        throw std::runtime_error(std::string(what)
                                     .append(" does not start:\n")
                                     .append(logs())
                                     .append(describe(screen_.windows())));
}

std::unique_ptr<ChildProcess> PrivateDesktop::start(const std::string& name,
                                                    const std::vector<std::string>& arguments) const {
    return std::make_unique<ChildProcess>(arguments, environment_, folder_ / (name + ".log"));
}

void PrivateDesktop::startAccessibility() {
    const BusClient bus(environment_.at("DBUS_SESSION_BUS_ADDRESS"));
    accessibilityBus_ = start("accessibility", {"/usr/libexec/at-spi-bus-launcher", "--launch-immediately"});
    require([&] { return bus.hasOwner("org.a11y.Bus"); }, "the accessibility bus");
    accessibleTree_ = std::make_unique<AccessibleTree>(environment_);
}

void PrivateDesktop::startWindowManager() {
    const auto file = folder_ / "openbox.xml";
    std::ofstream(file) << kWindowManagerConfiguration;
    windowManager_ = start("openbox", {"openbox", "--sm-disable", "--config-file", file.string()});
    require([this] { return screen_.hasWindowManager() && screen_.awaitWindowsShown(1s); },
            "the window manager");
}

void PrivateDesktop::startTrayHost(TrayHost host) {
    const BusClient bus(environment_.at("DBUS_SESSION_BUS_ADDRESS"));
    trayHost_ = session::startTrayHost(host, environment_, folder_);
    require(
        [&] {
            const bool takesIcons = takesItemsFromTheBus(host) ? bus.hasOwner("org.kde.StatusNotifierWatcher")
                                                               : screen_.hasEmbeddingTray();
            const auto windows = screen_.windows();
            return takesIcons && std::ranges::any_of(windows, [](const ScreenWindow& window) {
                       return window.isVisible && window.area.top() == 0 &&
                              window.area.width() == PrivateScreen::width &&
                              window.area.height() == kBarHeight;
                   });
        },
        name(host));
}

void PrivateDesktop::stopTrayHost() {
    trayHost_.reset();
}

QRect PrivateDesktop::trayIcons() const {
    // Excludes the edges, where a host may draw a border.
    constexpr QRect bar(2, 3, PrivateScreen::width - 4, kBarHeight - 6);
    const QRect icons = drawnOn(screen_.picture(bar));
    return icons.isEmpty() ? QRect() : icons.translated(bar.topLeft());
}

QRect PrivateDesktop::awaitTrayIcon() const {
    QRect last;
    std::chrono::steady_clock::time_point since;
    const bool isThere = screen_.waitUntil([&] {
        const auto now = std::chrono::steady_clock::now();
        const QRect icons = trayIcons();
        if (icons != last)
            since = now;
        last = icons;
        return !icons.isEmpty() && now - since > 150ms;
    });
    if (!isThere)
        throw std::runtime_error("no icon comes to rest in the tray:\n" + logs());
    return last;
}

std::string PrivateDesktop::logs() const {
    std::string result;
    for (const auto* program : {&accessibilityBus_, &windowManager_, &trayHost_})
        if (*program)
            result += (*program)->output();
    return result;
}

} // namespace vello::session
