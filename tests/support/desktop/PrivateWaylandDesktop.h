// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateScreen.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vello::session {

/// A Wayland desktop of the test's own: a compositor with a layer shell (sway) that fills a private screen,
/// and a dark bar with a tray along its top edge (waybar). The rest is plain. Everything ends with the
/// object.
///
/// Nothing of the user's own desktop is seen or touched. One thread only.
class PrivateWaylandDesktop {
public:
    /// As PrivateDesktop's.
    PrivateWaylandDesktop(const Environment& session, std::filesystem::path folder);
    ~PrivateWaylandDesktop();
    PrivateWaylandDesktop(const PrivateWaylandDesktop&) = delete;
    PrivateWaylandDesktop& operator=(const PrivateWaylandDesktop&) = delete;

    /// For programs that are to show themselves on this desktop and on no other.
    const Environment& environment() const { return environment_; }
    std::unique_ptr<ChildProcess> start(const std::string& name, const std::vector<std::string>& arguments,
                                        const Environment& more = {}) const;

    PrivateScreen& screen() { return screen_; }
    /// What the icons in the tray cover of the screen; empty when there is none.
    QRect trayIcons() const;
    /// What else there is on the screen; empty when that is nothing.
    QRect drawnBelowBar() const;

    /// What the programs of the desktop wrote.
    std::string logs() const;

private:
    template <class Condition> void require(Condition condition, const std::string& what) const;
    void startCompositor(const Environment& session);
    void startBar();

    std::filesystem::path folder_;
    std::filesystem::path compositorFolder_; ///< of the user that the compositor runs as
    Environment environment_;
    PrivateScreen screen_;
    std::unique_ptr<ChildProcess> compositor_;
    std::unique_ptr<ChildProcess> bar_;
};

} // namespace vello::session
