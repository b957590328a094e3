// SPDX-License-Identifier: Apache-2.0
#include "ProcessTapFixture.h"

#include <algorithm>
#include <vector>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;

// Liveness

TEST_F(Tap, WaitsUntilTheAggregateIsAlive) {
    hardware.setReadsUntilAlive(3);
    const auto tap = makeTap();
    activate(*tap);
    mainThread.advance(149ms);
    EXPECT_EQ(completions, 0);
    EXPECT_EQ(hardware.liveIOProcCount(), 0U);
    EXPECT_TRUE(isRegistered(tap->aggregateDeviceID(), tap->tapID()));
    mainThread.advance(1ms);
    EXPECT_EQ(failure, "");
    EXPECT_EQ(hardware.liveIOProcCount(), 1U);
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
}

TEST_F(Tap, MakesItsRingWhileItWaits) {
    constexpr std::size_t capacity = TapRealtimeContext::ringCapacity;
    // The memory of the last ring that has gone, with no other one kept, is that of the next ring.
    std::vector<SampleMemory> others;
    for (int i = 0; i < 3; ++i)
        others.emplace_back(capacity);
    const float* const next = others.back().get();
    others.pop_back();

    hardware.setReadsUntilAlive(3);
    const auto tap = makeTap();
    activate(*tap);
    EXPECT_EQ(tap->realtimeContext(), nullptr);
    EXPECT_NE(SampleMemory(capacity).get(), next) << "the tap has it already";
    mainThread.advance(150ms);
    ASSERT_NE(tap->realtimeContext(), nullptr);
    const float sample = 0.5F;
    AudioSampleRingBuffer& ring = tap->realtimeContext()->ringBuffer;
    ring.write(&sample, 1);
    EXPECT_EQ(ring.latest(1)->older.data(), next);
}

TEST_F(Tap, AliveAtTheLastAttemptIsEarlyEnough) {
    hardware.setReadsUntilAlive(39);
    const auto tap = makeTap();
    activate(*tap);
    mainThread.advance(2s);
    EXPECT_EQ(failure, "");
}

TEST_F(Tap, GivesUpAfterFortyAttempts) {
    hardware.setReadsUntilAlive(40);
    const auto tap = makeTap();
    activate(*tap);
    mainThread.advance(1999ms);
    EXPECT_EQ(completions, 0);
    mainThread.advance(1ms);
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(failure, "Aggregate device for Player never became alive");
    EXPECT_TRUE(tap->isInvalidated());
    const auto isAliveRead = [](const FakeAudioHardware::Call& call) {
        return call.call == HardwareCall::getPropertyData &&
               call.selector == kAudioDevicePropertyDeviceIsAlive;
    };
    const auto calls = hardware.calls();
    EXPECT_EQ(std::ranges::count_if(calls, isAliveRead), 40);
    expectNothingLeft();
}

TEST_F(Tap, AFailedReadOfTheLivenessIsJustNotYetAlive) {
    hardware.fail(
        {.call = HardwareCall::getPropertyData, .selector = kAudioDevicePropertyDeviceIsAlive, .times = 2});
    const auto tap = makeTap();
    activate(*tap);
    EXPECT_EQ(completions, 0);
    mainThread.advance(100ms);
    EXPECT_EQ(failure, "");
    EXPECT_EQ(completions, 1);
}

TEST_F(Tap, DoesNotWaitWhenTheDeviceIsReportedAlive) {
    hardware.setReadsUntilAlive(1);
    const auto tap = makeTap();
    activate(*tap);
    EXPECT_EQ(completions, 0);
    hardware.setProperty(tap->aggregateDeviceID(), kAudioDevicePropertyDeviceIsAlive, std::uint32_t{1});
    mainThread.runPosted();
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(failure, "");
    EXPECT_EQ(hardware.listenerCount(tap->aggregateDeviceID(), kAudioDevicePropertyDeviceIsAlive), 0U);
    mainThread.advance(1s);
    EXPECT_EQ(completions, 1);
}

TEST_F(Tap, InvalidatedDuringTheWaitItEndsWithoutAnError) {
    hardware.setReadsUntilAlive(FakeAudioHardware::kNeverAlive);
    const auto tap = makeTap();
    activate(*tap);
    mainThread.advance(120ms);
    tap->invalidate();
    mainThread.advance(10s);
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(failure, "");
    EXPECT_THAT(log.messages(LogLevel::notice), IsEmpty());
    expectNothingLeft();
}

