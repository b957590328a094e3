// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Analysis/TempoAnalyzer.h"
#include "AnalysisSounds.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace vello {
namespace {

using test::clicks;
using test::ringWith;
using test::stereo;
using test::whiteNoise;

std::optional<TempoEstimate> tempoOf(const std::vector<float>& samples, double sampleRate = 48000,
                                     int channels = 1) {
    return TempoAnalyzer().estimate(*ringWith(samples), sampleRate, channels);
}

int beatsOf(const std::vector<float>& samples, double sampleRate = 48000, int channels = 1) {
    return tempoOf(samples, sampleRate, channels).value_or(TempoEstimate{}).beatsPerMinute;
}

/// Clicks in the middle of hops, so that rounding cannot move one into the next hop.
std::vector<float> clicksEvery(double seconds, double sound, double sampleRate = 48000) {
    return clicks(static_cast<std::size_t>(sound * sampleRate), seconds * sampleRate,
                  static_cast<std::size_t>(0.105 * sampleRate), 0.9F);
}

TEST(TempoAnalyzer, FindsClicksEveryHalfSecond) {
    const auto tempo = tempoOf(clicksEvery(0.5, 6));
    ASSERT_TRUE(tempo);
    EXPECT_EQ(tempo->beatsPerMinute, 120);
    EXPECT_GT(tempo->confidence, 0.95);
    EXPECT_LE(tempo->confidence, 1.0);
}

TEST(TempoAnalyzer, NeedsTwoSeconds) {
    EXPECT_FALSE(tempoOf(clicksEvery(0.5, 1.9)));
    EXPECT_FALSE(tempoOf(std::vector<float>(2 * 48000 - 1, 0.0F)));
    EXPECT_EQ(beatsOf(clicksEvery(0.5, 2.0)), 120);
    EXPECT_EQ(beatsOf(stereo(clicksEvery(0.5, 2.0), clicksEvery(0.5, 2.0)), 48000, 2), 120);
    EXPECT_FALSE(tempoOf(clicksEvery(0.5, 2.0), 48000, 2)) << "half the frames";
}

TEST(TempoAnalyzer, NeverReportsATempoBeyondItsRangeButHalfOfIt) {
    EXPECT_EQ(beatsOf(clicksEvery(0.25, 6)), 120);
}

TEST(TempoAnalyzer, FindsEveryLagOfItsRange) {
    for (int lag = 31; lag <= 100; ++lag) {
        const int expected = static_cast<int>(std::round(6000.0 / lag));
        EXPECT_EQ(beatsOf(clicksEvery(lag * 0.01, 6)), expected) << lag;
    }
}

TEST(TempoAnalyzer, TakesTheFirstOfEqualCorrelations) {
    // Clicks in hops 10, 45, 80 ...: lags of 35, 70 and 105 hops match equally well.
    EXPECT_EQ(beatsOf(clicksEvery(0.35, 6)), 171);
}

TEST(TempoAnalyzer, FindsOneBeatWhereverItsClicksBeginWithinTheirHops) {
    // The same click at different positions in its hop has the same energy, although it is summed in a
    // different order. One beat and two beats then correlate equally, and the first one wins.
    constexpr std::size_t hop = 480;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const auto click = whiteNoise(100, 0.9F, seed);
        std::vector<float> samples(6 * 48000);
        for (std::size_t beat = 0; beat < 15; ++beat)
            std::ranges::copy(click, &samples[(10 + 40 * beat) * hop + 13 * beat]);
        EXPECT_EQ(beatsOf(samples), 150) << seed;
    }
}

TEST(TempoAnalyzer, HasNothingForSilenceAndForWhatIsTooQuiet) {
    EXPECT_FALSE(tempoOf(std::vector<float>(48000 * 6)));
    auto quiet = clicksEvery(0.5, 6);
    for (float& sample : quiet)
        sample *= 0.1F;
    EXPECT_FALSE(tempoOf(quiet)) << "its mean level is below 0.0002";
}

TEST(TempoAnalyzer, HasNothingForSoundThatNeverGrowsLouder) {
    EXPECT_FALSE(tempoOf(std::vector<float>(48000 * 6, 0.5F)));
    EXPECT_FALSE(tempoOf(test::sine(48000 * 6, 1000, 48000, 0.5)));
}

TEST(TempoAnalyzer, HasNothingForASingleClick) {
    EXPECT_FALSE(tempoOf(clicksEvery(10, 6)));
}

/// Six seconds with one click in the middle of each of these hops.
std::vector<float> clicksInHops(const std::vector<std::size_t>& hops) {
    std::vector<float> samples(6 * 48000);
    for (const std::size_t hop : hops)
        samples[hop * 480 + 240] = 0.9F;
    return samples;
}

