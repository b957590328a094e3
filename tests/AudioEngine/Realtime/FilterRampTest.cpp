// SPDX-License-Identifier: Apache-2.0
// How the filters get from one curve to another.
#include "AudioEngine/Realtime/FilterRamp.h"

#include "CallbackHarness.h"
#include "support/SignalSupport.h"
#include "support/ToneSpread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <numbers>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace vello {
namespace {

using test::CallbackHarness;
using test::loudBass;
using test::noise;
using test::settingsWithGains;

constexpr std::size_t kRate = 48000;
constexpr double kTone = 997.0;
constexpr std::size_t kBlock = 480;
constexpr std::size_t kBlocksBefore = 30; // 0.3 s: the filters have settled
constexpr std::size_t kWindow = 4800;     // 0.1 s around the change

EQSettings curveOf(EQPreset preset) {
    return settingsWithGains({preset.bandGains().begin(), preset.bandGains().end()});
}

EQSettings bypassed(EQSettings settings) {
    settings.isBypassed = true;
    return settings;
}

std::vector<float> tone(std::size_t frames, double phase) {
    std::vector<float> samples(frames);
    for (std::size_t i = 0; i < frames; ++i)
        samples[i] = static_cast<float>(
            0.25 * std::sin(2 * std::numbers::pi * kTone * static_cast<double>(i) / kRate + phase));
    return samples;
}

/// The worst spread of twenty phases when `second` follows `first`.
double worstSpread(const EQSettings& first, const EQSettings& second, std::size_t blockSize = kBlock) {
    double worst = -300;
    for (int phase = 0; phase < 20; ++phase) {
        const auto samples = tone(2 * kBlocksBefore * blockSize, std::numbers::pi * phase / 10);
        CallbackHarness tap(1, static_cast<float>(first.volume));
        tap.publish(first, kRate);
        std::vector<float> played;
        for (std::size_t block = 0; block < 2 * kBlocksBefore; ++block) {
            if (block == kBlocksBefore) {
                tap.publish(second, kRate);
                tap.context.setVolumeTarget(static_cast<float>(second.volume));
            }
            const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(block * blockSize);
            const auto next = tap.process({begin, begin + static_cast<std::ptrdiff_t>(blockSize)});
            played.insert(played.end(), next.begin(), next.end());
        }
        const std::size_t middle = kBlocksBefore * blockSize + kRate / 100;
        worst = std::max(worst,
                         toneSpread(std::span(played).subspan(middle - kWindow / 2, kWindow), kTone, kRate));
    }
    return worst;
}

TEST(FilterRamp, NoChangeOfABuiltInCurveThumps) {
    double worst = -300;
    for (const EQPreset first : EQPreset::allCases())
        for (const EQPreset second : EQPreset::allCases())
            if (first != second)
                worst = std::max(worst, worstSpread(curveOf(first), curveOf(second)));
    std::cout << "beside the tone, worst of all pairs: " << worst << " dB\n";
    EXPECT_LE(worst, -40.0);
}

TEST(FilterRamp, BypassThumpsInNeitherDirection) {
    double worst = -300;
    for (const EQPreset preset : EQPreset::allCases()) {
        if (preset == EQPreset::flat)
            continue;
        const EQSettings curve = curveOf(preset);
        worst = std::max({worst, worstSpread(curve, bypassed(curve)), worstSpread(bypassed(curve), curve)});
    }
    std::cout << "beside the tone, worst of all curves: " << worst << " dB\n";
    EXPECT_LE(worst, -40.0);
}

TEST(FilterRamp, OneBandByOneDecibelIsNotHeard) {
    double worst = -300;
    for (std::size_t band = 0; band < EQSettings::bandCount; ++band) {
        std::vector<double> gains(EQSettings::bandCount, 2.0);
        const EQSettings first = settingsWithGains(gains);
        gains[band] += 1.0;
        worst = std::max(worst, worstSpread(first, settingsWithGains(gains)));
    }
    std::cout << "beside the tone, worst of all bands: " << worst << " dB\n";
    EXPECT_LE(worst, -55.0);
}

TEST(FilterRamp, AChangeOfVolumeIsNotHeardAtTheUsualQuantum) {
    EQSettings quiet;
    quiet.volume = 0.2;
    const double worst = std::max(worstSpread({}, quiet, 1024), worstSpread(quiet, {}, 1024));
    std::cout << "beside the tone: " << worst << " dB\n";
    EXPECT_LE(worst, -55.0);
}

std::vector<float> run(CallbackHarness& tap, const std::vector<float>& samples, std::size_t block) {
    std::vector<float> played;
    for (std::size_t at = 0; at < samples.size(); at += block) {
        const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(at);
        const auto size = static_cast<std::ptrdiff_t>(std::min(block, samples.size() - at));
        const auto next = tap.process({begin, begin + size});
        played.insert(played.end(), next.begin(), next.end());
    }
    return played;
}

TEST(FilterRamp, EndsAtExactlyTheNewCurve) {
    const std::vector<double> first{6, -3, 0, 2, 0, 0, -6, 4};
    const std::vector<double> second{-2, 8, 5, 0, 1, 0, 0, -9};
    CallbackHarness changed(2);
    changed.publish(settingsWithGains(first));
    run(changed, noise(9600, 1), 960);
    changed.publish(settingsWithGains(second));
    run(changed, std::vector<float>(4 * kRate, 0.0F), 960);
    CallbackHarness fresh(2);
    fresh.publish(settingsWithGains(second));
    const auto samples = noise(9600, 2);
    EXPECT_EQ(run(changed, samples, 960), run(fresh, samples, 960));
}

TEST(FilterRamp, LastsTwentyMilliseconds) {
    const EQChainSnapshot snapshot(loudBass(), kRate);
    FilterRamp ramp;
    ramp.follow(nullptr);
    ramp.follow(&snapshot);
    std::size_t frames = 0;
    for (auto stretch = ramp.next(kBlock); stretch.frames < kBlock; stretch = ramp.next(kBlock))
        frames += stretch.frames;
    EXPECT_EQ(frames, kRate / 50);
    EXPECT_EQ(ramp.next(1).setup->excess, snapshot.biquadSetup()->excess);
}

TEST(FilterRamp, DoesNotDependOnTheSizeOfTheBuffers) {
    const auto samples = noise(9600, 3);
    std::vector<float> expected;
    for (const std::size_t block : {4800U, 480U, 64U, 7U, 1U}) {
        CallbackHarness tap(1);
        tap.publish(loudBass());
        run(tap, noise(4800, 4), 480);
        tap.publish(settingsWithGains({0, 0, 0, 0, 0, 9, -9, 0}));
        const auto played = run(tap, samples, block);
        if (expected.empty())
            expected = played;
        EXPECT_EQ(played, expected) << block;
    }
}

TEST(FilterRamp, TurnsRoundWhereItIs) {
    CallbackHarness tap(1);
    tap.publish(curveOf(EQPreset::podcast), kRate);
    run(tap, tone(kRate / 2, 0), kBlock);
    double largestStep = 0;
    float last = 0;
    const auto samples = tone(kRate / 2, 0);
    for (std::size_t block = 0; block < 50; ++block) {
        tap.publish(curveOf(block % 2 == 0 ? EQPreset::bassBoost : EQPreset::podcast), kRate);
        const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(block * kBlock);
        for (const float sample : tap.process({begin, begin + kBlock})) {
            largestStep = std::max(largestStep, std::abs(double{sample} - last));
            last = sample;
        }
    }
    // The tone itself moves by 0.033 at most from one sample to the next, and by 1.5 times that when boosted.
    EXPECT_LT(largestStep, 0.06);
}

TEST(FilterRamp, TheFirstCurveIsThereAtOnce) {
    CallbackHarness tap(1);
    tap.publish(loudBass());
    test::TextbookCascade textbook(loudBass().bandGains, kRate);
    const auto samples = noise(480, 5);
    const auto played = tap.process(samples);
    for (std::size_t i = 0; i < samples.size(); ++i)
        ASSERT_NEAR(double{played[i]}, static_cast<double>(textbook.process(samples[i])), 1e-7) << i;
}

TEST(FilterRamp, TakesACurveWhereAnEarlierOneWas) {
    FilterRamp ramp;
    std::optional<EQChainSnapshot> place(std::in_place, loudBass(), kRate);
    ramp.follow(&*place);
    EXPECT_EQ(ramp.next(kBlock).frames, kBlock);
    place.emplace(loudBass(), kRate);
    ramp.follow(&*place);
    EXPECT_EQ(ramp.next(kBlock).frames, kBlock) << "the same curve is no change";
    place.emplace(bypassed(loudBass()), kRate);
    ramp.follow(&*place);
    EXPECT_LT(ramp.next(kBlock).frames, kBlock) << "on its way";
}

TEST(FilterRamp, ABypassedCurveEndsInTheSamplesThemselves) {
    CallbackHarness tap(2);
    tap.publish(loudBass());
    run(tap, noise(9600, 6), 960);
    tap.publish(bypassed(loudBass()));
    run(tap, noise(2 * kRate, 7), 960);
    const auto samples = noise(960, 8);
    EXPECT_EQ(tap.process(samples), samples);
}

TEST(FilterRamp, TheHistoriesAreCurrentWhileNothingIsFiltered) {
    CallbackHarness tap(2);
    tap.process({0.5F, -0.5F, 0.25F, 1.0F});
    for (std::size_t channel = 0; channel < 2; ++channel) {
        const CascadeState& state = tap.context.rt->delays[channel];
        for (const double newest : state.histories[0])
            EXPECT_EQ(newest, channel == 0 ? 0.25 : 1.0);
        for (const double before : state.histories[1])
            EXPECT_EQ(before, channel == 0 ? 0.5 : -0.5);
        for (const auto& differences : state.differences)
            EXPECT_TRUE(std::ranges::all_of(differences, [](double difference) { return difference == 0; }));
    }
    tap.process({0.125F, 0.75F});
    EXPECT_EQ(tap.context.rt->delays[1].histories[0][8], 0.75);
    EXPECT_EQ(tap.context.rt->delays[1].histories[1][8], 1.0);
}

} // namespace
} // namespace vello
