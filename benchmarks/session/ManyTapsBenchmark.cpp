// SPDX-License-Identifier: Apache-2.0
// What many equalized applications cost: VELLO beside PipeWire's own filter-chain with eight bq_peaking
// filters a stream, on the same players in the same session. Prints one table; exit code 0: with VELLO all
// processes of the session together take less processor time at every count, and no cycle is missed.
#include "AudioGraph.h"
#include "Consent.h"
#include "MonitorRecorder.h"
#include "Players.h"
#include "PrivateAudioSession.h"
#include "ProcessUsage.h"
#include "VelloSettings.h"

#include <array>
#include <cstdio>
#include <exception>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace vello::benchmark {
namespace {

using namespace std::chrono_literals;
using namespace vello::session;

constexpr int kQuantum = 1024;
constexpr int kSampleRate = 48000;
/// What each player emits, constantly; the filters let it pass, and one that misses a cycle is missing in the
/// sum.
constexpr float kShare = 1.0F / 256;
constexpr float kVelloVolume = 0.5F;
constexpr std::size_t kSettlingFrames = 2 * kSampleRate;
constexpr std::size_t kMeasuredFrames = 8 * kSampleRate;
constexpr int kPlayersAtOnce = 8;
constexpr int kCounts[] = {1, 8, 32, 64};
constexpr int kBandFrequencies[] = {63, 125, 250, 500, 1000, 2000, 4000, 8000};
constexpr std::array<double, 8> kGains = {6, 5, 3.5, 1.5, -1, -2, 2, 4};

/// Of one process and the server over the measured time.
struct Cost {
    double own = 0;               ///< share of one processor
    double server = 0;            ///< share of one processor
    double all = 0;               ///< of all processes of the session, players included
    std::size_t memory = 0;       ///< bytes
    std::size_t missedCycles = 0; ///< in which some player was not heard, one that is never heard included
};

std::string playerName(int number) {
    return "player" + std::to_string(number);
}
std::string chainName(int number) {
    return "chain" + std::to_string(number);
}

std::string filterChain(int number) {
    std::ostringstream text;
    text << "{ name = libpipewire-module-filter-chain args = { media.name = " << chainName(number)
         << " audio.channels = 2 audio.position = [ FL FR ] filter.graph = { nodes = [";
    for (std::size_t band = 0; band < kGains.size(); ++band)
        text << " { type = builtin name = b" << band
             << " label = bq_peaking control = { Freq = " << kBandFrequencies[band]
             << ".0 Q = 1.41 Gain = " << kGains[band] << " } }";
    text << " ] links = [";
    for (std::size_t band = 1; band < kGains.size(); ++band)
        text << " { output = \"b" << band - 1 << ":Out\" input = \"b" << band << ":In\" }";
    text << " ] } capture.props = { node.name = " << chainName(number)
         << " media.class = Audio/Sink } playback.props = { node.name = " << chainName(number)
         << ".output node.passive = true target.object = output-a } } }\n";
    return text.str();
}

std::string filterChainConfiguration(int count) {
    std::string text =
        "context.properties = { log.level = 1 }\n"
        "context.spa-libs = { audio.convert.* = audioconvert/libspa-audioconvert\n"
        "    support.* = support/libspa-support }\n"
        "context.modules = [\n"
        "{ name = libpipewire-module-rt args = { nice.level = -11 } flags = [ ifexists nofail ] }\n"
        "{ name = libpipewire-module-protocol-native }\n{ name = libpipewire-module-client-node }\n"
        "{ name = libpipewire-module-adapter }\n";
    for (int i = 0; i < count; ++i)
        text += filterChain(i);
    return text + "]\n";
}

/// A session with that many players, which one way of equalizing after the other takes over.
class Bench {
public:
    explicit Bench(int count)
        : count_(count), session_({.sampleRate = kSampleRate, .quantum = kQuantum}),
          graph_(session_.socket()) {
        allowCapture(session_);
        writeSettings(session_, {{kSystemSource, {.bandGains = kGains, .volume = kVelloVolume}}});
        recorder_ = std::make_unique<MonitorRecorder>(session_.socket(), "output-a", 180s);
    }

    /// The first to measure: the players start while VELLO runs, some at a time, as applications do.
    Cost measureVello() {
        const auto vello = session_.start("vello", {VELLO_PROGRAM, "--headless"});
        while (static_cast<int>(players_.size()) < count_) {
            startSomePlayers();
            awaitAll([](const std::string& place) { return place.starts_with(kTapPrefix); }, "VELLO");
        }
        const auto cost = measure(vello.get(), kVelloVolume);
        vello->terminate();
        awaitAll([](const std::string& place) { return place == "output-a"; }, "direct");
        return cost;
    }

    Cost measureDirect() { return measure(nullptr, 1); }

