// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VelloTest.h"

#include <csignal>
#include <optional>

namespace vello::session {

/// VELLO with eight applications, native and PulseAudio in turn, half of them on each output by their own
/// choice. What is heard on an output tells for each of them which way it took.
class EightPlayersTest : public VelloTest {
protected:
    /// How an application is heard, as constantCode's digits tell it.
    static constexpr int tapped = 1;
    static constexpr int direct = 2;

    void playEight();
    static std::string outputOf(int application) { return application < 4 ? "output-a" : "output-b"; }

    /// Waits until all applications are heard that way.
    [[nodiscard]] bool awaitAll(int digit, std::chrono::milliseconds timeout = 10s);
    /// From `moment` until each output has all its applications that way, for good.
    double millisecondsUntilAll(int digit, std::chrono::steady_clock::time_point moment);
    /// How many frames since `moment` have an application on an output that is not its own.
    std::size_t wrongFramesSince(std::chrono::steady_clock::time_point moment);
    /// The eight play on an output of their own while VELLO does not run, and are sent back to where they
    /// belong. From that moment until all are heard there: what the session manager needs for that many
    /// streams on this machine.
    double millisecondsOfTheSessionManager();
    void expectNothingLeft();

    /// The guard of the running VELLO, when it is another one than `former`; waits for it, and fails the test
    /// when none comes.
    pid_t awaitGuard(pid_t former = 0);
    /// Waits until that process follows the streams.
    [[nodiscard]] bool awaitClientOf(pid_t process);
    /// Waits for something that has nothing to do with sound, and looks after every cycle of the graph.
    template <class Condition>
    [[nodiscard]] bool await(Condition condition, std::chrono::milliseconds timeout = 5s) {
        return monitor("output-a").recordUntil([&](const Recording&) { return condition(); }, 1, timeout);
    }
    /// Sends a signal to every process of the session: servers, players, VELLO and its guard.
    void signalAll(int number);

private:
    std::optional<pid_t> guardOfVello();
    /// Whether each application is heard on its own output with that digit in the frame, and on no other.
    static bool areAll(const Recording& recording, std::size_t frame, const std::string& output, int digit);

    std::vector<const ChildProcess*> eight_;
};

/// The line of /proc/PID/stat after the name: state, parent and so on. Empty when there is no such process.
std::string processState(pid_t process);

} // namespace vello::session
