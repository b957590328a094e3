// SPDX-License-Identifier: Apache-2.0
//
// Accuracy of the equalizer, measured physically and compared with an independent textbook cascade.
#include "AudioEngine/Realtime/EQDSP.h"

#include "CallbackHarness.h"
#include "support/SignalSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vello {
namespace {

using test::CallbackHarness;
using test::noise;
using test::randomGains;
using test::settingsWithGains;
using test::TextbookCascade;

constexpr double kSampleRates[] = {44100, 48000, 96000, 192000};

double decibels(double ratio) {
    return 20.0 * std::log10(ratio);
}

/// Gain in dB of a sine through the callback, after the filters have settled.
double gainAt(double frequency, const std::vector<double>& gains, double sampleRate) {
    CallbackHarness tap(1);
    tap.publish(settingsWithGains(gains), sampleRate);
    // One second for the filters to settle, then whole periods, to the nearest sample.
    const auto settling = static_cast<std::size_t>(sampleRate);
    const double periods = std::ceil(frequency / 4);
    const auto measured = static_cast<std::size_t>(std::round(periods * sampleRate / frequency));
    std::vector<float> sine(settling + measured);
    for (std::size_t i = 0; i < sine.size(); ++i)
        sine[i] = static_cast<float>(
            0.1 * std::sin(2.0 * std::numbers::pi * frequency * static_cast<double>(i) / sampleRate));
    std::vector<float> played;
    for (std::size_t at = 0; at < sine.size(); at += 480) {
        const std::size_t end = std::min(at + 480, sine.size());
        const auto block = tap.process({sine.begin() + static_cast<std::ptrdiff_t>(at),
                                        sine.begin() + static_cast<std::ptrdiff_t>(end)});
        played.insert(played.end(), block.begin(), block.end());
    }
    double in = 0;
    double out = 0;
    for (std::size_t i = settling; i < sine.size(); ++i) {
        in += double{sine[i]} * double{sine[i]};
        out += double{played[i]} * double{played[i]};
    }
    return decibels(std::sqrt(out / in));
}

/// Gain in dB of one analog prototype of a peaking filter, with frequencies mapped by the bilinear transform.
double expectedGain(double frequency, double centre, double gain, double sampleRate) {
    const auto warped = [sampleRate](double f) { return std::tan(std::numbers::pi * f / sampleRate); };
    const double w = warped(frequency) / warped(centre);
    const double amplitude = std::pow(10.0, gain / 40.0);
    // H(s) = (s^2 + s A/Q + 1) / (s^2 + s/(A Q) + 1), with the bandwidth given by alpha = sin(w0) / 2Q.
    const double real = 1.0 - w * w;
    return decibels(std::hypot(real, w * amplitude / 1.41) / std::hypot(real, w / (amplitude * 1.41)));
}

TEST(EQPhysics, EveryBandReachesItsGainAtItsCentre) {
    for (std::size_t band = 0; band < EQSettings::bandCount; ++band)
        for (const double gain : {-12.0, 6.0}) {
            std::vector<double> gains(EQSettings::bandCount, 0.0);
            gains[band] = gain;
            EXPECT_NEAR(gainAt(EQSettings::bandFrequencies[band], gains, 48000), gain, 0.001)
                << "band " << band;
        }
}

TEST(EQPhysics, ABandActsBelowAndAboveItsCentreAsItsBandwidthSays) {
    std::vector<double> gains(EQSettings::bandCount, 0.0);
    gains[4] = 9.0;
    for (const double frequency : {125.0, 500.0, 707.0, 1000.0, 1414.0, 2000.0, 8000.0})
        EXPECT_NEAR(gainAt(frequency, gains, 48000), expectedGain(frequency, 1000, 9.0, 48000), 0.01)
            << frequency;
    EXPECT_LT(gainAt(125, gains, 48000), 0.3);
}

TEST(EQPhysics, BandsAddUpInDecibels) {
    const std::vector<double> gains{-6, -2, 1, 3, 4, 3, 2, 0};
    for (const double frequency : {63.0, 300.0, 1000.0, 5000.0}) {
        double sum = 0;
        for (std::size_t band = 0; band < EQSettings::bandCount; ++band)
            sum += expectedGain(frequency, EQSettings::bandFrequencies[band], gains[band], 44100);
        EXPECT_NEAR(gainAt(frequency, gains, 44100), sum, 0.01) << frequency;
    }
}

TEST(EQPhysics, AFlatBandChangesNotOneBit) {
    // A gain of 1e-300 dB keeps the filters enabled, but no section may change a sample.
    CallbackHarness tap(1);
    tap.publish(settingsWithGains({1e-300, 0, 0, 0, 0, 0, 0, 0}), 48000);
    const auto samples = noise(480, 1);
    EXPECT_EQ(tap.process(samples), samples);
}

TEST(EQPhysics, StaysBoundedForAMinuteOfFullScaleNoiseAtFullBoost) {
    CallbackHarness tap(1);
    tap.publish(settingsWithGains(std::vector<double>(8, 12.0)), 192000);
    const auto loud = noise(4800, 2);
    float peak = 0;
    for (std::size_t i = 0; i < 60 * 40; ++i) {
        tap.process(loud);
        peak = std::max(peak, tap.context.level());
    }
    EXPECT_LT(peak, 20.0F);
    EXPECT_GT(peak, 0.1F);
}

/// RMS level in dBFS; full scale is 1.
class Level {
public:
    void add(long double difference) {
        sum_ += difference * difference;
        ++count_;
    }
    double decibelsFullScale() const {
        return sum_ > 0 ? 10.0 * std::log10(static_cast<double>(sum_) / static_cast<double>(count_)) : -999.0;
    }

private:
    long double sum_ = 0;
    std::size_t count_ = 0;
};

std::vector<std::vector<double>> builtInAndRandomCurves() {
    std::mt19937 random(100);
    std::vector<std::vector<double>> curves;
    for (const EQPreset preset : EQPreset::allCases())
        if (preset != EQPreset::flat)
            curves.emplace_back(preset.bandGains().begin(), preset.bandGains().end());
    for (std::size_t i = 0; i < 100; ++i)
        curves.push_back(randomGains(random));
    return curves;
}

TEST(EQAccuracy, BeforeRoundingTheCascadeDiffersFromTheTextbookByLessThanMinus140) {
    double worst = -999;
    for (const double sampleRate : kSampleRates)
        for (const auto& gains : builtInAndRandomCurves()) {
            const EQChainSnapshot snapshot(settingsWithGains(gains), sampleRate);
            CascadeState state;
            TextbookCascade textbook(gains, sampleRate);
            Level difference;
            for (const float sample : noise(3000, 20)) {
                const double got = processSample(*snapshot.biquadSetup(), state, double{sample});
                difference.add(static_cast<long double>(got) -
                               textbook.process(static_cast<long double>(sample)));
            }
            worst = std::max(worst, difference.decibelsFullScale());
        }
    std::cout << "worst difference of the reference before rounding: " << worst << " dBFS RMS\n";
    EXPECT_LE(worst, -140.0);
}

/// The block sizes of consecutive callbacks, `frames` in total.
std::vector<std::size_t> blocksOf(std::size_t length, std::size_t frames) {
    std::vector<std::size_t> blocks;
    std::mt19937 random(3);
    while (frames > 0) {
        const std::size_t next = std::min(frames, length > 0 ? length : 1 + random() % 700);
        blocks.push_back(next);
        frames -= next;
    }
    return blocks;
}

std::vector<float> throughCallback(const std::vector<double>& gains, double sampleRate,
                                   const std::vector<float>& samples,
                                   const std::vector<std::size_t>& blocks) {
    CallbackHarness tap(2);
    tap.publish(settingsWithGains(gains), sampleRate);
    std::vector<float> played(samples.size());
    std::vector<float> captured = samples;
    std::size_t at = 0;
    for (const std::size_t frames : blocks) {
        tap.run(captured.data() + at, frames * 8, played.data() + at, frames * 8);
        at += 2 * frames;
    }
    return played;
}

TEST(EQAccuracy, TheCallbackAddsNothingButTheRoundingWhateverTheBuffers) {
    constexpr std::size_t frames = 2200;
    constexpr std::size_t mixed = 0;
    constexpr std::size_t lengths[] = {1, 7, 64, 1024, mixed};
    std::size_t run = 0;
    double worst = 0;
    for (const double sampleRate : kSampleRates)
        for (const auto& gains : builtInAndRandomCurves()) {
            const auto samples = noise(2 * frames, 30);
            TextbookCascade textbook[] = {{gains, sampleRate}, {gains, sampleRate}};
            std::vector<long double> expected;
            for (std::size_t i = 0; i < samples.size(); ++i)
                expected.push_back(textbook[i % 2].process(static_cast<long double>(samples[i])));
            const auto played = throughCallback(gains, sampleRate, samples, blocksOf(480, frames));
            const std::size_t length = lengths[run++ % std::size(lengths)];
            ASSERT_EQ(throughCallback(gains, sampleRate, samples, blocksOf(length, frames)), played)
                << length;
            // An error of d changes the rounded float with probability d / ulp. So the mean distance from the
            // rounded textbook result estimates the mean error before rounding.
            double sum = 0;
            for (std::size_t i = 0; i < played.size(); ++i)
                sum += std::abs(double{played[i]} - double{static_cast<float>(expected[i])});
            worst = std::max(worst, sum / static_cast<double>(played.size()));
        }
    std::cout << "worst mean difference of the callback before rounding: " << decibels(worst) << " dBFS\n";
    EXPECT_LT(worst, 1e-10) << "-200 dBFS";
}

} // namespace
} // namespace vello
