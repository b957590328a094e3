// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/Applications/DesktopRunningApplications.h"

#include "FakeDesktop.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace vello {

inline const std::string kApplicationSlice = "/user.slice/user-1000.slice/user@1000.service/app.slice/";

class DesktopRunningApplicationsTest : public testing::Test {
protected:
    DesktopRunningApplications& applications() {
        if (!applications_)
            applications_.emplace(desktop_.folders(locale_));
        return *applications_;
    }
    /// "none" when the process has no application.
    std::string identifier(std::int32_t pid) {
        const auto application = applications().runningApplication(pid);
        return application ? application->bundleIdentifier.value_or("unknown") : "none";
    }
    std::int32_t responsible(std::int32_t pid) { return applications().responsibleProcess(pid); }

    /// Adds a shell with process ID 50 on a terminal, started by a terminal emulator with process ID 40 in
    /// its own unit.
    void addTerminal() {
        desktop_.addEntry("org.example.Terminal", "Exec=terminal\nCategories=System;TerminalEmulator;");
        desktop_.addProgram("/usr/bin/terminal");
        desktop_.addProgram("/usr/bin/bash");
        desktop_.addProcess({.pid = 40, .executable = "/usr/bin/terminal", .unit = terminalUnit_});
        desktop_.addProcess({.pid = 50,
                             .parent = 40,
                             .executable = "/usr/bin/bash",
                             .arguments = {"bash"},
                             .unit = terminalUnit_,
                             .terminal = 34817});
    }

    const std::string terminalUnit_ = kApplicationSlice + "app-org.example.Terminal-40.scope";
    FakeDesktop desktop_;
    std::string locale_;
    std::optional<DesktopRunningApplications> applications_;
};

} // namespace vello
