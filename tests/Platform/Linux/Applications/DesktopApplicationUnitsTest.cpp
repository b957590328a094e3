// SPDX-License-Identifier: Apache-2.0
#include "DesktopRunningApplicationsFixture.h"

#include <sys/stat.h>

namespace vello {
namespace {

TEST_F(DesktopRunningApplicationsTest, AFlatpakSandboxNamesItsApplication) {
    desktop_.addProgram("/usr/bin/python3");
    desktop_.addEntry("org.example.Sandboxed", "Exec=flatpak run org.example.Sandboxed\nIcon=boxed");
    desktop_.addProcess({.pid = 9, .executable = "/usr/bin/bwrap"});
    desktop_.addFlatpakInformation(9, "[Application]\nname=org.example.Sandboxed\n");
    desktop_.addProcess({.pid = 10, .parent = 9, .executable = "/usr/bin/python3", .unit = terminalUnit_});
    desktop_.addFlatpakInformation(10, "[Instance]\nname=other\n[Application]\nname=org.example.Sandboxed\n");
    EXPECT_EQ(identifier(10), "org.example.Sandboxed");
    EXPECT_EQ(applications().runningApplication(10)->iconName, "boxed");
    EXPECT_EQ(responsible(10), 9);
}

TEST_F(DesktopRunningApplicationsTest, ASandboxesFileIsDataFromAStranger) {
    int pid = 10;
    for (const std::string& name :
         {std::string("../../etc/passwd"), std::string("a b"), std::string("x\x1b[2J"), std::string(),
          std::string("\xff"), std::string(300, 'x'), std::string("..")}) {
        desktop_.addProcess({.pid = pid, .executable = "/opt/x"});
        desktop_.addFlatpakInformation(pid, "[Application]\nname=" + name + "\n");
        EXPECT_EQ(identifier(pid++), "none") << name;
    }
    desktop_.addProcess({.pid = pid, .executable = "/opt/x"});
    std::filesystem::create_directories(desktop_.path("/proc/" + std::to_string(pid) + "/root"));
    const std::string pipe = desktop_.path("/proc/" + std::to_string(pid) + "/root/.flatpak-info");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(identifier(pid), "none") << "a pipe is not waited for";
}

TEST_F(DesktopRunningApplicationsTest, ASnapIsToldByItsUnit) {
    desktop_.addEntry("music_music", "Exec=/snap/bin/music\nIcon=music");
    const std::string unit =
        kApplicationSlice + "snap.music.music-3f2a6ac5-8d1e-4c8b-9b70-6b9a7b5f3e1d.scope";
    desktop_.addProcess({.pid = 10, .executable = "/snap/music/12/bin/music", .unit = unit});
    desktop_.addProcess({.pid = 11, .parent = 10, .executable = "/snap/music/12/lib/helper", .unit = unit});
    EXPECT_EQ(identifier(10), "music_music");
    EXPECT_EQ(identifier(11), "music_music");
    EXPECT_EQ(responsible(11), 10);
}

TEST_F(DesktopRunningApplicationsTest, AUnitTellsTheApplicationOfAllItsProcesses) {
    const std::string unit = kApplicationSlice + "app-gnome-org.example.Browser-77.scope";
    desktop_.addProgram("/usr/bin/electron25");
    desktop_.addEntry("electron25", "Exec=electron25");
    desktop_.addProcess({.pid = 77,
                         .executable = "/usr/bin/electron25",
                         .arguments = {"electron25", "/opt/app"},
                         .unit = unit});
    desktop_.addProcess({.pid = 78, .parent = 77, .executable = "/opt/zygote", .unit = unit});
    desktop_.addProcess({.pid = 79, .parent = 78, .executable = "/opt/renderer", .unit = unit});
    desktop_.addProcess({.pid = 80, .parent = 1, .executable = "/opt/orphan", .unit = unit});
    for (const int pid : {77, 78, 79, 80})
        EXPECT_EQ(identifier(pid), "org.example.Browser") << pid;
    EXPECT_EQ(responsible(79), 77);
    EXPECT_EQ(responsible(77), 77);
    EXPECT_EQ(applications().runningApplication(77)->localizedName, std::nullopt) << "it has no entry";
}

TEST_F(DesktopRunningApplicationsTest, AnApplicationThatAnotherStartedInItsUnitIsItsOwn) {
    const std::string unit = kApplicationSlice + "app-launcher@autostart.service";
    for (const char* program : {"launcher", "player", "other"})
        desktop_.addProgram("/usr/bin/" + std::string(program));
    desktop_.addEntry("launcher", "Exec=launcher");
    desktop_.addEntry("player", "Exec=player");
    desktop_.addEntry("other", "Exec=other");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/launcher", .unit = unit});
    desktop_.addProcess({.pid = 11, .parent = 10, .executable = "/usr/bin/player", .unit = unit});
    desktop_.addProcess({.pid = 12, .parent = 10, .executable = "/usr/bin/other", .unit = unit});
    EXPECT_EQ(identifier(10), "launcher");
    EXPECT_EQ(identifier(11), "player");
    EXPECT_EQ(identifier(12), "other");
    EXPECT_EQ(responsible(11), 11);
    EXPECT_EQ(responsible(12), 12);
}

TEST_F(DesktopRunningApplicationsTest, PlayersOfOneShellAreTheirOwn) {
    addTerminal();
    desktop_.addProcess({.pid = 60,
                         .parent = 50,
                         .executable = "/usr/bin/pw-cat",
                         .arguments = {"pw-play"},
                         .unit = terminalUnit_,
                         .terminal = 34817});
    desktop_.addProcess({.pid = 61,
                         .parent = 50,
                         .executable = "/usr/bin/pacat",
                         .arguments = {"paplay"},
                         .unit = terminalUnit_,
                         .terminal = 34817});
    // Without the terminal, as after setsid.
    desktop_.addProcess({.pid = 62, .parent = 50, .executable = "/usr/bin/pw-cat", .unit = terminalUnit_});
    EXPECT_EQ(identifier(40), "org.example.Terminal");
    for (const int pid : {50, 60, 61, 62}) {
        EXPECT_EQ(identifier(pid), "none") << pid;
        EXPECT_EQ(responsible(pid), pid);
    }
}

TEST_F(DesktopRunningApplicationsTest, AnApplicationStartedFromATerminalIsThatApplication) {
    addTerminal();
    desktop_.addProgram("/usr/bin/player");
    desktop_.addEntry("player", "Exec=player");
    desktop_.addProcess(
        {.pid = 60, .parent = 50, .executable = "/usr/bin/player", .unit = terminalUnit_, .terminal = 34817});
    desktop_.addProcess(
        {.pid = 61, .parent = 60, .executable = "/usr/bin/player", .unit = terminalUnit_, .terminal = 34817});
    EXPECT_EQ(identifier(61), "player");
    EXPECT_EQ(responsible(61), 60);
}

TEST_F(DesktopRunningApplicationsTest, AShellInAUnitOfItsOwnBelowTheTerminalsSliceIsNotTheTerminal) {
    addTerminal();
    const std::string unit = kApplicationSlice + "app-org.example.Terminal.slice/vte-spawn-1234.scope";
    desktop_.addProcess(
        {.pid = 70, .parent = 40, .executable = "/usr/bin/bash", .unit = unit, .terminal = 34818});
    desktop_.addProcess(
        {.pid = 71, .parent = 70, .executable = "/usr/bin/pw-cat", .unit = unit, .terminal = 34818});
    EXPECT_EQ(identifier(71), "none");
    EXPECT_EQ(responsible(71), 71);
}

TEST_F(DesktopRunningApplicationsTest, AUnitThatAShellMadeTellsItsApplication) {
    addTerminal();
    const std::string unit = kApplicationSlice + "app-org.example.Named-1.scope";
    desktop_.addProcess(
        {.pid = 60, .parent = 50, .executable = "/opt/player", .unit = unit, .terminal = 34817});
    EXPECT_EQ(identifier(60), "org.example.Named");
}

} // namespace
} // namespace vello
