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

/// A desktop of the test's own in a session of its own: a screen, a window manager (openbox), the bus of the
/// screen readers, and a tray host. Everything ends with the object.
///
/// Nothing of the user's own desktop is seen or touched. One thread only.
class PrivateDesktop {
public:
    /// `session` is the environment of a session with a bus that runs, a PrivateAudioSession's or a
    /// PrivateBus's; both outlive the desktop. Logs go to `folder`. Returns when all of it works; throws
    /// std::runtime_error with what the programs say when that takes longer than ten seconds.
    PrivateDesktop(const Environment& session, std::filesystem::path folder,
                   TrayHost trayHost = TrayHost::xfcePanel);

    /// For programs that are to show themselves on this desktop.
    const Environment& environment() const { return environment_; }
    /// Starts a program there; its output lands in the file `name`.log of the folder.
    std::unique_ptr<ChildProcess> start(const std::string& name,
                                        const std::vector<std::string>& arguments) const;

    PrivateScreen& screen() { return screen_; }
    const AccessibleTree& accessibleTree() const { return *accessibleTree_; }

    /// Returns when it takes icons, or throws as the constructor does.
    void startTrayHost(TrayHost host);
    /// Kills it the hard way.
    void stopTrayHost();
    /// What the icons in the tray cover of the screen; empty when there is none. The bar must be in sight.
    QRect trayIcons() const;
    /// Waits until there is an icon that has come to rest; throws std::runtime_error when there is none.
    QRect awaitTrayIcon() const;

    /// What the programs of the desktop wrote.
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

/// What Qt's lines on standard error begin with on this desktop, so that warnings can be told from anything
/// else.
inline constexpr const char* qtWarningMark = "[qt warning]";
inline constexpr const char* qtCriticalMark = "[qt critical]";

} // namespace vello::session
