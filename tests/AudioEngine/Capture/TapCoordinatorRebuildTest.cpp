// SPDX-License-Identifier: Apache-2.0
#include "TapCoordinatorFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Full rebuild

TEST_F(Coordinator, AnotherDefaultDeviceRebuildsEverythingOnceTheBurstIsOver) {
    startWith({a, b});
    const auto before = tap("a");
    hardware.setDefaultOutputDevice(headset);
    mainThread.advance(100ms);
    hardware.setDefaultOutputDevice(speakers);
    mainThread.advance(100ms);
    hardware.setDefaultOutputDevice(headset);
    mainThread.advance(299ms);
    EXPECT_THAT(log.messagesStartingWith(kFullRebuild), IsEmpty());
    EXPECT_EQ(tap("a"), before);
    mainThread.advance(1ms);
    EXPECT_THAT(log.messagesStartingWith(kFullRebuild),
                ElementsAre("Full tap rebuild: default output device changed"));
    EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), "headset");
    EXPECT_EQ(tap("b")->resolvedOutputDeviceUID(), "headset");
    expectPlatformTaps(2);
    mainThread.advance(10s);
    EXPECT_THAT(log.messagesStartingWith(kFullRebuild), SizeIs(1));
}

TEST_F(Coordinator, TheLastReasonOfABurstIsTheOneThatIsLogged) {
    startWith({a});
    hardware.setDefaultOutputDevice(speakers);
    mainThread.advance(100ms);
    hardware.setProperty(speakers, kAudioDevicePropertyNominalSampleRate, 96000.0);
    mainThread.advance(300ms);
    EXPECT_THAT(log.messagesStartingWith(kFullRebuild),
                ElementsAre("Full tap rebuild: output sample rate changed"));
    EXPECT_EQ(tap("a")->sampleRate(), 96000);
}

TEST_F(Coordinator, TheRateIsThatOfTheNewDefaultDevice) {
    startWith({a});
    hardware.setDefaultOutputDevice(headset);
    mainThread.advance(1s);
    EXPECT_EQ(hardware.listenerCount(speakers, kAudioDevicePropertyNominalSampleRate), 0U);
    EXPECT_EQ(hardware.listenerCount(headset, kAudioDevicePropertyNominalSampleRate), 1U);
    log.clear();
    hardware.setProperty(speakers, kAudioDevicePropertyNominalSampleRate, 44100.0);
    mainThread.advance(1s);
    EXPECT_THAT(log.messagesStartingWith(kFullRebuild), IsEmpty());
    hardware.setProperty(headset, kAudioDevicePropertyNominalSampleRate, 44100.0);
    mainThread.advance(1s);
    EXPECT_THAT(log.messagesStartingWith(kFullRebuild), SizeIs(1));
}

TEST_F(Coordinator, WithoutADefaultDeviceNoRateIsWatchedUntilTheNextRebuild) {
    startWith({a});
    hardware.setDefaultOutputDevice(kAudioObjectUnknown);
    mainThread.advance(300ms);
    EXPECT_EQ(hardware.listenerCount(speakers, kAudioDevicePropertyNominalSampleRate), 0U);
    EXPECT_THAT(log.messagesStartingWith(kActivationFailed), SizeIs(1));
    EXPECT_THAT(coordinator->taps(), IsEmpty());
    hardware.setDefaultOutputDevice(speakers);
    mainThread.advance(300ms);
    EXPECT_EQ(hardware.listenerCount(speakers, kAudioDevicePropertyNominalSampleRate), 1U);
    EXPECT_NE(tap("a"), nullptr);
    expectPlatformTaps(1);
}

TEST_F(Coordinator, ARebuildWhileSwitchedOffCreatesNothing) {
    startWith({a});
    coordinator->setEnabled(false);
    hardware.setDefaultOutputDevice(headset);
    mainThread.advance(1s);
    EXPECT_THAT(log.messagesStartingWith(kFullRebuild), SizeIs(1));
    expectPlatformTaps(0);
}

// Rebuild of one source

