// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Analysis/RunningEnergy.h"
#include "AnalysisSounds.h"
#include "AudioEngine/Analysis/TempoAnalyzer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <numbers>
#include <numeric>
#include <random>
#include <span>
#include <vector>

namespace vello {
namespace {

constexpr std::size_t kCapacity = 4096;
constexpr std::size_t kReach = 3000;

/// The same sum in the plainest way.
double energyOf(std::span<const float> samples) {
    return std::accumulate(samples.begin(), samples.end(), 0.0, [](double sum, float sample) {
        return sum + static_cast<double>(sample) * static_cast<double>(sample);
    });
}

/// A ring to which a long noise is written piece by piece.
class RunningEnergyTest : public testing::Test {
protected:
    void write(std::size_t count) {
        ring.write(&noise[written], count);
        written += count;
    }
    void expectSum(const RunningEnergy& energy, std::size_t first, std::size_t count) const {
        const double expected = energyOf(std::span(noise).subspan(first, count));
        EXPECT_NEAR(energy.sum(ring, first, count), expected, 1e-12 * expected) << count << " from " << first;
    }

    const std::vector<float> noise = test::whiteNoise(60000, 1.0F, 1);
    AudioSampleRingBuffer ring{kCapacity};
    std::size_t written = 0;
};

TEST_F(RunningEnergyTest, SumsEveryRangeOfTheNewestSamples) {
    for (const std::size_t channels : {1U, 2U, 3U, 6U}) {
        RunningEnergy energy(kReach, channels);
        for (const std::size_t count : {1000U, 2500U, 1U, 300U, 64U, 2999U}) {
            write(count);
            energy.update(ring);
            EXPECT_EQ(energy.writeCursor(), written);
            const std::size_t oldest = written - std::min(written, kReach);
            for (std::size_t first = oldest; first < written; first += 97)
                for (const std::size_t length : {1U, 31U, 64U, 65U, 200U, 1500U})
                    if (first + length <= written)
                        expectSum(energy, first, length);
            expectSum(energy, oldest, written - oldest);
        }
    }
}

TEST_F(RunningEnergyTest, CatchesUpWithAWriterThatWasMoreThanOneRingAhead) {
    RunningEnergy energy(kReach, 2);
    write(500);
    energy.update(ring);
    for (int block = 0; block < 10; ++block)
        write(1777);
    energy.update(ring);
    expectSum(energy, written - kReach, kReach);
}

TEST_F(RunningEnergyTest, BeginsWithWhatTheRingAlreadyHolds) {
    write(4000);
    write(4000);
    RunningEnergy energy(kReach, 2);
    energy.update(ring);
    expectSum(energy, written - kReach, kReach);
}

TEST_F(RunningEnergyTest, DoesNotReadASampleAgainThatItHasSummed) {
    RunningEnergy energy(kReach, 1);
    write(1024);
    energy.update(ring);
    const std::size_t summed = written;
    write(kCapacity); // replaces all of them
    expectSum(energy, 0, summed);
}

TEST_F(RunningEnergyTest, IsZeroForSilence) {
    RunningEnergy energy(kReach, 2);
    const std::vector<float> silence(2000);
    ring.write(silence.data(), silence.size());
    energy.update(ring);
    EXPECT_EQ(energy.sum(ring, 3, 1990), 0.0);
}

/// Drums over chords: hits of decaying noise, every fourth one louder, and held tones.
std::vector<float> music(double beatsPerMinute, double seconds, double sampleRate, std::size_t channels) {
    std::mt19937 random(static_cast<unsigned>(beatsPerMinute));
    std::normal_distribution<double> noise;
    const double beat = 60.0 / beatsPerMinute;
    std::vector<float> samples;
    for (std::size_t frame = 0; static_cast<double>(frame) < seconds * sampleRate; ++frame) {
        const double time = static_cast<double>(frame) / sampleRate;
        const double sinceBeat = std::fmod(time, beat);
        const double loudness = std::fmod(time, 4 * beat) < beat ? 0.4 : 0.2;
        double value = loudness * std::exp(-sinceBeat / 0.05) * noise(random) + 0.002 * noise(random);
        for (const double frequency : {110.0, 220.0, 277.2, 329.6})
            value += 0.04 * std::sin(2 * std::numbers::pi * frequency * time);
        for (std::size_t channel = 0; channel < channels; ++channel)
            samples.push_back(static_cast<float>(value / static_cast<double>(channel + 1)));
    }
    return samples;
}

struct Playback {
    double sampleRate;
    std::size_t channels;
    std::size_t quantum; ///< frames
    double beatsPerMinute;
};

class RunningTempoTest : public testing::TestWithParam<Playback> {};

TEST_P(RunningTempoTest, EqualsTheTempoOfAllSamplesAtEveryMoment) {
    const auto [sampleRate, channels, quantum, beatsPerMinute] = GetParam();
    const auto samples = music(beatsPerMinute, 9, sampleRate, channels);
    const auto channelCount = static_cast<int>(channels);
    AudioSampleRingBuffer ring(std::size_t{1} << 20);
    RunningEnergy energy(TempoAnalyzer::longestSound(ring, sampleRate, channelCount), channels);
    int found = 0;
    std::size_t cycle = 0;
    for (std::size_t i = 0; i + quantum * channels <= samples.size(); i += quantum * channels) {
        ring.write(&samples[i], quantum * channels);
        if (++cycle % 7 == 0)
            energy.update(ring);
        if (cycle % 49 != 0)
            continue;
        const auto plain = TempoAnalyzer().estimate(ring, sampleRate, channelCount);
        const auto running = TempoAnalyzer().estimate(ring, energy, sampleRate, channelCount);
        ASSERT_EQ(running.has_value(), plain.has_value()) << "after cycle " << cycle;
        if (!plain)
            continue;
        ++found;
        EXPECT_EQ(running->beatsPerMinute, plain->beatsPerMinute) << "after cycle " << cycle;
        EXPECT_NEAR(running->confidence, plain->confidence, 1e-9) << "after cycle " << cycle;
    }
    EXPECT_GE(found, 3) << "there is something to compare";
}

INSTANTIATE_TEST_SUITE_P(Sounds, RunningTempoTest,
                         testing::Values(Playback{48000, 2, 1024, 120}, Playback{48000, 2, 800, 97},
                                         Playback{48000, 1, 256, 171}, Playback{44100, 2, 512, 128},
                                         Playback{44100, 1, 333, 80}, Playback{96000, 2, 2048, 140},
                                         Playback{192000, 2, 4096, 120}, Playback{22050, 2, 441, 66},
                                         Playback{48000, 6, 1024, 110}));

TEST(RunningTempo, FindsOneBeatWhereverItsClicksBeginWithinTheirHops) {
    // As for the plain estimate: equal beats are equal although their parts are summed in another order.
    constexpr std::size_t hop = 480;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const auto click = test::whiteNoise(100, 0.9F, seed);
        std::vector<float> samples(6 * 48000);
        for (std::size_t beat = 0; beat < 15; ++beat)
            std::ranges::copy(click, &samples[(10 + 40 * beat) * hop + 13 * beat]);
        const auto ring = test::ringWith(samples);
        RunningEnergy energy(TempoAnalyzer::longestSound(*ring, 48000, 1), 1);
        energy.update(*ring);
        EXPECT_EQ(TempoAnalyzer().estimate(*ring, energy, 48000, 1).value_or(TempoEstimate{}).beatsPerMinute,
                  150)
            << seed;
    }
}

TEST(RunningTempo, NeedsARateChannelsAndTwoSeconds) {
    const auto ring = test::ringWith(test::clicks(2 * 48000, 24000, 5040, 0.9F));
    EXPECT_EQ(TempoAnalyzer::longestSound(*ring, 0, 1), 0U);
    EXPECT_EQ(TempoAnalyzer::longestSound(*ring, 48000, 0), 0U);
    EXPECT_EQ(TempoAnalyzer::longestSound(*ring, 48000, 2), 2U * 6 * 48000);
    EXPECT_EQ(TempoAnalyzer::longestSound(*ring, 192000, 2), ring->capacity());
    RunningEnergy energy(TempoAnalyzer::longestSound(*ring, 48000, 1), 1);
    EXPECT_FALSE(TempoAnalyzer().estimate(*ring, energy, 48000, 1)) << "nothing is summed yet";
    energy.update(*ring);
    EXPECT_TRUE(TempoAnalyzer().estimate(*ring, energy, 48000, 1));
    EXPECT_FALSE(TempoAnalyzer().estimate(*ring, energy, 0, 1));
    EXPECT_FALSE(TempoAnalyzer().estimate(*ring, energy, 48000, 0));
}

} // namespace
} // namespace vello
