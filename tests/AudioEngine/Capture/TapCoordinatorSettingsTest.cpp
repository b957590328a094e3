// SPDX-License-Identifier: Apache-2.0
#include "TapCoordinatorFixture.h"

#include <bit>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(Coordinator, ATapStartsWithItsEffectiveSettings) {
    settings["eq-by-quorvin.system.master"].volume = 0.5;
    settings["b"].volume = 0.25;
    startWith({a, b});
    EXPECT_EQ(tap("a")->settings().volume, 0.5);
    EXPECT_EQ(tap("b")->settings().volume, 0.25);
}

TEST_F(Coordinator, VolumeAndGainsChangeInPlace) {
    startWith({a});
    const auto before = tap("a");
    hardware.clearCalls();
    settings["a"].volume = 0.5;
    settings["a"].bandGains[3] = 6;
    coordinator->settingsDidChange("a");
    EXPECT_EQ(tap("a"), before);
    EXPECT_EQ(before->settings(), settings["a"]);
    EXPECT_NE(before->currentSnapshot()->biquadSetup(), nullptr);
    settings["a"].isBypassed = true;
    coordinator->settingsDidChange("a");
    EXPECT_EQ(tap("a"), before);
    EXPECT_EQ(before->currentSnapshot()->biquadSetup(), nullptr);
    EXPECT_THAT(hardware.actions(), IsEmpty());
}

TEST_F(Coordinator, AnotherOutputDeviceRecreatesTheTap) {
    startWith({a});
    for (const std::optional<std::string>& uid :
         {std::optional<std::string>("headset"), std::optional<std::string>("speakers"),
          std::optional<std::string>()}) {
        const auto before = tap("a");
        settings["a"].outputDeviceUID = uid;
        coordinator->settingsDidChange("a");
        EXPECT_TRUE(before->isInvalidated());
        mainThread.runPosted();
        ASSERT_NE(tap("a"), nullptr);
        EXPECT_EQ(tap("a")->outputDeviceUID(), uid);
        EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), uid.value_or("speakers"));
        expectPlatformTaps(1);
    }
}

TEST_F(Coordinator, TheSameOutputDeviceKeepsTheTap) {
    settings["a"].outputDeviceUID = "headset";
    startWith({a});
    const auto before = tap("a");
    settings["a"].volume = 0.5;
    coordinator->settingsDidChange("a");
    EXPECT_EQ(tap("a"), before);
    EXPECT_EQ(before->settings().volume, 0.5);
}

TEST_F(Coordinator, SettingsThatChangeBeforeTheActivationKeepTheTap) {
    settings["a"].outputDeviceUID = "headset";
    start();
    coordinator->updateGroups({a});
    const auto created = tap("a");
    settings["a"].volume = 0.5;
    coordinator->settingsDidChange("a");
    EXPECT_EQ(tap("a"), created);
    mainThread.runPosted();
    EXPECT_EQ(created->realtimeContext()->rt->currentVolume, 0.5F);
}

TEST_F(Coordinator, AnotherOutputDeviceDuringTheActivationRecreatesTheTap) {
    hardware.setReadsUntilAlive(5);
    start();
    coordinator->updateGroups({a});
    mainThread.advance(100ms);
    const auto before = tap("a");
    settings["a"].outputDeviceUID = "headset";
    coordinator->settingsDidChange("a");
    EXPECT_TRUE(before->isInvalidated());
    mainThread.advance(1s);
    EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), "headset");
    EXPECT_THAT(log.messagesStartingWith("Tap running for "), SizeIs(1));
    EXPECT_THAT(log.messagesStartingWith(kActivationFailed), IsEmpty());
    expectPlatformTaps(1);
}

TEST_F(Coordinator, SettingsOfASourceWithoutATapChangeNothing) {
    startWith({a});
    hardware.clearCalls();
    coordinator->settingsDidChange("nobody");
    mainThread.runPosted();
    EXPECT_THAT(hardware.actions(), IsEmpty());
}

TEST_F(Coordinator, TheSystemWideSettingsReachEveryTapVolumeIncluded) {
    settings["b"].volume = 0.25;
    startWith({a, b});
    const auto tapOfA = tap("a");
    const auto tapOfB = tap("b");
    settings["eq-by-quorvin.system.master"].volume = 0.5;
    settings["eq-by-quorvin.system.master"].bandGains[0] = 6;
    coordinator->settingsDidChange("eq-by-quorvin.system.master");
    EXPECT_EQ(tap("a"), tapOfA);
    EXPECT_EQ(tap("b"), tapOfB);
    EXPECT_EQ(tapOfA->settings(), settings["eq-by-quorvin.system.master"]);
    EXPECT_EQ(std::bit_cast<float>(tapOfA->realtimeContext()->volumeTargetBits.load()), 0.5F);
    EXPECT_NE(tapOfA->currentSnapshot()->biquadSetup(), nullptr);
    EXPECT_EQ(tapOfB->settings().volume, 0.25);
    EXPECT_EQ(tapOfB->currentSnapshot()->biquadSetup(), nullptr);
}

TEST_F(Coordinator, ASystemWideOutputDeviceRecreatesTheTapsThatFollowIt) {
    settings["b"].outputDeviceUID = "speakers";
    startWith({a, b});
    const auto tapOfB = tap("b");
    settings["eq-by-quorvin.system.master"].outputDeviceUID = "headset";
    coordinator->settingsDidChange("eq-by-quorvin.system.master");
    mainThread.runPosted();
    EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), "headset");
    EXPECT_EQ(tap("b"), tapOfB);
    expectPlatformTaps(2);
}

TEST_F(Coordinator, AChangeOfSettingsRetriesWhatFailed) {
    hardware.fail({.call = HardwareCall::createProcessTap, .times = 1});
    start();
    coordinator->updateGroups({a});
    mainThread.runPosted();
    ASSERT_EQ(tap("a"), nullptr);
    coordinator->settingsDidChange("eq-by-quorvin.system.master");
    mainThread.runPosted();
    EXPECT_NE(tap("a"), nullptr);
}

} // namespace
} // namespace vello
