// SPDX-License-Identifier: Apache-2.0
// Commands that change a running instance.
#include "ClientFixture.h"

namespace vello {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(ClientTests, ChangesASourceByIDNameOrSystem) {
    start();
    EXPECT_EQ(run({"set", kPlayer, "--volume", "0.5"}).exitCode, 0);
    EXPECT_EQ(settings(), EQSettings{.volume = 0.5});
    EXPECT_EQ(run({"set", "Player", "--preset", "Bass Boost", "--output", "Headphones"}).exitCode, 0);
    EXPECT_EQ(settings(), (EQSettings{.bandGains = {6, 5, 3.5, 1.5, 0, 0, 0, 0},
                                      .volume = 0.5,
                                      .outputDeviceUID = "headphones"}));
    EXPECT_EQ(run({"set", "Player", "--reset", "--output", "auto", "--bypass", "on"}).output, "");
    EXPECT_EQ(settings(), (EQSettings{.isBypassed = true, .volume = 0.5}));
    EXPECT_EQ(run({"set", "system", "--gains", "1,2,3,4,5,6,7,-8"}).exitCode, 0);
    EXPECT_THAT(settings(std::string(kSystemSourceID)).bandGains, ElementsAre(1, 2, 3, 4, 5, 6, 7, -8));
}

TEST_F(ClientTests, ChangesASourceThatDoesNotPlayButHasSettings) {
    start();
    controller->updateSettings({.volume = 0.25}, "org.example.absent");
    EXPECT_EQ(run({"set", "org.example.absent", "--volume", "0.75"}).exitCode, 0);
    EXPECT_EQ(settings("org.example.absent").volume, 0.75);
}

TEST_F(ClientTests, DownmixesAnApplicationThatHasNothingButExemptStreams) {
    hardware.addExemptStream({.exemption = StreamExemption::surround, .process = {.pid = 102}});
    start();
    EXPECT_EQ(run({"set", "Browser", "--downmix", "on"}).exitCode, 0);
    EXPECT_TRUE(settings("org.example.browser").downmixesSurround);
    EXPECT_EQ(run({"set", "org.example.browser", "--downmix", "off"}).exitCode, 0);
    EXPECT_FALSE(settings("org.example.browser").downmixesSurround);
    expectOneLine(run({"set", "system", "--downmix", "on"}), "one application");
}

TEST_F(ClientTests, SwitchesTheEqualizerOffAndOn) {
    start();
    EXPECT_EQ(run({"off"}).exitCode, 0);
    EXPECT_FALSE(controller->isProcessingEnabled().value());
    EXPECT_EQ(run({"on"}).exitCode, 0);
    EXPECT_TRUE(controller->isProcessingEnabled().value());
}

TEST_F(ClientTests, SavesTheCurveThatIsHeard) {
    start();
    const std::vector<double> system{1, 1, 1, 1, 1, 1, 1, 1};
    const std::vector<double> own{2, 2, 2, 2, 2, 2, 2, 2};
    controller->updateSettings({.bandGains = system}, std::string(kSystemSourceID));
    EXPECT_EQ(run({"preset", "save", "Late night", "--from", "Player"}).exitCode, 0);
    controller->updateSettings({.bandGains = own}, kPlayer);
    EXPECT_EQ(run({"preset", "save", "Own", "--from", "Player"}).exitCode, 0);
    EXPECT_THAT(controller->userPresets().value(),
                ElementsAre(UserEQPreset{"Late night", system}, UserEQPreset{"Own", own}));
}

TEST_F(ClientTests, ChangesByStepsFromWhatIsHeard) {
    start();
    controller->updateSettings({.bandGains = {4, 0, 0, 0, 0, 0, 0, 0}, .volume = 0.5},
                               std::string(kSystemSourceID));
    EXPECT_EQ(run({"set", "Player", "--volume", "+5%"}).exitCode, 0);
    EXPECT_THAT(settings().bandGains, ElementsAre(4, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_DOUBLE_EQ(settings().volume, 0.55);
    EXPECT_EQ(run({"set", "Player", "--band", "1k=+3", "--band", "63-=1", "--bypass", "toggle"}).exitCode, 0);
    EXPECT_THAT(settings().bandGains, ElementsAre(3, 0, 0, 0, 3, 0, 0, 0));
    EXPECT_TRUE(settings().isBypassed);
}

TEST_F(ClientTests, LetsASourceFollowTheSystemAgain) {
    start();
    controller->updateSettings({.bandGains = std::vector<double>(8, 2.0),
                                .isBypassed = true,
                                .volume = 0.5,
                                .outputDeviceUID = "headphones",
                                .downmixesSurround = true},
                               kPlayer);
    EXPECT_EQ(run({"follow", "Player"}).exitCode, 0);
    EXPECT_EQ(settings(), EQSettings());
    expectOneLine(run({"follow", "system"}), "name an application");
}

TEST_F(ClientTests, TakesChangesBackAndForgetsSources) {
    start();
    expectOneLine(run({"undo", "Player"}), "nothing to undo");
    EXPECT_EQ(run({"set", "Player", "--volume", "0.25"}).exitCode, 0);
    EXPECT_EQ(run({"undo", "Player"}).exitCode, 0);
    EXPECT_EQ(settings(), EQSettings());
    EXPECT_EQ(run({"undo", "Player"}).exitCode, 0);
    EXPECT_EQ(settings().volume, 0.25);
    EXPECT_EQ(run({"forget", "Player"}).exitCode, 0);
    EXPECT_THAT(controller->settingsBySourceID().value(), IsEmpty());
    expectOneLine(run({"forget", "Player"}), "no stored settings");
}

TEST_F(ClientTests, ChangesASourceBeforeItsFirstPlayOnlyWhenItIsCalledNew) {
    start();
    expectOneLine(run({"set", "org.example.later", "--volume", "0.5"}), "no source");
    EXPECT_EQ(run({"set", "org.example.later", "--volume", "0.5", "--new"}).exitCode, 0);
    EXPECT_EQ(settings("org.example.later").volume, 0.5);
    EXPECT_THAT(run({"status", "--all"}).output,
                AllOf(HasSubstr("DOES NOT PLAY"), HasSubstr("org.example.later")));
    EXPECT_EQ(runJSON({"status", "--all", "--json"})["storedSources"][0]["id"], "org.example.later");
    EXPECT_EQ(run({"set", "Player", "--volume", "0.5", "--new"}).exitCode, 0) << "it is known by its name";
    EXPECT_EQ(settings().volume, 0.5);
    expectOneLine(run({"set", "two words", "--volume", "0.5", "--new"}), "cannot be the id");
}

TEST_F(ClientTests, ChangesAnApplicationThatIsHeldReadyByItsName) {
    start();
    stopPlayer();
    EXPECT_EQ(run({"set", "Player", "--volume", "0.125"}).exitCode, 0);
    EXPECT_EQ(settings().volume, 0.125);
}

TEST_F(ClientTests, SavesDeletesAndRenamesPresets) {
    start();
    EXPECT_EQ(run({"preset", "save", "Mine", "--gains", "1,2,3,4,5,6,7,8"}).exitCode, 0);
    EXPECT_EQ(run({"preset", "rename", "Mine", "Yours"}).exitCode, 0);
    EXPECT_THAT(controller->userPresets().value(),
                ElementsAre(UserEQPreset{"Yours", {1, 2, 3, 4, 5, 6, 7, 8}}));
    expectOneLine(run({"preset", "delete", "Mine"}), "no saved preset \"Mine\"");
    expectOneLine(run({"preset", "delete", "vocal"}), "built in");
    EXPECT_EQ(run({"preset", "delete", "Yours"}).exitCode, 0);
    EXPECT_THAT(controller->userPresets().value(), IsEmpty());
}

TEST_F(ClientTests, TogglesTheMasterSwitch) {
    start();
    EXPECT_EQ(run({"toggle"}).exitCode, 0);
    EXPECT_FALSE(controller->isProcessingEnabled().value());
    EXPECT_EQ(run({"toggle"}).exitCode, 0);
    EXPECT_TRUE(controller->isProcessingEnabled().value());
}

TEST_F(ClientTests, HintsAtWhatIsNotHeard) {
    start();
    controller->updateSettings({.volume = 0.5}, std::string(kSystemSourceID));
    const auto hint = [&](const std::vector<std::string>& words) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, 0);
        return result.output;
    };
    EXPECT_THAT(hint({"set", "Player", "--preset", "flat"}), HasSubstr("those of System hold"));
    EXPECT_EQ(hint({"set", "Player", "--preset", "vocal"}), "");
    EXPECT_THAT(nlohmann::json::parse(hint({"set", "Player", "--preset", "flat", "--json"}))["hint"],
                HasSubstr("System"));
    controller->setProcessingEnabled(false);
    EXPECT_THAT(hint({"set", "Player", "--volume", "0.5"}), HasSubstr("switched off"));
}

TEST_F(ClientTests, SaysWhichOfTwoPresetsItTakes) {
    start();
    controller->saveUserPreset("vocal", std::vector<double>(8, 1.0)); // as from a file
    const Result result = run({"set", "Player", "--preset", "vocal"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, HasSubstr("is taken for the built-in preset vocal"));
    EXPECT_THAT(settings().bandGains, testing::ElementsAreArray(EQPreset(EQPreset::vocal).bandGains()));
}

} // namespace
} // namespace vello
