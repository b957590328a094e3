// SPDX-License-Identifier: Apache-2.0
// How long an application that begins to play is heard without its settings.
#include "VelloTest.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <string_view>

namespace vello::session {
namespace {

/// Milliseconds of the recording that were played directly.
double directMilliseconds(const Recording& recording) {
    std::size_t frames = 0;
    for (std::size_t frame = 0; frame < recording.frames(); ++frame)
        if (wayOf(recording.sample(frame, 1)) == Way::direct)
            ++frames;
    return 1000.0 * static_cast<double>(frames) / recording.sampleRate();
}

void print(const std::vector<double>& sorted) {
    std::cout << "heard directly: median " << sorted[sorted.size() / 2] << " ms, nineteen of twenty at most "
              << sorted[sorted.size() * 19 / 20] << " ms, worst " << sorted.back() << " ms, of "
              << sorted.size() << " sounds\n";
}

class VelloFirstSample : public VelloTest {};

TEST_F(VelloFirstSample, OfANewApplicationIsHeardWithItsSettings) {
    openSession({.quantum = 256});
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    startVello();
    ASSERT_TRUE(awaitSpare());
    std::vector<double> milliseconds;
    for (int number = 0; number < repetitions(7); ++number) {
        const std::string name = "player-" + std::to_string(number);
        monitor("output-a");
        play({.name = name, .applicationID = "org.example." + name});
        ASSERT_TRUE(awaitWay("output-a", Way::tapped));
        milliseconds.push_back(directMilliseconds(monitor("output-a").recording()));
        endPlayer(name);
        forgetMonitors();
    }
    std::ranges::sort(milliseconds);
    print(milliseconds);
    EXPECT_LE(median(milliseconds), 40.0);
}

/// One application whose sounds come and go, at 50 % volume.
class VelloNextSound : public VelloFirstSample {
protected:
    void open() {
        openSession({.quantum = 256});
        writeSettings(session(), {{kPlayerID, {.volume = 0.5}}});
        startVello();
    }
    ChildProcess& playOne() { return play({.name = "player", .applicationID = kPlayerID}); }
    int capturesWithSpare() {
        EXPECT_TRUE(awaitSpare());
        return capturesMade(graph());
    }
    /// A list may name the player again when its process is another one, and a sound of a few milliseconds
    /// may be over before VELLO has read the list. So only the newest one counts.
    [[nodiscard]] bool awaitStopped() {
        constexpr std::string_view list = "Audio-producing apps: ";
        for (;;) {
            const int lists = vello().timesOutput(std::string(list));
            const std::string output = vello().output();
            const auto newest = output.rfind(list);
            if (newest != std::string::npos && output.substr(newest + list.size()).starts_with('\n'))
                return true;
            if (!vello().awaitOutput(std::string(list), lists + 1))
                return false;
        }
    }
    /// How long each of the sounds is heard directly, in ms.
    template <class Begin, class End> std::vector<double> hear(Begin begin, End end) {
        std::vector<double> milliseconds;
        for (int number = 0; number < repetitions(10); ++number) {
            forgetMonitors(); // they have recorded the sound before
            monitor("output-a").record(1);
            begin();
            EXPECT_TRUE(awaitWay("output-a", Way::tapped, 2400)) << "sound " << number;
            milliseconds.push_back(directMilliseconds(monitor("output-a").recording()));
            end();
            EXPECT_TRUE(awaitStopped());
        }
        std::ranges::sort(milliseconds);
        print(milliseconds);
        return milliseconds;
    }

    static constexpr const char* kPlayerID = "org.example.player";
};

TEST_F(VelloNextSound, OfAProcess) {
    open();
    auto& player = playOne();
    ASSERT_TRUE(awaitTapped("player"));
    player.writeLine("pause");
    ASSERT_TRUE(awaitStopped());
    const int made = capturesWithSpare();
    const auto heard = hear([&] { player.writeLine("resume"); }, [&] { player.writeLine("pause"); });
    EXPECT_EQ(median(heard), 0);
    EXPECT_EQ(capturesMade(graph()), made);
}

TEST_F(VelloNextSound, IsAwaitedByATapThatKeepsNothingRunning) {
    open();
    auto& player = playOne();
    ASSERT_TRUE(awaitTapped("player"));
    player.writeLine("pause");
    ASSERT_TRUE(awaitStopped());
    const auto isSuspended = [](const GraphState& state) {
        return state.nodeNamed("output-a")->state == "suspended" &&
               std::ranges::none_of(state.nodes, [](const auto& entry) {
                   return isVellos(entry.second) && entry.second.state == "running";
               });
    };
    EXPECT_TRUE(graph().waitUntil(isSuspended, 15s)); // the session manager suspends after five seconds
    EXPECT_EQ(captures(graph().state()).size(), 1U);
    player.writeLine("resume");
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
}

TEST_F(VelloNextSound, OfANewProcess) {
    open();
    playOne();
    ASSERT_TRUE(awaitTapped("player"));
    endPlayer("player");
    ASSERT_TRUE(awaitStopped());
    const int made = capturesWithSpare();
    const auto heard = hear([&] { playOne(); }, [&] { endPlayer("player"); });
    EXPECT_LE(median(heard), 1000.0 * quantum() / 48000);
    EXPECT_EQ(capturesMade(graph()), made);
}

class VelloNextSoundOfKind : public VelloNextSound, public testing::WithParamInterface<PlayerKind> {};

TEST_P(VelloNextSoundOfKind, IsHeardThroughTheTapThatIsHeldReady) {
    openSession({.quantum = 256});
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    startVello();
    const auto begin = [&] { play({.name = "player", .applicationID = kPlayerID}, GetParam()); };
    begin();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    endPlayer("player");
    ASSERT_TRUE(awaitStopped());
    hear(begin, [&] { endPlayer("player"); });
}

INSTANTIATE_TEST_SUITE_P(, VelloNextSoundOfKind,
                         testing::Values(PlayerKind::native, PlayerKind::pulseAudio, PlayerKind::alsa,
                                         PlayerKind::commandLine),
                         [](const auto& kind) { return name(kind.param); });

} // namespace
} // namespace vello::session
