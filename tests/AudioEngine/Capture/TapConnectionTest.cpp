// SPDX-License-Identifier: Apache-2.0
// Taps that the audio system has not connected: what is reported about them, and when.
#include "TapCoordinatorFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kComplaintOfA =
    "Tap for Name of a is not connected: the audio system refuses the connection";

struct Connection : Coordinator {
    using Stage = TapCoordinator::TapStage;

    void setConnected(const std::string& id, bool isConnected) {
        hardware.setProperty(tap(id)->aggregateDeviceID(), kAudioDevicePropertyDeviceIsRunning,
                             std::uint32_t{isConnected ? 1U : 0U});
    }
    Stage stage(const std::string& id) const { return coordinator->tapStates().value().at(id).stage; }
    std::vector<std::string> complaints() const { return log.messages(LogLevel::error); }
};

TEST_F(Connection, OnlyATapThatIsConnectedIsSaidToRun) {
    startWith({a});
    EXPECT_EQ(stage("a"), Stage::running) << "a system that does not tell has connected it";
    setConnected("a", false);
    mainThread.runPosted();
    EXPECT_EQ(stage("a"), Stage::connecting);
    EXPECT_EQ(coordinator->tapStates().value().at("a").outputDeviceUID, "speakers");
    setConnected("a", true);
    mainThread.runPosted();
    EXPECT_EQ(stage("a"), Stage::running);
}

TEST_F(Connection, ANewTapStartsThenConnects) {
    hardware.setOnCall([this](const FakeAudioHardware::Call& call) {
        if (call.call == HardwareCall::createAggregateDevice)
            hardware.setProperty(call.object, kAudioDevicePropertyDeviceIsRunning, std::uint32_t{0});
    });
    start();
    std::vector<Stage> told;
    const auto observation = coordinator->tapStates().observe(
        [&](const TapCoordinator::TapStates& states) { told.push_back(states.at("a").stage); });
    coordinator->updateGroups({a});
    mainThread.runPosted();
    setConnected("a", true);
    mainThread.runPosted();
    EXPECT_THAT(told, ElementsAre(Stage::starting, Stage::connecting, Stage::running));
}

TEST_F(Connection, AChangeThatIsNotAnnouncedShowsWithTheNextCheck) {
    hardware.fail(
        {.call = HardwareCall::addPropertyListener, .selector = kAudioDevicePropertyDeviceIsRunning});
    startWith({a});
    setConnected("a", false);
    mainThread.advance(2s);
    EXPECT_EQ(stage("a"), Stage::connecting);
    setConnected("a", true);
    mainThread.advance(2s);
    EXPECT_EQ(stage("a"), Stage::running);
}

TEST_F(Connection, ATapThatStaysUnconnectedForFiveSecondsIsReportedOnce) {
    startWith({a, b});
    setConnected("a", false);
    mainThread.runPosted();
    mainThread.advance(5s - 1ns);
    EXPECT_THAT(complaints(), IsEmpty());
    mainThread.advance(1ns);
    EXPECT_THAT(complaints(), ElementsAre(kComplaintOfA));
    mainThread.advance(10min);
    setConnected("a", true);
    mainThread.runPosted();
    setConnected("a", false);
    mainThread.advance(10min);
    EXPECT_THAT(complaints(), ElementsAre(kComplaintOfA));
}

TEST_F(Connection, ATapThatIsConnectedInTimeIsNotReported) {
    startWith({a});
    for (int i = 0; i < 5; ++i) {
        setConnected("a", false);
        mainThread.advance(4s);
        setConnected("a", true);
        mainThread.advance(4s);
    }
    EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(Connection, ATapThatIsGoneIsNotReported) {
    startWith({a});
    setConnected("a", false);
    mainThread.advance(4s);
    coordinator->updateGroups({});
    mainThread.advance(10s);
    EXPECT_THAT(complaints(), IsEmpty());
    EXPECT_EQ(mainThread.pendingTaskCount(), kTasksWhenIdle);
}

TEST_F(Connection, ATapThatIsGoneLeavesNoListener) {
    startWith({a});
    const auto device = tap("a")->aggregateDeviceID();
    EXPECT_EQ(hardware.listenerCount(device, kAudioDevicePropertyDeviceIsRunning), 1U);
    coordinator->destroy("a");
    EXPECT_EQ(hardware.listenerCount(device, kAudioDevicePropertyDeviceIsRunning), 0U);
}

TEST_F(Connection, ATapMayBeTakenDownByWhoIsTold) {
    startWith({a});
    const auto observation =
        coordinator->tapStates().observe([&](const auto&) { coordinator->setEnabled(false); });
    setConnected("a", false);
    mainThread.runPosted();
    EXPECT_THAT(coordinator->taps(), IsEmpty());
    expectPlatformTaps(0);
}

} // namespace
} // namespace vello
