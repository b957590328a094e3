// SPDX-License-Identifier: Apache-2.0
#include "TapCoordinatorFixture.h"

#include "AudioEngine/Realtime/HostTime.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kLineOfA = "Tap for a is silent/stalled; full teardown + rebuild";

/// Checks run 2 s, 4 s ... after the start; the first taps are also activated at the start.
struct Watchdog : Coordinator {
    /// Advances the virtual clock while the callbacks of these sources keep running.
    void advance(MainThread::Duration duration, const std::vector<std::string>& called = {}) {
        for (auto rest = duration; rest > 0s; rest -= std::min<MainThread::Duration>(rest, 1s)) {
            mainThread.advance(std::min<MainThread::Duration>(rest, 1s));
            for (const std::string& id : called)
                call(id);
        }
    }
    void call(const std::string& id) const { context(id).lastCallbackHostTime = hostTime(mainThread.now()); }
    TapRealtimeContext& context(const std::string& id) const { return *tap(id)->realtimeContext(); }
    void fallSilent(const std::string& id) const {
        context(id).hasCarriedSignal = 1;
        context(id).zeroBufferStreak = 200;
    }
    std::vector<std::string> lines() const {
        auto all = log.messagesStartingWith("Tap for ");
        std::erase_if(all, [](const std::string& line) { return !line.ends_with("rebuild"); });
        return all;
    }
    std::size_t rebuilds() const { return lines().size(); }
};

TEST_F(Watchdog, ATapThatIsNeverCalledBackIsRebuiltOnTheThirdCheckAfterItsGracePeriod) {
    startWith({a});
    const auto before = tap("a");
    advance(10s - 1ns); // judged at 6 s and 8 s
    EXPECT_EQ(tap("a"), before);
    EXPECT_THAT(lines(), IsEmpty());
    advance(1ns);
    EXPECT_NE(tap("a"), before);
    EXPECT_TRUE(before->isInvalidated());
    EXPECT_THAT(lines(), ElementsAre(kLineOfA));
    mainThread.runPosted();
    EXPECT_TRUE(tap("a")->activatedAt().has_value());
    expectPlatformTaps(1);
}

TEST_F(Watchdog, ItsLineHasTheDefaultLevelAndACategoryOfItsOwn) {
    startWith({a});
    advance(10s);
    EXPECT_THAT(log.lines(), testing::Contains(RecordingSystemLog::Line{LogLevel::notice, "com.quorvin.Vello",
                                                                        "TapWatchdog", kLineOfA}));
}

TEST_F(Watchdog, ATapInItsFirstFiveSecondsIsNotCounted) {
    startWith({});
    advance(1s);
    coordinator->updateGroups({a});
    mainThread.runPosted(); // activated at 1 s; at 4 s it is 3 s old, at 6 s exactly 5 s
    advance(9s - 1ns);      // judged at 6 s and 8 s
    EXPECT_EQ(rebuilds(), 0U);
    advance(1ns);
    EXPECT_EQ(rebuilds(), 1U);
}

TEST_F(Watchdog, ATapThatIsAMomentTooYoungIsNotJudged) {
    startWith({});
    advance(1s + 1ns);
    coordinator->updateGroups({a});
    mainThread.runPosted(); // at 6 s it is one nanosecond younger than 5 s
    advance(11s - 2ns);     // judged at 8 s and 10 s
    EXPECT_EQ(rebuilds(), 0U);
    advance(1ns);
    EXPECT_EQ(rebuilds(), 1U);
}

TEST_F(Watchdog, ATapThatStillStartsIsNotJudged) {
    hardware.setReadsUntilAlive(FakeAudioHardware::kNeverAlive);
    start();
    coordinator->updateGroups({a});
    mainThread.advance(1s);
    ASSERT_THAT(coordinator->watchdogEntries(), SizeIs(1));
    TapWatchdog watchdog(*coordinator, mainThread, log);
    for (int check = 0; check < 10; ++check)
        watchdog.runChecks();
    EXPECT_EQ(rebuilds(), 0U);
}

