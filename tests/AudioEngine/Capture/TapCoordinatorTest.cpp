// SPDX-License-Identifier: Apache-2.0
#include "TapCoordinatorFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Start

TEST_F(Coordinator, ClearsAwayWhatAnEarlierRunLeft) {
    const auto stubborn = hardware.addDevice({.uid = "1", .name = "EQ-by-QUORVIN-Tap-Stubborn"});
    const auto unnamed = hardware.addDevice({.uid = "2", .name = "x"});
    hardware.removeProperty(unnamed, kAudioObjectPropertyName);
    const auto orphan = hardware.addDevice({.uid = "3", .name = "EQ-by-QUORVIN-Tap-"});
    hardware.addDevice({.uid = "4", .name = "Not an EQ-by-QUORVIN-Tap-"});
    hardware.fail({.call = HardwareCall::destroyAggregateDevice, .status = -9, .object = stubborn});
    start();
    EXPECT_THAT(hardware.actions(),
                ElementsAre("destroyAggregateDevice " + std::to_string(stubborn) + " failed",
                            "destroyAggregateDevice " + std::to_string(orphan)));
    EXPECT_THAT(log.messages(),
                ElementsAre("Destroying orphaned aggregate from a previous run: EQ-by-QUORVIN-Tap-Stubborn",
                            "Failed to destroy orphaned aggregate EQ-by-QUORVIN-Tap-Stubborn: -9",
                            "Destroying orphaned aggregate from a previous run: EQ-by-QUORVIN-Tap-"));
    EXPECT_EQ(log.lines().at(0).category, "TapCoordinator");
    EXPECT_EQ(log.lines().at(0).subsystem, "com.quorvin.Vello");
}

TEST_F(Coordinator, StartsWithoutAReadableDeviceList) {
    hardware.addDevice({.uid = "1", .name = "EQ-by-QUORVIN-Tap-Left"});
    hardware.fail(
        {.call = HardwareCall::getPropertyData, .selector = kAudioHardwarePropertyDevices, .times = 1});
    start();
    EXPECT_THAT(hardware.actions(), IsEmpty());
    EXPECT_EQ(hardware.listenerCount(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice),
              1U);
}

TEST_F(Coordinator, ListensToTheDefaultOutputAndItsRate) {
    start();
    EXPECT_EQ(hardware.listenerCount(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice),
              1U);
    EXPECT_EQ(hardware.listenerCount(speakers, kAudioDevicePropertyNominalSampleRate), 1U);
    EXPECT_EQ(hardware.listenerCount(headset, kAudioDevicePropertyNominalSampleRate), 0U);
}

// The kernel

TEST_F(Coordinator, SaysOnceThatAKernelIsWrongAndFiltersWithTheNext) {
    const auto silent = [](const BlockJob&) { return std::uint32_t{0}; };
    const auto next = [](const BlockJob& job) { return referenceBlockKernel(job); };
    const BlockKernelVariant candidates[] = {
        {"FAST", silent}, {"SLOW", next}, {"reference", &referenceBlockKernel}};
    kernel = chooseBlockKernel(candidates);
    startWith({a, b});
    EXPECT_THAT(log.messages(LogLevel::error),
                ElementsAre("Filters for FAST give wrong results on this processor; using SLOW"));
    EXPECT_EQ(tap("a")->realtimeContext()->rt->kernel, BlockKernel{next});
    EXPECT_EQ(tap("b")->realtimeContext()->rt->kernel, BlockKernel{next});
}

TEST_F(Coordinator, SaysNothingOfAKernelThatIsRight) {
    startWith({a});
    EXPECT_THAT(log.messages(LogLevel::error), IsEmpty());
    EXPECT_EQ(tap("a")->realtimeContext()->rt->kernel, blockKernels().front().kernel);
}

// Groups and the master switch

TEST_F(Coordinator, OneTapPerGroup) {
    startWith({a, b});
    ASSERT_THAT(coordinator->taps(), SizeIs(2));
    EXPECT_EQ(tap("a")->target(), ProcessTap::Target(ProcessTap::Processes{a.objectIDs}));
    EXPECT_EQ(tap("a")->label(), "Name of a");
    EXPECT_EQ(hardware.aggregateDescription(tap("b")->aggregateDeviceID()).name,
              "EQ-by-QUORVIN-Tap-Name of b");
    expectPlatformTaps(2);
}

TEST_F(Coordinator, ActivatesAfterTheCallThatCreates) {
    start();
    coordinator->updateGroups({a});
    EXPECT_THAT(coordinator->taps(), SizeIs(1));
    EXPECT_THAT(hardware.actions(), IsEmpty());
    mainThread.runPosted();
    EXPECT_THAT(hardware.actions(), SizeIs(4));
}

