// SPDX-License-Identifier: Apache-2.0
// How long the commands take that ask a running VELLO, each as a whole process, and how often a VELLO that
// nobody watches wakes up by itself. Exit code 0: every command answers within 100 ms, and nothing wakes but
// the poll of the players, once a second, and the watchdog, every other second.
#include "Players.h"
#include "PrivateAudioSession.h"
#include "ProcessUsage.h"
#include "Recording.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <map>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace vello::benchmark {
namespace {

using namespace std::chrono_literals;
using namespace vello::session;
using Clock = std::chrono::steady_clock;

constexpr int kRuns = 20;
constexpr double kLongestAnswer = 100; // milliseconds
constexpr std::chrono::seconds kSettling = 10s;
constexpr std::chrono::seconds kMeasured = 30s;
/// Wake-ups a second: poll and watchdog, each of which may wait for a lock or a thread on the way.
constexpr double kMostWakeUps = 3;

using Words = std::vector<std::string>;

Words command(Words words) {
    words.insert(words.begin(), {"env", VELLO_PROGRAM}); // a session's log has the name of the first word
    return words;
}

void awaitAnswer(const PrivateAudioSession& session, ChildProcess& vello, const std::string& part) {
    const auto deadline = Clock::now() + 15s;
    while (Clock::now() < deadline && vello.isRunning()) {
        const auto status = session.start("probe", command({"status", "--json"}));
        if (status->waitForExit(5s) == 0 && status->output().find(part) != std::string::npos)
            return;
    }
    throw std::runtime_error("VELLO does not answer as expected:\n" + vello.output());
}

double milliseconds(const PrivateAudioSession& session, const Words& words) {
    const auto begin = Clock::now();
    session.run(words);
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

bool measureCommands(const PrivateAudioSession& session) {
    bool isFast = true;
    std::printf("%-52s%10s%10s\n", "command, whole process", "median", "longest");
    for (const Words& words : {Words{"status"}, Words{"status", "--json"}, Words{"presets"},
                               Words{"set", "system", "--volume", "0.5"}, Words{"on"}}) {
        std::vector<double> times;
        std::string text = "vello";
        for (const std::string& word : words)
            text.append(" ").append(word);
        for (int run = 0; run < kRuns; ++run)
            times.push_back(milliseconds(session, command(words)));
        const double longest = *std::ranges::max_element(times);
        isFast = isFast && longest <= kLongestAnswer;
        std::printf("%-52s%7.1f ms%7.1f ms\n", text.c_str(), median(times), longest);
    }
    return isFast;
}

bool measureIdling(pid_t vello) {
    std::this_thread::sleep_for(kSettling);
    const auto before = waits(vello);
    const double processorBefore = processorSeconds(vello);
    std::this_thread::sleep_for(kMeasured);
    auto after = waits(vello);
    const double seconds = std::chrono::duration<double>(kMeasured).count();
    double sum = 0;
    std::printf("\n%-52s%10s\n", "thread, nothing plays and nobody watches", "a second");
    for (const auto& [thread, count] : after) {
        const auto earlier = before.find(thread);
        const double rate =
            static_cast<double>(count - (earlier == before.end() ? 0 : earlier->second)) / seconds;
        sum += rate;
        std::printf("%-52s%10.2f\n", thread.c_str(), rate);
    }
    std::printf("%-52s%10.2f\n", "all", sum);
    std::printf("%-52s%9.3f%%\n", "of one processor",
                100 * (processorSeconds(vello) - processorBefore) / seconds);
    return sum <= kMostWakeUps;
}

bool run() {
    const PrivateAudioSession session;
    session.run(command({"permission", "allow"}));
    const auto vello = session.start("vello", command({"--headless"}));
    bool isGood = true;
    {
        const auto player = startPlayer(session, PlayerKind::native,
                                        {.name = "player", .applicationID = "org.example.player"});
        awaitAnswer(session, *vello, "\"tap\":\"running\"");
        isGood = measureCommands(session);
    }
    awaitAnswer(session, *vello, "\"version\"");
    return measureIdling(vello->pid()) && isGood;
}

} // namespace
} // namespace vello::benchmark

int main() {
    try {
        return vello::benchmark::run() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
