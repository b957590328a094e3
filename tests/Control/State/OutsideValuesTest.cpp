// SPDX-License-Identifier: Apache-2.0
#include "Control/State/OutsideValues.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace vello {
namespace {

using Kind = OutsideValueError::Kind;

const std::vector<double> kCurve{-12, -6, -3, 0, 0.5, 3, 6, 12};

template <class Action> std::optional<Kind> refusal(Action action) {
    try {
        action();
        return std::nullopt;
    } catch (const OutsideValueError& error) {
        EXPECT_STRNE(error.what(), "");
        return error.kind();
    }
}

std::optional<Kind> refusalOfChange(const SettingsChange& change) {
    static const std::vector<UserEQPreset> presets{{"Mine", kCurve}, {"Short", {1, 2}}, {"flat", kCurve}};
    static const std::vector<AudioOutputRoute> routes{{"speakers", "Speakers", true}};
    return refusal([&] { changedSettings({}, change, {presets, routes}); });
}

TEST(OutsideValues, TakesGainsUpToTwelveDecibelsEitherWay) {
    EXPECT_EQ(refusal([] { checkGains(kCurve); }), std::nullopt);
}

TEST(OutsideValues, RefusesGainsThatAreNoCurve) {
    for (const double gain : {12.001, -12.001, std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(), std::nan("")}) {
        std::vector<double> gains(8, 0.0);
        gains[3] = gain;
        EXPECT_EQ(refusal([&] { checkGains(gains); }), Kind::invalidValue) << gain;
    }
    for (const std::size_t count : {0U, 7U, 9U})
        EXPECT_EQ(refusal([&] { checkGains(std::vector<double>(count)); }), Kind::invalidValue) << count;
}

TEST(OutsideValues, TakesVolumesFromSilenceToUnchanged) {
    for (const double volume : {0.0, 0.5, 1.0})
        EXPECT_EQ(refusal([&] { checkVolume(volume); }), std::nullopt) << volume;
    for (const double volume : {-0.001, 1.001, std::numeric_limits<double>::infinity(), std::nan("")})
        EXPECT_EQ(refusal([&] { checkVolume(volume); }), Kind::invalidValue) << volume;
}

TEST(OutsideValues, TakesNamesInAnyLanguage) {
    for (const char* name : {"Mine", " spaced ", "Ночь", "夜", "\U0001F468\u200D\U0001F469", "a/b", "--x"})
        EXPECT_EQ(refusal([&] { checkPresetName(name); }), std::nullopt) << name;
    EXPECT_EQ(refusal([] { checkPresetName(std::string(200, 'x')); }), std::nullopt);
}

TEST(OutsideValues, RefusesNamesThatNobodyCouldReadOrType) {
    for (const std::string name : {"", " ", "\t\n", "\u00A0\u2003", "\u200B", "two\nlines", "escape\x1b[2J",
                                   "delete\x7F", "c1\u0085", "line\u2028break", "back\u202Ewards",
                                   "isolate\u2066", "broken\xC3", "\xFF", "surrogate\xED\xA0\x80"})
        EXPECT_EQ(refusal([&] { checkPresetName(name); }), Kind::invalidValue)
            << testing::PrintToString(name);
    EXPECT_EQ(refusal([] { checkPresetName(std::string("zero\0byte", 9)); }), Kind::invalidValue);
    EXPECT_EQ(refusal([] { checkPresetName(std::string(201, 'x')); }), Kind::invalidValue);
}

TEST(OutsideValues, ChangesEachSettingByItself) {
    const EQSettings before{.bandGains = kCurve, .isBypassed = true, .volume = 0.5, .outputDeviceUID = "old"};
    const std::vector<UserEQPreset> presets{{"Mine", std::vector<double>(8, 1.0)}};
    const std::vector<AudioOutputRoute> routes{{"new", "New", false}};
    const auto after = [&](const SettingsChange& change) {
        return changedSettings(before, change, {presets, routes});
    };
    EQSettings wanted = before;
    wanted.reset();
    EXPECT_EQ(after({.resetsCurve = true}), wanted);
    wanted.bandGains = std::vector<double>(8, 1.0);
    EXPECT_EQ(after({.presetID = "Mine"}), wanted);
    EXPECT_EQ(after({.bandGains = std::vector<double>(8, 1.0)}), wanted);
    wanted = before;
    wanted.volume = 0;
    EXPECT_EQ(after({.volume = 0}), wanted);
    wanted = before;
    wanted.isBypassed = false;
    EXPECT_EQ(after({.isBypassed = false}), wanted);
    wanted = before;
    wanted.outputDeviceUID = "new";
    EXPECT_EQ(after({.outputDeviceUID = "new"}), wanted);
    wanted.outputDeviceUID.reset();
    EXPECT_EQ(after({.outputDeviceUID = ""}), wanted);
}

TEST(OutsideValues, PrefersABuiltInPresetToAUsersOfTheSameName) {
    const std::vector<UserEQPreset> presets{{"flat", kCurve}};
    EXPECT_TRUE(changedSettings({.bandGains = kCurve}, {.presetID = "flat"}, {presets, {}}).isFlat());
}

TEST(OutsideValues, RefusesAChangeThatCannotBeMade) {
    EXPECT_EQ(refusalOfChange({}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.presetID = "Yours"}), Kind::unknownPreset);
    EXPECT_EQ(refusalOfChange({.presetID = ""}), Kind::unknownPreset);
    EXPECT_EQ(refusalOfChange({.presetID = "Short"}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.outputDeviceUID = "attic"}), Kind::unknownOutput);
    EXPECT_EQ(refusalOfChange({.resetsCurve = true, .presetID = "vocal"}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.bandGains = kCurve, .presetID = "vocal"}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.resetsCurve = true, .bandGains = kCurve}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.volume = 2}), Kind::invalidValue);
}

