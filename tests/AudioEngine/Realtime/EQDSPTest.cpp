// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/EQDSP.h"

#include "AudioEngine/Realtime/HostTime.h"
#include "CallbackHarness.h"
#include "support/SignalSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <limits>

namespace vello {
namespace {

using test::CallbackHarness;
using test::counting;
using test::loudBass;
using test::noise;
using test::settingsWithGains;

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

TEST(Callback, WritesNoSilenceToARingThatRests) {
    CallbackHarness tap;
    tap.context.ringBuffer.rest();
    tap.process(std::vector<float>(960, 0.0F));
    EXPECT_EQ(tap.context.ringBuffer.writeCursor(), 0U);
    tap.process(noise(960, 1));
    tap.process(std::vector<float>(960, 0.0F));
    EXPECT_EQ(tap.context.ringBuffer.writeCursor(), 1920U);
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

TEST(Callback, StoresTheTimeOfEveryCall) {
    CallbackHarness tap;
    tap.process({1, 1});
    const std::uint64_t first = tap.context.lastCallbackHostTime.load();
    tap.process({1, 1});
    EXPECT_GE(tap.context.lastCallbackHostTime.load(), first);
}

// Frames

TEST(Callback, LeavesAnOutputThatHoldsNoFrameSilent) {
    CallbackHarness tap;
    std::vector<float> in{1, 1};
    unsigned char out[] = {9, 9, 9, 9};
    tap.run(in.data(), 8, out, 3);
    EXPECT_EQ(std::vector<int>(out, out + 4), (std::vector<int>{0, 0, 0, 9}));
    EXPECT_EQ(tap.context.ringBuffer.writeCursor(), 0U);
    EXPECT_EQ(tap.context.rt->ioBridge.available(), 0U) << "the input is not taken either";
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
        ASSERT_EQ(tap.context.rt->ioBridge.available(), available);
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
    tap.context.setVolumeTarget(std::numeric_limits<float>::quiet_NaN());
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

TEST(Callback, RemembersWhenItWasLastLouderThanFullScale) {
    CallbackHarness tap(1);
    tap.process({1.0F, -1.0F});
    EXPECT_EQ(tap.context.lastClippedHostTime.load(), 0U) << "above, not at, full scale";
    tap.process({0.5F, -1.001F});
    const std::uint64_t clippedAt = tap.context.lastClippedHostTime.load();
    EXPECT_NE(clippedAt, 0U);
    EXPECT_EQ(clippedAt, tap.context.lastCallbackHostTime.load());
    tap.process({0.5F});
    EXPECT_EQ(tap.context.lastClippedHostTime.load(), clippedAt) << "a quiet buffer does not take it back";
}

TEST(Callback, JudgesFullScaleAfterTheVolume) {
    CallbackHarness tap(1, 0.5F);
    tap.process({1.5F});
    EXPECT_EQ(tap.context.lastClippedHostTime.load(), 0U);
    tap.process({2.5F});
    EXPECT_NE(tap.context.lastClippedHostTime.load(), 0U);
}

TEST(Callback, LetsWhatIsLouderThanFullScalePass) {
    CallbackHarness tap(1);
    EXPECT_EQ(tap.process({1.5F, -2.0F}), (std::vector<float>{1.5F, -2.0F})) << "it is only measured";
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

TEST(TapRealtimeContext, ContinuesTheSoundOfAnotherWithoutAJump) {
    constexpr std::size_t block = 960;
    const auto samples = noise(20 * block, 5);
    CallbackHarness whole;
    CallbackHarness first;
    CallbackHarness second(first.context.rt);
    for (CallbackHarness* tap : {&whole, &first, &second})
        tap->publish(loudBass());
    for (std::size_t i = 0; i < 20; ++i) {
        const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(i * block);
        const std::vector<float> next(begin, begin + static_cast<std::ptrdiff_t>(block));
        EXPECT_EQ((i < 10 ? first : second).process(next), whole.process(next)) << "block " << i;
    }
}

TEST(TapRealtimeContext, RampsFromTheVolumeOfTheOneThatItContinues) {
    CallbackHarness first(1, 1.0F);
    EXPECT_EQ(first.process({1, 1}), (std::vector<float>{1, 1}));
    CallbackHarness second(first.context.rt, 0.0F);
    EXPECT_EQ(second.process({1, 1, 1, 1}), (std::vector<float>{1, 0.75F, 0.5F, 0.25F}));
    EXPECT_EQ(second.process({1, 1}), (std::vector<float>{0, 0}));
}

TEST(TapRealtimeContext, BeginsEmpty) {
    const TapRealtimeContext context(true, 0, 0.75F);
    EXPECT_EQ(context.channelCount, 1) << "at least one channel";
    EXPECT_EQ(context.snapshotPointer.load(), nullptr);
    EXPECT_EQ(context.level(), 0.0F);
    EXPECT_EQ(context.lastCallbackHostTime.load(), 0U);
    EXPECT_TRUE(context.rt->delays == std::vector<CascadeState>(1));
    EXPECT_EQ(context.ringBuffer.capacity(), 1048576U);
    EXPECT_EQ(context.rt->ioBridge.available(), 0U);
    EXPECT_EQ(std::bit_cast<float>(context.volumeTargetBits.load()), 0.75F);
    EXPECT_EQ(context.rt->currentVolume, 0.75F);
}

} // namespace
} // namespace vello
