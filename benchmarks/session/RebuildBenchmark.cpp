// SPDX-License-Identifier: Apache-2.0
// How long many applications take to be equalized when they start together, and when another default output
// makes VELLO rebuild all taps; beside the same session without VELLO. Prints one table, in seconds.
#include "AudioGraph.h"
#include "Consent.h"
#include "Players.h"
#include "PrivateAudioSession.h"
#include "VelloSettings.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace vello::benchmark {
namespace {

using namespace std::chrono_literals;
using namespace vello::session;

constexpr int kCounts[] = {1, 8, 32, 64};
constexpr auto kPatience = 120s;

std::string playerName(int number) {
    return "player" + std::to_string(number);
}

/// Number of nodes whose name begins with `from`, and that are linked to one whose name begins with `to`.
std::size_t linked(const GraphState& state, const std::string& from, const std::string& to) {
    std::set<std::uint32_t> sources;
    for (const auto& [id, link] : state.links) {
        const auto output = state.nodes.find(link.outputNode);
        const auto input = state.nodes.find(link.inputNode);
        if (output != state.nodes.end() && input != state.nodes.end() &&
            output->second.name().starts_with(from) && input->second.name().starts_with(to))
            sources.insert(output->first);
    }
    return sources.size();
}

/// A session with that many players.
class Bench {
public:
    explicit Bench(int count) : count_(static_cast<std::size_t>(count)) {
        allowCapture(session_);
        writeSettings(session_, {{kSystemSource, {.volume = 0.5}}});
    }

    void startVello() { vello_ = session_.start("vello", {VELLO_PROGRAM, "--headless"}); }
    /// Seconds until all players have arrived at a node of that name.
    double startPlayers(const std::string& destination) {
        return seconds([&] {
            for (std::size_t i = 0; i < count_; ++i) {
                const std::string name = playerName(static_cast<int>(i));
                players_.push_back(
                    startPlayer(session_, PlayerKind::native,
                                {.name = name, .applicationID = "org.example." + name, .signal = "silence"}));
            }
            await([&](const GraphState& state) { return linked(state, "player", destination) == count_; });
        });
    }
    void endPlayers() {
        players_.clear();
        await([](const GraphState& state) { return state.nodeNamed(playerName(0)) == nullptr; });
    }
    /// Seconds until everything plays on the output and, with VELLO, every tap is rebuilt.
    double changeOutput(const std::string& output) {
        const std::string source = vello_ != nullptr ? kTapPrefix : "player";
        return seconds([&] {
            const int activations = vello_ != nullptr ? vello_->timesOutput(kActivation) : 0;
            graph_.chooseDefaultOutput(output);
            await([&](const GraphState& state) { return linked(state, source, output) == count_; });
            if (vello_ != nullptr &&
                !vello_->awaitOutput(kActivation, activations + static_cast<int>(count_), kPatience))
                throw std::runtime_error("not every tap is rebuilt");
        });
    }

private:
    static constexpr const char* kActivation = "Tap running for ";

    static double seconds(const std::function<void()>& action) {
        const auto start = std::chrono::steady_clock::now();
        action();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    void await(const AudioGraph::Predicate& predicate) {
        if (!graph_.waitUntil(predicate, kPatience))
            throw std::runtime_error("the graph does not get there:\n" + describe(graph_.state()));
    }

    std::size_t count_;
    PrivateAudioSession session_;
    AudioGraph graph_{session_.socket()};
    std::vector<std::unique_ptr<ChildProcess>> players_;
    std::unique_ptr<ChildProcess> vello_;
};

void measure(int count) {
    Bench bench(count);
    const double startDirect = bench.startPlayers("output-a");
    const double moveDirect = bench.changeOutput("output-b");
    static_cast<void>(bench.changeOutput("output-a"));
    bench.endPlayers();
    bench.startVello();
    const double start = bench.startPlayers(kTapPrefix);
    const double move = bench.changeOutput("output-b");
    std::printf("%7d%12.2f%12.2f%14.2f%12.2f\n", count, startDirect, start, moveDirect, move);
    std::fflush(stdout);
}

int run() {
    std::printf("        all started, s          other output, s\n"
                "players      direct       VELLO        direct       VELLO\n");
    for (const int count : kCounts)
        measure(count);
    return 0;
}

} // namespace
} // namespace vello::benchmark

int main() {
    try {
        return vello::benchmark::run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