    Cost measureFilterChain() {
        const auto file = session_.folder() / "filter-chain.conf";
        std::ofstream(file) << filterChainConfiguration(count_);
        const auto chains = session_.start("filter-chain", {"pipewire", "-c", file.string()});
        for (int i = 0; i < count_; ++i)
            directToChain(i);
        awaitAll([](const std::string& place) { return place.starts_with("chain"); }, "filter-chain");
        return measure(chains.get(), 1);
    }

private:
    void startSomePlayers() {
        for (int i = 0; i < kPlayersAtOnce && static_cast<int>(players_.size()) < count_; ++i) {
            const auto name = playerName(static_cast<int>(players_.size()));
            players_.push_back(startPlayer(
                session_, PlayerKind::native,
                {.name = name, .applicationID = "org.example." + name, .signal = constantSignal(kShare)}));
        }
    }

    void directToChain(int number) {
        if (!graph_.waitUntil(
                [&](const GraphState& state) { return state.nodeNamed(chainName(number)) != nullptr; }))
            throw std::runtime_error("no " + chainName(number));
        graph_.setMetadata(graph_.state().nodeNamed(playerName(number))->id, "target.object", "Spa:String",
                           chainName(number));
    }

    template <class IsPlace> void awaitAll(IsPlace isPlace, const char* way) {
        const bool arrived = graph_.waitUntil(
            [&](const GraphState& state) {
                int linked = 0;
                std::map<std::uint32_t, bool> seen;
                for (const auto& [id, link] : state.links) {
                    const auto output = state.nodes.find(link.outputNode);
                    const auto input = state.nodes.find(link.inputNode);
                    if (output == state.nodes.end() || input == state.nodes.end() ||
                        !output->second.name().starts_with("player") || seen[link.outputNode])
                        continue;
                    seen[link.outputNode] = true;
                    linked += isPlace(input->second.name()) ? 1 : 0;
                }
                return linked == static_cast<int>(players_.size());
            },
            60s);
        if (!arrived)
            throw std::runtime_error(std::string("not all players go over: ") + way + "\n" +
                                     describe(graph_.state()));
    }

    Cost measure(const ChildProcess* process, float volume) {
        // Once everybody is heard, or after a while whatever is heard.
        const float sum = kShare * static_cast<float>(count_) * volume;
        const float tolerance = kShare * volume / 2;
        recorder_->recordUntil(
            [&](const Recording& last) { return last.cyclesOffValue(sum, tolerance) == 0; }, kSettlingFrames,
            20s);
        const auto own = [&] { return process == nullptr ? 0 : processorSeconds(process->pid()); };
        const auto server = session_.serverProcess();
        const auto all = [&] {
            double seconds = own() + processorSeconds(server) +
                             processorSeconds(session_.sessionManager().pid()) +
                             processorSeconds(session_.pulseServer().pid());
            for (const auto& player : players_)
                seconds += processorSeconds(player->pid());
            return seconds;
        };
        const auto start = std::chrono::steady_clock::now();
        const double ownBefore = own();
        const double serverBefore = processorSeconds(server);
        const double allBefore = all();
        const auto first = recorder_->frames();
        recorder_->record(kMeasuredFrames);
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        return {(own() - ownBefore) / elapsed.count(),
                (processorSeconds(server) - serverBefore) / elapsed.count(),
                (all() - allBefore) / elapsed.count(),
                process == nullptr ? 0 : proportionalMemory(process->pid()),
                recorder_->recording(first).cyclesOffValue(sum, tolerance)};
    }

    int count_;
    PrivateAudioSession session_;
    AudioGraph graph_;
    std::vector<std::unique_ptr<ChildProcess>> players_;
    std::unique_ptr<MonitorRecorder> recorder_;
};

void print(int count, const char* way, const Cost& cost) {
    const double percent = 100;
    std::printf("%7d  %-13s%9.2f%11.3f%11.2f%13.3f%9.2f%11.1f%9zu\n", count, way, cost.own * percent,
                cost.own * percent / count, cost.server * percent, cost.server * percent / count,
                cost.all * percent, static_cast<double>(cost.memory) / (1024 * 1024), cost.missedCycles);
    std::fflush(stdout);
}

bool run() {
    std::printf(
        "%d Hz, cycles of %d frames; processor time in %% of one processor over %zu s; memory is PSS.\n\n",
        kSampleRate, kQuantum, kMeasuredFrames / kSampleRate);
    std::printf("%7s  %-13s%9s%11s%11s%13s%9s%11s%9s\n", "players", "equalized by", "own %", "per tap %",
                "server %", "per tap %", "all %", "own MiB", "missed");
    bool isBelow = true;
    for (const int count : kCounts) {
        Bench bench(count);
        const auto vello = bench.measureVello();
        print(count, "VELLO", vello);
        print(count, "nobody", bench.measureDirect());
        const auto chain = bench.measureFilterChain();
        print(count, "filter-chain", chain);
        isBelow = isBelow && vello.all < chain.all && vello.missedCycles == 0;
    }
    std::printf(
        "\n%s\n",
        isBelow
            ? "With VELLO everything takes less processor time than with filter-chain at every count, and no "
              "cycle is missed."
            : "With VELLO not everything is below filter-chain, or cycles are missed.");
    return isBelow;
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
