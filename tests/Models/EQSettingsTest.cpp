// SPDX-License-Identifier: Apache-2.0
#include "Models/EQSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vello {
namespace {

using testing::Each;
using testing::SizeIs;

EQSettings settingsWithVolume(double volume) {
    EQSettings settings;
    settings.volume = volume;
    return settings;
}

TEST(EQSettingsTest, StartsNeutralWithEightBandsAtZero) {
    const EQSettings settings;
    EXPECT_THAT(settings.bandGains, SizeIs(8));
    EXPECT_THAT(settings.bandGains, Each(0.0));
    EXPECT_FALSE(settings.isBypassed);
    EXPECT_EQ(settings.volume, 1.0);
    EXPECT_FALSE(settings.outputDeviceUID);
    EXPECT_TRUE(settings.isNeutral());
}

TEST(EQSettingsTest, IsFlatOnlyWhenEveryGainIsExactlyZero) {
    EQSettings settings;
    EXPECT_TRUE(settings.isFlat());
    settings.bandGains[7] = 1e-300;
    EXPECT_FALSE(settings.isFlat());
    settings.bandGains = {0.0, -0.0};
    EXPECT_TRUE(settings.isFlat());
    settings.bandGains.clear();
    EXPECT_TRUE(settings.isFlat());
}

TEST(EQSettingsTest, AnySingleChangeEndsNeutrality) {
    EXPECT_FALSE(settingsWithVolume(0.9999).isNeutral());

    EQSettings gain;
    gain.bandGains[3] = 0.1;
    EXPECT_FALSE(gain.isNeutral());

    EQSettings device;
    device.outputDeviceUID = "";
    EXPECT_FALSE(device.isNeutral());

    EQSettings bypassed;
    bypassed.isBypassed = true;
    EXPECT_FALSE(bypassed.isNeutral());
}

TEST(EQSettingsTest, ResetFlattensTheCurveAndNothingElse) {
    EQSettings settings = settingsWithVolume(0.3);
    settings.bandGains = {1, 2, 3};
    settings.isBypassed = true;
    settings.outputDeviceUID = "speakers";
    settings.downmixesSurround = true;
    settings.reset();
    EXPECT_EQ(settings.bandGains, std::vector<double>(8, 0.0));
    EXPECT_TRUE(settings.isBypassed);
    EXPECT_EQ(settings.volume, 0.3);
    EXPECT_EQ(settings.outputDeviceUID, "speakers");
    EXPECT_TRUE(settings.downmixesSurround);
}

TEST(EQSettingsTest, LabelsBandsByFrequency) {
    std::vector<std::string> labels;
    for (std::size_t band = 0; band < EQSettings::bandCount; ++band)
        labels.push_back(EQSettings::bandLabel(band));
    EXPECT_THAT(labels, testing::ElementsAre("63", "125", "250", "500", "1K", "2K", "4K", "8K"));
}

TEST(EQSettingsDeathTest, ALabelOfABandThatDoesNotExistEndsTheProcess) {
    EXPECT_DEATH((void)EQSettings::bandLabel(8), "Precondition failed");
}

TEST(EQSettingsTest, AnUntouchedSourceUsesTheSystemSettingsAsAWhole) {
    EQSettings system = settingsWithVolume(0.5);
    system.bandGains = {-2, -1, 0, 2, 4, 4, 2, 0};
    system.isBypassed = true;
    system.outputDeviceUID = "headphones";
    EXPECT_EQ(EQSettings::effective(EQSettings{}, system, false), system);
}

TEST(EQSettingsTest, ATouchedSourceUsesItsOwnSettingsAsAWhole) {
    EQSettings system = settingsWithVolume(0.5);
    system.bandGains[0] = 6;

    const EQSettings own = settingsWithVolume(0.9999);
    EXPECT_EQ(EQSettings::effective(own, system, false), own);

    EQSettings bypassed;
    bypassed.isBypassed = true;
    EXPECT_EQ(EQSettings::effective(bypassed, system, false), bypassed);
}

TEST(EQSettingsTest, ADownmixedSourceFollowsTheSystemAndIsDownmixedByItselfAlone) {
    EQSettings own;
    own.downmixesSurround = true;
    EXPECT_TRUE(own.isNeutral());
    EQSettings expected = settingsWithVolume(0.5);
    expected.downmixesSurround = true;
    EXPECT_EQ(EQSettings::effective(own, settingsWithVolume(0.5), false), expected);
    EXPECT_EQ(EQSettings::effective(EQSettings{}, expected, false), settingsWithVolume(0.5));
}

TEST(EQSettingsTest, TheSystemEntryUsesItsOwnSettingsEvenWhenNeutral) {
    const EQSettings own;
    EXPECT_EQ(EQSettings::effective(own, settingsWithVolume(0.5), true), own);
}

TEST(EQSettingsTest, ComparesByEveryField) {
    const EQSettings settings;
    EQSettings changed = settings;
    EXPECT_EQ(changed, settings);

    changed.bandGains[0] = -0.0;
    EXPECT_EQ(changed, settings) << "zeros of either sign are equal";

    changed.bandGains.pop_back();
    EXPECT_NE(changed, settings);

    changed = settings;
    changed.outputDeviceUID = "";
    EXPECT_NE(changed, settings) << "an empty device is not an absent one";
    changed = settings;
    changed.downmixesSurround = true;
    EXPECT_NE(changed, settings);
    EXPECT_NE(settingsWithVolume(2), settings);
}

} // namespace
} // namespace vello
