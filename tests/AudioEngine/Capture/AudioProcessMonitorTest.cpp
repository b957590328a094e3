// SPDX-License-Identifier: Apache-2.0
#include "AudioProcessMonitorFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(ProcessMonitor, ReadsTheListAtOnceWhenItStarts) {
    applications.applications[50] = {"org.example.player", "Player", {}};
    const auto process = play(50);
    monitor->start();
    const AudioProcessGroup expected{"org.example.player", "Player", "org.example.player", 50, {process}};
    EXPECT_THAT(changes, ElementsAre(ElementsAre(expected)));
    EXPECT_THAT(log.messages(LogLevel::notice), ElementsAre("Audio-producing apps: Player"));
}

TEST_F(ProcessMonitor, StartsOnce) {
    monitor->start();
    monitor->start();
    EXPECT_EQ(hardware.listenerCount(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList), 1U);
    EXPECT_EQ(mainThread.pendingTaskCount(), 1U);
}

TEST_F(ProcessMonitor, GroupsAHelperWithTheProcessItWorksFor) {
    applications.applications[50] = {"org.example.browser", "Browser", {}};
    applications.responsible[51] = 50;
    const auto helper = play(51);
    const auto main = play(50);
    monitor->start();
    EXPECT_EQ(onlyGroup(), (AudioProcessGroup{
                               "org.example.browser", "Browser", "org.example.browser", 50, {helper, main}}));
}

TEST_F(ProcessMonitor, NamesAProcessOfWhichNothingIsKnownByItsNumber) {
    applications.responsible[7] = 4242;
    const auto process = play(7);
    monitor->start();
    EXPECT_EQ(onlyGroup(), (AudioProcessGroup{"pid.4242", "Process 4242", std::nullopt, 4242, {process}}));
}

TEST_F(ProcessMonitor, NamesAnApplicationWithoutARecordByTheEndOfItsIdentifier) {
    play(50, "org.example.player");
    monitor->start();
    EXPECT_EQ(onlyGroup().displayName, "player");
    EXPECT_EQ(onlyGroup().id, "org.example.player");
}

TEST_F(ProcessMonitor, TakesTheProcessItselfWhereNobodyIsKnownToBeResponsible) {
    applications.responsible[50] = 0;
    applications.responsible[60] = 1;
    play(50);
    play(60);
    monitor->start();
    EXPECT_THAT(names(), ElementsAre("Process 50", "Process 60"));
}

TEST_F(ProcessMonitor, TheRecordsIdentifierWinsOverTheProcessesOwn) {
    applications.applications[50] = {"org.example.desktop", std::nullopt, {}};
    play(50, "org.example.claimed");
    monitor->start();
    EXPECT_EQ(onlyGroup().bundleID, "org.example.desktop");
    EXPECT_EQ(onlyGroup().displayName, "desktop");
}

TEST_F(ProcessMonitor, ARecordWithoutIdentifierLeavesTheProcessesOwn) {
    applications.applications[50] = {std::nullopt, "Known name", {}};
    play(50, "org.example.claimed");
    play(60);
    applications.applications[60] = {std::nullopt, "Other name", {}};
    monitor->start();
    ASSERT_THAT(monitor->groups(), SizeIs(2));
    EXPECT_EQ(monitor->groups()[0].id, "org.example.claimed");
    EXPECT_EQ(monitor->groups()[0].displayName, "Known name");
    EXPECT_EQ(monitor->groups()[1].id, "pid.60");
    EXPECT_EQ(monitor->groups()[1].displayName, "Other name");
}

TEST_F(ProcessMonitor, NeverTakesTheProgramItselfOrItsHelpers) {
    const auto own = play(applications.own, "com.example.self");
    applications.responsible[77] = applications.own;
    play(77, "com.example.helper");
    monitor->start();
    EXPECT_THAT(monitor->groups(), IsEmpty());
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_EQ(hardware.listenerCount(own, kAudioProcessPropertyIsRunningOutput), 0U);
}

