// SPDX-License-Identifier: Apache-2.0
#include "Control/CommandLine/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Parsed : ParsedCommand {
    std::string out, error;
};

Parsed parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "vello");
    std::ostringstream out;
    std::ostringstream error;
    Parsed parsed;
    static_cast<ParsedCommand&>(parsed) =
        parseCommandLine(static_cast<int>(arguments.size()), arguments.data(), out, error);
    parsed.out = out.str();
    parsed.error = error.str();
    return parsed;
}

void expectWrongUsage(const std::vector<const char*>& arguments) {
    const Parsed parsed = parse(arguments);
    EXPECT_EQ(parsed.command, Command::none);
    EXPECT_EQ(parsed.exitCode, 2);
    EXPECT_THAT(parsed.out, IsEmpty());
    EXPECT_THAT(parsed.error, HasSubstr("vello: "));
    EXPECT_EQ(std::ranges::count(parsed.error, '\n'), 1) << parsed.error;
    EXPECT_EQ(parsed.error.back(), '\n');
}

TEST(CommandLine, WithoutArgumentsAsksForThePanel) {
    const Parsed parsed = parse({});
    EXPECT_EQ(parsed.command, Command::panel);
    EXPECT_THAT(parsed.out + parsed.error, IsEmpty());
}

TEST(CommandLine, KnowsHeadless) {
    EXPECT_EQ(parse({"--headless"}).command, Command::headless);
}

TEST(CommandLine, KeepsThePanelClosedInTheBackground) {
    const Parsed parsed = parse({"--background"});
    EXPECT_EQ(parsed.command, Command::panel);
    EXPECT_TRUE(parsed.isInBackground);
    EXPECT_FALSE(parse({}).isInBackground);
    expectWrongUsage({"--background", "--headless"});
    expectWrongUsage({"--background", "status"});
}

TEST(CommandLine, KnowsTheFolderThatIsShared) {
    EXPECT_EQ(parse({"--headless", "--sync-folder", "/cloud"}).syncFolder, "/cloud");
    EXPECT_EQ(parse({"--headless"}).syncFolder, "");
    expectWrongUsage({"--headless", "--sync-folder"});
    expectWrongUsage({"--headless", "--sync-folder", ""});
    expectWrongUsage({"--sync-folder", "/cloud", "permission"});
}

TEST(CommandLine, KnowsWhatToDoAboutThePermission) {
    const auto action = [](const std::vector<const char*>& arguments) {
        const Parsed parsed = parse(arguments);
        EXPECT_EQ(parsed.command, Command::permission);
        return parsed.permission;
    };
    EXPECT_EQ(action({"permission"}), PermissionAction::show);
    EXPECT_EQ(action({"permission", "show"}), PermissionAction::show);
    EXPECT_EQ(action({"permission", "allow"}), PermissionAction::allow);
    EXPECT_EQ(action({"permission", "deny"}), PermissionAction::deny);
    EXPECT_EQ(action({"permission", "ask"}), PermissionAction::ask);
    expectWrongUsage({"permission", "ALLOW"});
    expectWrongUsage({"permission", ""});
    expectWrongUsage({"permission", "allow", "deny"});
    expectWrongUsage({"--headless", "permission"});
}

TEST(CommandLine, PrintsTheVersion) {
    const Parsed parsed = parse({"--version"});
    EXPECT_EQ(parsed.command, Command::none);
    EXPECT_EQ(parsed.exitCode, 0);
    EXPECT_THAT(parsed.out, testing::ContainsRegex("^VELLO [0-9]+\\.[0-9]+\\.[0-9]+\n$"));
}

TEST(CommandLine, PrintsHelpThatNamesEveryCommandAndOption) {
    const Parsed general = parse({"--help"});
    EXPECT_EQ(general.exitCode, 0);
    for (const char* word : {"--headless", "--version", "render", "analyze"})
        EXPECT_THAT(general.out, HasSubstr(word));
    const Parsed render = parse({"render", "--help"});
    EXPECT_EQ(render.exitCode, 0);
    for (const char* word : {"--preset", "--gains", "--volume", "--initial-volume", "--bypass", "--buffer",
                             "IN", "OUT", "bassBoost"})
        EXPECT_THAT(render.out, HasSubstr(word));
}