TEST_F(Watchdog, ATapWhoseDeviceIsNotConnectedIsNotJudged) {
    startWith({a, b});
    for (const char* id : {"a", "b"})
        hardware.setProperty(tap(id)->aggregateDeviceID(), kAudioDevicePropertyDeviceIsRunning,
                             std::uint32_t{0});
    advance(20s); // from here on the device of b is connected: judged at 22, 24, 26 s
    hardware.setProperty(tap("b")->aggregateDeviceID(), kAudioDevicePropertyDeviceIsRunning,
                         std::uint32_t{1});
    advance(6s - 1ns);
    EXPECT_EQ(rebuilds(), 0U);
    advance(1ns);
    EXPECT_THAT(lines(), ElementsAre("Tap for b is silent/stalled; full teardown + rebuild"));
    const auto tapOfA = tap("a");
    advance(1h, {"b"});
    EXPECT_EQ(tap("a"), tapOfA);
    EXPECT_EQ(rebuilds(), 1U);
    hardware.setProperty(tapOfA->aggregateDeviceID(), kAudioDevicePropertyDeviceIsRunning, std::uint32_t{1});
    advance(6s, {"b"}); // now it is judged: immediately, and 2 s and 4 s later
    EXPECT_THAT(lines(), ElementsAre(testing::_, kLineOfA));
}

TEST_F(Watchdog, ATapThatIsCalledBackIsLeftAlone) {
    startWith({a});
    const auto before = tap("a");
    advance(1min, {"a"});
    EXPECT_EQ(tap("a"), before);
    EXPECT_EQ(rebuilds(), 0U);
}

TEST_F(Watchdog, ACallbackThatIsMoreThanThreeSecondsAgoCountsAsStalled) {
    startWith({a});
    advance(7s, {"a"});
    call("a"); // at 7 s: 3 s old at 10 s, so only the checks from 12 s on fail
    advance(9s - 1ns);
    EXPECT_EQ(rebuilds(), 0U);
    advance(1ns);
    EXPECT_EQ(rebuilds(), 1U);
}

TEST_F(Watchdog, ACallbackThatRunsDuringTheCheckIsNotTakenForAnOldOne) {
    startWith({a});
    for (int i = 0; i < 20; ++i) {
        context("a").lastCallbackHostTime = hostTime(mainThread.now() + 2s + 1us);
        mainThread.advance(2s);
    }
    EXPECT_EQ(rebuilds(), 0U);
}

TEST_F(Watchdog, OneHealthyCheckBeginsTheCountAnew) {
    startWith({a});
    advance(9s); // failed at 6 s and 8 s
    call("a");
    advance(9s - 1ns); // healthy at 10 s and 12 s, failed at 14 s and 16 s
    EXPECT_EQ(rebuilds(), 0U);
    advance(1ns);
    EXPECT_EQ(rebuilds(), 1U);
}

TEST_F(Watchdog, ATapThatFallsSilentWhileItsApplicationPlaysIsRebuiltOnTheThirdCheck) {
    startWith({a});
    advance(7s, {"a"});
    fallSilent("a");
    advance(4s, {"a"}); // silent at 8 s and 10 s
    EXPECT_EQ(rebuilds(), 0U);
    advance(1s, {"a"});
    EXPECT_EQ(rebuilds(), 1U);
}

TEST_F(Watchdog, FewerThanTwoHundredSilentBuffersAreNoSilence) {
    startWith({a});
    fallSilent("a");
    context("a").zeroBufferStreak = 199;
    advance(1min, {"a"});
    EXPECT_EQ(rebuilds(), 0U);
}

TEST_F(Watchdog, ATapThatNeverCarriedAnythingMayBeSilentForEver) {
    startWith({a});
    fallSilent("a");
    context("a").hasCarriedSignal = 0;
    advance(1min, {"a"});
    EXPECT_EQ(rebuilds(), 0U);
}

TEST_F(Watchdog, ASilentTapFailsOnlyWhileItsApplicationPlays) {
    startWith({a});
    advance(8s, {"a"});
    fallSilent("a");
    EXPECT_EQ(TapWatchdog::judge(*tap("a"), true, mainThread.now()), TapWatchdog::Verdict::failed);
    EXPECT_EQ(TapWatchdog::judge(*tap("a"), false, mainThread.now()), TapWatchdog::Verdict::healthy);
}

TEST_F(Watchdog, AnApplicationThatStopsTakesTheCountOfItsFailuresAlong) {
    startWith({a});
    fallSilent("a");
    advance(9s, {"a"}); // silent at 6 s and 8 s
    coordinator->updateGroups({});
    coordinator->updateGroups({a});
    mainThread.runPosted();
    fallSilent("a");
    advance(8s, {"a"}); // the new tap failed at 14 s and 16 s
    EXPECT_EQ(rebuilds(), 0U);
    advance(2s, {"a"});
    EXPECT_EQ(rebuilds(), 1U);
}

