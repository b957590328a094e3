// SPDX-License-Identifier: Apache-2.0
#include "TapCoordinatorFixture.h"

#include "AudioEngine/Capture/AudioProcessMonitor.h"
#include "support/FakeRunningApplications.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::SizeIs;

// With the monitor: the audio system disappears and comes back

struct LostConnection : Coordinator {
    LostConnection() {
        hardware.loseConnection(); // these tests must not start with the fixture's objects
        start();
        monitor.setOnChange(
            [this](const AudioProcessMonitor::Groups& groups) { coordinator->updateGroups(groups); });
        monitor.start();
    }
    /// Creates the objects as after a (re)start of the audio system, with new numbers each time.
    void appear() {
        const auto device = hardware.addDevice({.uid = "speakers", .name = "Speakers"});
        hardware.setDefaultOutputDevice(device);
        for (const std::int32_t pid : {50, 60})
            hardware.addProcess({.pid = pid, .devices = {device}});
    }
    void expectRunningTaps() {
        ASSERT_THAT(coordinator->taps(), SizeIs(2));
        for (const auto& [id, tap] : coordinator->taps()) {
            EXPECT_TRUE(tap->activatedAt().has_value()) << id;
            EXPECT_TRUE(hardware.ioProcOf(tap->aggregateDeviceID())) << id;
        }
        expectPlatformTaps(2);
    }

    FakeRunningApplications applications;
    AudioProcessMonitor monitor{hardware, mainThread, applications, log};
};

TEST_F(LostConnection, TapsComeWhenTheAudioSystemAppearsAfterTheStart) {
    mainThread.advance(5s);
    EXPECT_THAT(coordinator->taps(), IsEmpty());
    appear();
    mainThread.advance(1s);
    expectRunningTaps();
}

TEST_F(LostConnection, TapsAreBackOnNewObjectsWhenItReturns) {
    appear();
    mainThread.advance(5s);
    expectRunningTaps();
    hardware.loseConnection();
    mainThread.advance(5s);
    EXPECT_THAT(coordinator->taps(), IsEmpty());
    expectPlatformTaps(0);
    appear();
    mainThread.advance(1s);
    expectRunningTaps();
}

TEST_F(LostConnection, TapsAreBackAlsoWhenItReturnsBeforeTheLossWasNoticed) {
    appear();
    mainThread.advance(5s);
    hardware.loseConnection();
    appear();
    mainThread.advance(1s);
    expectRunningTaps();
}

TEST_F(LostConnection, TapsAreBackAlsoWhenTheListCouldNotBeReadMeanwhile) {
    appear();
    mainThread.advance(5s);
    hardware.loseConnection();
    hardware.fail(
        {.call = HardwareCall::getPropertyDataSize, .selector = kAudioHardwarePropertyProcessObjectList});
    mainThread.advance(5s);
    hardware.stopFailing();
    appear();
    mainThread.advance(1s);
    expectRunningTaps();
}

TEST_F(LostConnection, TapsAreBackAlsoWhenTheDefaultDeviceIsTheLastToReturn) {
    appear();
    mainThread.advance(5s);
    hardware.loseConnection();
    mainThread.advance(1s);
    for (const std::int32_t pid : {50, 60})
        hardware.addProcess({.pid = pid});
    mainThread.advance(1s);
    EXPECT_THAT(coordinator->taps(), IsEmpty());
    EXPECT_THAT(log.messagesStartingWith(kActivationFailed), SizeIs(2));
    hardware.setDefaultOutputDevice(hardware.addDevice({.uid = "speakers", .name = "Speakers"}));
    mainThread.advance(300ms);
    expectRunningTaps();
}

TEST_F(LostConnection, DuringAnActivationItIsOvercome) {
    appear();
    hardware.setReadsUntilAlive(FakeAudioHardware::kNeverAlive);
    mainThread.advance(1s);
    hardware.loseConnection();
    hardware.setReadsUntilAlive(0);
    appear();
    mainThread.advance(1s);
    expectRunningTaps();
}

} // namespace
} // namespace vello