TEST(CommandLine, AnalyzesOneFile) {
    const Parsed parsed = parse({"analyze", "in.wav"});
    ASSERT_EQ(parsed.command, Command::analyze);
    EXPECT_EQ(parsed.analyze.input, "in.wav");
    const Parsed help = parse({"analyze", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(help.out, HasSubstr("IN"));
    expectWrongUsage({"analyze"});
    expectWrongUsage({"analyze", "one.wav", "two.wav"});
    expectWrongUsage({"analyze", "--preset", "vocal", "in.wav"});
    expectWrongUsage({"--headless", "analyze", "in.wav"});
}

TEST(CommandLine, RendersWithNeutralSettingsByDefault) {
    const Parsed parsed = parse({"render", "in.wav", "out.wav"});
    ASSERT_EQ(parsed.command, Command::render);
    EXPECT_EQ(parsed.render.input, "in.wav");
    EXPECT_EQ(parsed.render.output, "out.wav");
    EXPECT_EQ(parsed.render.settings, EQSettings());
    EXPECT_EQ(parsed.render.initialVolume, std::nullopt);
    EXPECT_EQ(parsed.render.bufferFrames, 480U);
}

TEST(CommandLine, ReadsEveryRenderOption) {
    const Parsed parsed = parse({"render", "--gains", "-6,5.5,+3,1e1,0,-0.25,12,-12", "--volume", "0.5",
                                 "--initial-volume", "2", "--bypass", "--buffer", "64", "in", "out"});
    ASSERT_EQ(parsed.command, Command::render) << parsed.error;
    EXPECT_THAT(parsed.render.settings.bandGains, ElementsAre(-6, 5.5, 3, 10, 0, -0.25, 12, -12));
    EXPECT_EQ(parsed.render.settings.volume, 0.5);
    EXPECT_EQ(parsed.render.initialVolume, 2.0);
    EXPECT_TRUE(parsed.render.settings.isBypassed);
    EXPECT_EQ(parsed.render.bufferFrames, 64U);
}

TEST(CommandLine, TakesTheGainsOfAPreset) {
    const Parsed parsed = parse({"render", "--preset", "reduceBass", "in", "out"});
    EXPECT_THAT(parsed.render.settings.bandGains, ElementsAre(-6, -5, -3.5, -1.5, 0, 0, 0, 0));
}

TEST(CommandLine, TakesFileNamesThatLookLikeOptionsAfterADoubleDash) {
    const Parsed parsed = parse({"render", "--", "-in.wav", "--out.wav"});
    ASSERT_EQ(parsed.command, Command::render) << parsed.error;
    EXPECT_EQ(parsed.render.input, "-in.wav");
    EXPECT_EQ(parsed.render.output, "--out.wav");
}

TEST(CommandLine, RefusesWrongUsageInOneLine) {
    expectWrongUsage({"paint"});
    expectWrongUsage({"--loud"});
    expectWrongUsage({"--headless", "render", "in", "out"});
    expectWrongUsage({"render"});
    expectWrongUsage({"render", "in"});
    expectWrongUsage({"render", "in", "out", "more"});
    expectWrongUsage({"render", "--preset", "flat", "--gains", "1,2,3,4,5,6,7,8", "in", "out"});
    expectWrongUsage({"render", "--preset", "Bass Boost", "in", "out"});
    expectWrongUsage({"render", "line\nbreak", "\x1b[2J", "more", "\n"});
}

TEST(CommandLine, RefusesNumbersThatMakeNoSense) {
    for (const char* gains :
         {"", "1,2,3,4,5,6,7", "1,2,3,4,5,6,7,8,9", "1,2,3,4,5,6,7,", "1,2,3,4,5,6,7,x", "1,2,3,4,5,6,7,nan",
          "1,2,3,4,5,6,7,inf", "1,2,3,4,5,6,7,24.1", "1,2,3,4,5,6,7,-25", "1;2;3;4;5;6;7;8",
          "1,2,3,4,5,6,7,8 ", "1,2,3,4,5,6,7,1e999"})
        expectWrongUsage({"render", "--gains", gains, "in", "out"});
    for (const char* volume : {"", "-0.1", "16.5", "nan", "inf", "loud", "0,5", "1 "}) {
        expectWrongUsage({"render", "--volume", volume, "in", "out"});
        expectWrongUsage({"render", "--initial-volume", volume, "in", "out"});
    }
    for (const char* frames : {"", "0", "-1", "8193", "1.5", "many", "99999999999999999999"})
        expectWrongUsage({"render", "--buffer", frames, "in", "out"});
}

using Action = ClientRequest::Action;

TEST(CommandLine, AsksTheRunningInstanceForItsStatus) {
    const Parsed parsed = parse({"status", "--json", "--watch"});
    ASSERT_EQ(parsed.command, Command::client) << parsed.error;
    EXPECT_EQ(parsed.client.action, Action::status);
    EXPECT_TRUE(parsed.client.isJSON);
    EXPECT_TRUE(parsed.client.keepsWatching);
    EXPECT_FALSE(parse({"status"}).client.isJSON);
    EXPECT_FALSE(parse({"status"}).client.showsAll);
    EXPECT_TRUE(parse({"status", "--all", "--json"}).client.showsAll);
}

TEST(CommandLine, ReadsEveryChangeOfASource) {
    const Parsed parsed = parse({"set", "Firefox", "--gains", "-6,5.5,+3,1e1,0,-0.25,12,-12", "--volume",
                                 "0.5", "--output", "auto", "--bypass", "on"});
    ASSERT_EQ(parsed.command, Command::client) << parsed.error;
    EXPECT_EQ(parsed.client.action, Action::set);
    EXPECT_EQ(parsed.client.source, "Firefox");
    EXPECT_EQ(parsed.client.change, (SettingsChange{.bandGains = {{-6, 5.5, 3, 10, 0, -0.25, 12, -12}},
                                                    .volume = 0.5,
                                                    .isBypassed = true,
                                                    .outputDeviceUID = "auto"}));
    EXPECT_EQ(parse({"set", "x", "--preset", "Night", "--bypass", "off"}).client.change,
              (SettingsChange{.presetID = "Night", .isBypassed = false}));
    EXPECT_EQ(parse({"set", "x", "--downmix", "on"}).client.change,
              SettingsChange{.downmixesSurround = true});
    EXPECT_EQ(parse({"set", "x", "--downmix", "off"}).client.change,
              SettingsChange{.downmixesSurround = false});
    EXPECT_EQ(parse({"set", "x", "--reset"}).client.change, SettingsChange{.resetsCurve = true});
}

TEST(CommandLine, ReadsTheOtherRequests) {
    EXPECT_EQ(parse({"on"}).client.action, Action::turnOn);
    EXPECT_EQ(parse({"off"}).client.action, Action::turnOff);
    EXPECT_EQ(parse({"presets"}).client.action, Action::listPresets);
    EXPECT_TRUE(parse({"presets", "--json"}).client.isJSON);
    const Parsed save = parse({"preset", "save", "Late night", "--from", "system"});
    EXPECT_EQ(save.client.action, Action::savePreset);
    EXPECT_EQ(save.client.presetName, "Late night");
    const Parsed import = parse({"preset", "import", "-", "--name", "Mine", "--dry-run"});
    EXPECT_EQ(import.client.action, Action::importPresets);
    EXPECT_EQ(import.client.presetFile.file, "-");
    EXPECT_EQ(import.client.presetFile.name, "Mine");
    EXPECT_TRUE(import.client.presetFile.savesNothing);
    const Parsed exported = parse({"preset", "export", "One", "Two", "--output", "file.json"});
    EXPECT_EQ(exported.client.action, Action::exportPresets);
    EXPECT_EQ(exported.client.presetFile.file, "file.json");
    EXPECT_EQ(exported.client.presetFile.exportedNames, (std::vector<std::string>{"One", "Two"}));
    EXPECT_EQ(parse({"preset", "export"}).client.presetFile.file, "-");
    EXPECT_EQ(save.client.source, "system");
}

TEST(CommandLine, RefusesRequestsThatMakeNoSense) {
    expectWrongUsage({"set"});
    expectWrongUsage({"set", "x"}); // nothing to change
    expectWrongUsage({"set", "", "--volume", "1"});
    expectWrongUsage({"set", "x", "--preset", ""});
    expectWrongUsage({"set", "x", "--output", ""});
    expectWrongUsage({"set", "x", "--bypass", "maybe"});
    expectWrongUsage({"set", "x", "--downmix", ""});
    expectWrongUsage({"set", "x", "--downmix", "1"});
    expectWrongUsage({"status", "--all", "--watch"}); // there is no signal for changes of exempt streams
    expectWrongUsage({"set", "x", "--reset", "--preset", "flat"});
    expectWrongUsage({"set", "x", "--reset", "--gains", "0,0,0,0,0,0,0,0"});
    expectWrongUsage({"set", "x", "--gains", "0,0,0,0,0,0,0,0", "--preset", "flat"});
    for (const char* gains : {"", "1,2,3,4,5,6,7", "1,2,3,4,5,6,7,8,9", "1,2,3,4,5,6,7,12.1",
                              "1,2,3,4,5,6,7,nan", "1,2,3,4,5,6,7,-inf"})
        expectWrongUsage({"set", "x", "--gains", gains});
    for (const char* volume : {"", "-0.1", "1.1", "nan", "inf", "50%"})
        expectWrongUsage({"set", "x", "--volume", volume});
    expectWrongUsage({"preset"});
    expectWrongUsage({"preset", "save", "x"});
    expectWrongUsage({"preset", "import"});
    expectWrongUsage({"preset", "import", ""});
    expectWrongUsage({"preset", "import", "x", "y"});
    expectWrongUsage({"preset", "import", "x", "--name", "bassBoost"});
    expectWrongUsage({"preset", "import", "x", "--name", " "});
    expectWrongUsage({"preset", "export", "--output", ""});
    expectWrongUsage({"preset", "save", " ", "--from", "system"});
    expectWrongUsage({"preset", "save", "two\nlines", "--from", "system"});
    expectWrongUsage({"--headless", "status"});
    expectWrongUsage({"on", "off"});
}

} // namespace
} // namespace vello
