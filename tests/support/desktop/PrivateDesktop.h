// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AccessibleTree.h"
#include "PrivateScreen.h"
#include "TrayHost.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vello::session {

/// A private desktop in a private session: a screen, a window manager (openbox), the accessibility bus, and a
/// tray host. Everything ends with the object.
///
/// The user's own desktop is neither visible to it nor affected. One thread only.
class PrivateDesktop {
public:
    /// `session` is the environment of a session with a running bus, of a PrivateAudioSession or a
    /// PrivateBus, which must outlive the desktop. Logs are written to `folder`. Returns when everything
    /// works; throws std::runtime_error with the programs' output after ten seconds.
    PrivateDesktop(const Environment& session, std::filesystem::path folder,
                   TrayHost trayHost = TrayHost::xfcePanel);

    /// For programs that show windows on this desktop.
    const Environment& environment() const { return environment_; }
    /// Starts a program on the desktop; its output is written to the file `name`.log in the folder.
    std::unique_ptr<ChildProcess> start(const std::string& name,
                                        const std::vector<std::string>& arguments) const;

    PrivateScreen& screen() { return screen_; }
    const AccessibleTree& accessibleTree() const { return *accessibleTree_; }

    /// Returns when the host accepts icons; throws like the constructor.
    void startTrayHost(TrayHost host);
    /// Kills the host.
    void stopTrayHost();
    /// The area that the tray's icons cover on the screen; empty without icons. The bar must be visible.
    QRect trayIcons() const;
    /// Waits until there is an icon at rest; throws std::runtime_error on timeout.
    QRect awaitTrayIcon() const;

    /// The output of the desktop's programs.
    std::string logs() const;

private:
    template <class Condition> void require(Condition condition, const std::string& what) const;
    void startAccessibility();
    void startWindowManager();

    std::filesystem::path folder_;
    Environment environment_;
    PrivateScreen screen_;
    std::unique_ptr<ChildProcess> accessibilityBus_;
    std::unique_ptr<AccessibleTree> accessibleTree_;
    std::unique_ptr<ChildProcess> windowManager_;
    std::unique_ptr<ChildProcess> trayHost_;
};

/// Prefix of Qt's lines on standard error on this desktop, which distinguishes warnings from other output.
inline constexpr const char* kQtWarningMark = "[qt warning]";
inline constexpr const char* kQtCriticalMark = "[qt critical]";

} // namespace vello::session