TEST_F(Watchdog, EachTapIsJudgedForItself) {
    startWith({a, b});
    const auto tapOfB = tap("b");
    advance(29s, {"b"});
    EXPECT_THAT(lines(), ElementsAre(kLineOfA));
    EXPECT_EQ(tap("b"), tapOfB);
}

TEST_F(Watchdog, ASourceIsNotRebuiltAgainWithinTwentySeconds) {
    startWith({a});
    advance(10s);
    ASSERT_EQ(rebuilds(), 1U);
    advance(20s - 1ns); // the new tap failed at 16, 18 ... 28 s
    EXPECT_EQ(rebuilds(), 1U);
    advance(1ns); // the count kept growing, so three more checks are not needed
    EXPECT_EQ(rebuilds(), 2U);
    advance(20s);
    EXPECT_EQ(rebuilds(), 3U);
}

TEST_F(Watchdog, ACureThatWorkedEndsIt) {
    startWith({a});
    advance(10s);
    mainThread.runPosted();
    advance(1min, {"a"});
    EXPECT_EQ(rebuilds(), 1U);
}

TEST_F(Watchdog, ASourceThatDisappearsLosesItsCountButKeepsItsCooldown) {
    startWith({a});
    advance(10s); // rebuilt at 10 s; no further rebuild before 30 s
    ASSERT_EQ(rebuilds(), 1U);
    advance(7s); // the new tap failed at 16 s
    coordinator->updateGroups({});
    advance(1s);
    coordinator->updateGroups({a});
    mainThread.runPosted(); // activated at 18 s: judged at 24, 26, 28 s
    advance(12s - 1ns);
    EXPECT_EQ(rebuilds(), 1U) << "the cooldown outlasts the tap";
    advance(1ns);
    EXPECT_EQ(rebuilds(), 2U);
}

TEST_F(Watchdog, ASourceThatComesBackNeedsThreeNewFailures) {
    startWith({a});
    advance(9s); // failed at 6 s and 8 s
    coordinator->updateGroups({});
    coordinator->updateGroups({a});
    mainThread.runPosted(); // activated at 9 s: judged at 14, 16, 18 s
    advance(9s - 1ns);
    EXPECT_EQ(rebuilds(), 0U);
    advance(1ns);
    EXPECT_EQ(rebuilds(), 1U);
}

TEST_F(Watchdog, ATapThatARebuildReplacedNeedsThreeNewFailures) {
    startWith({a});
    advance(8s); // failed at 6 s and 8 s
    changeFormat("a");
    mainThread.advance(1s); // rebuilt at 8.3 s: judged at 14, 16, 18 s
    advance(9s - 1ns);
    EXPECT_EQ(rebuilds(), 0U);
    advance(1ns);
    EXPECT_EQ(rebuilds(), 1U);
}

TEST_F(Watchdog, StartingTwiceChecksNoMoreOften) {
    makeCoordinator();
    TapWatchdog watchdog(*coordinator, mainThread, log);
    watchdog.start();
    watchdog.start();
    EXPECT_EQ(mainThread.pendingTaskCount(), 1U);
    watchdog.stop();
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
}

TEST_F(Watchdog, StoppingForgetsCountsAndCooldowns) {
    startWith({a});
    TapWatchdog watchdog(*coordinator, mainThread, log);
    mainThread.advance(5s); // the coordinator's own watchdog has not judged a tap yet
    for (int check = 0; check < 2; ++check)
        watchdog.runChecks();
    watchdog.stop();
    for (int check = 0; check < 2; ++check)
        watchdog.runChecks();
    EXPECT_EQ(rebuilds(), 0U);
    watchdog.runChecks();
    EXPECT_EQ(rebuilds(), 1U);
    watchdog.stop();
    mainThread.advance(5s);
    for (int check = 0; check < 3; ++check)
        watchdog.runChecks();
    EXPECT_EQ(rebuilds(), 2U) << "the cooldown is forgotten too";
}

TEST_F(Watchdog, TheFinalTeardownEndsTheChecks) {
    startWith({a});
    coordinator->teardownAll();
    EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
    advance(1min);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(Watchdog, WithoutTapsACheckDoesNothing) {
    startWith({});
    advance(1min);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(hardware.actions(), IsEmpty());
}

} // namespace
} // namespace vello
