// SPDX-License-Identifier: Apache-2.0
#include "DesktopRunningApplicationsFixture.h"

namespace vello {
namespace {

TEST_F(DesktopRunningApplicationsTest, PrivateProgramsAreHelpersOfTheApplicationThatStartedThem) {
    desktop_.addProgram("/usr/bin/browser");
    desktop_.addEntry("browser", "Exec=browser");
    desktop_.addProgram("/opt/vendor/app");
    desktop_.addEntry("vendor", "Exec=ROOT/opt/vendor/app");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/browser"});
    desktop_.addProcess({.pid = 11, .parent = 10, .executable = "/usr/bin/bwrap"});
    desktop_.addProcess({.pid = 12, .parent = 11, .executable = "/usr/lib/webkit/WebProcess"});
    desktop_.addProcess({.pid = 20, .executable = "/opt/vendor/app"});
    desktop_.addProcess({.pid = 21, .parent = 20, .executable = "/opt/vendor/lib/helper"});
    desktop_.addProcess({.pid = 22, .parent = 20, .executable = "/opt/game"});
    desktop_.addProcess({.pid = 23, .parent = 10, .executable = "/usr/bin/pw-cat"});
    EXPECT_EQ(identifier(12), "browser");
    EXPECT_EQ(responsible(12), 10);
    EXPECT_EQ(responsible(21), 20);
    EXPECT_EQ(identifier(22), "none");
    EXPECT_EQ(responsible(22), 22);
    EXPECT_EQ(identifier(23), "none");
    EXPECT_EQ(responsible(23), 23);
}

TEST_F(DesktopRunningApplicationsTest, ADesktopShellDoesNotTakeWhatItStartsForItsHelpers) {
    desktop_.addProgram("/usr/bin/desktop-shell");
    desktop_.addEntry("org.example.Shell", "Exec=desktop-shell\nNoDisplay=true");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/desktop-shell"});
    desktop_.addProcess({.pid = 11, .parent = 10, .executable = "/usr/lib/player/player"});
    EXPECT_EQ(responsible(11), 11);
}

TEST_F(DesktopRunningApplicationsTest, UnknownProgramsGroupWithAncestorsOfTheSameProgram) {
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/bash"});
    desktop_.addProcess({.pid = 11, .parent = 10, .executable = "/opt/player"});
    desktop_.addProcess({.pid = 12, .parent = 11, .executable = "/usr/bin/bash"});
    desktop_.addProcess({.pid = 13, .parent = 12, .executable = "/opt/player"});
    EXPECT_EQ(responsible(13), 11);
    EXPECT_EQ(responsible(12), 12) << "shells are never one application";
}

TEST_F(DesktopRunningApplicationsTest, AProcessNumberThatIsGivenAgainIsIdentifiedAgain) {
    for (const char* program : {"player", "other"}) {
        desktop_.addProgram("/usr/bin/" + std::string(program));
        desktop_.addEntry(program, "Exec=" + std::string(program));
    }
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/player"});
    EXPECT_EQ(identifier(10), "player");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/other"});
    EXPECT_EQ(identifier(10), "other") << "the same process runs another program now";
    desktop_.removeProcess(10);
    EXPECT_EQ(identifier(10), "none");
    EXPECT_EQ(responsible(10), 0);
}

TEST_F(DesktopRunningApplicationsTest, TheResponsibleProcessIsFoundAgainWhenItEnds) {
    desktop_.addProcess({.pid = 10, .executable = "/opt/player"});
    desktop_.addProcess({.pid = 11, .parent = 10, .executable = "/opt/player"});
    desktop_.addProcess({.pid = 12, .parent = 11, .executable = "/opt/player"});
    EXPECT_EQ(responsible(12), 10);
    EXPECT_EQ(responsible(12), 10);
    desktop_.addProcess({.pid = 10, .executable = "/opt/other", .startTime = 2000});
    EXPECT_EQ(responsible(12), 11) << "the number is another program's now";
    desktop_.removeProcess(11);
    EXPECT_EQ(responsible(12), 12);
    desktop_.addProcess({.pid = 12, .parent = 1, .executable = "/opt/player"});
    EXPECT_EQ(responsible(12), 12);
}

TEST_F(DesktopRunningApplicationsTest, NamesThatAProcessChoosesDoNoHarm) {
    desktop_.addProcess({.pid = 10,
                         .executable = "/opt/x",
                         .arguments = {std::string(200'000, 'x'), "\n\x1b"},
                         .name = "a) R 1 2 (b"});
    desktop_.addProcess(
        {.pid = 11, .parent = 10, .executable = "/opt/x", .unit = "/app-..%2f-1.scope", .name = ""});
    EXPECT_EQ(identifier(10), "none");
    EXPECT_EQ(identifier(11), "none");
    EXPECT_EQ(responsible(11), 10);
}

TEST_F(DesktopRunningApplicationsTest, ARingOfAncestorsEnds) {
    desktop_.addProcess({.pid = 10, .parent = 11, .executable = "/opt/x"});
    desktop_.addProcess({.pid = 11, .parent = 10, .executable = "/opt/y"});
    EXPECT_EQ(responsible(10), 10);
}

} // namespace
} // namespace vello
