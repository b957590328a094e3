// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateScreen.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vello::session {

/// A private Wayland desktop: a compositor with a layer shell (sway) that fills a private screen, and a dark
/// bar with a tray along its top edge (waybar). The rest is plain. Everything ends with the object.
///
/// The user's own desktop is neither visible to it nor affected. One thread only.
class PrivateWaylandDesktop {
public:
    /// The parameters are those of PrivateDesktop.
    PrivateWaylandDesktop(const Environment& session, std::filesystem::path folder);
    ~PrivateWaylandDesktop();
    PrivateWaylandDesktop(const PrivateWaylandDesktop&) = delete;
    PrivateWaylandDesktop& operator=(const PrivateWaylandDesktop&) = delete;

    /// For programs that show windows on this desktop only.
    const Environment& environment() const { return environment_; }
    std::unique_ptr<ChildProcess> start(const std::string& name, const std::vector<std::string>& arguments,
                                        const Environment& more = {}) const;

    PrivateScreen& screen() { return screen_; }
    static constexpr int secondWidth = 800;
    /// Plugs a second monitor in, which has a bar as well. It covers the top left part of the first one, and
    /// is then the one in use.
    void plugIn();
    /// Unplugs the second monitor.
    void unplug();
    /// The area that the tray's icons cover on the screen; empty without icons.
    QRect trayIcons() const;
    /// The area of everything else on the screen; empty when there is nothing else.
    QRect drawnBelowBar() const;

    /// The output of the desktop's programs.
    std::string logs() const;

private:
    template <class Condition> void require(Condition condition, const std::string& what) const;
    void awaitBar();
    void startCompositor(const Environment& session);
    void startBar();

    std::filesystem::path folder_;
    std::filesystem::path compositorFolder_; ///< owned by the user of the compositor
    Environment environment_;
    PrivateScreen screen_;
    std::unique_ptr<ChildProcess> compositor_;
    std::unique_ptr<ChildProcess> bar_;
};

} // namespace vello::session
