// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VelloTest.h"

#include <csignal>
#include <optional>

namespace vello::session {

/// VELLO with eight applications, alternately native and PulseAudio, four of them on each output by their own
/// choice. The sound of an output shows for each of them whether it is captured.
class EightPlayersTest : public VelloTest {
protected:
    /// States of an application, as encoded by the digits of constantCode.
    static constexpr int tapped = 1;
    static constexpr int direct = 2;

    /// `seconds`: for how long those of PulseAudio play.
    void playEight(int seconds = 30);
    static std::string outputOf(int application) { return application < 4 ? "output-a" : "output-b"; }

    /// Waits until all applications have the state `digit`.
    [[nodiscard]] bool awaitAll(int digit, std::chrono::milliseconds timeout = 10s);
    /// From `moment` until all applications of each output stay in the state `digit`.
    double millisecondsUntilAll(int digit, std::chrono::steady_clock::time_point moment);
    /// Number of frames since `moment` in which an application is heard on an output that is not its own.
    std::size_t wrongFramesSince(std::chrono::steady_clock::time_point moment);
    /// Baseline for a move of eight streams by the session manager on this machine: the eight play on another
    /// output while VELLO does not run, and are moved back. Returns the time until all are heard there.
    double millisecondsOfTheSessionManager();
    void expectNothingLeft();

    /// The guard of that VELLO, if it has one now.
    static std::optional<pid_t> guardOf(pid_t vello);
    /// The guard of the running VELLO, other than `former`. Waits for it; throws std::runtime_error on
    /// timeout.
    pid_t awaitGuard(pid_t former = 0);
    /// Waits until that process is connected to the audio server.
    [[nodiscard]] bool awaitClientOf(pid_t process);
    /// Waits for a condition that does not concern sound, and evaluates it after every cycle of the graph.
    template <class Condition>
    [[nodiscard]] bool await(Condition condition, std::chrono::milliseconds timeout = 5s) {
        return monitor("output-a").recordUntil([&](const Recording&) { return condition(); }, 1, timeout);
    }
    /// Sends a signal to every process of the session: servers, players, VELLO and its guard.
    void signalAll(int number);

private:
    /// Whether each application has the state `digit` in the frame on its own output, and is not heard on the
    /// other.
    static bool areAll(const Recording& recording, std::size_t frame, const std::string& output, int digit);

    std::vector<const ChildProcess*> eight_;
};

/// The line of /proc/PID/stat after the name: state, parent and so on. Empty when the process does not exist.
std::string processState(pid_t process);

} // namespace vello::session
