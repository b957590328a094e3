// SPDX-License-Identifier: Apache-2.0
#include "AudioProcessMonitorFixture.h"

#include <algorithm>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct DownmixingMonitor : ProcessMonitor {
    bool isDownmixed(AudioObjectID process) {
        std::uint32_t value = 2;
        std::uint32_t size = sizeof value;
        EXPECT_EQ(hardware.getPropertyData(process,
                                           {kAudioProcessPropertyDownmix, kAudioObjectPropertyScopeGlobal,
                                            kAudioObjectPropertyElementMain},
                                           size, &value),
                  kAudioHardwareNoError);
        return value == 1;
    }
    std::size_t switches() {
        return static_cast<std::size_t>(std::ranges::count(hardware.calls(), HardwareCall::setPropertyData,
                                                           &FakeAudioHardware::Call::call));
    }
    std::size_t readsOfBundleIDs() {
        return static_cast<std::size_t>(std::ranges::count(hardware.calls(), kAudioProcessPropertyBundleID,
                                                           &FakeAudioHardware::Call::selector));
    }
};

TEST_F(DownmixingMonitor, SwitchesTheProcessesOfASourceAndNoOthers) {
    const auto film = play(50, "org.example.film");
    const auto helper = play(51, "org.example.film");
    const auto other = play(60, "org.example.other");
    monitor->start();
    monitor->setDownmixedSources({"org.example.film"});
    EXPECT_TRUE(isDownmixed(film));
    EXPECT_TRUE(isDownmixed(helper));
    EXPECT_FALSE(isDownmixed(other));
}

TEST_F(DownmixingMonitor, FindsASourceThatProducesNoOutputUntilThen) {
    applications.applications[50] = {"org.example.film", "Film", {}};
    const auto film = hardware.addProcess({.pid = 50, .isRunningOutput = false});
    hardware.setOnCall([&](const FakeAudioHardware::Call& call) {
        if (call.call == HardwareCall::setPropertyData)
            setRunning(film, true); // from now on its streams count
    });
    monitor->start();
    EXPECT_THAT(monitor->groups(), IsEmpty());
    monitor->setDownmixedSources({"org.example.film"});
    EXPECT_EQ(onlyGroup().displayName, "Film");
}

TEST_F(DownmixingMonitor, IsInForceFromTheStartAndForProcessesThatComeLater) {
    const auto first = play(50, "org.example.film");
    monitor->setDownmixedSources({"org.example.film"});
    EXPECT_EQ(switches(), 0U) << "nothing is read before the start";
    monitor->start();
    EXPECT_TRUE(isDownmixed(first));
    const auto second =
        hardware.addProcess({.pid = 51, .bundleID = "org.example.film", .isRunningOutput = false});
    mainThread.advance(250ms);
    EXPECT_TRUE(isDownmixed(second));
}

TEST_F(DownmixingMonitor, IsNotSetAgainWhileItHolds) {
    play(50, "org.example.film");
    monitor->start();
    monitor->setDownmixedSources({"org.example.film"});
    monitor->setDownmixedSources({"org.example.film"});
    mainThread.advance(10s);
    EXPECT_EQ(switches(), 1U);
}

TEST_F(DownmixingMonitor, IsTakenBackWhenItIsSwitchedOff) {
    const auto film = play(50, "org.example.film");
    const auto silent =
        hardware.addProcess({.pid = 51, .bundleID = "org.example.film", .isRunningOutput = false});
    monitor->start();
    monitor->setDownmixedSources({"org.example.film"});
    monitor->setDownmixedSources({});
    EXPECT_FALSE(isDownmixed(film));
    EXPECT_FALSE(isDownmixed(silent));
    mainThread.advance(10s);
    EXPECT_EQ(switches(), 4U);
}

TEST_F(DownmixingMonitor, AddsNothingToThePollWhileNobodyWantsIt) {
    hardware.addProcess({.pid = 50, .bundleID = "org.example.silent", .isRunningOutput = false});
    monitor->start();
    mainThread.advance(10s);
    EXPECT_EQ(readsOfBundleIDs(), 0U);
    monitor->setDownmixedSources({"org.example.other"});
    EXPECT_GT(readsOfBundleIDs(), 0U);
    monitor->setDownmixedSources({});
    hardware.clearCalls();
    mainThread.advance(10s);
    EXPECT_EQ(readsOfBundleIDs(), 0U);
}

TEST_F(DownmixingMonitor, ARefusalIsLoggedOnceAndTheSourceIsListedAllTheSame) {
    hardware.fail({.call = HardwareCall::setPropertyData, .status = -3});
    play(50, "org.example.film");
    monitor->start();
    monitor->setDownmixedSources({"org.example.film"});
    mainThread.advance(10s);
    EXPECT_THAT(log.messages(LogLevel::error), ElementsAre("Failed to switch the downmix of a process: -3"));
    EXPECT_EQ(onlyGroup().id, "org.example.film");
}

TEST_F(DownmixingMonitor, AProcessThatCameBackIsSwitchedAnew) {
    const auto film = play(50, "org.example.film");
    monitor->start();
    monitor->setDownmixedSources({"org.example.film"});
    hardware.removeObject(film);
    mainThread.advance(1s);
    const auto again = play(50, "org.example.film");
    mainThread.advance(1s);
    EXPECT_TRUE(isDownmixed(again));
    EXPECT_EQ(switches(), 2U);
}

} // namespace
} // namespace vello
