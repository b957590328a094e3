// SPDX-License-Identifier: Apache-2.0
#include "ProcessTapFixture.h"

#include <atomic>
#include <bit>
#include <thread>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(Tap, KnowsWhatItCanProcess) {
    const auto good = FakeAudioHardware::floatFormat(2, 48000);
    EXPECT_TRUE(ProcessTap::formatSupportsEQ(good));
    EXPECT_TRUE(ProcessTap::formatSupportsEQ(FakeAudioHardware::floatFormat(1, 48000)));
    EXPECT_FALSE(ProcessTap::formatSupportsEQ(FakeAudioHardware::floatFormat(0, 48000)));
    EXPECT_FALSE(ProcessTap::formatSupportsEQ(FakeAudioHardware::floatFormat(3, 48000)));
    auto other = good;
    other.mFormatID = fourCharCode("aac ");
    EXPECT_FALSE(ProcessTap::formatSupportsEQ(other));
    other = good;
    other.mFormatFlags &= ~kAudioFormatFlagIsFloat;
    EXPECT_FALSE(ProcessTap::formatSupportsEQ(other));
    other = good;
    other.mFormatFlags |= kAudioFormatFlagIsNonInterleaved;
    EXPECT_FALSE(ProcessTap::formatSupportsEQ(other));
    other = good;
    other.mBitsPerChannel = 64;
    EXPECT_FALSE(ProcessTap::formatSupportsEQ(other));
}

TEST_F(Tap, AnyOtherFormatPassesThroughUnchanged) {
    auto integers = FakeAudioHardware::floatFormat(2, 48000);
    integers.mFormatFlags = kAudioFormatFlagIsPacked;
    integers.mBitsPerChannel = 16;
    for (const auto& format : {FakeAudioHardware::floatFormat(4, 48000), integers}) {
        hardware.setTapFormat(format);
        log.clear();
        const auto tap = makeRunningTap(curve(6, 0.5));
        EXPECT_FALSE(tap->realtimeContext()->supportsEQ);
        EXPECT_EQ(tap->currentSnapshot(), nullptr);
        EXPECT_THAT(play(*tap, 0.25F), testing::Each(0.25F));
        tap->applySettings(curve(3, 0.1));
        EXPECT_EQ(tap->currentSnapshot(), nullptr);
        EXPECT_THAT(
            log.messages(LogLevel::error),
            ElementsAre("Tap format for Player is not interleaved Float32; EQ bypassed, passthrough only"));
    }
}

TEST_F(Tap, StartsAtItsVolumeWithoutARamp) {
    const auto tap = makeRunningTap(curve(0, 0.5));
    EXPECT_THAT(play(*tap, 0.5F), testing::Each(0.25F));
}

TEST_F(Tap, TheCallbackSeesTheSnapshot) {
    const auto tap = makeRunningTap(curve(6));
    ASSERT_NE(tap->currentSnapshot(), nullptr);
    EXPECT_NE(tap->currentSnapshot()->biquadSetup(), nullptr);
    EXPECT_EQ(tap->realtimeContext()->snapshotPointer.load(), tap->currentSnapshot().get());
}

TEST_F(Tap, SettingsChangeWithoutTouchingThePlatform) {
    const auto tap = makeRunningTap();
    const auto before = hardware.calls().size();
    EQSettings changed = curve(6, 0.25);
    changed.outputDeviceUID = "headset";
    tap->applySettings(changed);
    EXPECT_EQ(hardware.calls().size(), before);
    EXPECT_EQ(tap->settings(), changed);
    EXPECT_EQ(tap->outputDeviceUID(), "headset");
    EXPECT_EQ(tap->resolvedOutputDeviceUID(), "speakers");
    EXPECT_NE(tap->currentSnapshot()->biquadSetup(), nullptr);
    EXPECT_EQ(tap->realtimeContext()->snapshotPointer.load(), tap->currentSnapshot().get());
    EXPECT_EQ(std::bit_cast<float>(tap->realtimeContext()->volumeTargetBits.load()), 0.25F);
}

