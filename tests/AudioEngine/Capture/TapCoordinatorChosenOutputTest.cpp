// SPDX-License-Identifier: Apache-2.0
// The user's chosen output is plugged in after the tap has started.
#include "TapCoordinatorFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct ChosenOutput : Coordinator {
    AudioObjectID plugIn() { return hardware.addDevice({.uid = "usb", .name = "USB"}); }
    std::size_t rebuilds() const { return log.messagesStartingWith(kSourceRebuild).size(); }
};

TEST_F(ChosenOutput, IsUsedAsSoonAsItIsThere) {
    settings["a"].outputDeviceUID = "usb";
    startWith({a, b});
    const auto tapOfB = tap("b");
    ASSERT_EQ(tap("a")->resolvedOutputDeviceUID(), "speakers");
    plugIn();
    mainThread.runPosted();
    EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), "usb");
    EXPECT_EQ(tap("b"), tapOfB);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild),
                ElementsAre("Rebuilding tap for a: its chosen output is there"));
    expectPlatformTaps(2);
    mainThread.advance(10s);
    EXPECT_EQ(rebuilds(), 1U);
}

TEST_F(ChosenOutput, OfTheSystemIsUsedForEverySourceThatFollowsIt) {
    settings["eq-by-quorvin.system.master"].outputDeviceUID = "usb";
    startWith({a, b});
    plugIn();
    mainThread.runPosted();
    EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), "usb");
    EXPECT_EQ(tap("b")->resolvedOutputDeviceUID(), "usb");
}

TEST_F(ChosenOutput, ThatIsInUseOrNotThereChangesNothing) {
    settings["a"].outputDeviceUID = "headset";
    settings["b"].outputDeviceUID = "attic";
    startWith({a, b});
    const auto before = coordinator->taps();
    hardware.removeObject(plugIn());
    mainThread.advance(5s);
    EXPECT_EQ(coordinator->taps(), before);
    EXPECT_EQ(rebuilds(), 0U);
}

TEST_F(ChosenOutput, ComesDuringTheActivationAndIsUsed) {
    settings["a"].outputDeviceUID = "usb";
    hardware.setReadsUntilAlive(3);
    start();
    coordinator->updateGroups({a});
    mainThread.advance(60ms);
    ASSERT_FALSE(tap("a")->activatedAt().has_value());
    plugIn();
    mainThread.advance(1s);
    EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), "usb");
    EXPECT_TRUE(tap("a")->activatedAt().has_value());
    expectPlatformTaps(1);
}

TEST_F(ChosenOutput, DoesNotWaitForTheCooldownOfOtherRebuilds) {
    settings["a"].outputDeviceUID = "usb";
    startWith({a});
    changeFormat("a");
    mainThread.advance(300ms);
    ASSERT_EQ(rebuilds(), 1U);
    plugIn();
    mainThread.runPosted();
    EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), "usb");
}

TEST_F(ChosenOutput, ThatComesAndGoesIsUsedOnceASecondAtMost) {
    settings["a"].outputDeviceUID = "usb";
    startWith({a});
    for (int i = 0; i < 30; ++i) { // for 3 s; the tap is rebuilt for another reason while the device is gone
        const auto usb = plugIn();
        mainThread.advance(50ms);
        hardware.removeObject(usb);
        coordinator->destroy("a");
        coordinator->reconcile();
        mainThread.advance(50ms);
    }
    EXPECT_GE(rebuilds(), 1U);
    EXPECT_LE(rebuilds(), 4U);
    plugIn();
    mainThread.advance(1s);
    EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), "usb");
}

TEST_F(ChosenOutput, IsNotLookedForAfterTheEnd) {
    settings["a"].outputDeviceUID = "usb";
    startWith({a});
    coordinator->teardownAll();
    plugIn();
    mainThread.advance(10s);
    EXPECT_EQ(rebuilds(), 0U);
    EXPECT_EQ(hardware.listenerCount(kAudioObjectSystemObject, kAudioHardwarePropertyDevices), 0U);
}

} // namespace
} // namespace vello
