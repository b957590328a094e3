// SPDX-License-Identifier: Apache-2.0
// How long the commands take that ask a running VELLO, each as a whole process, also with 10,000 saved
// presets and 200 known sources, and how often a VELLO that nobody watches wakes up by itself. Exit code 0:
// every command answers within 100 ms, and nothing wakes but the poll of the players, once a second, and the
// watchdog, every other second.
#include "Players.h"
#include "PrivateAudioSession.h"
#include "ProcessUsage.h"
#include "Recording.h"
#include "VelloSettings.h"

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
constexpr int kManyPresets = 10'000;
constexpr int kManySources = 200;
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

const std::vector<Words> kCommands{
    {"status"}, {"status", "--json"}, {"presets"}, {"set", "system", "--volume", "0.5"}, {"on"}};
const std::vector<Words> kCommandsOnMany{{"status"},
                                         {"status", "--json"},
                                         {"status", "--all"},
                                         {"presets"},
                                         {"presets", "--json"},
                                         {"set", "system", "--volume", "0.5"},
                                         {"set", "org.example.source100", "--preset", "Preset 9999"}};

bool measureCommands(const PrivateAudioSession& session, const std::vector<Words>& commands) {
    bool isFast = true;
    std::printf("%-62s%10s%10s\n", "command, whole process", "median", "longest");
    for (const Words& words : commands) {
        std::vector<double> times;
        std::string text = "vello";
        for (const std::string& word : words)
            text.append(" ").append(word);
        for (int run = 0; run < kRuns; ++run)
            times.push_back(milliseconds(session, command(words)));
        const double longest = *std::ranges::max_element(times);
        isFast = isFast && longest <= kLongestAnswer;
        std::printf("%-62s%7.1f ms%7.1f ms\n", text.c_str(), median(times), longest);
    }
    return isFast;
}

/// In a session of its own, where nothing plays.
bool measureMany() {
    const PrivateAudioSession session;
    std::map<std::string, SourceSettings> sources;
    for (int i = 0; i < kManySources; ++i)
        sources["org.example.source" + std::to_string(i)] = {.volume = 0.5};
    writeSettings(session, sources, kManyPresets);
    session.run(command({"permission", "allow"}));
    const auto vello = session.start("vello", command({"--headless"}));
    awaitAnswer(session, *vello, "\"version\"");
    std::printf("\nwith %d saved presets and %d known sources\n", kManyPresets, kManySources);
    return measureCommands(session, kCommandsOnMany);
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
        isGood = measureCommands(session, kCommands);
    }
    awaitAnswer(session, *vello, "\"version\"");
    isGood = measureMany() && isGood;
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
