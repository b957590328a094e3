// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/DesktopEntry.h"
#include "Platform/Linux/System/Command.h"
#include "Platform/Linux/System/KeyFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(KeyFileTest, ReadsOneGroup) {
    const auto group =
        readKeyFileGroup("\xef\xbb\xbf# comment\nA=0\n[Other]\nA=1\n\n[Wanted]\r\n A = 2 \r\n#B=3\nC=x=y\n"
                         "no value\nA=4\n[Wanted Action]\nD=5",
                         "Wanted");
    EXPECT_THAT(group, ElementsAre(Pair("A", "2"), Pair("C", "x=y")));
    EXPECT_THAT(readKeyFileGroup("", "Wanted"), IsEmpty());
    EXPECT_THAT(readKeyFileGroup("[Wanted", "Wanted"), IsEmpty());
    EXPECT_THAT(readKeyFileGroup("[Wanted]", "Wanted"), IsEmpty());
}

TEST(KeyFileTest, ReplacesEscapes) {
    EXPECT_EQ(unescapedValue(R"(a\sb\nc\td\\e\qf\)"), "a b\nc\td\\e\\qf\\");
}

TEST(DesktopEntryTest, FindsTheSuffixesOfALocale) {
    EXPECT_THAT(localeSuffixes("sr_RS.UTF-8@latin"), ElementsAre("sr_RS@latin", "sr_RS", "sr@latin", "sr"));
    EXPECT_THAT(localeSuffixes("de_DE.UTF-8"), ElementsAre("de_DE", "de"));
    EXPECT_THAT(localeSuffixes("ca@valencia"), ElementsAre("ca@valencia", "ca"));
    EXPECT_THAT(localeSuffixes("fr"), ElementsAre("fr"));
    for (const char* locale : {"", "C", "POSIX", "C.UTF-8"})
        EXPECT_THAT(localeSuffixes(locale), IsEmpty()) << locale;
}

TEST(DesktopEntryTest, PrefersTheBestLocalizedName) {
    const char* text =
        "[Desktop Entry]\nType=Application\nName=E\nName[sr]=4\nName[sr@latin]=3\nName[sr_RS]=2\n"
        "Name[sr_RS@latin]=1\nName[de]=D\n";
    const auto nameIn = [text](const char* locale) {
        return parseDesktopEntry("x", text, localeSuffixes(locale))->name;
    };
    EXPECT_EQ(nameIn("sr_RS@latin"), "1");
    EXPECT_EQ(nameIn("sr_RS"), "2");
    EXPECT_EQ(nameIn("sr_ME@latin"), "3");
    EXPECT_EQ(nameIn("sr_ME"), "4");
    EXPECT_EQ(nameIn("de_AT.UTF-8@euro"), "D");
    EXPECT_EQ(nameIn("fr_FR"), "E");
    EXPECT_EQ(nameIn("C"), "E");
}

TEST(DesktopEntryTest, ReadsWhatItNeeds) {
    const auto entry = parseDesktopEntry("org.example.App",
                                         "[Desktop Entry]\nType=Application\nName=An\\sApp\nIcon=/x/y.png\n"
                                         "Exec=app %U\nStartupWMClass=App\nNoDisplay=true\n"
                                         "Categories=System;TerminalEmulator\n[Desktop Action a]\nName=no\n",
                                         {});
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->id, "org.example.App");
    EXPECT_EQ(entry->name, "An App");
    EXPECT_EQ(entry->icon, "/x/y.png");
    EXPECT_EQ(entry->startupWMClass, "App");
    EXPECT_THAT(entry->command, ElementsAre("app"));
    EXPECT_FALSE(entry->isShown);
    EXPECT_FALSE(entry->isDeleted);
    EXPECT_TRUE(entry->isTerminalEmulator);
}

TEST(DesktopEntryTest, UndoesQuotesAndFieldCodes) {
    EXPECT_THAT(parseExec("app"), ElementsAre("app"));
    EXPECT_THAT(parseExec("app  --a %U --b=%f %i %c"), ElementsAre("app", "--a", "--b="));
    EXPECT_THAT(parseExec(R"("/opt/my app/run" "" "a \"b\" \$c \\" 100%%)"),
                ElementsAre("/opt/my app/run", "", R"(a "b" $c \)", "100%"));
    EXPECT_THAT(parseExec(""), IsEmpty());
    EXPECT_THAT(parseExec("   "), IsEmpty());
    EXPECT_THAT(parseExec("app %"), ElementsAre("app", "%"));
    EXPECT_THAT(parseExec("\"open"), ElementsAre("open"));
}

std::string programOf(const std::vector<std::string>& line) {
    const auto command = effectiveCommand(line);
    return command ? command->program : "none";
}

TEST(CommandTest, SeesThroughWrappersAndInterpreters) {
    EXPECT_EQ(programOf({"/usr/bin/player", "-x"}), "/usr/bin/player");
    EXPECT_EQ(programOf({"env", "-i", "-u", "B", "A=/x/y", "player", "C=d"}), "player");
    EXPECT_EQ(programOf({"/usr/bin/python3.11", "-u", "/usr/bin/tool", "x"}), "/usr/bin/tool");
    EXPECT_EQ(programOf({"env", "A=b", "python3", "tool"}), "tool");
    EXPECT_EQ(programOf({"java", "-Xmx1g", "-jar", "/opt/x.jar"}), "/opt/x.jar");
    EXPECT_EQ(programOf({"electron25", "/usr/lib/app.asar"}), "/usr/lib/app.asar");
    EXPECT_THAT(effectiveCommand({"sh", "/x", "a", "b"})->arguments, ElementsAre("a", "b"));
}

TEST(CommandTest, WhatOnlyStartsOthersStandsForNoApplication) {
    for (const std::vector<std::string>& line : {std::vector<std::string>{},
                                                 {""},
                                                 {"env"},
                                                 {"env", "A=b"},
                                                 {"bash"},

                                                 {"sh", "-c", "player"},
                                                 {"python3", "-m", "x"},
                                                 {"/usr/bin/flatpak", "run", "x"},
                                                 {"gtk-launch", "x"},
                                                 {"xdg-open", "x"}})
        EXPECT_EQ(programOf(line), "none") << testing::PrintToString(line);
}

TEST(CommandTest, KnowsInterpretersWithTheirVersions) {
    for (const char* name :
         {"python", "python3", "python3.11", "bash", "electron25", "node", "gjs-console", "lua5.4"})
        EXPECT_TRUE(isInterpreter(name)) << name;
    for (const char* name : {"", "3", "player", "pythonista", "bashtop"})
        EXPECT_FALSE(isInterpreter(name)) << name;
}

} // namespace
} // namespace vello
