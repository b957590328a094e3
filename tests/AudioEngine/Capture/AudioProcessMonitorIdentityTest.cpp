// SPDX-License-Identifier: Apache-2.0
// Processes without a trustworthy process number, whose identifier comes from a portal.
#include "AudioProcessMonitorFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(ProcessMonitor, WithoutAProcessTheIdentifierCounts) {
    // Records for that process number must be ignored.
    applications.applications[0] = {"org.example.stranger", "Stranger", {}};
    applications.responsible[0] = 4242;
    const auto process = play(0, "org.example.player");
    monitor->start();
    EXPECT_EQ(onlyGroup(),
              (AudioProcessGroup{"org.example.player", "player", "org.example.player", 0, {process}}));
}

TEST_F(ProcessMonitor, ANegativeProcessIsNoneEither) {
    applications.responsible[-1] = 4242;
    const auto process = play(-1, "org.example.player");
    monitor->start();
    EXPECT_EQ(onlyGroup().representativePID, 0);
    EXPECT_THAT(onlyGroup().objectIDs, ElementsAre(process));
}

TEST_F(ProcessMonitor, TwoWithoutAProcessAndOfOneIdentifierAreOneGroup) {
    const auto first = play(0, "org.example.player");
    const auto second = play(0, "org.example.player");
    monitor->start();
    EXPECT_THAT(onlyGroup().objectIDs, ElementsAre(first, second));
}

TEST_F(ProcessMonitor, AProcessThatIsKnownStandsForAGroupThatBeganWithoutOne) {
    const auto first = play(0, "org.example.player");
    const auto second = play(50, "org.example.player");
    monitor->start();
    EXPECT_EQ(onlyGroup(),
              (AudioProcessGroup{"org.example.player", "player", "org.example.player", 50, {first, second}}));
}

TEST_F(ProcessMonitor, LeavesOutWhatHasNeitherAProcessNorAnIdentifier) {
    const auto nothing = play(0);
    play(0, "eq-by-quorvin.system.master");
    monitor->start();
    EXPECT_THAT(monitor->groups(), IsEmpty());
    hardware.setString(nothing, kAudioProcessPropertyBundleID, "org.example.player");
    mainThread.advance(1s);
    EXPECT_EQ(onlyGroup().id, "org.example.player");
}

TEST_F(ProcessMonitor, WithoutAProcessTheInstalledApplicationHasTheName) {
    applications.installed["org.example.player"] = {"org.example.player", "Music Player", "icon"};
    play(0, "org.example.player");
    monitor->start();
    EXPECT_EQ(onlyGroup().displayName, "Music Player");
    applications.installed["org.example.player"].localizedName = "\x1b";
    mainThread.advance(1s);
    EXPECT_EQ(onlyGroup().displayName, "player");
    hardware.setString(hardware.addProcess({.pid = 0}), kAudioProcessPropertyBundleID, "...");
    mainThread.advance(1s);
    EXPECT_THAT(names(), ElementsAre("player", "Process ?"));
}

} // namespace
} // namespace vello
