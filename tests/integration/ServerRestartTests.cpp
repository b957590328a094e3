// SPDX-License-Identifier: Apache-2.0
// The session manager goes and comes back while applications play.
#include "VelloTest.h"

#include <string>

namespace vello::session {
namespace {

/// With devices that go with the session manager and return some time after it, as hardware does.
///
/// The applications are native ones, and begin anew afterwards: WirePlumber 0.4 does not link a native stream
/// of before to anything. With PulseAudio clients the servers of Debian 12 now and then lock each other out
/// for good while a session manager starts, whoever else is there (`pw-dump -m` and a loop that kills
/// WirePlumber show it).
class VelloRestarts : public VelloTest {
protected:
    void SetUp() override {
        openSession({.outputs = {}});
        plugIn();
        writeSettings(session(), {{systemSource, {.volume = 0.5}}});
        playAll();
        startVello();
        ASSERT_TRUE(awaitAll());
    }

    bool awaitDefault(const std::string& name) {
        return graph().waitUntil([&](const GraphState& state) { return state.defaultOutput() == name; });
    }
    /// Until there is a device all play to the stand-in that the PulseAudio server puts there.
    void plugIn() {
        ASSERT_TRUE(awaitDefault("auto_null"));
        graph().createOutput("output-a", "Output A");
        ASSERT_TRUE(awaitDefault("output-a"));
    }
    void playAll() {
        for (int i = 0; i < constantCode::applications; ++i) {
            const auto number = std::to_string(i);
            play({.name = "player" + number,
                  .applicationID = "org.example.player" + number,
                  .signal = constantSignal(constantCode::emitted(i))});
        }
    }
    /// Whether all applications are heard through their taps.
    bool awaitAll() {
        const auto areAllTapped = [&](const Recording& last) {
            for (const std::size_t frame : {std::size_t{0}, last.frames() - 1})
                for (int i = 0; i < constantCode::applications; ++i)
                    if (constantCode::digit(last.sample(frame, 0), i) != 1)
                        return false;
            return true;
        };
        return monitor("output-a").recordUntil(areAllTapped, 4096, 10s);
    }
};

TEST_F(VelloRestarts, equalizesApplicationsAgainAfterTheSessionManagerWasKilled) {
    for (int i = 0; i < repetitions(5); ++i) {
        forgetMonitors();
        session().killSessionManager();
        graph().destroyOutput("output-a");
        session().startSessionManager();
        plugIn();
        const auto moment = std::chrono::steady_clock::now();
        endPlayers();
        playAll();
        ASSERT_TRUE(awaitAll()) << "restart " << i;
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - moment;
        EXPECT_LE(elapsed.count(), 3) << "restart " << i;
    }
}

} // namespace
} // namespace vello::session
