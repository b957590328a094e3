// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/AutostartLoginItem.h"

#include "Foundation/Localization.h"
#include "Platform/Linux/Applications/DesktopEntry.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace vello {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using Status = LoginItem::Status;

class AutostartLoginItemTest : public testing::Test {
protected:
    AutostartLoginItemTest() { writeProgram(program_); }

    static void writeProgram(const fs::path& file) {
        writeTestFile(file, "#!/bin/sh\n");
        fs::permissions(file, fs::perms(0755));
    }
    AutostartLoginItem item() const { return {places_, {program_.string(), "--background"}}; }
    /// Status of a user's entry with these lines in addition to those that start VELLO.
    Status statusWith(const std::string& lines) {
        item().registerItem();
        writeTestFile(entry_, readTestFile(entry_) + lines);
        return item().status();
    }
    std::vector<std::string> command() const {
        return parseDesktopEntry("vello", readTestFile(entry_), {}).value().command;
    }

    TemporaryFolder folder_;
    fs::path program_ = folder_ / "bin/vello";
    const fs::path entry_ = folder_ / "config/autostart/com.quorvin.Vello.desktop";
    const fs::path systemEntry_ = folder_ / "system/autostart/com.quorvin.Vello.desktop";
    AutostartPlaces places_{entry_.parent_path(),
                            {folder_ / "nearer/autostart", systemEntry_.parent_path()},
                            {folder_ / "bin"},
                            {"Vendor", "GNOME"}};
};

TEST_F(AutostartLoginItemTest, IsNotRegisteredWithoutAnEntry) {
    EXPECT_EQ(item().status(), Status::notRegistered);
    EXPECT_NO_THROW(item().unregisterItem());
    EXPECT_FALSE(fs::exists(entry_.parent_path()));
}

TEST_F(AutostartLoginItemTest, RegistersTheRunningProgramByItsAbsoluteName) {
    item().registerItem();
    EXPECT_EQ(item().status(), Status::enabled);
    EXPECT_THAT(command(), ElementsAre(program_.string(), "--background"));
    item().unregisterItem();
    EXPECT_EQ(item().status(), Status::notRegistered);
    EXPECT_FALSE(fs::exists(entry_));
}

TEST_F(AutostartLoginItemTest, QuotesWhatADesktopEntryCouldMisread) {
    for (const std::string name : {"a b", "100%f", "\"q\"", "back\\slash", "`$HOME`", "new\nline", "tab\t",
                                   "'", "ä", "[Desktop Entry]", "a=b;c", "\\\\", "\\n", "%%"}) {
        program_ = folder_ / ("odd/" + name);
        writeProgram(program_);
        item().registerItem();
        EXPECT_EQ(item().status(), Status::enabled) << name;
        EXPECT_THAT(command(), ElementsAre(program_.string(), "--background"));
    }
    program_ = folder_ / "odd/x$y";
    writeProgram(program_);
    item().registerItem();
    EXPECT_THAT(readTestFile(entry_),
                HasSubstr("Exec=\"" + (folder_ / "odd/x").string() + "\\\\$y\" \"--background\" \n"));
}

TEST_F(AutostartLoginItemTest, DescribesItselfInEveryLanguageAsTheMenuEntryDoes) {
    item().registerItem();
    std::istringstream menuEntry(readTestFile(VELLO_MENU_ENTRY));
    std::size_t lines = 0;
    for (std::string line; std::getline(menuEntry, line);)
        if (line.starts_with("GenericName") || line.starts_with("Comment")) {
            EXPECT_THAT(readTestFile(entry_), HasSubstr("\n" + line + "\n"));
            ++lines;
        }
    EXPECT_EQ(lines, 2 * languages().size());
}

TEST_F(AutostartLoginItemTest, AnEntryThatWasSwitchedOffIsNotEnabled) {
    EXPECT_EQ(statusWith("Hidden=true\n"), Status::requiresApproval);
    EXPECT_EQ(statusWith("Hidden=false\n"), Status::enabled);
    item().registerItem();
    std::string text = readTestFile(entry_);
    text.replace(text.find("enabled=true"), 12, "enabled=false");
    writeTestFile(entry_, text);
    EXPECT_EQ(item().status(), Status::requiresApproval);
    item().registerItem();
    EXPECT_EQ(item().status(), Status::enabled) << "registering switches it on again";
}

TEST_F(AutostartLoginItemTest, AnEntryForOtherDesktopsIsNotEnabled) {
    EXPECT_EQ(statusWith("OnlyShowIn=KDE;XFCE;\n"), Status::requiresApproval);
    EXPECT_EQ(statusWith("OnlyShowIn=KDE;GNOME;\n"), Status::enabled);
    EXPECT_EQ(statusWith("NotShowIn=GNOME;\n"), Status::requiresApproval);
    EXPECT_EQ(statusWith("NotShowIn=KDE\n"), Status::enabled);
    places_.desktops.clear();
    EXPECT_EQ(statusWith("OnlyShowIn=GNOME;\n"), Status::requiresApproval);
    EXPECT_EQ(statusWith("NotShowIn=GNOME;\n"), Status::enabled);
}