TEST(OutsideValues, ChangesByStepsThatStopAtTheLimits) {
    const EQSettings before{.bandGains = kCurve, .volume = 0.5};
    const auto after = [&](const SettingsChange& change) {
        return changedSettings(before, change, {{}, {}});
    };
    EXPECT_DOUBLE_EQ(after({.volumeStep = -0.125}).volume, 0.375);
    EXPECT_EQ(after({.volumeStep = 1}).volume, 1);
    EXPECT_EQ(after({.volumeStep = -1}).volume, 0);
    EXPECT_EQ(after({.volumeFactor = 0.5}).volume, 0.25);
    EXPECT_EQ(after({.volumeFactor = 1000}).volume, 1);
    EXPECT_TRUE(after({.togglesBypass = true}).isBypassed);
    EXPECT_THAT(after({.bands = {{2, -3, true}, {0, -24, true}, {7, 1, false}}}).bandGains,
                testing::ElementsAre(-12, -6, -6, 0, 0.5, 3, 6, 1));
    EXPECT_THAT(after({.presetID = "flat", .bands = {{1, 2, true}}}).bandGains,
                testing::ElementsAre(0, 2, 0, 0, 0, 0, 0, 0));
}

TEST(OutsideValues, RefusesStepsThatMakeNoSense) {
    const double nan = std::nan("");
    for (const double step : {1.01, -1.01, nan})
        EXPECT_EQ(refusalOfChange({.volumeStep = step}), Kind::invalidValue) << step;
    for (const double factor : {-0.1, 1001.0, nan})
        EXPECT_EQ(refusalOfChange({.volumeFactor = factor}), Kind::invalidValue) << factor;
    EXPECT_EQ(refusalOfChange({.volume = 1, .volumeStep = 0}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.volumeStep = 0, .volumeFactor = 1}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.bands = {{0, 12.5, false}}}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.bands = {{0, nan, true}}}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.bands = {{0, 24.5, true}}}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.isBypassed = true, .togglesBypass = true}), Kind::invalidValue);
    EXPECT_EQ(refusalOfChange({.isNew = true}), Kind::invalidValue) << "nothing to change";
    EXPECT_EQ(refusal([] { bandOf(64); }), Kind::invalidValue);
    EXPECT_EQ(bandOf(8000), 7U);
}

TEST(OutsideValues, TakesATitleOfABuiltInPresetLast) {
    const std::vector<UserEQPreset> presets{{"Vocal", kCurve}};
    EXPECT_EQ(changedSettings({}, {.presetID = "Vocal"}, {presets, {}}).bandGains, kCurve);
    EXPECT_THAT(changedSettings({}, {.presetID = "Vocal"}, {{}, {}}).bandGains,
                testing::ElementsAreArray(EQPreset(EQPreset::vocal).bandGains()));
}

TEST(OutsideValues, RefusesTheIDsOfBuiltInPresetsAsNewNames) {
    for (const char* name : {"vocal", " flat", "bassBoost\t", "two\nlines"})
        EXPECT_EQ(refusal([&] { checkNewPresetName(name); }), Kind::invalidValue) << name;
    for (const char* name : {"Vocal", "bass boost", "Mine"})
        EXPECT_EQ(refusal([&] { checkNewPresetName(name); }), std::nullopt) << name;
    EXPECT_EQ(refusal([] { checkNewPresetName(""); }), Kind::invalidValue);
}

TEST(OutsideValues, TakesNewSourceIDsThatAnApplicationCanHave) {
    for (const char* id : {"org.example.player", "firefox", "Ночь"})
        EXPECT_EQ(refusal([&] { checkNewSourceID(id); }), std::nullopt) << id;
    for (const std::string id :
         {"", " ", "two words", "tab\t", "pid.12", "escape\x1b[2J", "broken\xC3", "back\u202Ewards"})
        EXPECT_EQ(refusal([&] { checkNewSourceID(id); }), Kind::invalidValue) << testing::PrintToString(id);
    EXPECT_EQ(refusal([] { checkNewSourceID(std::string(201, 'x')); }), Kind::invalidValue);
}

} // namespace
} // namespace vello
