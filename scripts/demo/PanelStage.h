// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateAudioSession.h"
#include "PrivateDesktop.h"

#include <filesystem>
#include <memory>
#include <string>

namespace vello::demo {

/// VELLO's panel as a user sees it, on a screen of its own with a wallpaper behind translucent windows, in a
/// session in which applications play. Throws std::runtime_error when something does not come.
class PanelStage {
public:
    /// The session outlives the stage. Starts `vello`, whose panel opens by itself.
    PanelStage(const session::PrivateAudioSession& session, const session::Environment& look);

    /// Waits for the application's card and opens it by a click.
    void openCard(const std::string& application);
    /// Waits until a control of that name is on the screen.
    void await(const std::string& control);
    /// The panel and a little of its surroundings, once it has come to rest.
    void takePicture(const std::filesystem::path& file);

private:
    session::AccessibleElement find(const std::string& role, const std::string& name);
    /// What the panel covers of the screen, once that no longer changes.
    QRect restingArea();

    session::PrivateDesktop desktop_;
    std::unique_ptr<session::ChildProcess> compositor_;
    std::unique_ptr<session::ChildProcess> vello_;
};

} // namespace vello::demo
