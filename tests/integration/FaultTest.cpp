// SPDX-License-Identifier: Apache-2.0
// What users hear when a component fails or the audio system changes.
#include "EightPlayersTest.h"

#include <algorithm>
#include <fstream>

namespace vello::session {
namespace {

class VelloFaults : public EightPlayersTest {};

TEST_F(VelloFaults, ClearsStaleRedirectsAtTheNextStart) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    auto& paused = play({.name = "paused", .applicationID = "org.example.paused"});
    play({.name = "playing", .applicationID = "org.example.playing", .output = "output-b"});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    paused.writeLine("pause");
    ASSERT_TRUE(awaitWay("output-a", Way::silent));
    // Simulates what a version without a guard, or a killed guard, would have left.
    const auto stream = graph().state().nodeNamed("paused")->id;
    graph().setMetadata(stream, "target.object", "Spa:String", std::string(kTapPrefix) + "paused.1");
    ASSERT_TRUE(graph().waitUntil([](const GraphState& state) { return redirects(state) == 1; }));
    startVello();
    ASSERT_TRUE(awaitTapped("playing"));
    EXPECT_TRUE(graph().waitUntil([stream](const GraphState& state) {
        return !state.metadataValue(stream, "target.object").starts_with(kTapPrefix);
    }));
    stopVello();
    paused.writeLine("resume");
    EXPECT_TRUE(awaitWay("output-a", Way::direct));
    expectNothingLeft();
}

class VelloEnds : public VelloFaults, public testing::WithParamInterface<int> {};

TEST_P(VelloEnds, LeavingNothingBehind) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    playEight();
    ASSERT_TRUE(awaitAll(direct));
    startVello();
    ASSERT_TRUE(awaitAll(tapped));
    vello().signal(GetParam());
    EXPECT_TRUE(vello().waitForExit(5s).has_value());
    EXPECT_TRUE(awaitAll(direct));
    expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(, VelloEnds, testing::Values(SIGTERM, SIGINT), [](const auto& signal) {
    return std::string(signal.param == SIGTERM ? "AtSIGTERM" : "AtSIGINT");
});

TEST_F(VelloFaults, EndsSoonWhileTheSessionManagerStandsStill) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    playEight();
    startVello();
    ASSERT_TRUE(awaitAll(tapped));
    session().sessionManager().signal(SIGSTOP);
    vello().signal(SIGTERM);
    EXPECT_TRUE(vello().waitForExit(2s).has_value());
    session().sessionManager().signal(SIGCONT);
    EXPECT_TRUE(graph().waitUntil([](const GraphState& state) {
        return std::ranges::none_of(state.nodes, [](const auto& entry) { return isVellos(entry.second); });
    }));
}

/// The captured samples of many cycles have nowhere to go.
TEST_F(VelloFaults, PlaysAgainAfterItsOutputTookNothingForManyCycles) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    const auto tap = captures(graph().state()).front() + "-output";
    session().sessionManager().signal(SIGSTOP); // nothing is linked anew until it continues
    graph().unlink(tap, "output-a");
    graph().suspend(tap);
    monitor("output-a").record(12 * 1024);
    connectByHand(tap, "output-a");
    session().sessionManager().signal(SIGCONT);
    EXPECT_TRUE(awaitWay("output-a", Way::tapped));
}

TEST_F(VelloFaults, BringsEveryTapBackAfterTheServerWasKilled) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    playEight();
    startVello();
    ASSERT_TRUE(awaitAll(tapped));
    endPlayers();
    forgetMonitors();
    session().killServers();
    session().startServers();
    const auto moment = std::chrono::steady_clock::now();
    reconnect();
    playEight();
    EXPECT_TRUE(awaitAll(tapped));
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - moment;
    RecordProperty("seconds", std::to_string(elapsed.count()));
    EXPECT_LE(elapsed.count(), 3);
}

