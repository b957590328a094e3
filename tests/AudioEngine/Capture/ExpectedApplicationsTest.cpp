// SPDX-License-Identifier: Apache-2.0
// Taps for applications that have just appeared and do not play yet.
#include "TapCoordinatorFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

struct Expected : Coordinator {
    Expected() { settings["a"].volume = 0.25; }

    void expectApplications() {
        start();
        coordinator->setExpectsApplications(true);
    }
    std::vector<std::string> ready() const {
        std::vector<std::string> ids;
        for (const auto* entry : coordinator->readyTaps().entries())
            ids.push_back(entry->group.id);
        return ids;
    }
    std::uint32_t spareDevice() const {
        std::uint32_t value = 0;
        std::uint32_t size = sizeof value;
        EXPECT_EQ(hardware.getPropertyData(kAudioObjectSystemObject,
                                           {kAudioHardwarePropertySpareDevice,
                                            kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain},
                                           size, &value),
                  kAudioHardwareNoError);
        return value;
    }
    void setSpareDevice(std::uint32_t value) {
        hardware.setProperty(kAudioObjectSystemObject, kAudioHardwarePropertySpareDevice, value);
        mainThread.runPosted();
    }
    auto requests() const {
        return std::ranges::count(hardware.calls(), HardwareCall::setPropertyData,
                                  &FakeAudioHardware::Call::call);
    }
};

TEST_F(Expected, AnApplicationIsCapturedBeforeItPlays) {
    expectApplications();
    coordinator->processAppeared(a);
    EXPECT_THAT(ready(), ElementsAre("a"));
    EXPECT_THAT(coordinator->taps(), IsEmpty());
    expectPlatformTaps(1);
    const auto prepared = coordinator->readyTaps().entries().front()->tap;
    EXPECT_EQ(prepared->label(), "Name of a");
    EXPECT_THAT(std::get<ProcessTap::Processes>(prepared->target()).ids, ElementsAre(a.objectIDs.front()));
    coordinator->updateGroups({a});
    EXPECT_EQ(tap("a"), prepared);
    EXPECT_THAT(ready(), IsEmpty());
    expectPlatformTaps(1);
}

TEST_F(Expected, AnApplicationThatNeverPlaysIsCapturedForTenMinutes) {
    expectApplications();
    coordinator->processAppeared(a);
    mainThread.advance(10min);
    EXPECT_THAT(ready(), IsEmpty());
    expectPlatformTaps(0);
}

TEST_F(Expected, AnApplicationWaitsForTheSpareDevice) {
    hardware.setSpareIsImmediate(false);
    expectApplications();
    EXPECT_EQ(requests(), 1);
    coordinator->processAppeared(a);
    EXPECT_EQ(requests(), 2) << "it is urgent now";
    EXPECT_THAT(ready(), IsEmpty());
    setSpareDevice(1);
    EXPECT_THAT(ready(), ElementsAre("a"));
    setSpareDevice(0);
    setSpareDevice(1);
    expectPlatformTaps(1);
}

TEST_F(Expected, OnlyTheLastApplicationWaits) {
    settings["b"].volume = 0.25;
    hardware.setSpareIsImmediate(false);
    expectApplications();
    coordinator->processAppeared(a);
    coordinator->processAppeared(b);
    setSpareDevice(1);
    EXPECT_THAT(ready(), ElementsAre("b"));
    expectPlatformTaps(1);
}

TEST_F(Expected, AnApplicationThatPlaysMeanwhileHasItsTap) {
    hardware.setSpareIsImmediate(false);
    expectApplications();
    coordinator->processAppeared(a);
    coordinator->updateGroups({a});
    setSpareDevice(1);
    EXPECT_THAT(ready(), IsEmpty());
    expectPlatformTaps(1);
    const AudioObjectID second = hardware.addProcess({.pid = 51});
    coordinator->processAppeared({"a", "Name of a", "a", 51, {second}});
    EXPECT_THAT(ready(), IsEmpty()) << "its tap follows the list";
}

TEST_F(Expected, AProcessThatIsGoneMeanwhileIsNotCaptured) {
    hardware.setSpareIsImmediate(false);
    expectApplications();
    coordinator->processAppeared(a);
    hardware.removeObject(a.objectIDs.front());
    setSpareDevice(1);
    EXPECT_THAT(ready(), IsEmpty());
    expectPlatformTaps(0);
}

TEST_F(Expected, AnApplicationWithNeutralSettingsIsLeftAlone) {
    expectApplications();
    const auto before = requests();
    coordinator->processAppeared(b);
    EXPECT_THAT(ready(), IsEmpty());
    EXPECT_EQ(requests(), before);
    settings[std::string(kSystemSourceID)].volume = 0.5;
    coordinator->processAppeared(b);
    EXPECT_THAT(ready(), ElementsAre("b"));
}

TEST_F(Expected, WithoutTheExpectationNothingIsMadeInAdvance) {
    start();
    EXPECT_EQ(spareDevice(), 0U);
    coordinator->processAppeared(a);
    EXPECT_THAT(ready(), IsEmpty());
    EXPECT_EQ(requests(), 0);
}

TEST_F(Expected, TheSpareDeviceIsThereWhileTheSwitchIsOn) {
    expectApplications();
    EXPECT_EQ(spareDevice(), 1U);
    coordinator->setEnabled(false);
    EXPECT_EQ(spareDevice(), 0U);
    coordinator->processAppeared(a);
    expectPlatformTaps(0);
    coordinator->setEnabled(true);
    EXPECT_EQ(spareDevice(), 1U);
    coordinator->setExpectsApplications(false);
    EXPECT_EQ(spareDevice(), 0U);
}

TEST_F(Expected, NobodyWaitsAfterTheSwitchWasTurnedOff) {
    hardware.setSpareIsImmediate(false);
    expectApplications();
    coordinator->processAppeared(a);
    coordinator->setEnabled(false);
    coordinator->setEnabled(true);
    setSpareDevice(1);
    EXPECT_THAT(ready(), IsEmpty());
}

TEST_F(Expected, ASpareDeviceThatCannotBeSwitchedIsLogged) {
    hardware.fail({.call = HardwareCall::setPropertyData, .status = -3});
    expectApplications();
    EXPECT_THAT(log.messages(LogLevel::error), ElementsAre("Failed to switch the spare device: -3"));
    coordinator->updateGroups({a});
    mainThread.runPosted();
    expectPlatformTaps(1);
}

} // namespace
} // namespace vello
