// SPDX-License-Identifier: Apache-2.0
// An output that refuses further links.
#include "VelloTest.h"

#include <array>

namespace vello::session {
namespace {

constexpr std::size_t kFillerClients = 64;
constexpr std::array kChannels = {"FL", "FR", "FC", "LFE", "RL", "RR", "SL", "SR"};

class VelloAndAFullOutput : public VelloTest {
protected:
    /// Links silent streams to these channels of the output until it refuses further links.
    void fill(const std::string& output, const std::vector<std::string>& places) {
        filler_ = session().start("filler", {VELLO_SIGNAL_PLAYER, "--node-name=filler", "--signal=silence",
                                             "--clients=" + std::to_string(kFillerClients),
                                             "--channels=" + std::to_string(kChannels.size()),
                                             "--property=node.autoconnect=false"});
        for (std::size_t client = 0; client < kFillerClients; ++client) {
            const auto links = graph().state().links.size() + kChannels.size() * places.size();
            for (const std::string channel : kChannels)
                for (const auto& place : places)
                    graph().link("filler." + std::to_string(client) + ":output_" + channel,
                                 output + ":playback_" + place);
            if (!graph().waitUntil([&](const GraphState& state) { return state.links.size() >= links; }, 1s))
                return;
        }
        FAIL() << "the output takes more than " << kFillerClients * kChannels.size() << " links";
    }
    void makeRoom() { filler_.reset(); }

    [[nodiscard]] bool awaitCapture(int number) {
        return graph().waitUntil([name = kTapPrefix + std::string("player.") + std::to_string(number)](
                                     const GraphState& state) { return state.nodeNamed(name) != nullptr; },
                                 10s);
    }
    /// Times between consecutive captures made by VELLO.
    std::vector<std::chrono::steady_clock::duration> pausesBetweenCaptures() {
        std::vector<std::chrono::steady_clock::time_point> times;
        for (const auto& event : graph().events())
            if (event.kind == GraphEvent::Kind::nodeAdded && event.subject.starts_with(kTapPrefix) &&
                event.value == "Audio/Sink/Internal")
                times.push_back(event.time);
        std::vector<std::chrono::steady_clock::duration> pauses;
        for (std::size_t i = 1; i < times.size(); ++i)
            pauses.push_back(times[i] - times[i - 1]);
        return pauses;
    }

private:
    std::unique_ptr<ChildProcess> filler_;
};

TEST_F(VelloAndAFullOutput, TriesAgainAfterGrowingPausesAndLeavesTheApplicationAudible) {
    openSession();
    play({.name = "player", .applicationID = "org.example.player"});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    fill("output-a", {"FL", "FR"});
    const auto start = monitor("output-a").frames();
    startVello();
    ASSERT_TRUE(awaitCapture(1));
    ASSERT_TRUE(awaitCapture(2));
    ASSERT_TRUE(awaitCapture(3));
    const auto pauses = pausesBetweenCaptures();
    ASSERT_EQ(pauses.size(), 2U);
    // Two seconds to detect the refusal, plus a pause of one second, then of two; as seen from outside.
    EXPECT_GE(pauses[0], 2500ms);
    EXPECT_GE(pauses[1], 3500ms);
    const auto meanwhile = monitor("output-a").recording(start);
    EXPECT_TRUE(endsWith(meanwhile, Way::direct, meanwhile.frames()));
    EXPECT_FALSE(isTouched(graph().state(), "player"));
    session().run({"env", VELLO_PROGRAM, "set", "system", "--volume", "50%"});
    makeRoom();
    EXPECT_TRUE(awaitWay("output-a", Way::tapped, 8192, 10s));
}

TEST_F(VelloAndAFullOutput, TakesNoApplicationIntoATapThatHasOneChannelOfTwo) {
    openSession();
    writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
    play({.name = "player", .applicationID = "org.example.player"});
    ASSERT_TRUE(awaitWay("output-a", Way::direct));
    fill("output-a", {"FL"});
    const auto start = monitor("output-a").frames();
    startVello();
    ASSERT_TRUE(awaitCapture(1));
    ASSERT_TRUE(awaitCapture(2));
    const auto meanwhile = monitor("output-a").recording(start);
    EXPECT_TRUE(endsWith(meanwhile, Way::direct, meanwhile.frames()));
    EXPECT_FALSE(isTouched(graph().state(), "player"));
}

} // namespace
} // namespace vello::session
