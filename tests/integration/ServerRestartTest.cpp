// SPDX-License-Identifier: Apache-2.0
// The servers end and restart while applications play.
#include "VelloTest.h"

#include <string>

namespace vello::session {
namespace {

/// What is killed: one of the servers alone, or the sound server and with it all of them.
enum class Victim { sessionManager, pulseServer, allServers };

/// With devices that vanish with the server and return some time after it, as hardware does.
///
/// The applications are started again afterwards. They are native ones when the session manager restarts:
/// WirePlumber 0.4 does not link native streams that existed before. With PulseAudio clients the servers of
/// Debian 12 occasionally deadlock while a session manager starts, also without VELLO (`pw-dump -m` and a
/// loop that kills WirePlumber show it).
class VelloRestarts : public VelloTest, public testing::WithParamInterface<Victim> {
protected:
    void SetUp() override {
        openSession({.outputs = {}});
        plugIn();
        writeSettings(session(), {{kSystemSource, {.volume = 0.5}}});
        playAll();
        startVello();
        ASSERT_TRUE(awaitAll());
    }

    bool awaitDefault(const std::string& name) {
        return graph().waitUntil([&](const GraphState& state) { return state.defaultOutput() == name; });
    }
    /// Until a device exists, all play to the dummy output that the PulseAudio server creates.
    void plugIn() {
        ASSERT_TRUE(awaitDefault("auto_null"));
        graph().createOutput("output-a", "Output A");
        ASSERT_TRUE(awaitDefault("output-a"));
    }
    void playAll() {
        for (int i = 0; i < constantCode::kApplications; ++i) {
            const auto number = std::to_string(i);
            play({.name = "player" + number,
                  .applicationID = "org.example.player" + number,
                  .signal = constantSignal(constantCode::emitted(i))},
                 i == 0 && GetParam() == Victim::pulseServer ? PlayerKind::pulseAudio : PlayerKind::native);
        }
    }
    void killAndStart() {
        switch (GetParam()) {
        case Victim::sessionManager:
            session().killSessionManager();
            graph().destroyOutput("output-a");
            session().startSessionManager();
            break;
        case Victim::pulseServer:
            session().killPulseServer();
            graph().destroyOutput("output-a");
            session().startPulseServer();
            break;
        case Victim::allServers:
            session().killServers();
            session().startServers();
            reconnect();
            break;
        }
    }
    /// Whether all applications are heard through their taps.
    bool awaitAll() {
        const auto areAllTapped = [&](const Recording& last) {
            for (const std::size_t frame : {std::size_t{0}, last.frames() - 1})
                for (int i = 0; i < constantCode::kApplications; ++i)
                    if (constantCode::digit(last.sample(frame, 0), i) != 1)
                        return false;
            return true;
        };
        return monitor("output-a").recordUntil(areAllTapped, 4096, 10s);
    }
};

TEST_P(VelloRestarts, EqualizesApplicationsAgain) {
    for (int i = 0; i < repetitions(4); ++i) {
        forgetMonitors();
        killAndStart();
        plugIn();
        const auto moment = std::chrono::steady_clock::now();
        endPlayers();
        playAll();
        ASSERT_TRUE(awaitAll()) << "restart " << i;
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - moment;
        EXPECT_LE(elapsed.count(), 3) << "restart " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(, VelloRestarts,
                         testing::Values(Victim::sessionManager, Victim::pulseServer, Victim::allServers),
                         [](const auto& victim) {
                             return std::string(victim.param == Victim::sessionManager ? "OfTheSessionManager"
                                                : victim.param == Victim::pulseServer
                                                    ? "OfThePulseAudioServer"
                                                    : "OfAllServers");
                         });

} // namespace
} // namespace vello::session
