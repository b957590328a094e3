// SPDX-License-Identifier: Apache-2.0
// Taps of applications that have stopped playing.
#include "TapCoordinatorFixture.h"

#include <bit>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

struct Ready : Coordinator {
    Ready() {
        hardware.setContinuesPredecessors(true);
        settings["a"].volume = 0.25;
    }
    void startAndStop() {
        startWith({a});
        coordinator->updateGroups({});
        EXPECT_THAT(coordinator->taps(), IsEmpty());
    }
    void appear(const std::string& id, AudioObjectID process) {
        coordinator->processAppeared({id, "Name of " + id, id, 51, {process}});
    }
    std::shared_ptr<ProcessTap> ready() const {
        const auto entries = coordinator->readyTaps().entries();
        return entries.empty() ? nullptr : entries.front()->tap;
    }
    static float volumeOf(const ProcessTap& tap) {
        return std::bit_cast<float>(tap.realtimeContext()->volumeTargetBits.load());
    }
};

TEST_F(Ready, ATapStaysForTenMinutes) {
    startAndStop();
    ASSERT_NE(ready(), nullptr);
    EXPECT_THAT(coordinator->tapStates().value(), IsEmpty());
    mainThread.advance(10min - 1ms);
    expectPlatformTaps(1);
    mainThread.advance(1ms);
    EXPECT_EQ(ready(), nullptr);
    expectPlatformTaps(0);
}

TEST_F(Ready, TheLastEightTapsStay) {
    settings[std::string(kSystemSourceID)].volume = 0.5;
    start();
    for (int number = 0; number < 10; ++number) {
        coordinator->updateGroups({makeGroup("application " + std::to_string(9 - number), 70 + number)});
        mainThread.advance(10ms);
        coordinator->updateGroups({});
    }
    std::vector<std::string> ids;
    for (const auto* entry : coordinator->readyTaps().entries())
        ids.push_back(entry->group.id);
    EXPECT_THAT(ids, SizeIs(8));
    EXPECT_THAT(ids, Not(Contains("application 9")));
    EXPECT_THAT(ids, Not(Contains("application 8")));
    expectPlatformTaps(8);
}

TEST_F(Ready, ATapThatChangesNothingDoesNotStay) {
    settings["a"] = {};
    startAndStop();
    EXPECT_EQ(ready(), nullptr);
    expectPlatformTaps(0);
}

TEST_F(Ready, ATapThatNeverRanDoesNotStay) {
    start();
    coordinator->updateGroups({a});
    coordinator->updateGroups({});
    EXPECT_EQ(ready(), nullptr);
}

TEST_F(Ready, TheApplicationGetsItsTapBack) {
    startAndStop();
    const auto kept = ready();
    coordinator->updateGroups({a});
    EXPECT_EQ(tap("a"), kept);
    EXPECT_EQ(ready(), nullptr);
    EXPECT_EQ(coordinator->tapStates().value().at("a").stage, TapCoordinator::TapStage::running);
    EXPECT_EQ(mainThread.pendingTaskCount(), kTasksWhenIdle) << "its time goes on";
    expectPlatformTaps(1);
    changeFormat("a");
    mainThread.advance(1s);
    EXPECT_THAT(log.messagesStartingWith(kSourceRebuild), SizeIs(1)) << "nobody listens to it";
}

TEST_F(Ready, TheTimeBeginsAgainWithEachStop) {
    startAndStop();
    mainThread.advance(9min);
    coordinator->updateGroups({a});
    coordinator->updateGroups({});
    mainThread.advance(9min);
    EXPECT_NE(ready(), nullptr);
}

TEST_F(Ready, AnotherProcessOfTheApplicationContinuesTheTap) {
    startAndStop();
    const AudioObjectID device = ready()->aggregateDeviceID();
    const auto filters = ready()->realtimeContext()->rt;
    hardware.removeObject(a.objectIDs.front());
    const AudioObjectID next = hardware.addProcess({.pid = 51});
    appear("a", next);
    EXPECT_THAT(std::get<ProcessTap::Processes>(ready()->target()).ids, ElementsAre(next));
    EXPECT_EQ(hardware.aggregateDescription(ready()->aggregateDeviceID()).predecessor, device);
    EXPECT_EQ(ready()->realtimeContext()->rt, filters);
    expectPlatformTaps(1);
    const auto kept = ready();
    a.objectIDs = {next};
    a.representativePID = 51;
    coordinator->updateGroups({a});
    EXPECT_EQ(tap("a"), kept);
}

TEST_F(Ready, AProcessThatIsStillThereStaysCaptured) {
    startAndStop();
    const AudioObjectID next = hardware.addProcess({.pid = 51});
    appear("a", next);
    EXPECT_THAT(std::get<ProcessTap::Processes>(ready()->target()).ids,
                ElementsAre(a.objectIDs.front(), next));
    const auto kept = ready();
    appear("a", next);
    EXPECT_EQ(ready(), kept) << "it was captured already";
    appear("b", next);
    EXPECT_EQ(ready(), kept);
}

