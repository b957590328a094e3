// SPDX-License-Identifier: Apache-2.0
// What users hear when the graph's quantum changes, as it does whenever an application that requests another
// latency comes or goes.
#include "VelloTest.h"

#include <algorithm>
#include <array>
#include <random>

namespace vello::session {
namespace {

class VelloQuantum : public VelloTest {
protected:
    static constexpr int players = 3;
    /// A machine without realtime priority misses shorter cycles by itself, with or without VELLO.
    static constexpr int shortestKept = 512;

    void SetUp() override {
        openSession();
        writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
        for (int i = 0; i < players; ++i)
            play({.name = "player" + std::to_string(i),
                  .applicationID = "org.example.player" + std::to_string(i),
                  .signal = constantSignal(constantCode::emitted(i))});
        startVello();
        ASSERT_TRUE(awaitTappedSound());
    }

    static int tappedPlayers(float sum) {
        int tapped = 0;
        for (int i = 0; i < players; ++i)
            tapped += constantCode::digit(sum, i) == 1 ? 1 : 0;
        return tapped;
    }
    bool awaitTappedSound() {
        const auto isWhole = [](const Recording& last) {
            return tappedPlayers(last.sample(0, 0)) == players &&
                   tappedPlayers(last.sample(last.frames() - 1, 0)) == players;
        };
        return monitor("output-a").recordUntil(isWhole, 4096, 8s);
    }
    /// Number of frames of the longest stretch between `begin` and `end` in which a player was not heard
    /// through its tap.
    static std::size_t longestGap(const Recording& recording, std::size_t begin, std::size_t end) {
        std::size_t longest = 0;
        std::size_t gap = 0;
        for (std::size_t frame = begin; frame < end; ++frame) {
            gap = tappedPlayers(recording.sample(frame, 0)) == players ? 0 : gap + 1;
            longest = std::max(longest, gap);
        }
        return longest;
    }
    static std::size_t longestGap(const Recording& recording) {
        return longestGap(recording, 0, recording.frames());
    }
    /// The longest gap before or after a change of the quantum, each measured separately: short cycles that
    /// the machine misses by itself right before the change do not count.
    static std::size_t longestGapAround(const Recording& recording, int quantum) {
        const auto changed =
            std::ranges::find(recording.cycles(), static_cast<std::size_t>(quantum), &RecordedCycle::frames);
        const std::size_t frame = changed != recording.cycles().end() ? changed->firstFrame : 0;
        return std::max(longestGap(recording, 0, frame), longestGap(recording, frame, recording.frames()));
    }
    std::size_t gapAfterQuantum(int frames) {
        const auto start = monitor("output-a").frames();
        graph().forceQuantum(frames);
        const auto isInForce = [&](const Recording& last) {
            return last.cycles().back().frames == static_cast<std::size_t>(frames);
        };
        EXPECT_TRUE(monitor("output-a").recordUntil(isInForce, 1, 8s)) << frames;
        monitor("output-a").record(static_cast<std::size_t>(frames) * 8);
        return longestGapAround(monitor("output-a").recording(start), frames);
    }
};

TEST_F(VelloQuantum, ChangesWithoutSilencingAnybody) {
    constexpr std::array quanta = {32, 64, 128, 256, 512, 1024, 2048, 4096, 8192};
    std::mt19937 random(9);
    int before = quantum();
    for (int i = 0; i < repetitions(40); ++i) {
        if (i % 40 == 0)
            forgetMonitors(); // recorders hold one minute
        const int now = quanta[random() % quanta.size()];
        const auto allowed = 2 * static_cast<std::size_t>(std::max({before, now, shortestKept}));
        EXPECT_LE(gapAfterQuantum(now), allowed) << "change " << i << ", from " << before << " to " << now;
        before = now;
    }
}

TEST_F(VelloQuantum, FallsForAnApplicationThatAsksForAShortLatency) {
    const auto start = monitor("output-a").frames();
    play({.name = "impatient", .applicationID = "org.example.impatient", .signal = "silence", .latency = 64});
    const auto isShort = [](const Recording& last) { return last.cycles().back().frames <= 64; };
    ASSERT_TRUE(monitor("output-a").recordUntil(isShort, 1, 8s));
    ASSERT_TRUE(awaitTapped("impatient"));
    monitor("output-a").record(48000);
    EXPECT_LE(longestGap(monitor("output-a").recording(start)), 2 * static_cast<std::size_t>(quantum()));
    endPlayer("impatient");
    EXPECT_TRUE(awaitTappedSound());
}

/// Applications that request different latencies: the graph uses the lowest one.
class VelloUnlikeLatencies : public VelloTest {
protected:
    static constexpr int shorter = 256;
    static constexpr int longer = 2048;

