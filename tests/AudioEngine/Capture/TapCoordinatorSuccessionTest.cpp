// SPDX-License-Identifier: Apache-2.0
// Which taps continue the sound of the taps that they replace.
#include "TapCoordinatorFixture.h"

#include <bit>

namespace vello {
namespace {

using namespace std::chrono_literals;

struct Succession : Coordinator {
    AudioObjectID predecessorOf(const std::string& id) const {
        return hardware.aggregateDescription(tap(id)->aggregateDeviceID()).predecessor;
    }
    AudioObjectID device(const std::string& id) const { return tap(id)->aggregateDeviceID(); }
};

TEST_F(Succession, TheFirstTapOfAnApplicationReplacesNone) {
    startWith({a});
    EXPECT_EQ(predecessorOf("a"), kAudioObjectUnknown);
}

TEST_F(Succession, AFullRebuildReplacesEachTapByItsOwnSuccessor) {
    startWith({a, b});
    const AudioObjectID first = device("a");
    const AudioObjectID second = device("b");
    hardware.setDefaultOutputDevice(headset);
    mainThread.advance(1s);
    EXPECT_EQ(predecessorOf("a"), first);
    EXPECT_EQ(predecessorOf("b"), second);
}

TEST_F(Succession, ARebuildOfOneSourceReplacesItsTap) {
    startWith({a, b});
    const AudioObjectID first = device("a");
    changeFormat("a");
    mainThread.advance(1s);
    EXPECT_EQ(predecessorOf("a"), first);
    EXPECT_EQ(predecessorOf("b"), kAudioObjectUnknown);
}

TEST_F(Succession, AnotherProcessOrAnotherOutputReplacesTheTap) {
    startWith({a});
    const AudioObjectID first = device("a");
    a.objectIDs.push_back(hardware.addProcess({.pid = 51}));
    coordinator->updateGroups({a});
    mainThread.runPosted();
    const AudioObjectID second = device("a");
    EXPECT_EQ(predecessorOf("a"), first);
    settings["a"].outputDeviceUID = "headset";
    coordinator->settingsDidChange("a");
    mainThread.runPosted();
    EXPECT_EQ(predecessorOf("a"), second);
}

TEST_F(Succession, ATapThatTheWatchdogRejectsIsReplacedByANewStart) {
    startWith({a});
    coordinator->destroy("a");
    coordinator->reconcile();
    mainThread.runPosted();
    EXPECT_EQ(predecessorOf("a"), kAudioObjectUnknown);
}

TEST_F(Succession, AnApplicationThatStoppedLeavesNothingToALaterTap) {
    startWith({a});
    changeFormat("a");
    mainThread.advance(1s);
    coordinator->updateGroups({});
    coordinator->updateGroups({a});
    mainThread.runPosted();
    EXPECT_EQ(predecessorOf("a"), kAudioObjectUnknown);
}

TEST_F(Succession, ATapThatIsReplacedBeforeItsActivationHandsItsPredecessorOn) {
    startWith({a});
    const AudioObjectID first = device("a");
    settings["a"].outputDeviceUID = "headset";
    coordinator->settingsDidChange("a");
    settings["a"].outputDeviceUID = "speakers";
    coordinator->settingsDidChange("a");
    mainThread.runPosted();
    EXPECT_EQ(predecessorOf("a"), first);
}

TEST_F(Succession, ATapContinuesTheFiltersOfTheDeviceThatItTakesOver) {
    settings["a"].volume = 0.25;
    hardware.setContinuesPredecessors(true);
    startWith({a});
    const auto filters = tap("a")->realtimeContext()->rt;
    settings["a"].volume = 0.5;
    settings["a"].outputDeviceUID = "headset";
    coordinator->settingsDidChange("a");
    mainThread.runPosted();
    const TapRealtimeContext& context = *tap("a")->realtimeContext();
    EXPECT_EQ(context.rt, filters);
    EXPECT_EQ(context.rt->currentVolume, 0.25F) << "the volume goes on from where it is";
    EXPECT_EQ(std::bit_cast<float>(context.volumeTargetBits.load()), 0.5F);
}

TEST_F(Succession, ATapOnConnectionsOfItsOwnHasFiltersOfItsOwn) {
    startWith({a});
    const auto filters = tap("a")->realtimeContext()->rt;
    settings["a"].outputDeviceUID = "headset";
    coordinator->settingsDidChange("a");
    mainThread.runPosted();
    EXPECT_NE(tap("a")->realtimeContext()->rt, filters);
}

TEST_F(Succession, AFormatThatIsOnlyPassedOnContinuesNoFilters) {
    hardware.setContinuesPredecessors(true);
    startWith({a});
    const auto filters = tap("a")->realtimeContext()->rt;
    auto integers = FakeAudioHardware::floatFormat(2, 48000);
    integers.mFormatFlags = kAudioFormatFlagIsPacked;
    hardware.setTapFormat(integers);
    changeFormat("a");
    mainThread.advance(1s);
    EXPECT_NE(tap("a")->realtimeContext()->rt, filters);
    EXPECT_FALSE(tap("a")->realtimeContext()->supportsEQ);
    hardware.setTapFormat(FakeAudioHardware::floatFormat(2, 48000));
    changeFormat("a");
    mainThread.advance(10s);
    EXPECT_EQ(predecessorOf("a"), kAudioObjectUnknown);
    EXPECT_TRUE(tap("a")->realtimeContext()->supportsEQ);
}

} // namespace
} // namespace vello
