// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateAudioSession.h"
#include "PrivateDesktop.h"

#include <filesystem>
#include <memory>
#include <string>

namespace vello::demo {

/// VELLO's panel as a user sees it: on a private screen with a wallpaper behind translucent windows, in a
/// session with playing applications. Throws std::runtime_error on timeout.
class PanelStage {
public:
    /// The session must outlive the stage. Starts `vello`, whose panel opens by itself.
    PanelStage(const session::PrivateAudioSession& session, const session::Environment& look);

    /// Waits for the application's card and opens it by a click.
    void openCard(const std::string& application);
    /// Waits until a control with that name is on the screen.
    void await(const std::string& control);
    /// Saves the panel and a small margin around it, once it is at rest.
    void takePicture(const std::filesystem::path& file);

private:
    session::AccessibleElement find(const std::string& role, const std::string& name);
    /// The area that the panel covers on the screen, once it no longer changes.
    QRect restingArea();

    session::PrivateDesktop desktop_;
    std::unique_ptr<session::ChildProcess> compositor_;
    std::unique_ptr<session::ChildProcess> vello_;
};

} // namespace vello::demo