TEST_F(ProcessMonitor, LeavesOutAProcessOfWhichSomethingCannotBeRead) {
    const auto withoutPID = play(50);
    hardware.removeProperty(withoutPID, kAudioProcessPropertyPID);
    const auto withoutState = play(60);
    hardware.removeProperty(withoutState, kAudioProcessPropertyIsRunningOutput);
    const auto withoutBundleID = play(70);
    hardware.removeProperty(withoutBundleID, kAudioProcessPropertyBundleID);
    monitor->start();
    EXPECT_THAT(names(), ElementsAre("Process 70"));
    EXPECT_EQ(hardware.listenerCount(withoutPID, kAudioProcessPropertyIsRunningOutput), 0U);
    EXPECT_EQ(hardware.listenerCount(withoutState, kAudioProcessPropertyIsRunningOutput), 1U);
}

TEST_F(ProcessMonitor, SortsByNameAsTheLanguageHasIt) {
    applications.applications[1010] = {"a", "Player 10", {}};
    applications.applications[1020] = {"b", "player 2", {}};
    applications.applications[1030] = {"c", "Album", {}};
    for (const std::int32_t pid : {1010, 1020, 1030})
        play(pid);
    monitor->start();
    EXPECT_THAT(names(), ElementsAre("Album", "player 2", "Player 10"));
}

TEST_F(ProcessMonitor, EqualNamesKeepTheOrderOfTheList) {
    applications.applications[50] = {"second", "Same", {}};
    applications.applications[60] = {"first", "SAME", {}};
    play(50);
    play(60);
    monitor->start();
    EXPECT_THAT(names(), ElementsAre("Same", "SAME"));
}

TEST_F(ProcessMonitor, SeesAStoppedOutputAQuarterOfASecondLater) {
    const auto first = play(50, "org.example.player");
    const auto second = play(51, "org.example.player");
    monitor->start();
    setRunning(first, false);
    mainThread.advance(249ms);
    EXPECT_THAT(changes, SizeIs(1));
    mainThread.advance(1ms);
    EXPECT_THAT(onlyGroup().objectIDs, ElementsAre(second));
    setRunning(second, false);
    mainThread.advance(250ms);
    EXPECT_THAT(monitor->groups(), IsEmpty());
    EXPECT_THAT(changes, SizeIs(3));
    setRunning(second, true);
    mainThread.advance(250ms);
    EXPECT_THAT(onlyGroup().objectIDs, ElementsAre(second));
}

TEST_F(ProcessMonitor, ABurstOfChangesIsOneReload) {
    const auto first = play(50);
    monitor->start();
    mainThread.advance(100ms);
    setRunning(first, false);
    mainThread.advance(200ms);
    play(60);
    mainThread.advance(200ms);
    setRunning(first, true);
    hardware.clearCalls();
    mainThread.advance(249ms);
    EXPECT_THAT(hardware.calls(), IsEmpty());
    mainThread.advance(1ms);
    EXPECT_THAT(changes, SizeIs(2));
    EXPECT_THAT(names(), ElementsAre("Process 50", "Process 60"));
}

TEST_F(ProcessMonitor, DoesNotWaitWithAnUrgentApplication) {
    monitor->setUrgency([](const std::string& id) { return id == "org.example.urgent"; });
    monitor->start();
    play(50, "org.example.usual");
    mainThread.advance(10ms);
    EXPECT_THAT(names(), IsEmpty());
    play(60, "org.example.urgent");
    mainThread.advance(0ms);
    EXPECT_THAT(names(), ElementsAre("urgent", "usual"));
}

TEST_F(ProcessMonitor, DoesNotWaitWhenAnUrgentApplicationPlaysSoonAfterItAppeared) {
    monitor->setUrgency([](const std::string&) { return true; });
    const auto process = play(50, "org.example.urgent");
    setRunning(process, false);
    monitor->start();
    const auto later = play(60, "org.example.later");
    setRunning(later, false);
    mainThread.advance(10ms);
    EXPECT_THAT(names(), IsEmpty());
    setRunning(later, true);
    mainThread.advance(0ms);
    EXPECT_THAT(names(), ElementsAre("later"));
}