TEST_F(Coordinator, PublishesHowFarEachTapHasCome) {
    using States = TapCoordinator::TapStates;
    start();
    std::vector<States> told;
    const auto observation =
        coordinator->tapStates().observe([&](const States& states) { told.push_back(states); });
    const auto starting = TapCoordinator::TapState{};
    const auto running =
        TapCoordinator::TapState{.stage = TapCoordinator::TapStage::running, .outputDeviceUID = "speakers"};
    coordinator->updateGroups({a});
    mainThread.runPosted();
    coordinator->updateGroups({});
    EXPECT_THAT(told, ElementsAre(States{{"a", starting}}, States{{"a", running}}, States{}));
    told.clear();
    hardware.fail({.call = HardwareCall::createProcessTap});
    coordinator->updateGroups({a});
    mainThread.runPosted();
    EXPECT_THAT(told, ElementsAre(States{{"a", starting}}, States{}));
}

TEST_F(Coordinator, AnEmptyListDestroysEveryTap) {
    startWith({a, b});
    coordinator->updateGroups({});
    EXPECT_THAT(coordinator->taps(), IsEmpty());
    expectPlatformTaps(0);
}

TEST_F(Coordinator, TheMasterSwitchTakesAllTapsDownAndBringsThemBack) {
    startWith({a, b});
    coordinator->setEnabled(false);
    EXPECT_THAT(coordinator->taps(), IsEmpty());
    expectPlatformTaps(0);
    coordinator->updateGroups({a});
    coordinator->reconcile();
    mainThread.advance(1s);
    expectPlatformTaps(0);
    coordinator->setEnabled(true);
    mainThread.runPosted();
    EXPECT_NE(tap("a"), nullptr);
    expectPlatformTaps(1);
}

TEST_F(Coordinator, IsDisabledAtFirst) {
    makeCoordinator();
    EXPECT_FALSE(coordinator->isEnabled());
    coordinator->updateGroups({a});
    EXPECT_THAT(coordinator->taps(), IsEmpty());
}

TEST_F(Coordinator, TheSameSwitchPositionDoesNothing) {
    startWith({a});
    hardware.fail({.call = HardwareCall::createProcessTap, .times = 1});
    coordinator->updateGroups({a, b});
    mainThread.runPosted();
    ASSERT_EQ(tap("b"), nullptr);
    coordinator->setEnabled(true);
    EXPECT_EQ(tap("b"), nullptr) << "it reconciled";
}

TEST_F(Coordinator, AnUnchangedGroupKeepsItsTap) {
    startWith({a, b});
    const auto tapOfA = tap("a");
    coordinator->updateGroups({b, a});
    EXPECT_EQ(tap("a"), tapOfA);
    coordinator->updateGroups({a});
    EXPECT_EQ(tap("a"), tapOfA);
    EXPECT_FALSE(tapOfA->isInvalidated());
}

TEST_F(Coordinator, AnyChangeOfAGroupRebuildsItsTap) {
    startWith({a});
    std::vector<AudioProcessGroup> changes(4, a);
    changes[0].objectIDs.push_back(b.objectIDs[0]);
    changes[1].displayName = "Renamed";
    changes[2].bundleID.reset();
    changes[3].representativePID = 51;
    for (const AudioProcessGroup& changed : changes) {
        const auto before = tap("a");
        coordinator->updateGroups({changed});
        mainThread.runPosted();
        EXPECT_NE(tap("a"), before);
        EXPECT_TRUE(before->isInvalidated());
        EXPECT_EQ(tap("a")->target(), ProcessTap::Target(ProcessTap::Processes{changed.objectIDs}));
        expectPlatformTaps(1);
    }
}

TEST_F(Coordinator, AChangeOfFocusOnlyReconciles) {
    hardware.fail({.call = HardwareCall::createProcessTap, .times = 1});
    start();
    coordinator->updateGroups({a});
    mainThread.runPosted();
    ASSERT_EQ(tap("a"), nullptr);
    coordinator->setFocusedSource(std::nullopt);
    EXPECT_EQ(tap("a"), nullptr) << "no change, no reconcile";
    coordinator->setFocusedSource("a");
    const auto retried = tap("a");
    EXPECT_NE(retried, nullptr);
    coordinator->setFocusedSource("a");
    coordinator->setFocusedSource(std::nullopt);
    EXPECT_EQ(tap("a"), retried);
}

TEST_F(Coordinator, TheWatchdogSeesEveryTapAndWhetherItsApplicationIsListed) {
    startWith({a, b});
    const auto entries = coordinator->watchdogEntries();
    ASSERT_THAT(entries, SizeIs(2));
    EXPECT_EQ(entries[0].sourceID, "a");
    EXPECT_EQ(entries[0].tap, tap("a"));
    EXPECT_TRUE(entries[0].sourceIsAudible);
    EXPECT_EQ(entries[1].sourceID, "b");
}

