// SPDX-License-Identifier: Apache-2.0
// Whether VELLO grows while it works: random commands, outputs that come and go, default outputs that change,
// and players that stop and start, for as many seconds as the argument says (an hour by default), then 64
// players that come and go. Prints a line a minute. Exit code 0: at the end memory is within a tenth of that
// after five minutes, or of the first sample in a shorter run; descriptors, threads and nodes are not more;
// the 64 players leave at most 10 MB; and no error is in the log.
#include "AudioGraph.h"
#include "Consent.h"
#include "Players.h"
#include "PrivateAudioSession.h"
#include "ProcessUsage.h"
#include "VelloSettings.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace vello::benchmark {
namespace {

using namespace std::chrono_literals;
using namespace vello::session;
using Clock = std::chrono::steady_clock;

constexpr int kPlayers = 8;
constexpr int kManyPlayers = 64;
constexpr int kHeldReady = 8; ///< of those that have left
constexpr auto kActionPeriod = 200ms;
constexpr auto kSamplePeriod = 60s;
constexpr auto kReferenceTime = 300s;
constexpr double kMegabyte = 1024.0 * 1024.0;
constexpr double kGrowth = 1.1;
constexpr double kManyPlayersGrowth = 10; // MB
constexpr std::chrono::seconds kSettling = 15s;

struct Sample {
    double memory = 0; ///< MB
    std::size_t descriptors = 0;
    std::size_t threads = 0;
    std::size_t nodes = 0;
    int actions = 0;
};

std::string playerName(int number) {
    return "player" + std::to_string(number);
}

class Bench {
public:
    Bench() {
        allowCapture(session_);
        writeSettings(session_, {{kSystemSource, {.volume = 0.5}}});
        vello_ = session_.start("vello", {VELLO_PROGRAM, "--headless"});
        for (int number = 0; number < kPlayers; ++number)
            play(number);
        await([](const GraphState& state) { return captures(state) == kPlayers; }, "eight taps");
    }

    void actAtRandom() {
        const int player = pick(kPlayers);
        switch (pick(8)) {
        case 0:
            return set(player, {"--volume", std::to_string(pick(200) / 100.0)});
        case 1:
            return set(player, {"--bypass", pick(2) == 0 ? "on" : "off"});
        case 2:
            return set(player, {"--preset", pick(2) == 0 ? "bassBoost" : "vocal"});
        case 3:
            return set(player, {"--output", pick(2) == 0 ? "auto" : "output-b"});
        case 4:
            return graph_.chooseDefaultOutput(pick(2) == 0 ? "output-a" : "output-b");
        case 5:
            return plugOrUnplug();
        case 6:
            return command({"set", "system", "--volume", std::to_string((50 + pick(50)) / 100.0)});
        default:
            return players_.contains(player) ? void(players_.erase(player)) : play(player);
        }
    }

    /// With all players, each with a tap of its own, and everything that was destroyed gone.
    Sample sample() {
        for (int number = 0; number < kPlayers; ++number)
            if (!players_.contains(number))
                play(number);
        await([](const GraphState& state) { return captures(state) == kPlayers; }, "eight taps");
        std::this_thread::sleep_for(kSettling); // a tap that was held ready looks the same in the graph
        const pid_t process = vello_->pid();
        return {.memory = static_cast<double>(proportionalMemory(process)) / kMegabyte,
                .descriptors = openDescriptors(process),
                .threads = threads(process),
                .nodes = nodes(graph_.state()),
                .actions = actions_};
    }

    /// Grown memory in MB after 64 more players have come and gone. Before and after, as many taps are held
    /// ready.
    double growthByMany() {
        sample();
        const double before = memoryAfter(kHeldReady);
        return memoryAfter(kManyPlayers) - before;
    }

