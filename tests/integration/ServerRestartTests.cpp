// SPDX-License-Identifier: Apache-2.0
// The session manager, the audio server and the PulseAudio server go and come back while applications play.
#include "VelloTest.h"

#include <algorithm>
#include <string>
#include <vector>

namespace vello::session {
namespace {

/// Devices that go with the session manager and return with it, as hardware does.
class VelloRestarts : public VelloTest {
protected:
    void SetUp() override {
        openSession({.outputs = {}});
        plugIn();
        writeSettings(session(), {{systemSource, {.volume = 0.5}}});
        for (int i = 0; i < constantCode::applications; ++i)
            start(i);
        startVello();
        ASSERT_TRUE(awaitAll(constantCode::applications));
    }

    bool awaitDefault(const std::string& name) {
        return graph().waitUntil([&](const GraphState& state) { return state.defaultOutput() == name; });
    }
    /// Hardware takes its time to be found, and until then all play to the stand-in that the PulseAudio
    /// server puts there. Without that time WirePlumber 0.4 leaves streams of before unlinked for good,
    /// whoever else is there: it waits for ports of theirs that are there already.
    void plugIn() {
        ASSERT_TRUE(awaitDefault("auto_null"));
        graph().waitUntil([](const GraphState&) { return false; }, 1s);
        graph().createOutput("output-a", "Output A");
        ASSERT_TRUE(awaitDefault("output-a"));
    }
    /// Those whose streams the servers have ended meanwhile, for want of an output.
    void startTheEndedOnes() {
        ASSERT_TRUE(graph().waitUntil([](const GraphState& state) {
            return std::ranges::all_of(state.nodesOfClass("Stream/Output/Audio"),
                                       [](const GraphNode* player) { return player->state == "running"; });
        }));
        for (int i = 0; i < constantCode::applications; ++i)
            if (graph().state().nodeNamed("player" + std::to_string(i)) == nullptr)
                start(i);
    }
    /// PulseAudio clients: WirePlumber 0.4 does not link the others again, whoever else is there.
    void start(int application) {
        const auto number = std::to_string(application);
        play({.name = "player" + number,
              .applicationID = "org.example.player" + number,
              .signal = constantSignal(constantCode::emitted(application))},
             PlayerKind::pulseAudio);
    }
    /// Whether the first `count` applications are all heard through their taps.
    bool awaitAll(int count) {
        const auto areAllTapped = [&](const Recording& last) {
            for (const std::size_t frame : {std::size_t{0}, last.frames() - 1})
                for (int i = 0; i < count; ++i)
                    if (constantCode::digit(last.sample(frame, 0), i) != 1)
                        return false;
            return true;
        };
        return monitor("output-a").recordUntil(areAllTapped, 4096, 10s);
    }
};

TEST_F(VelloRestarts, equalizesEverybodyAgainAfterTheSessionManagerWasKilled) {
    for (int i = 0; i < 3; ++i) {
        forgetMonitors();
        session().killSessionManager();
        graph().destroyOutput("output-a");
        session().startSessionManager();
        plugIn();
        startTheEndedOnes();
        const auto moment = std::chrono::steady_clock::now();
        ASSERT_TRUE(awaitAll(constantCode::applications)) << "restart " << i;
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - moment;
        EXPECT_LE(elapsed.count(), 3) << "restart " << i;
    }
    endPlayer("player0");
    start(0);
    EXPECT_TRUE(awaitAll(constantCode::applications)) << "an application that comes later";
}

} // namespace
} // namespace vello::session
