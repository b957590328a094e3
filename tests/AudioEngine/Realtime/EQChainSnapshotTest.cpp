// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/EQChainSnapshot.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vello {
namespace {

EQSettings withGains(std::vector<double> gains) {
    EQSettings settings;
    settings.bandGains = std::move(gains);
    return settings;
}

EQSettings boostedBass() {
    return withGains({6, 0, 0, 0, 0, 0, 0, 0});
}

TEST(EQChainSnapshot, HasNoSetupWhenBypassed) {
    EQSettings settings = boostedBass();
    settings.isBypassed = true;
    EXPECT_EQ(EQChainSnapshot(settings, 48000).biquadSetup(), nullptr);
}

TEST(EQChainSnapshot, HasNoSetupForAFlatCurve) {
    EXPECT_EQ(EQChainSnapshot(EQSettings(), 48000).biquadSetup(), nullptr);
    EXPECT_EQ(EQChainSnapshot(withGains({}), 48000).biquadSetup(), nullptr);
    EXPECT_EQ(EQChainSnapshot(withGains({0, 0}), 48000).biquadSetup(), nullptr);
}

TEST(EQChainSnapshot, HasNoSetupWithoutASampleRate) {
    EXPECT_EQ(EQChainSnapshot(boostedBass(), 0).biquadSetup(), nullptr);
    EXPECT_EQ(EQChainSnapshot(boostedBass(), -48000).biquadSetup(), nullptr);
    EXPECT_EQ(EQChainSnapshot(boostedBass(), std::numeric_limits<double>::quiet_NaN()).biquadSetup(),
              nullptr);
}

TEST(EQChainSnapshot, DesignsOnePeakAndSevenIdentities) {
    const EQChainSnapshot snapshot(boostedBass(), 48000);
    ASSERT_NE(snapshot.biquadSetup(), nullptr);
    const auto& sections = snapshot.biquadSetup()->sections();

    const double amplitude = std::pow(10.0, 6.0 / 40.0);
    const double omega = 2.0 * 3.14159265358979323846 * 63.0 / 48000.0;
    const double alpha = std::sin(omega) / 2.82;
    const double a0 = 1.0 + alpha / amplitude;
    EXPECT_NEAR(amplitude, 1.4125, 5e-5);
    EXPECT_DOUBLE_EQ(sections[0].b0, (1.0 + alpha * amplitude) / a0);
    EXPECT_DOUBLE_EQ(sections[0].b1, -2.0 * std::cos(omega) / a0);
    EXPECT_DOUBLE_EQ(sections[0].b2, (1.0 - alpha * amplitude) / a0);
    EXPECT_DOUBLE_EQ(sections[0].a1, -2.0 * std::cos(omega) / a0);
    EXPECT_DOUBLE_EQ(sections[0].a2, (1.0 - alpha / amplitude) / a0);
    for (std::size_t k = 1; k < kSectionCount; ++k) {
        EXPECT_EQ(sections[k].b0, 1.0);
        EXPECT_EQ(sections[k].b1, sections[k].a1);
        EXPECT_EQ(sections[k].b2, sections[k].a2);
    }
}

TEST(EQChainSnapshot, DependsOnTheSampleRate) {
    const EQChainSnapshot slow(boostedBass(), 44100);
    const EQChainSnapshot fast(boostedBass(), 48000);
    EXPECT_NE(slow.biquadSetup()->sections()[0].a1, fast.biquadSetup()->sections()[0].a1);
}

TEST(EQChainSnapshot, IgnoresANinthGain) {
    const EQChainSnapshot eight(withGains({1, 2, 3, 4, 5, 6, 7, 8}), 48000);
    const EQChainSnapshot nine(withGains({1, 2, 3, 4, 5, 6, 7, 8, 9}), 48000);
    for (std::size_t k = 0; k < kSectionCount; ++k)
        EXPECT_EQ(eight.biquadSetup()->sections()[k].b0, nine.biquadSetup()->sections()[k].b0);
}

TEST(EQChainSnapshot, ANinthGainAloneStillMakesASetup) {
    EXPECT_NE(EQChainSnapshot(withGains({0, 0, 0, 0, 0, 0, 0, 0, 9}), 48000).biquadSetup(), nullptr);
}

TEST(EQChainSnapshot, HasTheIdentityOfPeakingSectionsThatTheCascadeRestsOn) {
    for (const double gain : {-24.0, -12.0, -0.1, 0.1, 6.0, 12.0, 24.0})
        for (const double frequency : EQSettings::bandFrequencies)
            for (const double sampleRate : {44100.0, 48000.0, 96000.0, 192000.0}) {
                const auto section = peakingSection(gain, frequency, sampleRate);
                EXPECT_EQ(section.b1, section.a1);
                EXPECT_NEAR(section.b0 + section.b2, 1.0 + section.a2, 1e-15);
            }
}

TEST(EQChainSnapshotDeathTest, EndsTheProcessWithTooFewGains) {
    EXPECT_DEATH(EQChainSnapshot(withGains({0, 0, 0, 1, 0, 0, 0}), 48000), "gain for every band");
}

} // namespace
} // namespace vello