TEST_F(AutostartLoginItemTest, AnEntryThatStartsNothingIsNotFound) {
    EXPECT_EQ(statusWith("TryExec=/missing/program\n"), Status::notFound);
    EXPECT_EQ(statusWith("TryExec=missing\n"), Status::notFound);
    EXPECT_EQ(statusWith("TryExec=vello\n"), Status::enabled) << "found among the user's programs";
    writeTestFile(entry_, "[Desktop Entry]\nType=Application\nName=x\nExec=vello --option %U\n");
    EXPECT_EQ(item().status(), Status::enabled);
    fs::permissions(program_, fs::perms(0644));
    EXPECT_EQ(item().status(), Status::notFound);
    fs::remove(program_);
    EXPECT_EQ(item().status(), Status::notFound);
    writeTestFile(entry_, "[Desktop Entry]\nType=Application\nName=x\n");
    EXPECT_EQ(item().status(), Status::notFound);
}

TEST_F(AutostartLoginItemTest, ReplacesAnEntryThatCannotBeRead) {
    for (const std::string& text :
         {std::string(), std::string("nonsense"), std::string("\xff\0\x01", 3),
          std::string("[Desktop Entry]\nType=Link\n"), std::string(2'000'000, 'x')}) {
        writeTestFile(entry_, text);
        EXPECT_EQ(item().status(), Status::notRegistered);
        item().registerItem();
        EXPECT_EQ(item().status(), Status::enabled);
    }
}

TEST_F(AutostartLoginItemTest, HidesAnEntryThatTheSystemBrings) {
    writeTestFile(systemEntry_, "[Desktop Entry]\nType=Application\nName=x\nExec=vello\n");
    EXPECT_EQ(item().status(), Status::enabled);
    item().unregisterItem();
    EXPECT_EQ(item().status(), Status::requiresApproval);
    EXPECT_THAT(readTestFile(entry_), HasSubstr("Hidden=true\n"));
    item().unregisterItem();
    EXPECT_EQ(item().status(), Status::requiresApproval);
    item().registerItem();
    EXPECT_EQ(item().status(), Status::enabled);
    writeTestFile(folder_ / "nearer/autostart/com.quorvin.Vello.desktop", "[Desktop Entry]\nHidden=true\n");
    EXPECT_EQ(item().status(), Status::enabled) << "the user's entry counts before both";
    fs::remove(entry_);
    EXPECT_EQ(item().status(), Status::requiresApproval);
}

TEST_F(AutostartLoginItemTest, SaysWhyItCannotRegister) {
    fs::remove(program_);
    EXPECT_THROW(item().registerItem(), std::runtime_error);
    EXPECT_FALSE(fs::exists(entry_)) << "an entry that starts nothing is not written";
    writeProgram(program_);
    writeTestFile(folder_ / "config/autostart", "a file where the folder should be");
    EXPECT_THROW(item().registerItem(), std::system_error);
    EXPECT_EQ(item().status(), Status::notRegistered);
    fs::remove(folder_ / "config/autostart");
    fs::create_directories(entry_ / "occupied");
    EXPECT_THROW(item().registerItem(), std::system_error);
    EXPECT_THROW(item().unregisterItem(), std::system_error);
}

TEST_F(AutostartLoginItemTest, KeepsALinkOfTheUsersAndWritesWhatItNames) {
    writeTestFile(folder_ / "dotfiles/entry", "");
    fs::create_directories(entry_.parent_path());
    fs::create_symlink(folder_ / "dotfiles/entry", entry_);
    item().registerItem();
    EXPECT_TRUE(fs::is_symlink(entry_));
    EXPECT_EQ(item().status(), Status::enabled);
}

TEST_F(AutostartLoginItemTest, FindsItsPlacesInTheEnvironment) {
    std::map<std::string, std::string> variables{{"HOME", "/home/u"}, {"PATH", "/a:/b:c"}};
    const Environment environment = [&](const char* name) {
        return variables.contains(name) ? variables[name].c_str() : nullptr;
    };
    AutostartPlaces places = AutostartPlaces::fromEnvironment(environment);
    EXPECT_EQ(places.userFolder, "/home/u/.config/autostart");
    EXPECT_THAT(places.systemFolders, ElementsAre("/etc/xdg/autostart"));
    EXPECT_THAT(places.programFolders, ElementsAre("/a", "/b"));
    EXPECT_THAT(places.desktops, testing::IsEmpty());
    variables.insert(
        {{"XDG_CONFIG_HOME", "/conf"}, {"XDG_CONFIG_DIRS", "/x:/y"}, {"XDG_CURRENT_DESKTOP", "A:B"}});
    places = AutostartPlaces::fromEnvironment(environment);
    EXPECT_EQ(places.userFolder, "/conf/autostart");
    EXPECT_THAT(places.systemFolders, ElementsAre("/x/autostart", "/y/autostart"));
    EXPECT_THAT(places.desktops, ElementsAre("A", "B"));
}

} // namespace
} // namespace vello