TEST_F(Ready, AnotherSetOfProcessesContinuesTheTap) {
    startAndStop();
    const AudioObjectID device = ready()->aggregateDeviceID();
    a.objectIDs.push_back(hardware.addProcess({.pid = 51}));
    coordinator->updateGroups({a});
    mainThread.runPosted();
    EXPECT_EQ(hardware.aggregateDescription(tap("a")->aggregateDeviceID()).predecessor, device);
    EXPECT_EQ(ready(), nullptr);
    expectPlatformTaps(1);
}

TEST_F(Ready, AnApplicationThatReturnsOnAnotherDeviceContinuesTheTapThere) {
    startAndStop();
    const AudioObjectID device = ready()->aggregateDeviceID();
    hardware.setProcessDevices(a.objectIDs.front(), {headset});
    mainThread.advance(1s);
    EXPECT_EQ(ready()->aggregateDeviceID(), device) << "what it plays to is not known before it plays";
    coordinator->updateGroups({a});
    mainThread.runPosted();
    EXPECT_EQ(tap("a")->resolvedOutputDeviceUID(), "headset");
    EXPECT_EQ(hardware.aggregateDescription(tap("a")->aggregateDeviceID()).predecessor, device);
}

TEST_F(Ready, ANewVolumeIsInForceBeforeTheNextSound) {
    startAndStop();
    const auto kept = ready();
    settings["a"].volume = 0.5;
    coordinator->settingsDidChange("a");
    EXPECT_EQ(ready(), kept);
    EXPECT_EQ(volumeOf(*kept), 0.5F);
    settings["a"] = {};
    settings[std::string(kSystemSourceID)].volume = 0.75;
    coordinator->settingsDidChange(std::string(kSystemSourceID));
    EXPECT_EQ(ready(), kept);
    EXPECT_EQ(volumeOf(*kept), 0.75F);
    settings.clear();
    coordinator->settingsDidChange(std::string(kSystemSourceID));
    EXPECT_EQ(ready(), nullptr) << "there is nothing to be ready for";
    expectPlatformTaps(0);
}

TEST_F(Ready, ATapMovesToTheOutputThatIsChosenMeanwhile) {
    startAndStop();
    const AudioObjectID device = ready()->aggregateDeviceID();
    settings["a"].outputDeviceUID = "headset";
    coordinator->settingsDidChange("a");
    EXPECT_EQ(ready()->resolvedOutputDeviceUID(), "headset");
    EXPECT_EQ(hardware.aggregateDescription(ready()->aggregateDeviceID()).predecessor, device);
    expectPlatformTaps(1);
}

TEST_F(Ready, ATapFollowsTheDefaultOutputAndTheFormat) {
    startAndStop();
    hardware.setDefaultOutputDevice(headset);
    mainThread.advance(1s);
    EXPECT_EQ(ready()->resolvedOutputDeviceUID(), "headset");
    const auto before = ready();
    hardware.setProperty(before->tapID(), kAudioTapPropertyFormat, FakeAudioHardware::floatFormat(2, 44100));
    mainThread.advance(1s);
    EXPECT_NE(ready(), before);
    EXPECT_NE(ready(), nullptr);
    expectPlatformTaps(1);
}

TEST_F(Ready, AFullRebuildBeginsWithTheTapsThatAreHeard) {
    settings["b"].volume = 0.25;
    startWith({a, b});
    coordinator->updateGroups({b});
    hardware.setDefaultOutputDevice(headset);
    mainThread.advance(1s);
    EXPECT_EQ(ready()->resolvedOutputDeviceUID(), "headset");
    EXPECT_LT(tap("b")->tapID(), ready()->tapID());
}

TEST_F(Ready, ATapWhoseProcessesAreGoneIsReplacedWithoutThem) {
    startAndStop();
    hardware.removeObject(a.objectIDs.front());
    hardware.setDefaultOutputDevice(headset);
    mainThread.advance(1s);
    ASSERT_NE(ready(), nullptr);
    EXPECT_THAT(std::get<ProcessTap::Processes>(ready()->target()).ids, IsEmpty());
    EXPECT_THAT(log.messages(LogLevel::error), IsEmpty());
}

TEST_F(Ready, ATapThatCannotBeReplacedIsGivenUp) {
    startAndStop();
    hardware.fail({.call = HardwareCall::createProcessTap});
    appear("a", hardware.addProcess({.pid = 51}));
    EXPECT_EQ(ready(), nullptr);
    expectPlatformTaps(0);
}

TEST_F(Ready, NothingStaysWhenTheSwitchIsTurnedOffOrTheServerIsGone) {
    startAndStop();
    coordinator->setEnabled(false);
    EXPECT_EQ(ready(), nullptr);
    expectPlatformTaps(0);
    coordinator->setEnabled(true);
    coordinator->updateGroups({a});
    mainThread.runPosted();
    coordinator->updateGroups({});
    ASSERT_NE(ready(), nullptr);
    hardware.loseConnection();
    coordinator->reconcile();
    EXPECT_EQ(ready(), nullptr);
}

TEST_F(Ready, NothingStaysAtTheEnd) {
    startAndStop();
    coordinator->teardownAll();
    EXPECT_EQ(ready(), nullptr);
    expectPlatformTaps(0);
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
}

} // namespace
} // namespace vello