TEST_F(Coordinator, AnotherFormatRebuildsTheOneTap) {
    startWith({a, b});
    const auto tapOfA = tap("a");
    const auto tapOfB = tap("b");
    changeFormat("a");
    mainThread.advance(299ms);
    EXPECT_EQ(tap("a"), tapOfA);
    mainThread.advance(1ms);
    EXPECT_NE(tap("a"), tapOfA);
    EXPECT_EQ(tap("b"), tapOfB);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild),
                ElementsAre("Rebuilding tap for a: tap format changed"));
    expectPlatformTaps(2);
}

TEST_F(Coordinator, AnApplicationThatMovesRebuildsItsTap) {
    hardware.setProcessDevices(a.objectIDs[0], {speakers});
    startWith({a});
    hardware.setProcessDevices(a.objectIDs[0], {headset});
    mainThread.advance(300ms);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild),
                ElementsAre("Rebuilding tap for a: app moved its output device"));
    EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), "headset");
    expectPlatformTaps(1);
}

TEST_F(Coordinator, ABurstOfFaultsIsOneRebuildWithTheLastReason) {
    hardware.setProcessDevices(a.objectIDs[0], {headset});
    startWith({a});
    hardware.setProcessDevices(a.objectIDs[0], {speakers});
    mainThread.advance(200ms);
    changeFormat("a");
    mainThread.advance(200ms);
    changeFormat("a");
    mainThread.advance(299ms);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), IsEmpty());
    mainThread.advance(10s);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild),
                ElementsAre("Rebuilding tap for a: tap format changed"));
}

TEST_F(Coordinator, AFurtherFaultWaitsForFiveSecondsAfterTheRebuild) {
    startWith({a});
    changeFormat("a");
    mainThread.advance(1s);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), SizeIs(1));
    changeFormat("a");
    mainThread.advance(4299ms);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), SizeIs(1));
    mainThread.advance(1ms);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), SizeIs(2));
    mainThread.advance(5s);
    changeFormat("a");
    mainThread.advance(300ms);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), SizeIs(3)) << "the cooldown was over";
}

TEST_F(Coordinator, AFaultDuringTheCooldownReplacesTheOneThatWaits) {
    hardware.setProcessDevices(a.objectIDs[0], {speakers});
    startWith({a});
    changeFormat("a");
    mainThread.advance(1s);
    changeFormat("a");
    mainThread.advance(1s);
    hardware.setProcessDevices(a.objectIDs[0], {headset});
    mainThread.advance(10s);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild),
                ElementsAre("Rebuilding tap for a: tap format changed",
                            "Rebuilding tap for a: app moved its output device"));
}

TEST_F(Coordinator, EachSourceHasItsOwnCooldown) {
    startWith({a, b});
    changeFormat("a");
    mainThread.advance(1s);
    changeFormat("b");
    mainThread.advance(300ms);
    EXPECT_THAT(
        log.messagesStartingWith(kSourceRebuild),
        ElementsAre("Rebuilding tap for a: tap format changed", "Rebuilding tap for b: tap format changed"));
    changeFormat("a");
    mainThread.advance(3999ms);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), SizeIs(2));
    mainThread.advance(1ms);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), SizeIs(3));
}

TEST_F(Coordinator, TheCooldownOutlastsTheTap) {
    startWith({a});
    changeFormat("a");
    mainThread.advance(300ms);
    coordinator->updateGroups({});
    coordinator->updateGroups({a});
    mainThread.runPosted();
    changeFormat("a");
    mainThread.advance(4999ms);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), SizeIs(1));
    mainThread.advance(1ms);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), SizeIs(2));
}

TEST_F(Coordinator, ARebuildThatWaitsEndsWithItsSource) {
    startWith({a, b});
    changeFormat("a");
    mainThread.runPosted();
    coordinator->updateGroups({b});
    mainThread.advance(10s);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), IsEmpty());
    EXPECT_EQ(mainThread.pendingTaskCount(), kTasksWhenIdle);
}

TEST_F(Coordinator, AFullRebuildReplacesTheRebuildOfASource) {
    startWith({a});
    changeFormat("a");
    mainThread.advance(1s);
    changeFormat("a"); // this one waits for the cooldown
    hardware.setDefaultOutputDevice(headset);
    mainThread.advance(10s);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), SizeIs(1));
    EXPECT_THAT(log.messagesStartingWith(kFullRebuild), SizeIs(1));
    expectPlatformTaps(1);
}

} // namespace
} // namespace vello