TEST(TempoAnalyzer, HasNothingForAPairOfClicksAmongTooManyOthers) {
    // Only hops 400 and 450 form a pair. The correlation is 1 / sqrt(clicks before 550 x clicks from 50 on).
    EXPECT_EQ(beatsOf(clicksInHops({20, 200, 400, 450, 590})), 120) << "1 / sqrt(4 x 4)";
    EXPECT_FALSE(tempoOf(clicksInHops({20, 22, 24, 200, 202, 204, 400, 450, 590, 592}))) << "1 / sqrt(8 x 7)";
}

TEST(TempoAnalyzer, FindsABeatUnderNoise) {
    auto samples = clicksEvery(0.5, 6);
    const auto noise = whiteNoise(samples.size(), 0.01F, 1);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] += noise[i];
    EXPECT_EQ(beatsOf(samples), 120);
}

TEST(TempoAnalyzer, ListensToEveryChannel) {
    const auto beat = clicksEvery(0.4, 6);
    const std::vector<float> silence(beat.size());
    EXPECT_EQ(beatsOf(stereo(beat, silence), 48000, 2), 150);
    EXPECT_EQ(beatsOf(stereo(silence, beat), 48000, 2), 150);
}

TEST(TempoAnalyzer, ListensToTheNewestSixSecondsOnly) {
    auto samples = clicksEvery(0.5, 6);
    const auto newer = clicksEvery(0.4, 6);
    samples.insert(samples.end(), newer.begin(), newer.end());
    EXPECT_EQ(tempoOf(samples), tempoOf(newer));
}

TEST(TempoAnalyzer, ListensToWhatTheRingHoldsWhereThatIsLessThanSixSeconds) {
    const auto beat = clicksEvery(0.5, 4, 192000); // with two channels, the ring holds 2.7 s of it
    EXPECT_EQ(beatsOf(stereo(beat, beat), 192000, 2), 120);
}

TEST(TempoAnalyzer, CountsAHopAsTenMillisecondsAtEveryRate) {
    for (const int rate : {8000, 11025, 16000, 22050, 44100, 96000, 192000}) {
        const auto samples = static_cast<std::size_t>(6 * rate);
        const auto hop = static_cast<std::size_t>(rate / 100);
        const auto beat = clicks(samples, static_cast<double>(50 * hop), 10 * hop + hop / 2, 0.9F);
        EXPECT_EQ(beatsOf(beat, rate), 120) << rate;
    }
}

TEST(TempoAnalyzer, HasNothingWithoutARateOrChannels) {
    const auto ring = ringWith(clicksEvery(0.5, 6));
    EXPECT_FALSE(TempoAnalyzer().estimate(*ring, 0, 1));
    EXPECT_FALSE(TempoAnalyzer().estimate(*ring, -48000, 1));
    EXPECT_FALSE(TempoAnalyzer().estimate(*ring, 48000, 0));
    EXPECT_FALSE(TempoAnalyzer().estimate(*ring, 48000, -2));
    EXPECT_FALSE(TempoAnalyzer().estimate(AudioSampleRingBuffer(8), 0.1, 1));
    EXPECT_FALSE(TempoAnalyzer().estimate(*ring, 5, 1)) << "too few hops";
}

TEST(TempoAnalyzer, HasNothingForSamplesThatAreNoNumbers) {
    for (const float strange :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        EXPECT_FALSE(tempoOf(std::vector<float>(6 * 48000, strange)));
        auto samples = clicksEvery(0.5, 6);
        samples[48000] = strange;
        EXPECT_TRUE(std::isfinite(tempoOf(samples).value_or(TempoEstimate{}).confidence));
    }
}

TEST(TempoAnalyzer, FindsTheBeatOfTheLoudestSamplesThereAre) {
    auto samples = clicksEvery(0.5, 6);
    for (float& sample : samples)
        sample *= std::numeric_limits<float>::max();
    EXPECT_EQ(beatsOf(samples), 120);
}

RC_GTEST_PROP(TempoAnalyzer, StaysInItsRange, ()) {
    const auto seed = *rc::gen::inRange(0U, 1000000U);
    const auto rate = *rc::gen::element(8000, 11025, 22050);
    const auto seconds = *rc::gen::inRange(20, 80);
    const auto tempo = tempoOf(whiteNoise(static_cast<std::size_t>(rate * seconds / 10), 0.5F, seed), rate);
    if (tempo) {
        RC_ASSERT(tempo->beatsPerMinute >= 60 && tempo->beatsPerMinute <= 194);
        RC_ASSERT(tempo->confidence > 0 && tempo->confidence <= 1);
    }
}

TEST(TempoAnalyzerDeathTest, EndsTheProcessAtARateWhoseFramesCannotBeCounted) {
    const AudioSampleRingBuffer ring(8);
    EXPECT_DEATH((void)TempoAnalyzer().estimate(ring, std::nan(""), 1), "cannot be counted");
    EXPECT_DEATH((void)TempoAnalyzer().estimate(ring, 1e300, 1), "cannot be counted");
}

} // namespace
} // namespace vello
