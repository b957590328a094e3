// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateDesktop.h"
#include "VelloTest.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vello::session {

/// VELLO with its panel on a private desktop, operated by pointer and keyboard as by a user. A Qt warning
/// fails the test; a failed test leaves a picture of the screen.
class PanelTest : public VelloTest {
protected:
    /// Must be called first.
    void openDesktop(TrayHost trayHost = TrayHost::xfcePanel);
    void TearDown() override;

    PrivateDesktop& desktop() { return *desktop_; }
    PrivateScreen& screen() { return desktop_->screen(); }

    /// Starts the panel as the desktop's application menu does.
    void startPanel();
    /// Share of white in the picture of the panel, which is open: 0 is black.
    double panelLightness();
    ChildProcess& panelProcess() { return *processes_.back(); }
    /// Checks that the panel's program, which has been asked to quit, exits in an orderly way.
    void expectQuit();
    /// Starts VELLO once more while it runs, as a launcher that calls this start `startupID`, and waits until
    /// the second process exits. Returns true when that process found the running one.
    bool startAgain(const std::string& startupID = "");

    /// The panel's window; absent while it is closed.
    std::optional<ScreenWindow> panel() { return screen().window("VELLO by QUORVIN"); }
    /// Waits until the panel is open, has the keyboard focus and is at rest. Throws std::runtime_error on
    /// timeout, like all functions that wait here.
    ScreenWindow awaitOpen();
    /// Waits until the panel is closed.
    void awaitClosed();

    /// Waits until a control of the panel exists and is at rest.
    AccessibleElement await(const std::string& role, const std::string& name);
    /// Waits until a control of any program exists and is at rest.
    AccessibleElement awaitIn(const std::string& application, const std::string& role,
                              const std::string& name);
    std::optional<AccessibleElement> find(const std::string& role, const std::string& name);
    /// Waits for a control of the panel and clicks in its middle.
    void clickOn(const std::string& role, const std::string& name);
    void require(bool condition, const std::string& what) const;

private:
    std::string outputs() const;

    std::unique_ptr<PrivateDesktop> desktop_;
    std::vector<std::unique_ptr<ChildProcess>> processes_;
};

/// Fails the test when the panel's output contains a Qt warning.
void expectNoToolkitWarnings(const std::string& output);
/// Saves a picture of the screen, named after the test, and prints its path.
void keepPicture(const PrivateScreen& screen);

} // namespace vello::session
