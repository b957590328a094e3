// SPDX-License-Identifier: Apache-2.0
// Presets, single bands, steps, and sources that do not play, over a real bus.
#include "ControlFixture.h"

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char kPlayer[] = "org.example.player";
const std::vector<double> kCurve{1, 2, 3, 4, 5, 6, 7, 8};

struct PresetsAndSourcesOnTheBus : Control {
    EQSettings settings(const std::string& id = kPlayer) { return controller->settings(id); }
    static QVariant bands(const GainsByFrequency& gains) { return QVariant::fromValue(gains); }
};

TEST_F(PresetsAndSourcesOnTheBus, DeletesAndRenamesSavedPresets) {
    start();
    ASSERT_THAT(call("SavePreset", {"Mine", gains(kCurve)}), IsDone());
    EXPECT_THAT(call("RenamePreset", {"Mine", " Yours "}), IsDone());
    EXPECT_THAT(controller->userPresets().value(), ElementsAre(UserEQPreset{"Yours", kCurve}));
    EXPECT_THAT(call("RenamePreset", {"Mine", "Other"}), IsRefused("UnknownPreset"));
    EXPECT_THAT(call("RenamePreset", {"Yours", "vocal"}), IsRefused("InvalidValue"));
    EXPECT_THAT(call("RenamePreset", {"Yours", " "}), IsRefused("InvalidValue"));
    EXPECT_THAT(call("RenamePreset", {"vocal", "Other"}), IsRefused("InvalidValue"));
    EXPECT_THAT(call("DeletePreset", {"Mine"}), IsRefused("UnknownPreset"));
    EXPECT_THAT(call("DeletePreset", {"flat"}), IsRefused("InvalidValue"));
    EXPECT_THAT(call("DeletePreset", {"Yours"}), IsDone());
    EXPECT_THAT(controller->userPresets().value(), IsEmpty());
}

TEST_F(PresetsAndSourcesOnTheBus, LetsNoneBeSavedUnderABuiltInIDButDeletesOneThatCameFromAFile) {
    start();
    EXPECT_THAT(call("SavePreset", {"bassBoost", gains(kCurve)}), IsRefused("InvalidValue"));
    EXPECT_THAT(call("SavePreset", {" flat ", gains(kCurve)}), IsRefused("InvalidValue"));
    controller->saveUserPreset("flat", kCurve);
    EXPECT_THAT(call("DeletePreset", {"flat"}), IsDone());
    EXPECT_THAT(controller->userPresets().value(), IsEmpty());
}

TEST_F(PresetsAndSourcesOnTheBus, ListsPresetsAsThePropertyDoes) {
    start();
    controller->saveUserPreset("Mine", kCurve);
    const auto lists = call("ListPresets").arguments();
    EXPECT_EQ(decodePresetLists({.ids = lists.value(0).toStringList(),
                                 .builtInNames = lists.value(1).toStringList(),
                                 .gains = decodeNumbers(lists.value(2))}),
              state().presets);
    EXPECT_THAT(decodePresetLists({.ids = {"x"}, .builtInNames = {}, .gains = {1}}), IsEmpty());
    EXPECT_THAT(decodePresetLists({.ids = {}, .builtInNames = {"x"}, .gains = {}}), IsEmpty());
}

TEST_F(PresetsAndSourcesOnTheBus, ChangesSingleBandsAndStepsOfWhatIsInForce) {
    start();
    controller->updateSettings({.bandGains = kCurve, .volume = 0.5}, std::string(kSystemSourceID));
    EXPECT_THAT(set(kPlayer, {{"gainsByBand", bands({{63, -1}})}, {"gainStepsByBand", bands({{8000, 8}})}}),
                IsDone());
    EXPECT_EQ(settings(), (EQSettings{.bandGains = {-1, 2, 3, 4, 5, 6, 7, 12}, .volume = 0.5}));
    EXPECT_THAT(set(kPlayer, {{"volumeStep", 0.25}}), IsDone());
    EXPECT_THAT(set(kPlayer, {{"volumeFactor", 0.5}, {"togglesBypass", true}}), IsDone());
    EXPECT_EQ(settings().volume, 0.375);
    EXPECT_TRUE(settings().isBypassed);
    EXPECT_THAT(set(kPlayer, {{"gainsByBand", bands({{64, 1}})}}), IsRefused("InvalidValue"));
    EXPECT_THAT(set(kPlayer, {{"volume", 0.5}, {"volumeStep", 0.25}}), IsRefused("InvalidValue"));
}

TEST_F(PresetsAndSourcesOnTheBus, TakesBackTheLastChange) {
    start();
    EXPECT_THAT(call("UndoSettings", {kPlayer}), IsRefused("UnknownSource"));
    ASSERT_THAT(set(kPlayer, {{"volume", 0.5}}), IsDone());
    EXPECT_THAT(call("UndoSettings", {kPlayer}), IsDone());
    EXPECT_EQ(settings(), EQSettings());
    EXPECT_THAT(call("UndoSettings", {kPlayer}), IsDone());
    EXPECT_EQ(settings().volume, 0.5);
}

TEST_F(PresetsAndSourcesOnTheBus, KnowsSourcesThatDoNotPlay) {
    start();
    EXPECT_THAT(set("org.example.later", {{"volume", 0.5}}), IsRefused("UnknownSource"));
    EXPECT_THAT(set("org.example.later", {{"volume", 0.5}, {"isNew", true}}), IsDone());
    EXPECT_THAT(set("two words", {{"volume", 0.5}, {"isNew", true}}), IsRefused("InvalidValue"));
    EXPECT_THAT(set("pid.7", {{"volume", 0.5}, {"isNew", true}}), IsRefused("InvalidValue"));
    ASSERT_THAT(set(kPlayer, {{"volume", 0.5}}), IsDone());
    const auto stored = decodeSources(call("ListStoredSources").arguments().value(0));
    ASSERT_THAT(stored, SizeIs(1)) << "the player plays";
    EXPECT_EQ(stored[0].source.id, "org.example.later");
    EXPECT_EQ(stored[0].settings.volume, 0.5);
    EXPECT_THAT(call("ForgetSource", {"org.example.later"}), IsDone());
    EXPECT_THAT(call("ForgetSource", {"org.example.later"}), IsRefused("UnknownSource"));
    EXPECT_THAT(decodeSources(call("ListStoredSources").arguments().value(0)), IsEmpty());
}

TEST_F(PresetsAndSourcesOnTheBus, NamesTheDeviceOfTheApplicationWhileThereIsNoTap) {
    start();
    EXPECT_EQ(state().sources[1].deviceUID, "speakers");
    ASSERT_THAT(call("SetProcessingEnabled", {false}), IsDone());
    EXPECT_EQ(state().sources[1].deviceUID, std::nullopt) << "it plays on none";
    hardware.setProcessDevices(player, {speakers});
    EXPECT_EQ(state().sources[1].deviceUID, "speakers");
}

} // namespace
} // namespace vello