TEST_F(VelloFaults, PlaysOnTheDefaultWhileTheChosenOutputIsGone) {
    openSession();
    graph().createOutput("output-c", "Output C");
    writeSettings(session(), {{"org.example.player", {.volume = 0.5, .output = "output-c"}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-c", Way::tapped));
    forgetMonitors();
    const auto start = monitor("output-a").frames();
    graph().destroyOutput("output-c");
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    for (const auto& stretch : monitor("output-a").recording(start).stretches([](float, float right) {
             return static_cast<int>(wayOf(right));
         }))
        EXPECT_NE(stretch.kind, static_cast<int>(Way::direct)) << "at " << stretch.firstFrame;
    graph().createOutput("output-c", "Output C");
    EXPECT_TRUE(awaitWay("output-c", Way::tapped));
}

TEST_F(VelloFaults, RebuildsOnceWhenTheDefaultOutputChangesThreeTimes) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    ASSERT_TRUE(awaitSpare());
    const int made = capturesMade(graph());
    monitor("output-b").record(1);
    const auto start = monitor("output-b").frames();
    const auto moment = std::chrono::steady_clock::now();
    for (const auto* output : {"output-b", "output-a", "output-b"}) {
        graph().chooseDefaultOutput(output);
        ASSERT_TRUE(
            graph().waitUntil([&](const GraphState& state) { return state.defaultOutput() == output; }));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - moment, 300ms);
    ASSERT_TRUE(awaitWay("output-b", Way::tapped));
    ASSERT_TRUE(vello().awaitOutput("Full tap rebuild: default output device changed"));
    // Long enough to notice a second rebuild.
    monitor("output-b").record(2 * 48000);
    EXPECT_EQ(vello().timesOutput("Full tap rebuild: "), 1);
    EXPECT_EQ(capturesMade(graph()), made) << "the nodes were made again";
    for (const auto& stretch : monitor("output-b").recording(start).stretches([](float, float right) {
             return static_cast<int>(wayOf(right));
         }))
        EXPECT_NE(stretch.kind, static_cast<int>(Way::direct)) << "at " << stretch.firstFrame;
}

TEST_F(VelloFaults, FollowsTheRateOfTheGraph) {
    openSession({.allowedRates = {44100, 48000}});
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player", .signal = "constant=0.5"});
    startVello();
    const auto isHalved = [](const Recording& last) {
        return std::abs(last.sample(0, 0) - 0.25F) < 1e-3F &&
               std::abs(last.sample(last.frames() - 1, 0) - 0.25F) < 1e-3F;
    };
    ASSERT_TRUE(monitor("output-a").recordUntil(isHalved, 8192, 8s));
    const auto start = monitor("output-a").frames();
    graph().forceSampleRate(44100);
    const auto isHalvedAtNewRate = [&](const Recording& last) {
        return last.sampleRate() == 44100 && isHalved(last);
    };
    ASSERT_TRUE(monitor("output-a").recordUntil(isHalvedAtNewRate, 44100, 8s));
    const auto recording = monitor("output-a").recording(start);
    float loudest = 0;
    for (std::size_t frame = 0; frame < recording.frames(); ++frame)
        loudest = std::max(loudest, recording.sample(frame, 0));
    EXPECT_LT(loudest, 0.4F) << "heard unequalized";
    EXPECT_TRUE(isTapped(graph().state(), "player"));
}

TEST_F(VelloFaults, IsSilentForAtMostTwoCyclesInARebuildAndNeverUnequalized) {
    openSession();
    writeSettings(session(), {{"org.example.player", {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitWay("output-a", Way::tapped));
    std::vector<std::size_t> silences;
    for (int i = 0; i < 10; ++i) {
        // A second process of the application comes and goes; each time its tap is rebuilt.
        const int activations = vello().timesOutput("Tap running for player");
        const auto start = monitor("output-a").frames();
        if (i % 2 == 0)
            play({.name = "other", .applicationID = "org.example.player", .signal = "silence"});
        else
            endPlayer("other");
        ASSERT_TRUE(vello().awaitOutput("Tap running for player", activations + 1));
        ASSERT_TRUE(awaitWay("output-a", Way::tapped));
        std::size_t silent = 0;
        for (const auto& stretch : monitor("output-a").recording(start).stretches([](float, float right) {
                 return static_cast<int>(wayOf(right));
             })) {
            EXPECT_NE(stretch.kind, static_cast<int>(Way::direct))
                << "rebuild " << i << " at " << stretch.firstFrame;
            silent += stretch.kind == static_cast<int>(Way::tapped) ? 0 : stretch.frames;
        }
        silences.push_back(silent);
    }
    RecordProperty("silentFrames", testing::PrintToString(silences));
    EXPECT_LE(*std::ranges::max_element(silences), 2 * static_cast<std::size_t>(quantum()))
        << testing::PrintToString(silences);
}

TEST_F(VelloFaults, StartsFreshFromACorruptSettingsFile) {
    openSession();
    std::filesystem::create_directories(settingsFile(session()).parent_path());
    std::ofstream(settingsFile(session()))
        << R"({"version":1,"sources":{"org.example.player":{"volume":true}}})";
    play({.name = "player", .applicationID = "org.example.player"});
    startVello();
    ASSERT_TRUE(awaitTapped("player"));
    EXPECT_TRUE(awaitWay("output-a", Way::direct)) << "through the tap, but unchanged";
    EXPECT_TRUE(vello().isRunning());
    EXPECT_FALSE(std::filesystem::exists(settingsFile(session())));
    EXPECT_TRUE(std::filesystem::exists(settingsFile(session()).string() + ".corrupt"));
}

} // namespace
} // namespace vello::session
