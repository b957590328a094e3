// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/EQDSP.h"

#include "AudioEngine/HostTime.h"
#include "CallbackHarness.h"
#include "SignalSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

namespace vello {
namespace {

using test::CallbackHarness;
using test::noise;
using test::settingsWithGains;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

std::vector<float> counting(float first, std::size_t count) {
    std::vector<float> samples(count);
    std::iota(samples.begin(), samples.end(), first);
    return samples;
}

EQSettings loudBass() {
    return settingsWithGains({12, 12, 0, 0, 0, 0, 0, 0});
}

template <std::size_t Count> using Buffers = AudioBufferListStorage<Count>;

AudioBuffer bufferOf(std::vector<float>& samples) {
    return {1, static_cast<std::uint32_t>(samples.size() * sizeof(float)), samples.data()};
}

// Copying only

TEST(Callback, WithoutAContextCopiesBufferByBufferWhatBothSidesHave) {
    std::vector<float> in0{1, 2, 3, 4};
    std::vector<float> in1{5, 6};
    std::vector<float> out0{9, 9};
    std::vector<float> out1{9, 9, 9};
    std::vector<float> out2{9};
    Buffers<2> input{{2}, {bufferOf(in0), bufferOf(in1)}};
    Buffers<3> output{{3}, {bufferOf(out0), bufferOf(out1), bufferOf(out2)}};
    EXPECT_EQ(eqByQUORVINProcessIOProc(5, &input.list, &output.list, nullptr), 0);
    EXPECT_EQ(out0, (std::vector<float>{1, 2}));
    EXPECT_EQ(out1, (std::vector<float>{5, 6, 0}));
    EXPECT_EQ(out2, (std::vector<float>{0}));
}

TEST(Callback, SkipsBuffersWithoutData) {
    std::vector<float> in1{5, 6};
    std::vector<float> out0{9, 9};
    Buffers<2> input{{2}, {{1, 8, nullptr}, bufferOf(in1)}};
    Buffers<2> output{{2}, {bufferOf(out0), {1, 8, nullptr}}};
    EXPECT_EQ(eqByQUORVINProcessIOProc(5, &input.list, &output.list, nullptr), 0);
    EXPECT_EQ(out0, (std::vector<float>{0, 0}));
}

TEST(Callback, OnlyCopiesAFormatThatItCannotProcessButTellsThatItRuns) {
    CallbackHarness tap(2, 0.5F, false);
    tap.publish(loudBass());
    const auto samples = noise(960, 1);
    const std::uint64_t before = hostTime();
    EXPECT_EQ(tap.process(samples), samples);
    EXPECT_GE(tap.context.lastCallbackHostTime.load(), before);
    EXPECT_LE(tap.context.lastCallbackHostTime.load(), hostTime());
    EXPECT_EQ(tap.context.levelBits.load(), 0U);
    EXPECT_EQ(tap.zeroBufferStreak(), 0U);
    EXPECT_FALSE(tap.hasCarriedSignal());
    EXPECT_EQ(tap.context.ringBuffer.writeCursor(), 0U);
    tap.process(std::vector<float>(960, 0.0F));
    EXPECT_EQ(tap.zeroBufferStreak(), 0U);
}

TEST(Callback, OnlyCopiesWithoutABufferToProcess) {
    CallbackHarness tap;
    std::vector<float> in{1, 2};
    std::vector<float> out{9, 9};
    Buffers<1> input{{0}, {}};
    Buffers<1> output{{1}, {bufferOf(out)}};
    eqByQUORVINProcessIOProc(5, &input.list, &output.list, &tap.context);
    EXPECT_EQ(out, (std::vector<float>{0, 0}));
    EXPECT_EQ(tap.zeroBufferStreak(), 0U);

    EXPECT_EQ(tap.run(in.data(), 8, nullptr, 8), 0);
    EXPECT_EQ(tap.zeroBufferStreak(), 0U);
    EXPECT_GT(tap.context.lastCallbackHostTime.load(), 0U);
}

// Frames

TEST(Callback, LeavesAnOutputThatHoldsNoFrameSilent) {
    CallbackHarness tap;
    std::vector<float> in{1, 1};
    unsigned char out[] = {9, 9, 9, 9};
    tap.run(in.data(), 8, out, 3);
    EXPECT_EQ(std::vector<int>(out, out + 4), (std::vector<int>{0, 0, 0, 9}));
    EXPECT_EQ(tap.context.ringBuffer.writeCursor(), 0U);
    EXPECT_EQ(tap.context.rt.ioBridge.available(), 0U) << "the input is not taken either";
}

TEST(Callback, SilencesWhatIsLeftBehindTheLastWholeFrame) {
    CallbackHarness tap(2);
    std::vector<float> in{1, 2, 3, 4};
    std::vector<float> out(4, 9.0F);
    tap.run(in.data(), 16, out.data(), 3 * sizeof(float) + 2);
    EXPECT_EQ(out[0], 1.0F);
    EXPECT_EQ(out[1], 2.0F);
    EXPECT_EQ(out[2], 0.0F);
    std::vector<float> kept(3);
    EXPECT_TRUE(tap.context.ringBuffer.copyLatest(kept.data(), 3)) << "the ring gets every whole sample";
    EXPECT_EQ(kept, (std::vector<float>{1, 2, 0}));
}

TEST(Callback, SilencesFurtherOutputBuffers) {
    CallbackHarness tap(1);
    std::vector<float> in{1};
    std::vector<float> out0{9};
    std::vector<float> out1{9, 9};
    Buffers<1> input{{1}, {bufferOf(in)}};
    Buffers<2> output{{2}, {bufferOf(out0), bufferOf(out1)}};
    eqByQUORVINProcessIOProc(5, &input.list, &output.list, &tap.context);
    EXPECT_EQ(out0, (std::vector<float>{1}));
    EXPECT_EQ(out1, (std::vector<float>{0, 0}));
}

TEST(Callback, CarriesFramesFromLargeInputBuffersToSmallOutputBuffers) {
    CallbackHarness tap(1);
    float next = 0;
    for (std::size_t call = 1; call <= 300; ++call) {
        const auto played = tap.process(counting(next, 512), 480);
        next += 512;
        const std::size_t available = std::min<std::size_t>(call * 32, 8192 - 480);
        ASSERT_EQ(tap.context.rt.ioBridge.available(), available);
        ASSERT_EQ(played, counting(next - static_cast<float>(available) - 480, 480)) << "call " << call;
    }
}

TEST(Callback, HoldsTheLastFrameWhileInputIsMissing) {
    CallbackHarness tap(2);
    tap.process({1, 2, 3, 4});
    EXPECT_EQ(tap.processNothing(3), (std::vector<float>{3, 4, 3, 4, 3, 4}));
}

TEST(Callback, IsSilentBeforeTheFirstInput) {
    CallbackHarness tap(2);
    EXPECT_EQ(tap.processNothing(2), std::vector<float>(4, 0.0F));
    EXPECT_EQ(tap.zeroBufferStreak(), 1U);
}

// Volume

TEST(Callback, RampsTheVolumeAcrossExactlyOneBuffer) {
    CallbackHarness tap(2);
    const std::vector<float> ones(960, 1.0F);
    EXPECT_EQ(tap.process(ones), ones);
    tap.context.setVolumeTarget(0.5F);
    const auto ramp = tap.process(ones);
    const float step = (0.5F - 1.0F) / 480.0F;
    for (std::size_t i = 0; i < 480; ++i) {
        ASSERT_EQ(ramp[2 * i], 1.0F + static_cast<float>(i) * step) << "from i, not accumulated";
        ASSERT_EQ(ramp[2 * i + 1], ramp[2 * i]) << "every channel alike";
    }
    EXPECT_EQ(tap.process(ones), std::vector<float>(960, 0.5F));
}

TEST(Callback, BeginsAtTheInitialVolumeWithoutARamp) {
    CallbackHarness tap(1, 0.25F);
    EXPECT_EQ(tap.process(std::vector<float>(100, 1.0F)), std::vector<float>(100, 0.25F));
}

TEST(Callback, RampsBackToFullVolumeAndThenMultipliesNothing) {
    CallbackHarness tap(1, 0.5F);
    tap.context.setVolumeTarget(1.0F);
    EXPECT_EQ(tap.process(std::vector<float>(4, 1.0F)), (std::vector<float>{0.5F, 0.625F, 0.75F, 0.875F}));
    const auto samples = noise(100, 1);
    EXPECT_EQ(tap.process(samples), samples);
}

TEST(Callback, AppliesTheVolumeAlsoWithoutFilters) {
    for (const bool bypassed : {true, false}) {
        CallbackHarness tap(2, 0.5F);
        EQSettings settings = bypassed ? loudBass() : EQSettings();
        settings.isBypassed = bypassed;
        tap.publish(settings);
        EXPECT_EQ(tap.process({1, 2, 3, 4}), (std::vector<float>{0.5F, 1, 1.5F, 2}));
    }
}

TEST(Callback, ComesThroughAVolumeThatIsNoNumber) {
    CallbackHarness tap(1);
    tap.context.setVolumeTarget(kNaN);
    EXPECT_EQ(tap.process({1, 1}), (std::vector<float>{0, 0}));
    tap.context.setVolumeTarget(0.5F);
    EXPECT_EQ(tap.process({1, 1}), (std::vector<float>{0, 0})) << "the ramp from it";
    EXPECT_EQ(tap.process({1, 1}), (std::vector<float>{0.5F, 0.5F}));
}

// Level, streak, signal

TEST(Callback, ReportsThePeakOfAllChannels) {
    CallbackHarness tap(2);
    tap.process({0.1F, -0.75F, 0.5F, 0.2F});
    EXPECT_EQ(tap.context.level(), 0.75F);
    EXPECT_TRUE(tap.hasCarriedSignal());
}

TEST(Callback, CountsSilentBuffersInARow) {
    CallbackHarness tap(1);
    tap.process({0, 0});
    tap.process({0, -0.0F});
    EXPECT_EQ(tap.zeroBufferStreak(), 2U);
    EXPECT_FALSE(tap.hasCarriedSignal());
    tap.process({0.5F});
    EXPECT_EQ(tap.zeroBufferStreak(), 0U);
    tap.process({0});
    EXPECT_EQ(tap.zeroBufferStreak(), 1U);
    EXPECT_TRUE(tap.hasCarriedSignal()) << "never taken back";
}

TEST(Callback, TakesAFaintBufferForNeitherSilenceNorSignal) {
    CallbackHarness tap(1);
    tap.process({0});
    tap.process({0.00005F});
    EXPECT_EQ(tap.zeroBufferStreak(), 0U);
    EXPECT_FALSE(tap.hasCarriedSignal());
    tap.process({0.0001F});
    EXPECT_FALSE(tap.hasCarriedSignal()) << "above, not at, the threshold";
    tap.process({std::nextafter(0.0001F, 1.0F)});
    EXPECT_TRUE(tap.hasCarriedSignal());
}

TEST(Callback, TakesADenormalForASignalThatIsNotZero) {
    CallbackHarness tap(1);
    tap.process({std::numeric_limits<float>::denorm_min()});
    EXPECT_EQ(tap.context.levelBits.load(), 1U);
    EXPECT_EQ(tap.zeroBufferStreak(), 0U);
}

TEST(Callback, KeepsTheProcessedSamplesInTheRing) {
    CallbackHarness tap(2, 0.5F);
    tap.process({1, 2, 3, 4});
    tap.process({5, 6});
    std::vector<float> latest(6);
    ASSERT_TRUE(tap.context.ringBuffer.copyLatest(latest.data(), 6));
    EXPECT_EQ(latest, (std::vector<float>{0.5F, 1, 1.5F, 2, 2.5F, 3}));
}

// Filters

TEST(Callback, StoresTheTimeOfEveryCall) {
    CallbackHarness tap;
    tap.process({1, 1});
    const std::uint64_t first = tap.context.lastCallbackHostTime.load();
    tap.process({1, 1});
    EXPECT_GE(tap.context.lastCallbackHostTime.load(), first);
}

TEST(Callback, SwapsCurvesWithoutForgettingTheFilters) {
    const std::vector<double> first{6, -3, 0, 2, 0, 0, -6, 4};
    const std::vector<double> second{-2, 8, 5, 0, 1, 0, 0, -9};
    const auto samples = noise(2 * 480, 2);
    CallbackHarness tap(1);
    test::TextbookCascade textbook(first, 48000);
    for (std::size_t block = 0; block < 2; ++block) {
        const auto& gains = block == 0 ? first : second;
        tap.publish(settingsWithGains(gains));
        textbook.design(gains, 48000);
        const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(block * 480);
        const auto played = tap.process(std::vector<float>(begin, begin + 480));
        for (std::size_t i = 0; i < 480; ++i) {
            const auto expected = textbook.process(static_cast<long double>(samples[block * 480 + i]));
            ASSERT_NEAR(double{played[i]}, static_cast<double>(expected), 1e-7) << block << " " << i;
        }
    }
}

TEST(Callback, KeepsTheFiltersMemoryWhileACurveIsBypassed) {
    CallbackHarness tap(1);
    tap.publish(loudBass());
    tap.process(noise(480, 3));
    const auto before = tap.context.rt.delays;
    EQSettings bypassed = loudBass();
    bypassed.isBypassed = true;
    tap.publish(bypassed);
    const auto samples = noise(480, 4);
    EXPECT_EQ(tap.process(samples), samples);
    EXPECT_EQ(tap.context.rt.delays, before);
}

TEST(Callback, KeepsTheSectionsHistoriesInTheDelays) {
    CallbackHarness tap(2);
    tap.publish(settingsWithGains({6, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(tap.context.delayCapacityBytes(), 2U * 18 * 4);
    const auto played = tap.process({0.5F, -0.5F, 0.25F, 1.0F});
    const auto& delays = tap.context.rt.delays;
    for (std::size_t c = 0; c < 2; ++c) {
        const float* channel = delays.data() + 18 * c;
        EXPECT_EQ(channel[0], c == 0 ? 0.25F : 1.0F) << "newest input";
        EXPECT_EQ(channel[1], c == 0 ? 0.5F : -0.5F) << "the one before";
        for (std::size_t k = 1; k <= 8; ++k) { // seven identities behind the first section
            EXPECT_EQ(channel[2 * k], played[2 + c]);
            EXPECT_EQ(channel[2 * k + 1], played[c]);
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
        EXPECT_EQ(tap.context.rt.delays, std::vector<float>(36, 0.0F));
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
        // 63 Hz with this bandwidth falls by 100 dB in about 0.14 s; a 32-bit float ends at -760 dB.
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

TEST(TapRealtimeContext, BeginsEmpty) {
    const TapRealtimeContext context(true, 0, 0.75F);
    EXPECT_EQ(context.channelCount, 1) << "at least one channel";
    EXPECT_EQ(context.snapshotPointer.load(), nullptr);
    EXPECT_EQ(context.level(), 0.0F);
    EXPECT_EQ(context.lastCallbackHostTime.load(), 0U);
    EXPECT_EQ(context.rt.delays, std::vector<float>(18, 0.0F));
    EXPECT_EQ(context.ringBuffer.capacity(), 1048576U);
    EXPECT_EQ(context.rt.ioBridge.available(), 0U);
    EXPECT_EQ(std::bit_cast<float>(context.volumeTargetBits.load()), 0.75F);
    EXPECT_EQ(context.rt.currentVolume, 0.75F);
}

} // namespace
} // namespace vello