    int errors() const { return vello_->timesOutput("error "); }
    std::string log() const { return vello_->output(); }

private:
    /// Memory in MB after that many more players have come and gone.
    double memoryAfter(int more) {
        for (int number = kPlayers; number < kPlayers + more; ++number)
            play(number);
        await([more](const GraphState& state) { return captures(state) >= kPlayers + more; }, "all taps");
        for (int number = kPlayers; number < kPlayers + more; ++number)
            players_.erase(number);
        await([](const GraphState& state) { return captures(state) == kPlayers + kHeldReady; }, "16 taps");
        std::this_thread::sleep_for(kSettling);
        return static_cast<double>(proportionalMemory(vello_->pid())) / kMegabyte;
    }
    static int captures(const GraphState& state) {
        return static_cast<int>(std::ranges::count_if(state.nodes, [](const auto& node) {
            return node.second.name().starts_with(kTapPrefix) && !node.second.name().ends_with("-output");
        }));
    }
    static std::size_t nodes(const GraphState& state) {
        return static_cast<std::size_t>(std::ranges::count_if(
            state.nodes, [](const auto& node) { return node.second.name().starts_with(kTapPrefix); }));
    }
    int pick(int count) { return std::uniform_int_distribution(0, count - 1)(random_); }
    void play(int number) {
        const std::string name = playerName(number);
        players_[number] =
            startPlayer(session_, PlayerKind::native,
                        {.name = name, .applicationID = "org.example." + name, .signal = "constant=0.001"});
    }
    void set(int player, std::vector<std::string> change) {
        change.insert(change.begin(), {"set", "org.example." + playerName(player)});
        command(std::move(change));
    }
    /// A source that does not play may be unknown; that is its answer, and no failure.
    void command(std::vector<std::string> words) {
        ++actions_;
        words.insert(words.begin(), {"env", VELLO_PROGRAM});
        session_.start("command", words)->waitForExit(10s);
    }
    void plugOrUnplug() {
        if (hasThird_)
            graph_.destroyOutput("output-c");
        else
            graph_.createOutput("output-c", "Output C");
        hasThird_ = !hasThird_;
    }
    void await(const AudioGraph::Predicate& predicate, const char* state) {
        if (!graph_.waitUntil(predicate, 60s))
            throw std::runtime_error(std::string("not reached: ") + state + "\n" + describe(graph_.state()) +
                                     vello_->output());
    }

    PrivateAudioSession session_;
    AudioGraph graph_{session_.socket()};
    std::unique_ptr<ChildProcess> vello_;
    std::map<int, std::unique_ptr<ChildProcess>> players_;
    std::mt19937 random_{20261122};
    bool hasThird_ = false;
    int actions_ = 0;
};

void print(Clock::duration elapsed, const Sample& sample) {
    std::printf("%8.0f%12d%12.1f%14zu%10zu%8zu\n", std::chrono::duration<double>(elapsed).count(),
                sample.actions, sample.memory, sample.descriptors, sample.threads, sample.nodes);
    std::fflush(stdout);
}

bool isNoWorse(const Sample& last, const Sample& reference) {
    return last.memory <= reference.memory * kGrowth && last.descriptors <= reference.descriptors &&
           last.threads <= reference.threads && last.nodes <= reference.nodes;
}

bool run(std::chrono::seconds duration) {
    Bench bench;
    std::printf(" seconds    commands  memory, MB   descriptors   threads   nodes\n");
    const auto begin = Clock::now();
    std::optional<Sample> reference;
    Sample last;
    for (auto next = begin + kSamplePeriod; Clock::now() < begin + duration;) {
        bench.actAtRandom();
        std::this_thread::sleep_for(kActionPeriod);
        if (Clock::now() < next)
            continue;
        next += kSamplePeriod;
        last = bench.sample();
        print(Clock::now() - begin, last);
        if (!reference || Clock::now() <= begin + kReferenceTime + kSettling)
            reference = last;
    }
    const double growth = bench.growthByMany();
    std::printf("64 players that have come and gone leave %.1f MB; %d errors in the log\n", growth,
                bench.errors());
    if (bench.errors() > 0)
        std::fputs(bench.log().c_str(), stderr);
    return reference && isNoWorse(last, *reference) && growth <= kManyPlayersGrowth && bench.errors() == 0;
}

} // namespace
} // namespace vello::benchmark

int main(int count, char** arguments) {
    try {
        const std::chrono::seconds duration(count > 1 ? std::atoi(arguments[1]) : 3600);
        return vello::benchmark::run(duration) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
