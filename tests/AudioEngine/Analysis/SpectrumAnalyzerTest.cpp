// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Analysis/SpectrumAnalyzer.h"
#include "AnalysisSounds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace vello {
namespace {

using test::ringWith;
using test::sine;
using test::stereo;
using testing::Each;
using testing::FloatNear;

constexpr std::size_t kFrames = SpectrumAnalyzer::frames;
constexpr std::size_t kBand63 = 0, kBand1000 = 4, kBand8000 = 7;

SpectrumAnalyzer::Levels levelsOf(const std::vector<float>& samples, double sampleRate = 48000,
                                  int channels = 1) {
    const auto ring = ringWith(samples);
    const auto levels = SpectrumAnalyzer().bandMagnitudes(*ring, sampleRate, channels);
    EXPECT_TRUE(levels);
    return levels.value_or(SpectrumAnalyzer::Levels{});
}

/// A sine at `decibels` dBFS.
std::vector<float> sineAt(double decibels, double frequency, double sampleRate = 48000) {
    return sine(kFrames, frequency, sampleRate, std::pow(10.0, decibels / 20));
}

TEST(SpectrumAnalyzer, HasNothingBeforeTheRingHeldEnoughFrames) {
    SpectrumAnalyzer analyzer;
    for (const int channels : {1, 2}) {
        const std::size_t enough = kFrames * static_cast<std::size_t>(channels);
        EXPECT_FALSE(analyzer.bandMagnitudes(*ringWith({}), 48000, channels));
        EXPECT_FALSE(
            analyzer.bandMagnitudes(*ringWith(std::vector<float>(enough - 1, 0.5F)), 48000, channels));
        EXPECT_TRUE(analyzer.bandMagnitudes(*ringWith(std::vector<float>(enough, 0.5F)), 48000, channels));
    }
}

TEST(SpectrumAnalyzer, HasNothingWithoutARateOrChannels) {
    SpectrumAnalyzer analyzer;
    const auto ring = ringWith(std::vector<float>(2 * kFrames, 0.5F));
    EXPECT_FALSE(analyzer.bandMagnitudes(*ring, 0, 2));
    EXPECT_FALSE(analyzer.bandMagnitudes(*ring, -48000, 2));
    EXPECT_FALSE(analyzer.bandMagnitudes(*ring, 48000, 0));
    EXPECT_FALSE(analyzer.bandMagnitudes(*ring, 48000, -1));
}

TEST(SpectrumAnalyzer, ShowsSilenceAsZeros) {
    EXPECT_THAT(levelsOf(std::vector<float>(kFrames)), Each(0.0F));
}

TEST(SpectrumAnalyzer, ShowsAFullScaleSineInItsOwnBandAboveAll) {
    const auto levels = levelsOf(sineAt(0, 1000));
    EXPECT_EQ(levels[kBand1000], 1.0F);
    for (const float level : levels)
        EXPECT_LE(level, levels[kBand1000]);
}

TEST(SpectrumAnalyzer, ShowsASineBetweenTheEndsOfTheScaleInItsOwnBandAlone) {
    for (std::size_t band = 0; band < EQSettings::bandCount; ++band) {
        const auto levels = levelsOf(sineAt(-70, EQSettings::bandFrequencies[band]));
        EXPECT_EQ(std::ranges::max_element(levels) - levels.begin(), static_cast<std::ptrdiff_t>(band));
    }
}

TEST(SpectrumAnalyzer, ReachesTheEndsOfItsScaleWithAKilohertzAt51And101DecibelsBelowFullScale) {
    // Peak power (A sqrt(2/3) 2048)^2, plus half the amplitude in both neighbouring bins: 1.5 times that over
    // 31 bins.
    const double fullScale = 10 * std::log10(2.0 / 3.0 * 2048 * 2048 * 1.5 / 31);
    EXPECT_NEAR(fullScale, 51.3, 0.05);
    for (const double decibels : {-60.0, -75.5, -99.0})
        EXPECT_THAT(levelsOf(sineAt(decibels, 1007.8125))[kBand1000],
                    FloatNear(static_cast<float>((decibels + fullScale + 50) / 50), 1e-4F));
    EXPECT_EQ(levelsOf(sineAt(-51, 1007.8125))[kBand1000], 1.0F);
    EXPECT_EQ(levelsOf(sineAt(-102, 1007.8125))[kBand1000], 0.0F);
}

TEST(SpectrumAnalyzer, ListensToTheFirstChannelAlone) {
    const auto tone = sineAt(-70, 1000);
    const std::vector<float> silence(kFrames);
    EXPECT_EQ(levelsOf(stereo(tone, silence), 48000, 2), levelsOf(tone));
    EXPECT_EQ(levelsOf(stereo(tone, sineAt(0, 4000)), 48000, 2), levelsOf(tone));
    EXPECT_THAT(levelsOf(stereo(silence, tone), 48000, 2), Each(0.0F));
}

TEST(SpectrumAnalyzer, ListensToTheNewestFramesAlsoAcrossTheEndOfTheRing) {
    const auto tone = sineAt(-70, 1000);
    AudioSampleRingBuffer ring(4096);
    const std::vector<float> loud(3000, 1.0F);
    ring.write(loud.data(), loud.size());
    ring.write(tone.data(), tone.size());
    EXPECT_EQ(SpectrumAnalyzer().bandMagnitudes(ring, 48000, 1), levelsOf(tone));
}

/// The level of a single bin that contains a sine at `decibels` dBFS.
float levelOfItsOwnBin(double decibels) {
    return static_cast<float>((decibels + 20 * std::log10(std::sqrt(2.0 / 3.0) * kFrames) + 50) / 50);
}

TEST(SpectrumAnalyzer, ReadsTheHighestBinAloneForABandBeyondHalfTheRate) {
    const double binWidth = 8000.0 / kFrames;
    const auto levelAt = [&](double bin) {
        return levelsOf(sineAt(-70, bin * binWidth, 8000), 8000)[kBand8000];
    };
    EXPECT_THAT(levelAt(1023), FloatNear(levelOfItsOwnBin(-70), 1e-4F));
    EXPECT_EQ(levelAt(1021), 0.0F);
}

TEST(SpectrumAnalyzer, ReadsTheLowestBinAloneForABandBelowIt) {
    const double binWidth = 192000.0 / kFrames; // 93.75 Hz, and the 63 Hz band ends at 89 Hz
    const auto levelAt = [&](double bin) {
        return levelsOf(sineAt(-70, bin * binWidth, 192000), 192000)[kBand63];
    };
    EXPECT_THAT(levelAt(1), FloatNear(levelOfItsOwnBin(-70), 1e-4F));
    EXPECT_EQ(levelAt(3), 0.0F);
}

TEST(SpectrumAnalyzer, NeverReadsTheBinOfConstantSound) {
    // The window leaks half of a constant into bin 1, one of three bins in the lowest band.
    constexpr double constant = 1e-4;
    const auto levels = levelsOf(std::vector<float>(kFrames, static_cast<float>(constant)));
    const double power = std::pow(constant * std::sqrt(2.0 / 3.0) * kFrames, 2) / 3;
    EXPECT_THAT(levels[kBand63], FloatNear(static_cast<float>((10 * std::log10(power) + 50) / 50), 1e-4F));
    EXPECT_THAT(std::vector(levels.begin() + 1, levels.end()), Each(0.0F));
}

TEST(SpectrumAnalyzer, KeepsAQuietBandApartFromALoudOne) {
    // Both have a whole number of periods, so the window leaks each only into its two neighbouring bins.
    const auto quiet = sineAt(-95, 43 * 23.4375);
    auto both = sineAt(0, 341 * 23.4375);
    std::ranges::transform(both, quiet, both.begin(), std::plus());
    EXPECT_THAT(levelsOf(both)[kBand1000], FloatNear(levelsOf(quiet)[kBand1000], 1e-4F));
    EXPECT_GT(levelsOf(quiet)[kBand1000], 0.1F);
}

TEST(SpectrumAnalyzer, ShowsSamplesThatAreNoNumbersAsNothing) {
    auto samples = sineAt(0, 1000);
    samples[100] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_THAT(levelsOf(samples), Each(0.0F));
}

TEST(SpectrumAnalyzer, KeepsNothingFromOneCallToTheNext) {
    SpectrumAnalyzer analyzer;
    const auto quiet = ringWith(sineAt(-80, 250));
    const auto before = analyzer.bandMagnitudes(*quiet, 48000, 1);
    (void)analyzer.bandMagnitudes(*ringWith(sineAt(0, 250)), 44100, 1);
    EXPECT_EQ(analyzer.bandMagnitudes(*quiet, 48000, 1), before);
}

RC_GTEST_PROP(SpectrumAnalyzer, StaysBetweenZeroAndOneAtEveryRate, (const std::vector<float>& some)) {
    std::vector<float> samples(kFrames);
    for (std::size_t i = 0; i < samples.size() && !some.empty(); ++i)
        samples[i] = some[i % some.size()];
    const double rate = *rc::gen::inRange(1, 1000000);
    const auto levels = SpectrumAnalyzer().bandMagnitudes(*ringWith(samples), rate, 1);
    RC_ASSERT(levels.has_value());
    for (const float level : *levels)
        RC_ASSERT(level >= 0.0F && level <= 1.0F);
}

TEST(SpectrumAnalyzerDeathTest, EndsTheProcessAtARateThatHasNoBins) {
    SpectrumAnalyzer analyzer;
    const auto ring = ringWith(std::vector<float>(kFrames));
    EXPECT_DEATH((void)analyzer.bandMagnitudes(*ring, std::nan(""), 1), "no bin");
    EXPECT_DEATH((void)analyzer.bandMagnitudes(*ring, 1e-300, 1), "no bin");
}

} // namespace
} // namespace vello
