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

TEST(CommandLine, RendersWithAPresetByItsWord) {
    EXPECT_EQ(parse({"render", "--preset", "Bass Boost", "in", "out"}).render.preset, "Bass Boost");
    EXPECT_EQ(parse({"render", "in", "out"}).render.preset, "");
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
    expectWrongUsage({"render", "--preset", "", "in", "out"});
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
    EXPECT_EQ(parsed.client.format, OutputFormat::json);
    EXPECT_TRUE(parsed.client.keepsWatching);
    EXPECT_FALSE(parsed.client.showsLevels);
    EXPECT_EQ(parse({"status"}).client.format, OutputFormat::text);
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
    EXPECT_EQ(parse({"presets", "--json"}).client.format, OutputFormat::json);
    EXPECT_EQ(parse({"outputs"}).client.action, Action::listOutputs);
    EXPECT_EQ(parse({"toggle"}).client.action, Action::toggle);
    const Parsed save = parse({"preset", "save", "Late night", "--from", "system"});
    EXPECT_EQ(save.client.action, Action::savePreset);
    EXPECT_EQ(save.client.presetName, "Late night");
    EXPECT_EQ(save.client.source, "system");
}

TEST(CommandLine, ReadsWhichPresetFilesAreMeant) {
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
    EXPECT_EQ(parse({"preset", "import", "x", "--json"}).client.format, OutputFormat::json);
    EXPECT_EQ(parse({"preset", "export", "--json"}).client.format, OutputFormat::json);
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
    for (const char* volume : {"", "1.1", "101%", "3dB", "=-0.1", "=+1dB", "nan", "inf", "loud", "%", "dB",
                               "+", "-", "5 %", "+101%", "-2", "+61dB", "++5%", "1e999%"})
        expectWrongUsage({"set", "x", "--volume", volume});
    for (const char* band : {"", "1k", "=3", "1k=", "3k=1", "1k=13", "1k=-12.5", "1k+=25", "1k=loud", "k=3",
                             "1k=nan", "1kk=3", "-1k=3"})
        expectWrongUsage({"set", "x", "--band", band});
    expectWrongUsage({"set", "x", "--band", "1k=3", "--band", "1000+=3"});
    expectWrongUsage({"set", "x", "--new"});
    expectWrongUsage({"status", "--levels"});
    expectWrongUsage({"status", "--watch", "--rate", "5"});
    for (const char* rate : {"", "0", "-1", "21", "nan", "often"})
        expectWrongUsage({"status", "--watch", "--levels", "--rate", rate});
    expectWrongUsage({"preset", "save", "x", "--from", "system", "--gains", "1,2,3,4,5,6,7,8"});
    expectWrongUsage({"preset", "save", "x", "--gains", "1,2,3"});
    expectWrongUsage({"preset", "save", "vocal", "--from", "system"});
    expectWrongUsage({"preset", "save", " flat ", "--from", "system"});
    expectWrongUsage({"preset", "rename", "x", "vocal"});
    expectWrongUsage({"preset", "rename", "x"});
    expectWrongUsage({"preset", "delete"});
    expectWrongUsage({"follow"});
    expectWrongUsage({"undo", ""});
    expectWrongUsage({"forget"});
    expectWrongUsage({"completion"});
    expectWrongUsage({"completion", "tcsh"});
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

SettingsChange changeOf(const std::vector<const char*>& options) {
    std::vector<const char*> arguments{"set", "x"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Parsed parsed = parse(arguments);
    EXPECT_EQ(parsed.client.action, Action::set) << parsed.error;
    return parsed.client.change;
}

TEST(CommandLine, ReadsAVolumeInEveryUnit) {
    EXPECT_EQ(changeOf({"--volume", "0.5"}), SettingsChange{.volume = 0.5});
    EXPECT_EQ(changeOf({"--volume", "50%"}), SettingsChange{.volume = 0.5});
    EXPECT_EQ(changeOf({"--volume", "+5%"}), SettingsChange{.volumeStep = 0.05});
    EXPECT_EQ(changeOf({"--volume", "-0.25"}), SettingsChange{.volumeStep = -0.25});
    EXPECT_NEAR(changeOf({"--volume", "-3dB"}).volumeFactor.value_or(0), 0.70795, 1e-5);
    EXPECT_NEAR(changeOf({"--volume", "+3db"}).volumeFactor.value_or(0), 1.41254, 1e-5);
    EXPECT_NEAR(changeOf({"--volume", "=-3dB"}).volume.value_or(0), 0.70795, 1e-5);
    EXPECT_EQ(changeOf({"--volume", "0dB"}), SettingsChange{.volume = 1.0});
}

TEST(CommandLine, ReadsSingleBands) {
    EXPECT_EQ(changeOf({"--band", "1k=+3"}), (SettingsChange{.bands = {{4, 3, false}}}));
    EXPECT_EQ(changeOf({"--band", "63=-12", "--band", "8K+=1.5dB", "--band", "500-=2"}),
              (SettingsChange{.bands = {{0, -12, false}, {7, 1.5, true}, {3, -2, true}}}));
    EXPECT_EQ(changeOf({"--preset", "vocal", "--band", "2000=0"}),
              (SettingsChange{.presetID = "vocal", .bands = {{5, 0, false}}}));
}

TEST(CommandLine, ReadsTheOtherChanges) {
    EXPECT_EQ(changeOf({"--bypass", "toggle"}), SettingsChange{.togglesBypass = true});
    EXPECT_EQ(changeOf({"--new", "--volume", "1"}), (SettingsChange{.volume = 1.0, .isNew = true}));
    const auto action = [](const char* word) { return parse({word, "Player"}).client.action; };
    EXPECT_EQ(action("follow"), Action::follow);
    EXPECT_EQ(action("undo"), Action::undo);
    EXPECT_EQ(action("forget"), Action::forget);
}

TEST(CommandLine, ReadsWhatToDoWithSavedPresets) {
    const Parsed save = parse({"preset", "save", "Mine", "--gains", "1,2,3,4,5,6,7,8"});
    EXPECT_THAT(save.client.change.bandGains.value(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(save.client.source, "");
    const Parsed remove = parse({"preset", "delete", "Mine"});
    EXPECT_EQ(remove.client.action, Action::deletePreset);
    EXPECT_EQ(remove.client.presetName, "Mine");
    const Parsed rename = parse({"preset", "rename", "Mine", "Yours", "--json"});
    EXPECT_EQ(rename.client.action, Action::renamePreset);
    EXPECT_EQ(rename.client.presetName, "Mine");
    EXPECT_EQ(rename.client.newName, "Yours");
    EXPECT_EQ(rename.client.format, OutputFormat::json);
}

TEST(CommandLine, ReadsHowOftenLevelsAreWatched) {
    const Parsed parsed = parse({"status", "--watch", "--json", "--levels", "--rate", "2.5"});
    EXPECT_TRUE(parsed.client.showsLevels);
    EXPECT_EQ(parsed.client.levelRate, 2.5);
    EXPECT_EQ(parse({"status", "--watch", "--levels"}).client.levelRate, 20);
}

TEST(CommandLine, SaysWhatWasProbablyMeant) {
    const auto error = [](const std::vector<const char*>& arguments) { return parse(arguments).error; };
    EXPECT_THAT(error({"stauts"}), HasSubstr("did you mean \"status\"?"));
    EXPECT_THAT(error({"preset", "remane", "x", "y"}), HasSubstr("did you mean \"rename\"?"));
    EXPECT_THAT(error({"preset", "exprot"}), HasSubstr("did you mean \"export\"?"));
    EXPECT_THAT(error({"preset", "import", "x", "--nmae", "y"}), HasSubstr("did you mean \"--name\"?"));
    EXPECT_THAT(error({"set", "x", "--volum", "1"}), HasSubstr("did you mean \"--volume\"?"));
    EXPECT_THAT(error({"set", "x", "--bypass", "togle"}), HasSubstr("did you mean \"toggle\"?"));
    EXPECT_THAT(error({"permission", "alow"}), HasSubstr("did you mean \"allow\"?"));
    EXPECT_THAT(error({"xyzzy"}), testing::Not(HasSubstr("did you mean")));
    EXPECT_EQ(error({"statsu", "--all", "x"}),
              "vello: there is no command \"statsu\"; did you mean \"status\"?; try vello --help\n");
    EXPECT_EQ(error({"set", "x", "--vloume", "1"}),
              "vello: there is no option \"--vloume\"; did you mean \"--volume\"?; try vello --help\n");
    EXPECT_EQ(error({"forget", "x", "y"}), "vello: there is a word too many: \"y\"; try vello --help\n");
    EXPECT_EQ(error({"preset"}), "vello: A subcommand is required; try vello --help\n");
    EXPECT_THAT(error({"set", "x", "--bypass", "perhaps"}), HasSubstr("one of on|off|toggle; try"));
}

TEST(CommandLine, PrintsWrongUsageAsJSONWhereJSONIsAskedFor) {
    const Parsed parsed = parse({"set", "x", "--volume", "loud", "--json"});
    EXPECT_EQ(parsed.exitCode, 2);
    EXPECT_THAT(parsed.error, testing::StartsWith(R"({"error":{"kind":"usage","message":")"));
    EXPECT_THAT(parsed.error, testing::EndsWith("\"exitCode\":2}}\n"));
}

} // namespace
} // namespace vello
