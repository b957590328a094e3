// SPDX-License-Identifier: Apache-2.0
#include "DesktopRunningApplicationsFixture.h"

namespace vello {
namespace {

TEST_F(DesktopRunningApplicationsTest, AProcessThatIsNotThereHasNoRecord) {
    EXPECT_FALSE(applications().runningApplication(4242));
    EXPECT_EQ(responsible(4242), 0);
    EXPECT_EQ(responsible(-1), 0);
    EXPECT_EQ(responsible(0), 0);
}

TEST_F(DesktopRunningApplicationsTest, AnApplicationIsToldByTheProgramThatItsEntryStarts) {
    desktop_.addProgram("/usr/bin/player");
    desktop_.addEntry("org.example.Player", "Exec=player --play %U\nIcon=player-icon");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/player"});
    const auto application = applications().runningApplication(10);
    ASSERT_TRUE(application);
    EXPECT_EQ(application->bundleIdentifier, "org.example.Player");
    EXPECT_EQ(application->localizedName, "org.example.Player");
    EXPECT_EQ(application->iconName, "player-icon");
    EXPECT_EQ(responsible(10), 10);
}

TEST_F(DesktopRunningApplicationsTest, AnInstalledApplicationIsFoundByItsIdentifierAlone) {
    desktop_.addEntry("org.example.Player", "Exec=player\nIcon=player-icon");
    auto& known = applications();
    const auto application = known.installedApplication("org.example.Player");
    ASSERT_TRUE(application);
    EXPECT_EQ(application->bundleIdentifier, "org.example.Player");
    EXPECT_EQ(application->localizedName, "org.example.Player");
    EXPECT_EQ(application->iconName, "player-icon");
    for (const std::string& stranger :
         {std::string(), std::string("org.example"), std::string("../org.example.Player"),
          std::string("org.example.Player.desktop"), std::string(1000000, 'x')})
        EXPECT_FALSE(known.installedApplication(stranger));
}

TEST_F(DesktopRunningApplicationsTest, AProgramWithoutAnEntryHasNoRecord) {
    desktop_.addProgram("/usr/bin/pw-cat");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/pw-cat", .arguments = {"pw-play", "x.wav"}});
    EXPECT_EQ(identifier(10), "none");
    EXPECT_EQ(responsible(10), 10);
}

TEST_F(DesktopRunningApplicationsTest, TheProgramIsFoundThroughLinksAndAfterItsReplacement) {
    desktop_.addProgram("/usr/lib/player/player-bin");
    std::filesystem::create_symlink(desktop_.path("/usr/lib/player/player-bin"),
                                    desktop_.path("/usr/bin/player"));
    desktop_.addEntry("player", "Exec=player");
    desktop_.addProcess({.pid = 10, .executable = "/usr/lib/player/player-bin"});
    desktop_.addProcess({.pid = 11, .executable = "/usr/lib/player/player-bin (deleted)"});
    EXPECT_EQ(identifier(10), "player");
    EXPECT_EQ(identifier(11), "player");
}

TEST_F(DesktopRunningApplicationsTest, AScriptIsToldFromItsInterpreter) {
    desktop_.addProgram("/usr/bin/python3.11");
    desktop_.addProgram("/usr/bin/library", true);
    desktop_.addProgram("/usr/bin/other", true);
    desktop_.addEntry("org.example.Library", "Exec=env A=b python3 ROOT/usr/bin/library");
    desktop_.addEntry("python", "Exec=ROOT/usr/bin/python3.11");
    desktop_.addProcess({.pid = 10,
                         .executable = "/usr/bin/python3.11",
                         .arguments = {"/usr/bin/python3", "-u", "/usr/bin/library", "--x"}});
    desktop_.addProcess({.pid = 11,
                         .parent = 10,
                         .executable = "/usr/bin/python3.11",
                         .arguments = {"python3", "library"},
                         .workingFolder = "/usr/bin"});
    desktop_.addProcess({.pid = 12,
                         .parent = 10,
                         .executable = "/usr/bin/python3.11",
                         .arguments = {"python3", "/usr/bin/other"}});
    desktop_.addProcess(
        {.pid = 13, .parent = 10, .executable = "/usr/bin/python3.11", .arguments = {"python3", "-c", "x"}});
    EXPECT_EQ(identifier(10), "org.example.Library");
    EXPECT_EQ(identifier(11), "org.example.Library");
    EXPECT_EQ(responsible(11), 10);
    EXPECT_EQ(identifier(12), "none");
    EXPECT_EQ(responsible(12), 12);
    EXPECT_EQ(identifier(13), "none");
    EXPECT_EQ(responsible(13), 13);
}

TEST_F(DesktopRunningApplicationsTest, AScriptThatBecomesAProgramStandsForIt) {
    desktop_.addProgram("/usr/bin/browser", true);
    desktop_.addProgram("/usr/lib/browser/browser");
    desktop_.addEntry("browser", "Exec=browser %u");
    desktop_.addProgram("/opt/vendor/suite/start", true);
    desktop_.addProgram("/opt/vendor/suite/suite.bin");
    desktop_.addEntry("suite", "Exec=ROOT/opt/vendor/suite/start");
    desktop_.addProcess({.pid = 10, .executable = "/usr/lib/browser/browser"});
    desktop_.addProcess({.pid = 11, .executable = "/opt/vendor/suite/suite.bin"});
    desktop_.addProcess({.pid = 12, .executable = "/opt/other", .arguments = {"/usr/bin/browser"}});
    EXPECT_EQ(identifier(10), "browser");
    EXPECT_EQ(identifier(11), "suite");
    EXPECT_EQ(identifier(12), "browser") << "the script passes its own name on";
}

TEST_F(DesktopRunningApplicationsTest, AProgramOfTheSameNameElsewhereIsAnother) {
    desktop_.addProgram("/usr/bin/player");
    desktop_.addEntry("player", "Exec=player");
    desktop_.addProcess({.pid = 10, .executable = "/home/stranger/player", .arguments = {"player"}});
    EXPECT_EQ(identifier(10), "none");
}

TEST_F(DesktopRunningApplicationsTest, OfEntriesOfOneProgramTheOneThatFitsTheArgumentsCounts) {
    desktop_.addProgram("/usr/bin/office");
    desktop_.addEntry("a-hidden", "Exec=office\nNoDisplay=true");
    desktop_.addEntry("office", "Exec=office %U");
    desktop_.addEntry("office-sheet", "Exec=office --sheet %U");
    desktop_.addEntry("office-text", "Exec=office --text --fast %U");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/office", .arguments = {"office", "x"}});
    desktop_.addProcess(
        {.pid = 11, .executable = "/usr/bin/office", .arguments = {"office", "--sheet", "x"}});
    desktop_.addProcess({.pid = 12, .executable = "/usr/bin/office", .arguments = {"office", "--text", "x"}});
    EXPECT_EQ(identifier(10), "office");
    EXPECT_EQ(identifier(11), "office-sheet");
    EXPECT_EQ(identifier(12), "office");
}

TEST_F(DesktopRunningApplicationsTest, TheClassOfTheWindowsIsTheLastHint) {
    desktop_.addEntry("org.example.LongNamed", "Exec=nowhere\nStartupWMClass=Long-Named-Application");
    desktop_.addProcess({.pid = 10, .executable = "/opt/x", .name = "long-named-appl"});
    EXPECT_EQ(identifier(10), "org.example.LongNamed");
}

TEST_F(DesktopRunningApplicationsTest, TheUsersEntriesComeFirstAndMayDeleteOthers) {
    desktop_.addProgram("/usr/bin/player");
    desktop_.addProgram("/usr/bin/gone");
    desktop_.addEntry("player", "Exec=player\nIcon=system");
    desktop_.addEntry("player", "Exec=player\nIcon=own", "/home/applications");
    desktop_.addEntry("gone", "Exec=gone");
    desktop_.addEntry("gone", "Hidden=true", "/home/applications");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/player"});
    desktop_.addProcess({.pid = 11, .executable = "/usr/bin/gone"});
    EXPECT_EQ(applications().runningApplication(10)->iconName, "own");
    EXPECT_EQ(identifier(11), "none");
}

TEST_F(DesktopRunningApplicationsTest, EntriesInFoldersBelowHaveDashesInTheirIdentifiers) {
    desktop_.addProgram("/usr/bin/game");
    desktop_.addEntry("vendor/games/game", "Exec=game");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/game"});
    EXPECT_EQ(identifier(10), "vendor-games-game");
}

TEST_F(DesktopRunningApplicationsTest, EntriesThatAppearChangeAndGoAreNoticed) {
    desktop_.addProgram("/usr/bin/player");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/player"});
    EXPECT_EQ(identifier(10), "none");
    desktop_.addEntry("first", "Exec=player");
    EXPECT_EQ(identifier(10), "first");
    desktop_.addEntry("sub/nested", "Exec=player", "/home/applications");
    std::filesystem::remove(desktop_.path("/usr/share/applications/first.desktop"));
    EXPECT_EQ(identifier(10), "sub-nested");
    std::filesystem::remove_all(desktop_.path("/home/applications"));
    EXPECT_EQ(identifier(10), "none");
    desktop_.addEntry("again", "Exec=player", "/missing");
    EXPECT_EQ(identifier(10), "again");
}

TEST_F(DesktopRunningApplicationsTest, TheNameIsInTheUsersLanguage) {
    locale_ = "sr_RS.UTF-8@latin";
    desktop_.addProgram("/usr/bin/player");
    desktop_.addEntry("player", "Exec=player\nName[sr]=C\nName[sr_RS]=B\nName[sr@latin]=A\nName[de]=D");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/player"});
    EXPECT_EQ(applications().runningApplication(10)->localizedName, "B");
}

TEST_F(DesktopRunningApplicationsTest, BadEntriesAreNoApplications) {
    desktop_.addProgram("/usr/bin/player");
    desktop_.addProcess({.pid = 10, .executable = "/usr/bin/player"});
    const std::string folder = desktop_.path("/usr/share/applications/");
    writeTestFile(folder + "link.desktop", "[Desktop Entry]\nType=Link\nName=x\nExec=player\n");
    writeTestFile(folder + "text.desktop", "Exec=player\n");
    writeTestFile(folder + "b\x1b.desktop", "[Desktop Entry]\nType=Application\nName=x\nExec=player\n");
    writeTestFile(folder + "\xff.desktop", "[Desktop Entry]\nType=Application\nName=x\nExec=player\n");
    writeTestFile(folder + "binary.desktop", std::string("\0\xff\x7f[Desktop Entry]\n=\n[\n", 24));
    std::filesystem::create_directories(folder + "folder.desktop");
    std::filesystem::create_symlink(folder, folder + "loop");
    std::filesystem::create_symlink("nowhere", folder + "dangling.desktop");
    EXPECT_EQ(identifier(10), "none");
    writeTestFile(folder + "good.desktop",
                  "[Desktop Entry]\nType=Application\nName=\x1b[2J\nIcon=\xff\nExec=player\n");
    const auto application = applications().runningApplication(10);
    ASSERT_TRUE(application);
    EXPECT_EQ(application->bundleIdentifier, "good");
    EXPECT_FALSE(application->localizedName);
    EXPECT_FALSE(application->iconName);
}

} // namespace
} // namespace vello
