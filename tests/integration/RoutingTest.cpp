// SPDX-License-Identifier: Apache-2.0
// On which output an application is heard: the one chosen for it, the one it uses itself, the one its user
// moves it to.
#include "VelloTest.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <future>
#include <sstream>

namespace vello::session {
namespace {

class VelloRouting : public VelloTest {
protected:
    VelloRouting() { openSession(); }

    /// What the session manager has saved about streams.
    std::string savedStreams() const {
        std::ostringstream text;
        const auto folder = session().stateHome() / "wireplumber";
        for (const auto* name : {"restore-stream", "stream-properties"})
            if (std::ifstream file(folder / name); file) // the empty buffer of a missing one would end `text`
                text << file.rdbuf();
        return text.str();
    }
    /// Waits until the saved choice names that output; the session manager writes about a second late.
    bool awaitSaved(const std::string& output) {
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        while (savedStreams().find(output) == std::string::npos)
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            else
                monitor("output-a").record(2048);
        return true;
    }
    /// Moves a player to output-b, ends it and starts another: true when the server gave the second one's
    /// stream the number of the first one's. Which of the free numbers it gives depends on who left last.
    bool replaceMovedPlayer(const std::string& first, const std::string& second) {
        play({.name = first, .applicationID = "org.example." + first});
        if (!awaitTapped(first))
            return false;
        const auto number = graph().state().nodeNamed(first)->id;
        graph().moveStream(number, "output-b");
        if (!awaitWay("output-b", Way::tapped))
            return false;
        endPlayer(first);
        play({.name = second, .applicationID = "org.example." + second});
        return awaitTapped(second) && graph().state().nodeNamed(second)->id == number;
    }
    /// What a PulseAudio mixer does when the user moves the only stream; true when the graph has heard of it.
    ///
    /// This mixer hangs up as soon as it has its answer. Then the servers may find the hang-up and the
    /// request together, and drop the request unread: with no VELLO near, 16 of 385 moves came to nothing. A
    /// user would move the stream again.
    bool moveInPulseAudioMixer(const std::string& player, const std::string& output) {
        const auto list = session().run({"pactl", "list", "short", "sink-inputs"});
        const auto before = graph().state();
        const auto stream = before.nodeNamed(player)->id;
        const auto target = std::to_string(before.nodeNamed(output)->id);
        const auto isHeardOf = [&](const GraphState& state) {
            return state.metadataValue(stream, "target.node") == target;
        };
        for (int attempt = 0; attempt < 5; ++attempt) {
            session().run({"pactl", "move-sink-input", list.substr(0, list.find('\t')), output});
            if (graph().waitUntil(isHeardOf, 1s))
                return true;
        }
        return false;
    }
};

TEST_F(VelloRouting, playsEachApplicationOnTheOutputChosenForIt) {
    writeSettings(session(), {{"org.example.one", {.volume = 0.5, .output = "output-b"}},
                              {"org.example.two", {.volume = 0.5, .output = "output-a"}}});
    play({.name = "one", .applicationID = "org.example.one"});
    play({.name = "two", .applicationID = "org.example.two", .signal = "counter", .output = "output-b"},
         PlayerKind::pulseAudio);
    startVello();
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
}

TEST_F(VelloRouting, usesAChosenOutputThatIsPluggedInLater) {
    writeSettings(session(), {{"org.example.player", {.volume = 0.5, .output = "output-c"}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    // Only VELLO plays to it: the application's stream is captured.
    const auto isUsed = [](const GraphState& state) {
        const auto output = state.nodeNamed("output-c");
        return output && isTapped(state, "player") &&
               std::ranges::any_of(state.links, [&](const auto& entry) {
                   const auto from = state.nodes.find(entry.second.outputNode);
                   return entry.second.inputNode == output->id && from != state.nodes.end() &&
                          isVellos(from->second);
               });
    };
    graph().createOutput("output-c", "Output C");
    EXPECT_TRUE(graph().waitUntil(isUsed, 1s));
    EXPECT_TRUE(awaitWay("output-c", Way::tapped));
}

TEST_F(VelloRouting, staysOnTheOutputThatTheApplicationUses) {
    writeSettings(session(), {{systemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player", .output = "output-b"});
    startVello();
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
}

TEST_F(VelloRouting, followsAStreamThatTheUserMovesInANativeMixer) {
    writeSettings(session(), {{systemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    graph().moveStream(graph().state().nodeNamed("player")->id, "output-b");
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
    EXPECT_TRUE(awaitWay("output-a", Way::silent));
}

TEST_F(VelloRouting, followsAStreamThatTheUserMovesInAPulseAudioMixer) {
    writeSettings(session(), {{systemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player", .signal = "counter"},
         PlayerKind::pulseAudio);
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    ASSERT_TRUE(moveInPulseAudioMixer("player", "output-b"));
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
    EXPECT_TRUE(awaitWay("output-a", Way::silent));
}

TEST_F(VelloRouting, followsAMoveWhoseMetadataTheServerKeepsToItself) {
    writeSettings(session(), {{systemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    const auto stream = graph().state().nodeNamed("player")->id;
    // A change that reaches the server while it waits for the session manager's answer to a newcomer is told
    // to the newcomer alone.
    session().sessionManager().signal(SIGSTOP);
    graph().moveStream(stream, "output-b");
    const auto clients = graph().state().clients.size();
    auto newcomer = std::async(std::launch::async, [&] { return AudioGraph(session().socket()).state(); });
    ASSERT_TRUE(
        graph().waitUntil([clients](const GraphState& state) { return state.clients.size() > clients; }));
    monitor("output-a").record(4096);
    session().sessionManager().signal(SIGCONT);
    EXPECT_TRUE(newcomer.get().isConnected);
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
    EXPECT_TRUE(awaitWay("output-a", Way::silent));
}

TEST_F(VelloRouting, givesAStreamBackToWhereTheUserMovedIt) {
    writeSettings(session(), {{systemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    graph().moveStream(graph().state().nodeNamed("player")->id, "output-b");
    ASSERT_TRUE(awaitWay("output-b", Way::tapped));
    stopVello();
    EXPECT_TRUE(awaitWay("output-b", Way::direct));
}

TEST_F(VelloRouting, leavesAStreamWhereTheUserMovedItWhenItIsKilled) {
    writeSettings(session(), {{systemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    graph().moveStream(graph().state().nodeNamed("player")->id, "output-b");
    ASSERT_TRUE(awaitWay("output-b", Way::tapped));
    vello().signal(SIGKILL);
    EXPECT_TRUE(awaitWay("output-b", Way::direct));
    EXPECT_TRUE(awaitWay("output-a", Way::silent));
    EXPECT_TRUE(awaitSaved("output-b")) << savedStreams();
}

TEST_F(VelloRouting, takesNoTargetOverFromAStreamThatHadTheSameNumber) {
    writeSettings(session(), {{systemSource, {.volume = 0.5}}});
    startVello();
    int attempt = 1;
    while (!replaceMovedPlayer("first-" + std::to_string(attempt), "second-" + std::to_string(attempt))) {
        ASSERT_LT(attempt, 10) << "the server does not give the number anew";
        endPlayer("second-" + std::to_string(attempt++));
    }
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
    EXPECT_TRUE(awaitWay("output-b", Way::silent));
}

TEST_F(VelloRouting, keepsTheUsersSavedOutputChoice) {
    writeSettings(session(), {{systemSource, {.volume = 0.5}}});
    const PlayerOptions options = {.name = "player", .applicationID = "org.example.player"};
    play(options);
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    graph().moveStream(graph().state().nodeNamed("player")->id, "output-b");
    ASSERT_TRUE(awaitWay("output-b", Way::direct));
    ASSERT_TRUE(awaitSaved("output-b")) << savedStreams();

    startVello();
    ASSERT_TRUE(awaitWay("output-b", Way::tapped));
    endPlayer("player");
    play(options);
    ASSERT_TRUE(awaitWay("output-b", Way::tapped)) << "a player that comes back while VELLO runs";
    stopVello();
    ASSERT_TRUE(awaitWay("output-b", Way::direct));
    // The session manager saves late: give it the time that it takes after a change.
    monitor("output-b").record(2 * 48000);
    EXPECT_THAT(savedStreams(), testing::HasSubstr("output-b"));
    EXPECT_THAT(savedStreams(), testing::Not(testing::HasSubstr(tapPrefix)));
    endPlayer("player");
    play(options);
    EXPECT_TRUE(awaitWay("output-b", Way::direct)) << "a player that comes back without VELLO";
}

} // namespace
} // namespace vello::session
