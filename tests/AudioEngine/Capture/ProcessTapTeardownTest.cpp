// SPDX-License-Identifier: Apache-2.0
#include "ProcessTapFixture.h"

#include <future>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(Tap, TakesEverythingDownInOrder) {
    const auto tap = makeRunningTap();
    const AudioObjectID tapID = tap->tapID();
    const auto aggregate = std::to_string(tap->aggregateDeviceID());
    hardware.clearCalls();
    tap->invalidate();
    EXPECT_TRUE(isRegistryEmpty());
    EXPECT_EQ(hardware.listenerCount(tapID, kAudioTapPropertyFormat), 0U);
    queue.drain();
    EXPECT_THAT(hardware.actions(), ElementsAre("stopDevice " + aggregate, "destroyIOProcID " + aggregate,
                                                "destroyAggregateDevice " + aggregate,
                                                "destroyProcessTap " + std::to_string(tapID)));
    expectNothingLeft();
    EXPECT_THAT(log.messages(LogLevel::error), IsEmpty());
}

TEST_F(Tap, ForgetsItsObjectsWhenInvalidated) {
    const auto tap = makeRunningTap(settingsFor("headset"));
    tap->invalidate();
    EXPECT_TRUE(tap->isInvalidated());
    EXPECT_EQ(tap->tapID(), kAudioObjectUnknown);
    EXPECT_EQ(tap->aggregateDeviceID(), kAudioObjectUnknown);
    EXPECT_EQ(tap->realtimeContext(), nullptr);
    EXPECT_EQ(tap->currentSnapshot(), nullptr);
    EXPECT_EQ(tap->activatedAt(), std::nullopt);
    EXPECT_EQ(tap->outputDeviceUID(), std::nullopt);
    EXPECT_EQ(tap->resolvedOutputDeviceUID(), std::nullopt);
    EXPECT_EQ(tap->sampleRate(), 0);
    EXPECT_FALSE(tap->automaticRouteWouldChangeDevice());
    tap->applySettings(curve(3));
    EXPECT_EQ(tap->outputDeviceUID(), std::nullopt);
    EXPECT_EQ(tap->currentSnapshot(), nullptr);
}

TEST_F(Tap, FollowsNobodyOnceInvalidated) {
    const auto tap = makeRunningTap();
    hardware.setProcessDevices(player, {headset});
    ASSERT_TRUE(tap->automaticRouteWouldChangeDevice());
    tap->invalidate();
    EXPECT_FALSE(tap->automaticRouteWouldChangeDevice());
}

TEST_F(Tap, IsInvalidatedOnce) {
    const auto tap = makeRunningTap();
    tap->invalidate();
    queue.drain();
    hardware.clearCalls();
    tap->invalidate();
    queue.drain();
    EXPECT_THAT(hardware.calls(), IsEmpty());
}

TEST_F(Tap, AFailedTeardownIsLoggedAndGoesOn) {
    const auto tap = makeRunningTap();
    for (const HardwareCall call : {HardwareCall::stopDevice, HardwareCall::destroyIOProcID,
                                    HardwareCall::destroyAggregateDevice, HardwareCall::destroyProcessTap})
        hardware.fail({.call = call, .status = -5});
    tap->invalidate();
    queue.drain();
    EXPECT_THAT(log.messages(LogLevel::error),
                ElementsAre("AudioDeviceStop failed: -5", "AudioDeviceDestroyIOProcID failed: -5",
                            "AudioHardwareDestroyAggregateDevice failed: -5",
                            "AudioHardwareDestroyProcessTap failed: -5"));
}

TEST_F(Tap, TheRealtimeObjectsOutliveTheCallback) {
    const auto tap = makeRunningTap(curve(1));
    const std::weak_ptr context = tap->realtimeContext();
    const std::weak_ptr replaced = tap->currentSnapshot();
    tap->applySettings(curve(2));
    const std::weak_ptr current = tap->currentSnapshot();
    int callsWithAllAlive = 0;
    hardware.setOnCall([&](const FakeAudioHardware::Call& call) {
        if (call.call >= HardwareCall::stopDevice && !context.expired() && !replaced.expired() &&
            !current.expired())
            ++callsWithAllAlive;
    });
    tap->invalidate();
    mainThread.advance(10s);
    queue.drain();
    EXPECT_EQ(callsWithAllAlive, 4);
    EXPECT_TRUE(context.expired());
    EXPECT_TRUE(replaced.expired());
    EXPECT_TRUE(current.expired());
    hardware.setOnCall({});
}

TEST_F(Tap, TheMainThreadDoesNotWaitForTheTeardown) {
    std::promise<void> release;
    queue.submit([wait = release.get_future().share()] { wait.wait(); });
    const auto tap = makeRunningTap();
    tap->invalidate();
    EXPECT_THAT(hardware.liveTaps(), SizeIs(1));
    release.set_value();
    expectNothingLeft();
}

TEST_F(Tap, DeadObjectsAreTakenDownWithoutHarm) {
    const auto tap = makeRunningTap();
    hardware.loseConnection();
    tap->invalidate();
    mainThread.runPosted();
    expectNothingLeft();
    EXPECT_THAT(log.messages(LogLevel::error), SizeIs(4));
}

} // namespace
} // namespace vello
