// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/EQDSP.h"

#include "CallbackHarness.h"
#include "support/SignalSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace vello {
namespace {

using test::CallbackHarness;
using test::loudBass;
using test::noise;
using test::settingsWithGains;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(Callback, KeepsTheSectionsHistoriesInTheDelays) {
    CallbackHarness tap(2);
    tap.publish(settingsWithGains({6, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(tap.context.delayCapacityBytes(), 2 * sizeof(CascadeState));
    const auto played = tap.process({0.5F, -0.5F, 0.25F, 1.0F});
    for (std::size_t c = 0; c < 2; ++c) {
        const auto& histories = tap.context.rt->delays[c].histories;
        EXPECT_EQ(histories[0][0], c == 0 ? 0.25 : 1.0) << "newest input";
        EXPECT_EQ(histories[1][0], c == 0 ? 0.5 : -0.5) << "the one before";
        for (std::size_t k = 1; k <= 8; ++k) { // seven sections pass it through
            EXPECT_EQ(static_cast<float>(histories[0][k]), played[2 + c]);
            EXPECT_EQ(static_cast<float>(histories[1][k]), played[c]);
        }
    }
}

TEST(Callback, RecoversFromANaNWithTheNextBuffer) {
    for (const std::size_t position : {0U, 1U, 500U, 959U}) {
        CallbackHarness tap(2);
        tap.publish(loudBass());
        tap.process(noise(960, 5));
        auto poisoned = noise(960, 6);
        poisoned[position] = kNaN;
        EXPECT_EQ(tap.process(poisoned), std::vector<float>(960, 0.0F));
        EXPECT_EQ(tap.context.levelBits.load(), 0U);
        EXPECT_EQ(tap.zeroBufferStreak(), 1U);
        EXPECT_TRUE(tap.context.rt->delays == std::vector<CascadeState>(2));
        std::vector<float> kept(960);
        ASSERT_TRUE(tap.context.ringBuffer.copyLatest(kept.data(), 960));
        EXPECT_EQ(kept, std::vector<float>(960, 0.0F));

        CallbackHarness fresh(2);
        fresh.publish(loudBass());
        const auto samples = noise(960, 7);
        EXPECT_EQ(tap.process(samples), fresh.process(samples)) << "as if the filters were new";
        EXPECT_EQ(tap.zeroBufferStreak(), 0U);
    }
}

TEST(Callback, RecoversFromANaNWithoutFilters) {
    CallbackHarness tap(1);
    EXPECT_EQ(tap.process({1, kNaN, kInfinity}), (std::vector<float>{0, 0, 0}));
    EXPECT_EQ(tap.process({1, 2, 3}), (std::vector<float>{1, 2, 3}));
}

TEST(Callback, PassesInfinityOn) {
    CallbackHarness tap(1);
    EXPECT_EQ(tap.process({1, -kInfinity}), (std::vector<float>{1, -kInfinity}));
    EXPECT_EQ(tap.context.level(), kInfinity);
    EXPECT_TRUE(tap.hasCarriedSignal());
}

TEST(Callback, RecoversAfterInfinityInTheFilters) {
    CallbackHarness tap(1);
    tap.publish(loudBass());
    auto poisoned = noise(480, 8);
    poisoned[10] = kInfinity;
    EXPECT_EQ(tap.process(poisoned), std::vector<float>(480, 0.0F))
        << "infinity becomes NaN inside the filters";
    const auto played = tap.process(noise(480, 9));
    EXPECT_TRUE(std::ranges::all_of(played, [](float sample) { return std::isfinite(sample); }));
    EXPECT_GT(tap.context.level(), 0.0F);
}

TEST(Callback, SurvivesBandsAboveHalfTheSampleRate) {
    CallbackHarness tap(1);
    tap.publish(settingsWithGains({6, 6, 6, 6, 6, 6, 6, 6}), 8000);
    for (std::uint32_t i = 0; i < 200; ++i)
        for (const float sample : tap.process(noise(480, i)))
            ASSERT_FALSE(std::isnan(sample));
}

TEST(Callback, BecomesExactlySilentAfterASignal) {
    for (const double sampleRate : {48000.0, 192000.0}) {
        CallbackHarness tap(2);
        tap.publish(settingsWithGains({12, 12, 12, 12, 12, 12, 12, 12}), sampleRate);
        tap.process(noise(960, 10));
        const std::vector<float> silence(960, 0.0F);
        // A 63 Hz section with this bandwidth decays by 100 dB in about 0.14 s; 32-bit floats reach down to
        // -760 dB.
        const auto buffers = static_cast<std::size_t>(1.5 * sampleRate / 480);
        for (std::size_t i = 0; i < buffers; ++i)
            tap.process(silence);
        EXPECT_GT(tap.zeroBufferStreak(), 10U);
        EXPECT_EQ(tap.process(silence), silence);
    }
}

TEST(Callback, LeavesTheThreadsArithmeticAsItWas) {
    CallbackHarness tap(1);
    tap.publish(loudBass());
    tap.process(noise(480, 11));
    volatile float smallest = std::numeric_limits<float>::min();
    volatile float half = smallest / 2;
    EXPECT_GT(half, 0.0F) << "denormals are back";
}

TEST(Callback, ProcessesMoreChannelsThanVectorsKnow) {
    CallbackHarness wide(3);
    wide.publish(loudBass());
    CallbackHarness narrow(1);
    narrow.publish(loudBass());
    const auto samples = noise(480, 12);
    std::vector<float> tripled;
    for (const float sample : samples)
        tripled.insert(tripled.end(), 3, sample);
    const auto played = wide.process(tripled);
    const auto expected = narrow.process(samples);
    for (std::size_t i = 0; i < 3 * 480; ++i)
        ASSERT_NEAR(played[i], expected[i / 3], 1e-6);
}

} // namespace
} // namespace vello