TEST_F(Coordinator, DestroyAndReconcileRebuildATap) {
    startWith({a, b});
    const auto before = tap("a");
    coordinator->destroy("a");
    EXPECT_EQ(tap("a"), nullptr);
    EXPECT_TRUE(before->isInvalidated());
    coordinator->destroy("nobody");
    coordinator->reconcile();
    mainThread.runPosted();
    EXPECT_NE(tap("a"), nullptr);
    expectPlatformTaps(2);
}

TEST_F(Coordinator, ASourceDestroyedBeforeItsActivationNeverTouchesThePlatform) {
    start();
    coordinator->updateGroups({a});
    coordinator->updateGroups({});
    EXPECT_EQ(mainThread.pendingTaskCount(), kTasksWhenIdle);
    mainThread.advance(5s);
    queue.drain();
    EXPECT_THAT(hardware.actions(), IsEmpty());
}

// Activation failures

TEST_F(Coordinator, AFailedActivationIsLoggedAndRetriedByTheNextReconcile) {
    hardware.fail({.call = HardwareCall::startDevice, .status = -4, .times = 1});
    start();
    coordinator->updateGroups({a, b});
    mainThread.runPosted();
    EXPECT_THAT(log.messages(LogLevel::error),
                ElementsAre("Tap activation failed for Name of a: AudioDeviceStart failed (OSStatus -4)"));
    EXPECT_EQ(tap("a"), nullptr);
    EXPECT_NE(tap("b"), nullptr);
    expectPlatformTaps(1);
    coordinator->updateGroups({a, b});
    mainThread.runPosted();
    EXPECT_NE(tap("a"), nullptr);
    expectPlatformTaps(2);
}

TEST_F(Coordinator, ATapThatNeverComesAliveIsGivenUp) {
    hardware.setReadsUntilAlive(FakeAudioHardware::kNeverAlive);
    start();
    coordinator->updateGroups({a});
    mainThread.advance(2s);
    EXPECT_THAT(log.messages(LogLevel::error),
                ElementsAre("Tap activation failed for Name of a: Aggregate device for "
                            "Name of a never became alive"));
    EXPECT_THAT(coordinator->taps(), IsEmpty());
    expectPlatformTaps(0);
}

TEST_F(Coordinator, AnOldActivationLeavesTheNewerTapAlone) {
    hardware.setReadsUntilAlive(FakeAudioHardware::kNeverAlive);
    start();
    coordinator->updateGroups({a});
    mainThread.advance(1s);
    const auto old = tap("a"); // a second owner
    hardware.setReadsUntilAlive(0);
    coordinator->destroy("a");
    coordinator->reconcile();
    mainThread.runPosted();
    const auto newer = tap("a");
    ASSERT_NE(newer, nullptr);
    ASSERT_NE(newer, old);
    mainThread.advance(5s);
    EXPECT_EQ(tap("a"), newer);
    EXPECT_FALSE(newer->isInvalidated());
    EXPECT_THAT(log.messagesStartingWith(kActivationFailed), IsEmpty());
    expectPlatformTaps(1);
}

// End

TEST_F(Coordinator, TeardownAllLeavesNothingAndNothingComesBack) {
    startWith({a, b});
    changeFormat("a");
    hardware.setDefaultOutputDevice(headset);
    mainThread.runPosted();
    coordinator->teardownAll();
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
    EXPECT_THAT(hardware.liveTaps(), IsEmpty());
    EXPECT_THAT(hardware.liveAggregates(), IsEmpty());
    EXPECT_EQ(hardware.liveIOProcCount(), 0U);
    hardware.setDefaultOutputDevice(speakers);
    coordinator->updateGroups({a});
    mainThread.advance(10s);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), IsEmpty());
    expectPlatformTaps(0);
}

TEST_F(Coordinator, ADroppedCoordinatorLeavesNothing) {
    hardware.setReadsUntilAlive(3);
    start();
    coordinator->updateGroups({a, b});
    mainThread.advance(60ms);
    hardware.setDefaultOutputDevice(headset);
    mainThread.runPosted();
    const auto kept = tap("a");
    coordinator.reset();
    mainThread.advance(10s);
    EXPECT_TRUE(kept->isInvalidated());
    expectPlatformTaps(0);
    EXPECT_EQ(hardware.listenerCount(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice),
              0U);
    EXPECT_EQ(hardware.listenerCount(speakers, kAudioDevicePropertyNominalSampleRate), 0U);
}

} // namespace
} // namespace vello
