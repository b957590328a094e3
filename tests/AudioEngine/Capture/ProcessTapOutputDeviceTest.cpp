// SPDX-License-Identifier: Apache-2.0
#include "ProcessTapFixture.h"

namespace vello {
namespace {

using testing::HasSubstr;

TEST_F(Tap, PlaysToTheDeviceOfTheSettings) {
    const auto tap = makeRunningTap(settingsFor("headset"));
    EXPECT_EQ(tap->outputDeviceUID(), "headset");
    EXPECT_EQ(tap->resolvedOutputDeviceUID(), "headset");
    const auto description = hardware.aggregateDescription(tap->aggregateDeviceID());
    EXPECT_EQ(description.mainSubDevice, "headset");
    EXPECT_TRUE(description.isMainSubDeviceChosen);
    EXPECT_FALSE(tap->automaticRouteWouldChangeDevice());
}

TEST_F(Tap, AChosenDeviceThatIsGoneFallsBackToTheApplicationsOwn) {
    hardware.setProcessDevices(player, {headset});
    const auto tap = makeRunningTap(settingsFor("unplugged"));
    EXPECT_EQ(tap->outputDeviceUID(), "unplugged");
    EXPECT_EQ(tap->resolvedOutputDeviceUID(), "headset");
    EXPECT_FALSE(hardware.aggregateDescription(tap->aggregateDeviceID()).isMainSubDeviceChosen);
}

TEST_F(Tap, WithoutADeviceOfItsOwnTheApplicationPlaysToTheDefault) {
    hardware.setProcessDevices(player, {});
    EXPECT_EQ(makeRunningTap()->resolvedOutputDeviceUID(), "speakers");
    EXPECT_EQ(makeRunningTap(settingsFor("unplugged"))->resolvedOutputDeviceUID(), "speakers");
    hardware.removeProperty(player, kAudioProcessPropertyDevices, kAudioObjectPropertyScopeOutput);
    EXPECT_EQ(makeRunningTap()->resolvedOutputDeviceUID(), "speakers");
}

TEST_F(Tap, TakesTheFirstRealOutputOfItsProcesses) {
    const auto own = hardware.addDevice({.uid = "own", .name = "EQ-by-QUORVIN-Tap-Player"});
    const auto input = hardware.addDevice({.uid = "input", .name = "Microphone", .streamChannels = {}});
    const auto second = hardware.addProcess({.pid = 51, .devices = {headset, speakers}});
    hardware.setProcessDevices(player, {own, input});
    const auto tap = makeTap(ProcessTap::Processes{{player, second}});
    activate(*tap);
    EXPECT_EQ(tap->resolvedOutputDeviceUID(), "headset");
}

TEST_F(Tap, WithoutAnyOutputDeviceItCannotBeActivated) {
    hardware.setProcessDevices(player, {});
    hardware.setDefaultOutputDevice(kAudioObjectUnknown);
    const auto tap = makeTap();
    activate(*tap);
    EXPECT_THAT(failure, HasSubstr("Reading data size for property failed"));
    expectNothingLeft();
}

TEST_F(Tap, TellsWhenTheApplicationMovesToAnotherDevice) {
    int moves = 0;
    const auto tap = makeRunningTap();
    tap->setOnAppOutputDeviceChange([&] { ++moves; });
    hardware.setProcessDevices(player, {speakers});
    mainThread.runPosted();
    EXPECT_EQ(moves, 0);
    hardware.setProcessDevices(player, {headset});
    EXPECT_TRUE(tap->automaticRouteWouldChangeDevice());
    mainThread.runPosted();
    EXPECT_EQ(moves, 1);
}

TEST_F(Tap, AnApplicationWithoutADeviceIsComparedByTheDefault) {
    const auto tap = makeRunningTap();
    hardware.setProcessDevices(player, {});
    EXPECT_FALSE(tap->automaticRouteWouldChangeDevice());
    hardware.setDefaultOutputDevice(headset);
    EXPECT_TRUE(tap->automaticRouteWouldChangeDevice());
    hardware.setDefaultOutputDevice(kAudioObjectUnknown);
    EXPECT_TRUE(tap->automaticRouteWouldChangeDevice());
}

TEST_F(Tap, DoesNotFollowAnApplicationWhoseDeviceTheUserChose) {
    int moves = 0;
    const auto tap = makeRunningTap(settingsFor("speakers"));
    tap->setOnAppOutputDeviceChange([&] { ++moves; });
    hardware.setProcessDevices(player, {headset});
    mainThread.runPosted();
    EXPECT_EQ(moves, 0);
    EXPECT_FALSE(tap->automaticRouteWouldChangeDevice());
}

TEST_F(Tap, TellsWhenItsFormatChanges) {
    int changes = 0;
    const auto tap = makeRunningTap();
    tap->setOnStreamFormatChange([&] { ++changes; });
    const auto id = tap->tapID();
    hardware.setProperty(id, kAudioTapPropertyFormat, FakeAudioHardware::floatFormat(2, 96000));
    mainThread.runPosted();
    EXPECT_EQ(changes, 1);
    hardware.setProperty(id, kAudioTapPropertyFormat, FakeAudioHardware::floatFormat(2, 48000));
    tap->invalidate();
    mainThread.runPosted();
    EXPECT_EQ(changes, 1);
}

} // namespace
} // namespace vello
