// SPDX-License-Identifier: Apache-2.0
#include "PrivateWaylandDesktop.h"

#include "BusClient.h"
#include "Picture.h"
#include "TrayHost.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include <stdlib.h>
#include <unistd.h>

namespace vello::session {
namespace {

using namespace std::chrono_literals;

constexpr uid_t kNobody = 65534;

constexpr char kCompositorConfiguration[] = R"(xwayland disable
output * resolution 1280x900
output X11-1 position 0,0
output X11-2 resolution 800x600
)";

/// The window that is the compositor's second monitor.
constexpr char kSecondMonitor[] = "wlroots - X11-2";

constexpr char kBarConfiguration[] = R"({
    "layer": "top",
    "position": "top",
    "height": 28,
    "modules-right": ["tray"],
    "tray": {"icon-size": 22, "spacing": 4}
})";

constexpr char kBarStyle[] = R"(* { border: none; min-height: 0; font-family: DejaVu Sans; font-size: 12px; }
window#waybar { background: #202020; color: #ffffff; }
)";

/// A folder owned by the user of the compositor. The compositor refuses to run as root.
std::filesystem::path makeCompositorFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "vello-wayland-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::system_error(errno, std::generic_category(), name);
    std::ofstream(std::filesystem::path(name) / "config") << kCompositorConfiguration;
    if (::geteuid() == 0 && ::chown(name.c_str(), kNobody, kNobody) != 0)
        throw std::system_error(errno, std::generic_category(), name);
    return name;
}

std::vector<std::string> asOrdinaryUser(std::vector<std::string> command) {
    if (::geteuid() != 0)
        return command;
    const std::string id = std::to_string(kNobody);
    std::vector<std::string> words{"setpriv",        "--reuid",     id,    "--regid", id,
                                   "--clear-groups", "--pdeathsig", "KILL"};
    words.insert(words.end(), std::make_move_iterator(command.begin()),
                 std::make_move_iterator(command.end()));
    return words;
}

/// The compositor uses the first free socket name.
std::string socketIn(const std::filesystem::path& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_socket() && entry.path().filename().string().starts_with("wayland-"))
            return entry.path().string();
    }
    return {};
}

} // namespace

PrivateWaylandDesktop::PrivateWaylandDesktop(const Environment& session, std::filesystem::path folder)
    : folder_(std::move(folder)), compositorFolder_(makeCompositorFolder()), environment_(session),
      screen_(session, folder_) {
    startCompositor(session);
    environment_.erase("DISPLAY");
    environment_["WAYLAND_DISPLAY"] = socketIn(compositorFolder_);
    environment_["SWAYSOCK"] = compositorFolder_ / "sway";
    const Environment desktop{
        {"XDG_SESSION_TYPE", "wayland"},  {"GDK_BACKEND", "wayland"},
        {"GSETTINGS_BACKEND", "memory"},  {"QT_QPA_PLATFORM", "wayland"},
        {"QT_FORCE_STDERR_LOGGING", "1"}, {"QT_MESSAGE_PATTERN", "[qt %{type}] %{message}"},
    };
    for (const auto& [name, value] : desktop)
        environment_[name] = value;
    startBar();
}

PrivateWaylandDesktop::~PrivateWaylandDesktop() {
    bar_.reset();
    compositor_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(compositorFolder_, ignored);
}

template <class Condition>
void PrivateWaylandDesktop::require(Condition condition, const std::string& what) const {
    if (!screen_.waitUntil(condition, 30s))
        throw std::runtime_error(std::string(what).append(" does not start:\n").append(logs()));
}

void PrivateWaylandDesktop::startCompositor(const Environment& session) {
    Environment environment = session;
    environment["DISPLAY"] = screen_.name();
    environment["HOME"] = compositorFolder_;
    environment["XDG_RUNTIME_DIR"] = compositorFolder_;
    environment["SWAYSOCK"] = compositorFolder_ / "sway";
    environment.insert({{"WLR_BACKENDS", "x11"}, {"WLR_RENDERER", "pixman"}, {"LIBSEAT_BACKEND", "noop"}});
    const auto command = asOrdinaryUser({"sway", "--config", (compositorFolder_ / "config").string()});
    compositor_ = std::make_unique<ChildProcess>(command, environment, folder_ / "sway.log");
    require([this] { return !socketIn(compositorFolder_).empty(); }, "the compositor");
    awaitListener(socketIn(compositorFolder_), *compositor_);
}

void PrivateWaylandDesktop::startBar() {
    std::ofstream(folder_ / "waybar.json") << kBarConfiguration;
    std::ofstream(folder_ / "waybar.css") << kBarStyle;
    bar_ = start("waybar", {"waybar", "--config", (folder_ / "waybar.json").string(), "--style",
                            (folder_ / "waybar.css").string()});
    awaitBar();
}

void PrivateWaylandDesktop::awaitBar() {
    const BusClient bus(environment_.at("DBUS_SESSION_BUS_ADDRESS"));
    require(
        [&] {
            const QImage bar = screen_.picture({0, 0, PrivateScreen::width, kBarHeight});
            return bus.hasOwner("org.kde.StatusNotifierWatcher") && bar.pixel(10, 10) == qRgb(32, 32, 32);
        },
        "the bar");
}

void PrivateWaylandDesktop::plugIn() {
    runProgram({"swaymsg", "create_output"}, environment_, folder_);
    require([this] { return screen_.window(kSecondMonitor).has_value(); }, "the second monitor");
    runProgram({"swaymsg", "focus", "output", "X11-2"}, environment_, folder_);
    awaitBar();
}

void PrivateWaylandDesktop::unplug() {
    screen_.closeWindow(screen_.window(kSecondMonitor).value());
    require([this] { return !screen_.window(kSecondMonitor); }, "the end of the second monitor");
}

std::unique_ptr<ChildProcess> PrivateWaylandDesktop::start(const std::string& name,
                                                           const std::vector<std::string>& arguments,
                                                           const Environment& more) const {
    Environment environment = environment_;
    for (const auto& [variable, value] : more)
        environment[variable] = value;
    return std::make_unique<ChildProcess>(arguments, environment,
                                          folder_ / std::filesystem::path(name).concat(".log"));
}

QRect PrivateWaylandDesktop::trayIcons() const {
    return drawnOn(screen_.picture({0, 0, PrivateScreen::width, kBarHeight}));
}

QRect PrivateWaylandDesktop::drawnBelowBar() const {
    constexpr QRect rest(0, kBarHeight, PrivateScreen::width, PrivateScreen::height - kBarHeight);
    const QRect drawn = drawnOn(screen_.picture(rest));
    return drawn.isEmpty() ? QRect() : drawn.translated(rest.topLeft());
}

std::string PrivateWaylandDesktop::logs() const {
    std::string result;
    for (const auto* program : {&compositor_, &bar_})
        if (*program)
            result += (*program)->output();
    return result;
}

} // namespace vello::session