TEST_F(Tap, InvalidatedAfterTheLastAttemptItStillEndsWithoutAnError) {
    hardware.setReadsUntilAlive(FakeAudioHardware::kNeverAlive);
    const auto tap = makeTap();
    activate(*tap);
    mainThread.advance(1990ms);
    tap->invalidate();
    mainThread.advance(1s);
    EXPECT_EQ(failure, "");
    expectNothingLeft();
}

TEST_F(Tap, DroppedDuringTheWaitItLeavesNothing) {
    hardware.setReadsUntilAlive(FakeAudioHardware::kNeverAlive);
    auto tap = makeTap();
    activate(*tap);
    tap.reset();
    mainThread.advance(10s);
    EXPECT_EQ(completions, 0);
    expectNothingLeft();
}

TEST_F(Tap, MayBeDroppedByItsCompletion) {
    hardware.setReadsUntilAlive(FakeAudioHardware::kNeverAlive);
    auto tap = makeTap();
    tap->activate([&](const std::optional<CoreAudioError>&) { tap.reset(); });
    mainThread.advance(2s);
    EXPECT_EQ(tap, nullptr);
    hardware.setReadsUntilAlive(0);
    tap = makeTap();
    tap->activate([&](const std::optional<CoreAudioError>&) { tap.reset(); });
    EXPECT_EQ(tap, nullptr);
    expectNothingLeft();
}

// Failure

struct FailingOperation {
    HardwareCall call;
    std::string operation;
};
struct TapFailure : Tap, testing::WithParamInterface<FailingOperation> {};

TEST_P(TapFailure, NamesTheOperationAndLeavesNothing) {
    hardware.fail({.call = GetParam().call, .status = -66});
    const auto tap = makeTap();
    activate(*tap);
    EXPECT_EQ(failure, GetParam().operation + " failed (OSStatus -66)");
    EXPECT_EQ(completions, 1);
    EXPECT_TRUE(tap->isInvalidated());
    expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(
    Operations, TapFailure,
    testing::Values(FailingOperation{HardwareCall::createProcessTap, "AudioHardwareCreateProcessTap"},
                    FailingOperation{HardwareCall::createAggregateDevice,
                                     "AudioHardwareCreateAggregateDevice"},
                    FailingOperation{HardwareCall::createIOProcID, "AudioDeviceCreateIOProcID"},
                    FailingOperation{HardwareCall::startDevice, "AudioDeviceStart"}),
    [](const auto& given) { return given.param.operation; });

struct TapCreation : TapFailure {};

TEST_P(TapCreation, AnAnswerWithoutAnObjectIsAFailureToo) {
    hardware.answerWithoutObject(GetParam().call);
    const auto tap = makeTap();
    activate(*tap);
    EXPECT_EQ(failure, GetParam().operation + " failed (OSStatus 0)");
    expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(
    Operations, TapCreation,
    testing::Values(FailingOperation{HardwareCall::createProcessTap, "AudioHardwareCreateProcessTap"},
                    FailingOperation{HardwareCall::createAggregateDevice,
                                     "AudioHardwareCreateAggregateDevice"},
                    FailingOperation{HardwareCall::createIOProcID, "AudioDeviceCreateIOProcID"}),
    [](const auto& given) { return given.param.operation; });

TEST_F(Tap, WhateverCallFailsNothingIsLeftBehind) {
    makeRunningTap()->invalidate();
    queue.drain();
    hardware.clearCalls();
    makeRunningTap(settingsFor("headset"));
    const std::size_t callCount = hardware.calls().size();
    ASSERT_GT(callCount, 20U);
    int failures = 0;
    for (std::size_t i = 0; i < callCount; ++i) {
        queue.drain();
        hardware.failCallNumber(i, -77);
        auto tap = makeTap(settingsFor("headset"));
        activate(*tap);
        mainThread.advance(3s);
        EXPECT_EQ(completions, static_cast<int>(i) + 3) << "call " << i;
        EXPECT_EQ(tap->isInvalidated(), !failure.empty()) << "call " << i << ": " << failure;
        failures += tap->isInvalidated() ? 1 : 0;
        hardware.stopFailing();
        tap.reset();
        expectNothingLeft();
    }
    EXPECT_GE(failures, 8);
}

TEST_F(Tap, ASecondActivationEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // because the queue's thread is running
    const auto tap = makeRunningTap();
    EXPECT_DEATH(activate(*tap), "Precondition failed");
}

TEST_F(Tap, AnInvalidatedTapIsNotActivated) {
    const auto tap = makeTap();
    tap->invalidate();
    activate(*tap);
    EXPECT_EQ(failure, "");
    queue.drain();
    EXPECT_THAT(hardware.calls(), IsEmpty());
}

} // namespace
} // namespace vello