TEST_F(Tap, SettingsOfAnySizeAreLimitedWhereTheyBecomeAudible) {
    const auto gainAt1000Hz = [](const ProcessTap& tap) {
        return tap.currentSnapshot()->biquadSetup()->sections()[4];
    };
    const auto tap = makeRunningTap(curve(400, 1e300));
    EXPECT_EQ(tap->realtimeContext()->rt->currentVolume, 16.0F);
    EXPECT_EQ(gainAt1000Hz(*tap).b0, peakingSection(24, 1000, 44100).b0);
    tap->applySettings(curve(-400, 17));
    EXPECT_EQ(std::bit_cast<float>(tap->realtimeContext()->volumeTargetBits.load()), 16.0F);
    EXPECT_EQ(gainAt1000Hz(*tap).b0, peakingSection(-24, 1000, 44100).b0);
    EXPECT_EQ(tap->settings(), curve(-400, 17)) << "the model keeps what it was given";
}

TEST_F(Tap, SettingsThatArriveDuringTheWaitAreThoseOfTheFirstSnapshot) {
    hardware.setReadsUntilAlive(2);
    const auto tap = makeTap(curve(0, 1));
    tap->applySettings(curve(0, 0.75));
    activate(*tap);
    tap->applySettings(curve(6, 0.5));
    EXPECT_EQ(tap->realtimeContext(), nullptr);
    EXPECT_EQ(tap->currentSnapshot(), nullptr);
    mainThread.advance(100ms);
    EXPECT_EQ(failure, "");
    EXPECT_NE(tap->currentSnapshot()->biquadSetup(), nullptr);
    EXPECT_EQ(tap->realtimeContext()->rt->currentVolume, 0.5F);
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U) << "nothing was replaced";
}

TEST_F(Tap, ReplacedSnapshotsLiveHalfASecondLongerEach) {
    const auto tap = makeRunningTap(curve(1));
    const std::weak_ptr first = tap->currentSnapshot();
    tap->applySettings(curve(2));
    const std::weak_ptr second = tap->currentSnapshot();
    mainThread.advance(100ms);
    tap->applySettings(curve(3));
    const std::weak_ptr third = tap->currentSnapshot();
    mainThread.advance(399ms);
    EXPECT_FALSE(first.expired());
    mainThread.advance(1ms);
    EXPECT_TRUE(first.expired());
    mainThread.advance(99ms);
    EXPECT_FALSE(second.expired());
    mainThread.advance(1ms);
    EXPECT_TRUE(second.expired());
    mainThread.advance(10s);
    EXPECT_FALSE(third.expired());
}

TEST_F(Tap, WithoutARateOfTheDeviceItTakesThatOfTheStream) {
    hardware.setTapFormat(FakeAudioHardware::floatFormat(2, 96000.5));
    hardware.fail({.call = HardwareCall::getPropertyData, .selector = kAudioDevicePropertyNominalSampleRate});
    const auto tap = makeRunningTap(curve(6));
    EXPECT_EQ(tap->sampleRate(), 96000.5);
    EXPECT_THAT(log.messages(LogLevel::notice).at(0), HasSubstr("96000.5 Hz)"));
}

TEST_F(Tap, WithoutAnyRateItRunsUnfiltered) {
    hardware.setTapFormat(FakeAudioHardware::floatFormat(2, 0));
    hardware.fail({.call = HardwareCall::getPropertyData, .selector = kAudioDevicePropertyNominalSampleRate});
    const auto tap = makeRunningTap(curve(6, 0.5));
    EXPECT_EQ(tap->currentSnapshot(), nullptr);
    EXPECT_THAT(play(*tap, 0.5F), testing::Each(0.25F));
}

TEST_F(Tap, TheCallbackRunsWhileSettingsChangeOnAnotherThread) {
    const auto tap = makeRunningTap(curve(1));
    std::atomic<bool> isDone{false};
    std::vector<float> samples(2 * 64, 0.1F);
    const auto bytes = static_cast<std::uint32_t>(samples.size() * sizeof(float));
    std::vector<float> played(samples.size());
    AudioBufferListStorage<1> input{AudioBufferList{1}, {{2, bytes, samples.data()}}};
    AudioBufferListStorage<1> output{AudioBufferList{1}, {{2, bytes, played.data()}}};
    const auto proc = *hardware.ioProcOf(tap->aggregateDeviceID());
    int cycles = 0;
    std::thread dataThread([&] {
        do {
            proc.proc(proc.device, &input.list, &output.list, proc.clientData);
            ++cycles;
        } while (!isDone);
    });
    for (int i = 0; i < 200; ++i)
        tap->applySettings(curve(i % 12, 1.0 - i / 400.0));
    isDone = true;
    dataThread.join();
    EXPECT_GT(cycles, 0);
    EXPECT_GT(tap->realtimeContext()->level(), 0);
}

} // namespace
} // namespace vello
