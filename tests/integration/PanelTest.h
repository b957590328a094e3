// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateDesktop.h"
#include "VelloTest.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vello::session {

/// VELLO with its panel on a private desktop, used as its user does: by pointer and keyboard. A warning of
/// the toolkit fails the test; a failed one leaves a picture of the screen.
class PanelTest : public VelloTest {
protected:
    /// To be called first.
    void openDesktop(TrayHost trayHost = TrayHost::xfcePanel);
    void TearDown() override;

    PrivateDesktop& desktop() { return *desktop_; }
    PrivateScreen& screen() { return desktop_->screen(); }

    /// As from the desktop's menu of applications.
    void startPanel();
    ChildProcess& panelProcess() { return *processes_.back(); }
    /// Expects the panel's program, which has been asked to, to end in an orderly way.
    void expectQuit();
    /// Starts VELLO once more, beside the one that runs, and waits for that to end. True: it found the other.
    bool startAgain();

    /// The panel on the screen; none while it is closed.
    std::optional<ScreenWindow> panel() { return screen().window("VELLO by QUORVIN"); }
    /// Waits for the panel to be open, to have the keyboard and to have come to rest. Throws
    /// std::runtime_error like all that waits here.
    ScreenWindow awaitOpen();
    /// Waits for the panel to be closed.
    void awaitClosed();

    /// Waits for a control of the panel to appear and to come to rest.
    AccessibleElement await(const std::string& role, const std::string& name);
    /// Waits for a control of any program to appear and to come to rest.
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

/// A line with a warning of the toolkit in what a panel wrote fails the test.
void expectNoToolkitWarnings(const std::string& output);
/// Leaves a picture of the screen, named as the test, and tells where.
void keepPicture(const PrivateScreen& screen);

} // namespace vello::session
