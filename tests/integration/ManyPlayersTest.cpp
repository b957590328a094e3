// SPDX-License-Identifier: Apache-2.0
#include "ProcessUsage.h"
#include "VelloTest.h"

#include <algorithm>
#include <set>

namespace vello::session {
namespace {

/// Number of nodes that play into an output.
std::size_t sourcesOf(const GraphState& state, const std::string& output) {
    const auto* sink = state.nodeNamed(output);
    std::set<std::uint32_t> sources;
    for (const auto& [id, link] : state.links)
        if (sink != nullptr && link.inputNode == sink->id)
            sources.insert(link.outputNode);
    return sources.size();
}

class VelloWithManyPlayers : public VelloTest {
protected:
    static std::string nameOf(int number) { return "player" + std::to_string(number); }
    PlayerOptions quietPlayer(int number) const {
        return {
            .name = nameOf(number), .applicationID = "org.example." + nameOf(number), .signal = "silence"};
    }
};

TEST_F(VelloWithManyPlayers, SurvivesTwoHundredStartsAndStops) {
    constexpr int rounds = 20;
    constexpr int playersOfRound = 10;
    // The taps of the last eight that stopped are held ready, beside the one that is listened to.
    constexpr std::size_t tapsThatStay = 1 + 8;
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "listened", .applicationID = "org.example.listened", .output = "output-b"});
    startVello();
    ASSERT_TRUE(awaitWay("output-b", Way::tapped));
    const auto process = vello().pid();
    std::size_t descriptors = 0;
    std::size_t threadsBefore = 0;
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < playersOfRound; ++i)
            play(quietPlayer(i), i % 2 == 0 ? PlayerKind::native : PlayerKind::pulseAudio);
        for (int i = 0; i < playersOfRound; ++i)
            ASSERT_TRUE(awaitTapped(nameOf(i))) << "round " << round << ", player " << i;
        for (int i = 0; i < playersOfRound; ++i)
            endPlayer(nameOf(i));
        ASSERT_TRUE(graph().waitUntil(
            [](const GraphState& state) {
                return captures(state).size() == tapsThatStay && redirects(state) == 1;
            },
            8s));
        // Resources that are acquired once and kept are visible after the first rounds.
        if (round == 1) {
            ASSERT_TRUE(awaitSpare());
            descriptors = openDescriptors(process);
            threadsBefore = threads(process);
        }
    }
    EXPECT_TRUE(vello().isRunning());
    EXPECT_TRUE(awaitWay("output-b", Way::tapped));
    // The last taps may still be in teardown.
    const auto isBack = [&](const Recording&) {
        return openDescriptors(process) <= descriptors && threads(process) <= threadsBefore;
    };
    EXPECT_TRUE(monitor("output-b").recordUntil(isBack, 1024, 5s))
        << openDescriptors(process) << " descriptors, " << descriptors << " before";
    EXPECT_EQ(redirects(graph().state()), 1) << "redirects of players that are gone";
}

TEST_F(VelloWithManyPlayers, KeepsUpWithSixtyFour) {
    constexpr int players = 64;
    constexpr int playersAtOnce = 8;
    openSession();
    writeSettings(session(), {{kSystemSource, {.bandGains = {6, 5, 3, 1, 0, 0, 0, 0}, .volume = 0.5}}});
    startVello();
    for (int i = 0; i < players; ++i) {
        auto options = quietPlayer(i);
        options.signal = constantSignal(1.0 / 256);
        play(options);
        for (int started = 0; i % playersAtOnce == playersAtOnce - 1 && started <= i; ++started)
            ASSERT_TRUE(awaitTapped(nameOf(started))) << started;
    }
    // The filters pass a constant. A player that misses a cycle lowers the sum by its share.
    constexpr float sum = players * 0.5F / 256;
    constexpr float tolerance = 0.25F / 256;
    ASSERT_TRUE(
        monitor("output-a")
            .recordUntil([&](const Recording& last) { return last.cyclesOffValue(sum, tolerance) == 0; },
                         48000, 20s));
    // Sixty-four processes without realtime priority occasionally miss a cycle by themselves, and a machine
    // may be slow for a moment. Excessive work in every cycle, or every second, affects each of these
    // stretches.
    constexpr std::size_t allowed = 2;
    std::size_t missed = allowed + 1;
    for (int stretch = 0; stretch < 3 && missed > allowed; ++stretch) {
        forgetMonitors();
        monitor("output-a").record(10 * 48000);
        const auto recording = monitor("output-a").recording();
        const auto cycle = static_cast<std::size_t>(quantum());
        missed = recording.cyclesOffValue(sum, tolerance) + (recording.lostFrames() + cycle - 1) / cycle;
    }
    EXPECT_LE(missed, allowed);
}

TEST_F(VelloWithManyPlayers, TapsSixtyFourThatPlayAlreadyAndRebuildsThemTogether) {
    constexpr int players = 64;
    openSession();
    for (int i = 0; i < players; ++i)
        play(quietPlayer(i));
    const auto areAllTapped = [&](const GraphState& state, const std::string& output) {
        for (int i = 0; i < players; ++i)
            if (!isTapped(state, nameOf(i)))
                return false;
        return captures(state).size() == players && sourcesOf(state, output) == players;
    };
    startVello();
    ASSERT_TRUE(
        graph().waitUntil([&](const GraphState& state) { return areAllTapped(state, "output-a"); }, 40s));
    graph().chooseDefaultOutput("output-b");
    EXPECT_TRUE(vello().awaitOutput("Tap running for ", 2 * players, 20s));
    EXPECT_TRUE(
        graph().waitUntil([&](const GraphState& state) { return areAllTapped(state, "output-b"); }, 20s));
    EXPECT_EQ(capturesMade(graph()), players) << "nodes were made again";
}

} // namespace
} // namespace vello::session