TEST_F(ProcessMonitor, ReportsAProcessWhenItAppears) {
    std::vector<AudioProcessGroup> appeared;
    monitor->setOnProcess([&](AudioProcessGroup group) { appeared.push_back(std::move(group)); });
    play(50, "org.example.known");
    monitor->start();
    const auto process =
        hardware.addProcess({.pid = 60, .bundleID = "org.example.new", .isRunningOutput = false});
    mainThread.advance(0ms);
    EXPECT_THAT(appeared,
                ElementsAre(AudioProcessGroup{"org.example.new", "new", "org.example.new", 60, {process}}));
    mainThread.advance(10s);
    EXPECT_THAT(appeared, SizeIs(1));
    EXPECT_THAT(names(), ElementsAre("known"));
}

TEST_F(ProcessMonitor, ReadsTheListForUrgentApplicationsAtMostEveryQuarterOfASecond) {
    monitor->setUrgency([](const std::string&) { return true; });
    monitor->start();
    play(50);
    mainThread.advance(0ms);
    EXPECT_THAT(names(), SizeIs(1));
    for (std::int32_t pid = 60; pid < 64; ++pid) { // the usual reload is put off again and again
        play(pid);
        mainThread.advance(60ms);
        EXPECT_THAT(names(), SizeIs(1));
    }
    mainThread.advance(10ms);
    EXPECT_THAT(names(), SizeIs(5));
}

TEST_F(ProcessMonitor, AnUrgentApplicationThatIsKnownIsNoReasonToReadTheList) {
    monitor->setUrgency([](const std::string&) { return true; });
    const auto process = play(50);
    monitor->start();
    setRunning(process, false);
    setRunning(process, true);
    mainThread.advance(0ms);
    hardware.clearCalls();
    mainThread.advance(249ms);
    EXPECT_THAT(hardware.calls(), IsEmpty());
}

TEST_F(ProcessMonitor, FindsOnceASecondWhatNobodyAnnounced) {
    hardware.fail({.call = HardwareCall::addPropertyListener});
    monitor->start();
    play(50);
    mainThread.advance(999ms);
    EXPECT_THAT(names(), IsEmpty());
    mainThread.advance(1ms);
    EXPECT_THAT(names(), ElementsAre("Process 50"));
    play(60);
    mainThread.advance(1s);
    EXPECT_THAT(names(), ElementsAre("Process 50", "Process 60"));
}

TEST_F(ProcessMonitor, AListenerThatCannotBeRegisteredIsReportedOnce) {
    play(50);
    hardware.fail(
        {.call = HardwareCall::addPropertyListener, .selector = kAudioProcessPropertyIsRunningOutput});
    monitor->start();
    mainThread.advance(5s);
    EXPECT_THAT(log.messages(LogLevel::error), SizeIs(1));
}

TEST_F(ProcessMonitor, SaysNothingWhileTheGroupsStayTheSame) {
    play(50);
    monitor->start();
    monitor->reload();
    mainThread.advance(10s);
    EXPECT_THAT(changes, SizeIs(1));
    EXPECT_THAT(log.messagesStartingWith("Audio-producing apps: "), SizeIs(1));
}

TEST_F(ProcessMonitor, SaysWhenOnlyTheNameChanged) {
    applications.applications[50] = {"id", "Old", {}};
    play(50);
    monitor->start();
    applications.applications[50].localizedName = "New";
    mainThread.advance(1s);
    EXPECT_THAT(changes, SizeIs(2));
    EXPECT_THAT(log.messages(LogLevel::notice),
                ElementsAre("Audio-producing apps: Old", "Audio-producing apps: New"));
}

TEST_F(ProcessMonitor, NamesAllApplicationsInTheLog) {
    play(50);
    play(60);
    monitor->start();
    EXPECT_THAT(log.messages(LogLevel::notice), ElementsAre("Audio-producing apps: Process 50, Process 60"));
}

