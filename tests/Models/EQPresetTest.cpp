// SPDX-License-Identifier: Apache-2.0
#include "Models/EQPreset.h"
#include "Models/AppAudioSource.h"
#include "Models/AudioOutputRoute.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace vello {
namespace {

TEST(EQPresetTest, ListsTheCurvesInTheirOrder) {
    std::vector<std::string> rawValues;
    std::vector<std::string> names;
    for (const EQPreset preset : EQPreset::allCases()) {
        rawValues.emplace_back(preset.rawValue());
        names.push_back(preset.displayName());
        EXPECT_EQ(preset.id(), preset.rawValue());
    }
    EXPECT_THAT(rawValues,
                testing::ElementsAre("flat", "reduceBass", "bassBoost", "vocal", "podcast", "bright"));
    EXPECT_THAT(names,
                testing::ElementsAre("Flat", "Reduce Bass", "Bass Boost", "Vocal", "Podcast", "Bright"));
}

TEST(EQPresetTest, HasTheGainsOfItsCurve) {
    using Gains = EQPreset::Gains;
    EXPECT_EQ(EQPreset(EQPreset::flat).bandGains(), (Gains{0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(EQPreset(EQPreset::reduceBass).bandGains(), (Gains{-6, -5, -3.5, -1.5, 0, 0, 0, 0}));
    EXPECT_EQ(EQPreset(EQPreset::bassBoost).bandGains(), (Gains{6, 5, 3.5, 1.5, 0, 0, 0, 0}));
    EXPECT_EQ(EQPreset(EQPreset::vocal).bandGains(), (Gains{-2, -1, 0, 2, 4, 4, 2, 0}));
    EXPECT_EQ(EQPreset(EQPreset::podcast).bandGains(), (Gains{-6, -2, 1, 3, 4, 3, 2, 0}));
    EXPECT_EQ(EQPreset(EQPreset::bright).bandGains(), (Gains{0, 0, 0, 0, 1, 3, 5, 6}));
}

TEST(EQPresetTest, IsFoundByItsRawValueExactly) {
    for (const EQPreset preset : EQPreset::allCases())
        EXPECT_EQ(EQPreset::fromRawValue(preset.rawValue()), preset);
    EXPECT_FALSE(EQPreset::fromRawValue("Flat"));
    EXPECT_FALSE(EQPreset::fromRawValue(""));
    EXPECT_FALSE(EQPreset::fromRawValue("flat "));
}

TEST(EQPresetTest, IsFoundByItsGainsWithoutTolerance) {
    for (const EQPreset preset : EQPreset::allCases())
        EXPECT_EQ(EQPreset::matching(preset.bandGains()), preset);
    EXPECT_FALSE(EQPreset::matching(std::vector<double>{6, 5, 3.5000001, 1.5, 0, 0, 0, 0}));
    EXPECT_FALSE(EQPreset::matching(std::vector<double>(7, 0.0)));
    EXPECT_FALSE(EQPreset::matching(std::vector<double>(9, 0.0)));
    EXPECT_FALSE(EQPreset::matching({}));
    EXPECT_FALSE(EQPreset::matching(std::vector<double>(8, std::numeric_limits<double>::quiet_NaN())));
}

TEST(UserEQPresetTest, PresetsOfOneNameShareTheirIdWithoutBeingEqual) {
    const UserEQPreset first{"Rock", std::vector<double>(8, 0.0)};
    const UserEQPreset second{"Rock", std::vector<double>(8, 1.0)};
    EXPECT_EQ(first.id(), second.id());
    EXPECT_NE(first, second);
    EXPECT_EQ(first, UserEQPreset(first));
}

TEST(AppAudioSourceTest, ComparesByEveryField) {
    const AppAudioSource source{"org.example.player", 4242, "Player", "org.example.player"};
    EXPECT_EQ(source, AppAudioSource(source));
    for (const AppAudioSource& other :
         {AppAudioSource{"pid.4242", 4242, "Player", "org.example.player"},
          AppAudioSource{"org.example.player", std::nullopt, "Player", "org.example.player"},
          AppAudioSource{"org.example.player", 4242, "player", "org.example.player"},
          AppAudioSource{"org.example.player", 4242, "Player", std::nullopt}})
        EXPECT_NE(other, source);
}

TEST(AudioOutputRouteTest, ComparesByEveryField) {
    const AudioOutputRoute route{"usb", "USB Speakers", true};
    EXPECT_EQ(route, AudioOutputRoute(route));
    for (const AudioOutputRoute& other :
         {AudioOutputRoute{"hdmi", "USB Speakers", true}, AudioOutputRoute{"usb", "Speakers", true},
          AudioOutputRoute{"usb", "USB Speakers", false}})
        EXPECT_NE(other, route);
}

} // namespace
} // namespace vello
