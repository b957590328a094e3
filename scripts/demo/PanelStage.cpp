// SPDX-License-Identifier: Apache-2.0
#include "PanelStage.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace vello::demo {
namespace {

using namespace std::chrono_literals;
using namespace vello::session;

constexpr const char* kPanelTitle = "VELLO by QUORVIN";
constexpr const char* kProgram = "VELLO";
constexpr auto kRest = 600ms;
/// Pixels by which the window's transparent margin exceeds the picture.
constexpr int kLeftOut = 8;

Environment with(Environment environment, const Environment& more) {
    for (const auto& [name, value] : more)
        environment[name] = value;
    return environment;
}

} // namespace

PanelStage::PanelStage(const PrivateAudioSession& session, const Environment& look)
    : desktop_(with(session.environment(), look), session.folder(), TrayHost::none) {
    compositor_ = desktop_.start("compositor", {"xcompmgr"});
    const auto& screen = desktop_.screen();
    if (!screen.waitUntil([&] { return screen.hasCompositor(); }))
        throw std::runtime_error("the compositor does not start:\n" + compositor_->output());
    const auto wallpaper = desktop_.start("wallpaper", {"hsetroot", "-add", "#2b5876", "-add", "#6a4c8c",
                                                        "-add", "#e08e79", "-gradient", "145"});
    if (wallpaper->waitForExit(5s) != 0)
        throw std::runtime_error("the wallpaper cannot be set:\n" + wallpaper->output());
    vello_ = desktop_.start("vello", {"env", VELLO_PROGRAM});
    if (!screen.waitUntil([&] { return screen.window(kPanelTitle).has_value(); }))
        throw std::runtime_error("the panel does not open:\n" + vello_->output());
}

AccessibleElement PanelStage::find(const std::string& role, const std::string& name) {
    std::optional<AccessibleElement> found;
    const auto isThere = [&] {
        found = desktop_.accessibleTree().find(kProgram, role, name);
        return found.has_value();
    };
    if (!desktop_.screen().waitUntil(isThere, 12s))
        throw std::runtime_error("the panel does not show \"" + name + "\", but\n" +
                                 describe(desktop_.accessibleTree().elements(kProgram)) + vello_->output());
    return *found;
}

void PanelStage::await(const std::string& control) {
    find("", control);
}

void PanelStage::openCard(const std::string& application) {
    const auto card = find("", application + ", collapsed");
    restingArea();
    desktop_.screen().click(desktop_.accessibleTree().extents(card).center());
    find("", application + ", expanded");
    // Moves the pointer away from the panel, so that no control is highlighted.
    desktop_.screen().movePointer({PrivateScreen::width / 4, PrivateScreen::height - 20});
}

QRect PanelStage::restingArea() {
    const auto& screen = desktop_.screen();
    QRect last;
    auto since = std::chrono::steady_clock::now();
    const auto isAtRest = [&] {
        const auto now = std::chrono::steady_clock::now();
        const auto panel = screen.window(kPanelTitle);
        const QRect area = panel ? panel->area : QRect();
        if (std::exchange(last, area) != area)
            since = now;
        return !area.isEmpty() && now - since > kRest;
    };
    if (!screen.waitUntil(isAtRest))
        throw std::runtime_error("the panel does not come to rest:\n" + vello_->output());
    return last;
}

void PanelStage::takePicture(const std::filesystem::path& file) {
    constexpr QRect screen(0, 0, PrivateScreen::width, PrivateScreen::height);
    const QRect part = restingArea().adjusted(kLeftOut, kLeftOut, -kLeftOut, -kLeftOut).intersected(screen);
    std::filesystem::create_directories(file.parent_path());
    if (!desktop_.screen().picture(part).save(QString::fromStdString(file.string())))
        throw std::runtime_error("cannot write " + file.string());
}

} // namespace vello::demo