TEST_F(ProcessMonitor, KeepsTheGroupsWhileTheListCannotBeRead) {
    play(50);
    monitor->start();
    hardware.fail({.call = HardwareCall::getPropertyData,
                   .status = -3,
                   .selector = kAudioHardwarePropertyProcessObjectList,
                   .times = 1});
    mainThread.advance(1s);
    EXPECT_THAT(names(), ElementsAre("Process 50"));
    EXPECT_THAT(changes, SizeIs(1));
    EXPECT_THAT(log.messages(LogLevel::error),
                ElementsAre("Process list read failed: Reading object list failed (OSStatus -3)"));
}

TEST_F(ProcessMonitor, StopsListeningToProcessesThatAreGone) {
    const auto stays = play(50);
    const auto silent = hardware.addProcess({.pid = 60, .isRunningOutput = false});
    const auto leaves = play(70);
    monitor->start();
    hardware.removeObject(leaves);
    mainThread.advance(1s);
    EXPECT_EQ(hardware.listenerCount(stays, kAudioProcessPropertyIsRunningOutput), 1U);
    EXPECT_EQ(hardware.listenerCount(silent, kAudioProcessPropertyIsRunningOutput), 1U);
    EXPECT_EQ(hardware.listenerCount(leaves, kAudioProcessPropertyIsRunningOutput), 0U);
}

TEST_F(ProcessMonitor, LeavesNoListenerAndNoTaskBehind) {
    const auto process = play(50);
    monitor->start();
    monitor->scheduleReload();
    monitor.reset();
    EXPECT_EQ(hardware.listenerCount(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList), 0U);
    EXPECT_EQ(hardware.listenerCount(process, kAudioProcessPropertyIsRunningOutput), 0U);
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
}

TEST_F(ProcessMonitor, AStrangersNameIsUsableWhateverItIs) {
    struct Case {
        std::string localizedName;
        std::string bundleID;
        std::string expected;
    };
    const std::vector<Case> cases{
        {"", "org.example.player", "player"},
        {" \n\t\x01\x7f", "org.example.player", "player"},
        {"", "org.example.", "example"},
        {"", "...", "Process 50"},
        {"", "", "Process 50"},
        {std::string("\0\0", 2), "\x1b", "Process 50"},
        {"A\nB\x1b[31m", "x", "A\nB\x1b[31m"},
        {std::string(1000000, 'n'), "x", std::string(197, 'n') + "…"},
        {"", "x." + std::string(300, 'n'), std::string(197, 'n') + "…"},
    };
    const auto process = play(50);
    for (const Case& given : cases) {
        applications.applications[50] = {std::nullopt, given.localizedName, {}};
        hardware.setString(process, kAudioProcessPropertyBundleID, given.bundleID);
        monitor->reload();
        EXPECT_EQ(onlyGroup().displayName, given.expected);
    }
}

TEST_F(ProcessMonitor, ALongNameIsCutBetweenCharacters) {
    std::string umlauts = "x";
    while (umlauts.size() < 300)
        umlauts += "ü";
    applications.applications[50] = {std::nullopt, umlauts, {}};
    play(50);
    monitor->start();
    EXPECT_EQ(onlyGroup().displayName, umlauts.substr(0, 197) + "…");
    applications.applications[50].localizedName = "xx" + umlauts;
    monitor->reload();
    EXPECT_EQ(onlyGroup().displayName, "xx" + umlauts.substr(0, 195) + "…");
    applications.applications[50].localizedName = "x" + umlauts;
    monitor->reload();
    EXPECT_EQ(onlyGroup().displayName, "x" + umlauts.substr(0, 195) + "…");
}

TEST_F(ProcessMonitor, NobodyPassesForTheSystemWideEntry) {
    play(50, "eq-by-quorvin.system.master");
    monitor->start();
    EXPECT_EQ(onlyGroup().id, "pid.50");
    EXPECT_EQ(onlyGroup().bundleID, std::nullopt);
}

} // namespace
} // namespace vello
