// SPDX-License-Identifier: Apache-2.0
#include "AskRunningInstance.h"
#include "AudioEngine/Controller/LaunchAtLoginController.h"
#include "CompanionProgram.h"
#include "Foundation/Product.h"
#include "LinuxApplication.h"
#include "OnlyInstance.h"
#include "Platform/Linux/Applications/AutostartLoginItem.h"
#include "Platform/Linux/Applications/ServiceLoginItem.h"
#include "Platform/Linux/Portals/PortalLoginItem.h"
#include "Platform/Linux/System/CharacterEncoding.h"
#include "Platform/Linux/System/MachineFacts.h"
#include "Platform/Linux/System/SystemdUserServices.h"
#include "UI/Appearance/DesktopAppearance.h"
#include "UI/ApplicationIcons/ApplicationIconImages.h"
#include "UI/Shell/PanelShell.h"

#include <QApplication>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <span>
#include <stdexcept>
#include <string_view>
#include <unistd.h>

namespace vello {
namespace {

bool hasScreen() {
    const auto isSet = [](const char* name) {
        const char* const value = std::getenv(name);
        return value && *value;
    };
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM");
}

bool isInBackground(int argumentCount, char** arguments) {
    const std::span words(arguments, static_cast<std::size_t>(argumentCount));
    return std::ranges::find(words, std::string_view(kInBackground)) != words.end();
}

/// Ends in the same orderly way as on a signal from outside: taps are removed and settings are saved.
void endApplication() {
    ::kill(::getpid(), SIGTERM);
}

/// The corner where the panel opens when the place of the status item is not known.
std::optional<ScreenCorner> chosenCorner() {
    const char* const name = std::getenv("VELLO_PANEL_CORNER");
    const auto corner = name ? screenCorner(name) : std::nullopt;
    if (name && *name && !corner)
        std::fprintf(stderr, "vello: VELLO_PANEL_CORNER is \"%s\", which is not one of %s.\n", name,
                     std::string(kScreenCornerNames).c_str());
    return corner;
}

void introduce() {
    // Not setApplicationDisplayName: Qt would append it to window titles.
    QApplication::setApplicationName(kApplicationName);
    QApplication::setDesktopFileName(kBundleIdentifier);
    // The theme's icon has separate drawings for small sizes.
    QApplication::setWindowIcon(
        QIcon::fromTheme(kBundleIdentifier, QIcon(QStringLiteral(":/vello/symbols/vello.svg"))));
    QApplication::setQuitOnLastWindowClosed(false);
}

/// The folder of autostart entries that a sandboxed program sees is its own. Null outside of a sandbox.
std::unique_ptr<PortalLoginItem> portalLoginItem() {
    if (!isInFlatpak())
        return nullptr;
    const Environment environment = processEnvironment();
    return std::make_unique<PortalLoginItem>(
        PortalLoginItem::Places{sessionBusAddress(environment),
                                userStateFolder(environment) / kApplicationFolder / "start-at-login"},
        std::vector<std::string>{"vello", kInBackground});
}

int runPanel(int argumentCount, char** arguments) {
    OnlyInstance instance;
    if (!hasScreen())
        throw std::runtime_error("there is no screen here; run vello --headless");
    TerminationSignals::block(); // Qt starts threads, which inherit the mask
    const bool isPlatformChosen = WindowSystem::chooseForToolkit();
    QApplication toolkit(argumentCount, arguments);
    if (isPlatformChosen)
        qunsetenv("QT_QPA_PLATFORM"); // programs that this one starts choose for themselves
    introduce();
    const char* const chosen = std::getenv("VELLO_SYNC_FOLDER");
    LinuxApplication application(instance.guard(),
                                 {.syncFolder = chosen ? chosen : "",
                                  .consentQuestion = {mainProgram().string(), "permission", "ask"}});
    adoptLayoutDirection();
    AutostartLoginItem autostart(AutostartPlaces::fromEnvironment(processEnvironment()),
                                 {mainProgram().string(), kInBackground});
    SystemdUserServices services;
    ServiceLoginItem service(services, autostart, "vello-panel.service", "graphical-session.target");
    const auto portal = portalLoginItem();
    LaunchAtLoginController launchAtLogin(portal          ? static_cast<LoginItem&>(*portal)
                                          : isInstalled() ? static_cast<LoginItem&>(service)
                                                          : autostart);
    launchAtLogin.refresh();
    PanelShell shell({application.controller(), application.meterAudience(), launchAtLogin,
                      application.runningApplications(), application.mainThread(),
                      companionProgram(kApplicationIconProgram), chosenCorner()},
                     endApplication);
    application.publish([&shell](const std::string& activationToken) { shell.reopen(activationToken); });
    if (!isInBackground(argumentCount, arguments))
        shell.presentAtLaunch();
    return QApplication::exec();
}

} // namespace
} // namespace vello

/// The tray application, started by `vello`. It is a separate program, so that no other program has to load
/// Qt Quick.
int main(int argumentCount, char** arguments) {
    vello::useUTF8();
    try {
        return vello::runPanel(argumentCount, arguments);
    } catch (const vello::AlreadyRunning& other) {
        if (vello::leavesTheSessionTo(other) || vello::isInBackground(argumentCount, arguments))
            return 0;
        vello::ClientRequest request;
        request.action = vello::ClientRequest::Action::showPanel;
        vello::askRunningInstance(request, argumentCount, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vello: %s\n", error.what());
        return 1;
    }
}