    void playWith(const std::string& name, const std::string& applicationID, int latency) {
        play({.name = name, .applicationID = applicationID, .signal = "silence", .latency = latency});
    }
    bool awaitQuantum(int frames, std::chrono::milliseconds timeout = 8s) {
        const auto isInForce = [&](const Recording& last) {
            return last.cycles().back().frames == static_cast<std::size_t>(frames);
        };
        return monitor("output-a").recordUntil(isInForce, 1, timeout);
    }
};

TEST_F(VelloUnlikeLatencies, SilenceNobodyWhoIsMoved) {
    constexpr float played = 1.0F / 16;
    openSession();
    const auto isHeard = [&](const Recording& last) { return last.cyclesOffValue(played, 0) == 0; };
    for (int i = 0; i < repetitions(8); ++i) {
        play({.name = "impatient", .applicationID = "org.example.impatient", .signal = "silence"},
             PlayerKind::pulseAudio);
        play({.name = "patient", .applicationID = "org.example.patient", .signal = constantSignal(played)},
             PlayerKind::commandLine);
        ASSERT_TRUE(monitor("output-a").recordUntil(isHeard, 8192, 8s)) << "before " << i;
        forgetMonitors();
        startVello();
        ASSERT_TRUE(awaitTapped("impatient"));
        ASSERT_TRUE(awaitTapped("patient"));
        EXPECT_TRUE(monitor("output-a").recordUntil(isHeard, 8192, 4s)) << "start " << i;
        forgetMonitors();
        stopVello();
        endPlayers();
    }
}

TEST_F(VelloUnlikeLatencies, RiseAgainWhenAStreamOfTheApplicationHasEnded) {
    openSession();
    playWith("patient", "org.example.two", longer);
    playWith("impatient", "org.example.two", shorter);
    startVello();
    ASSERT_TRUE(awaitTapped("patient"));
    ASSERT_TRUE(awaitTapped("impatient"));
    ASSERT_TRUE(awaitQuantum(shorter));
    endPlayer("impatient");
    EXPECT_TRUE(awaitQuantum(longer));
    playWith("impatient", "org.example.two", shorter);
    EXPECT_TRUE(awaitQuantum(shorter));
    endPlayer("patient");
    ASSERT_TRUE(awaitTapped("impatient"));
    EXPECT_TRUE(awaitQuantum(shorter));
}

TEST_F(VelloUnlikeLatencies, RiseWhileTheStreamWithTheShorterOneIsPaused) {
    openSession();
    ChildProcess& player = play(
        {.name = "player", .applicationID = "org.example.player", .signal = "silence", .latency = shorter});
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    ASSERT_TRUE(awaitQuantum(shorter));
    player.writeLine("pause");
    player.writeLine("open node.latency=" + std::to_string(longer) + "/48000");
    ASSERT_TRUE(awaitTapped("player-2"));
    // A stream that was linked anew counts as playing for some seconds, whatever its state.
    EXPECT_TRUE(awaitQuantum(longer, 20s));
}

} // namespace
} // namespace vello::session
