// SPDX-License-Identifier: Apache-2.0
//
// What a frame costs in the cascade alone and in the whole callback, with the kernel of every instruction set
// that this processor has, beside plain scalar float cascades and the cascades of libraries. All are measured
// in turns within one run, so that the ratios hold whatever else the machine does. Core cycles are measured
// in the same turns, by a chain of additions.
//
// vello_dsp_benchmark [--check]: with --check it fails when the chosen kernel misses a limit.
#include "AudioEngine/Realtime/BlockKernelChoice.h"
#include "AudioEngine/Realtime/DenormalsAreZero.h"
#include "AudioEngine/Realtime/EQDSP.h"
#include "AudioEngine/Realtime/TapRealtimeContext.h"
#include "CoreClock.h"
#include "DSPPeers.h"
#include "DSPSubject.h"
#include "PlainCascade.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace vello {
namespace {

constexpr std::size_t kTurns = 400;
constexpr std::size_t kFramesPerTurn = 9600;

constexpr Scenario kLongStereo{"480 frames, stereo", 480, 2};
constexpr Scenario kShortStereo{"64 frames, stereo", 64, 2};
constexpr Scenario kScenarios[] = {
    kLongStereo,
    kShortStereo,
    {"24 frames, stereo", 24, 2},
    {"144 frames, stereo", 144, 2},
    {"1024 frames, stereo", 1024, 2},
    {"480 frames, mono", 480, 1},
    {"64 frames, mono", 64, 1},
    {.name = "480 frames, stereo, silence after signal",
     .frames = 480,
     .channels = 2,
     .isSilentAfterSignal = true},
    {.name = "480 frames, stereo, curve on its way", .frames = 480, .channels = 2, .changesCurve = true},
};

enum class Role { Plain, Peer, Cascade, Callback };

/// What --check requires of the chosen kernel: one of the two.
struct Limit {
    const Scenario& scenario;
    Role role;
    double shareOfPlain;
    std::optional<double> cycles; ///< per frame
};

constexpr Limit kLimits[] = {
    {kLongStereo, Role::Cascade, 1.0 / 10, 8.0},
    {kLongStereo, Role::Callback, 1.0 / 10, 9.5},
    {kShortStereo, Role::Callback, 1.0 / 8, std::nullopt},
};

EQSettings benchmarkSettings() {
    EQSettings settings;
    settings.bandGains = {-6, -2, 1, 3, 4, 3, 2, 5};
    return settings;
}

EQSettings otherSettings() {
    EQSettings settings;
    settings.bandGains = {5, 2, 3, 4, 3, 1, -2, -6};
    return settings;
}

std::vector<float> whiteNoise(std::size_t count) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> distribution(-0.27F, 0.27F);
    std::vector<float> samples(count);
    std::ranges::generate(samples, [&] { return distribution(random); });
    return samples;
}

class PlainSubject : public Subject {
public:
    using Function = decltype(&plainCascade);

    PlainSubject(Function function, const Scenario& scenario)
        : function_(function), scenario_(scenario), states_(scenario.channels),
          samples_(scenario.frames * scenario.channels) {
        const EQChainSnapshot snapshot(benchmarkSettings(), 48000);
        for (const BiquadCoefficients& s : snapshot.biquadSetup()->sections())
            sections_.push_back({static_cast<float>(s.b0), static_cast<float>(s.b1), static_cast<float>(s.b2),
                                 static_cast<float>(s.a1), static_cast<float>(s.a2)});
    }

    void process(std::vector<float>& source) override {
        std::ranges::copy(source, samples_.begin());
        for (std::size_t c = 0; c < scenario_.channels; ++c)
            function_(sections_.data(), states_[c], samples_.data() + c, scenario_.channels,
                      scenario_.frames);
    }

private:
    Function function_;
    Scenario scenario_;
    std::vector<PlainState> states_;
    std::vector<float> samples_;
    std::vector<PlainSection> sections_;
};

/// The kernel with filters and without volume: float in, float out.
class CascadeSubject : public Subject {
public:
    CascadeSubject(BlockKernel kernel, const Scenario& scenario)
        : kernel_(kernel), scenario_(scenario), context_(true, static_cast<int>(scenario.channels), 1.0F),
          samples_(scenario.frames * scenario.channels) {}

    void process(std::vector<float>& source) override {
        kernel_({.source = source.data(),
                 .destination = samples_.data(),
                 .frames = scenario_.frames,
                 .channelCount = scenario_.channels,
                 .setup = snapshot_.biquadSetup(),
                 .states = context_.rt->delays.data(),
                 .scratch = context_.rt->scratch});
    }

private:
    BlockKernel kernel_;
    Scenario scenario_;
    EQChainSnapshot snapshot_{benchmarkSettings(), 48000};
    TapRealtimeContext context_;
    std::vector<float> samples_;
};

/// The I/O callback with everything: bridge, cascade, volume on its way, peak, ring.
class CallbackSubject : public Subject {
public:
    CallbackSubject(BlockKernel kernel, const Scenario& scenario)
        : scenario_(scenario), context_(true, static_cast<int>(scenario.channels), 0.5F, kernel),
          samples_(scenario.frames * scenario.channels) {
        context_.snapshotPointer.store(&snapshot_, std::memory_order_release);
    }

    void process(std::vector<float>& source) override {
        const auto channels = static_cast<std::uint32_t>(scenario_.channels);
        const auto bytes = static_cast<std::uint32_t>(source.size() * sizeof(float));
        AudioBufferListStorage<1> input{{1}, {{channels, bytes, source.data()}}};
        AudioBufferListStorage<1> output{{1}, {{channels, bytes, samples_.data()}}};
        volume_ = 1.25F - volume_; // every buffer ramps
        context_.setVolumeTarget(volume_);
        if (scenario_.changesCurve)
            context_.snapshotPointer.store(volume_ == 0.5F ? &snapshot_ : &other_, std::memory_order_release);
        eqByQUORVINProcessIOProc(1, &input.list, &output.list, &context_);
    }

private:
    Scenario scenario_;
    EQChainSnapshot snapshot_{benchmarkSettings(), 48000};
    EQChainSnapshot other_{otherSettings(), 48000};
    TapRealtimeContext context_;
    std::vector<float> samples_;
    float volume_ = 0.5F;
};

double medianOf(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

struct Measurement {
    std::string name;
    Role role;
    std::unique_ptr<Subject> subject;
    bool isChosen = false; ///< the kernel that VELLO uses on this processor
    std::vector<double> nanosecondsPerFrame = {};

    double minimum() const { return *std::ranges::min_element(nanosecondsPerFrame); }
    double median() const { return medianOf(nanosecondsPerFrame); }
};

/// The measurements of one scenario; the first one is the plain cascade.
struct Table {
    const Scenario& scenario;
    std::vector<Measurement> rows;
    std::vector<double> nanosecondsPerCycle = {};

    const Measurement& plain() const { return rows.front(); }
    const Measurement& chosen(Role role) const {
        return *std::ranges::find_if(
            rows, [role](const Measurement& row) { return row.isChosen && row.role == role; });
    }
    double cycles(const Measurement& row) const { return row.median() / medianOf(nanosecondsPerCycle); }
};

double timePerFrame(Subject& subject, std::vector<float>& source, std::size_t frames) {
    const std::size_t buffers = std::max<std::size_t>(1, kFramesPerTurn / frames);
    const DenormalsAreZero denormalsAreZero; // as on the data thread
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < buffers; ++i)
        subject.process(source);
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count() / static_cast<double>(buffers * frames);
}

void addPlain(Table& table) {
    const auto add = [&](const char* name, PlainSubject::Function function) {
        table.rows.push_back({name, Role::Plain, std::make_unique<PlainSubject>(function, table.scenario)});
    };
    add("plain float cascade", plainCascade);
    add("  by section", plainCascadeBySection);
}

void addPeers(Table& table) {
    const EQChainSnapshot snapshot(benchmarkSettings(), 48000);
    table.rows.push_back(
        {"liquid-dsp, float", Role::Peer, liquidSubject(snapshot.biquadSetup()->sections(), table.scenario)});
}

void addKernels(Table& table) {
    for (const BlockKernelVariant& variant : blockKernels()) {
        const std::string name = variant.name;
        const bool isChosen = variant.kernel == processBlockKernel().chosen.kernel;
        table.rows.push_back({name + " cascade", Role::Cascade,
                              std::make_unique<CascadeSubject>(variant.kernel, table.scenario), isChosen});
        table.rows.push_back({name + " callback", Role::Callback,
                              std::make_unique<CallbackSubject>(variant.kernel, table.scenario), isChosen});
    }
}

Table tableOf(const Scenario& scenario) {
    Table table{.scenario = scenario, .rows = {}};
    addPlain(table);
    addPeers(table);
    addKernels(table);
    return table;
}

/// With silence the signal comes first, and the measured turns go from its end into the decay and beyond.
void measure(Table& table) {
    const Scenario& scenario = table.scenario;
    std::vector<float> signal = whiteNoise(scenario.frames * scenario.channels);
    std::vector<float> silence(signal.size(), 0.0F);
    for (Measurement& row : table.rows)
        timePerFrame(*row.subject, signal, scenario.frames);
    for (std::size_t turn = 0; turn < kTurns; ++turn) {
        table.nanosecondsPerCycle.push_back(nanosecondsPerCycle());
        for (Measurement& row : table.rows)
            row.nanosecondsPerFrame.push_back(
                timePerFrame(*row.subject, scenario.isSilentAfterSignal ? silence : signal, scenario.frames));
    }
}

void print(const Table& table) {
    std::printf("%s (a core cycle: %.3f ns)\n", table.scenario.name, medianOf(table.nanosecondsPerCycle));
    for (const Measurement& row : table.rows)
        std::printf("  %-20s %7.2f ns (min %6.2f) %7.1f cycles a frame   1/%-5.1f of plain%s\n",
                    row.name.c_str(), row.median(), row.minimum(), table.cycles(row),
                    table.plain().median() / row.median(), row.isChosen ? ", chosen" : "");
}

bool judge(const std::string& sentence, bool isMet) {
    std::printf("  %s: %s\n", sentence.c_str(), isMet ? "met" : "MISSED");
    return isMet;
}

std::string sentenceOf(const Limit& limit, const std::string& name) {
    const auto divisor = static_cast<int>(std::lround(1.0 / limit.shareOfPlain));
    std::string sentence = name + " at most 1/" + std::to_string(divisor) + " of plain";
    if (limit.cycles) {
        char cycles[32];
        std::snprintf(cycles, sizeof cycles, " or %.1f cycles", *limit.cycles);
        sentence += cycles;
    }
    return sentence;
}

bool keeps(const Limit& limit, const Table& table) {
    const Measurement& row = table.chosen(limit.role);
    const bool isFewCycles = limit.cycles && table.cycles(row) <= *limit.cycles;
    return judge(sentenceOf(limit, row.name),
                 isFewCycles || row.median() <= limit.shareOfPlain * table.plain().median());
}

bool isAheadOfPeers(const Table& table) {
    const Measurement& cascade = table.chosen(Role::Cascade);
    return judge(cascade.name + " ahead of every peer",
                 std::ranges::all_of(table.rows, [&](const Measurement& row) {
                     return row.role != Role::Peer || cascade.median() < row.median();
                 }));
}

bool judge(const Table& table) {
    bool isFine = isAheadOfPeers(table);
    for (const Limit& limit : kLimits)
        if (std::string_view(limit.scenario.name) == table.scenario.name)
            isFine &= keeps(limit, table);
    return isFine;
}

/// What the start of VELLO pays once: the first choice runs on cold caches.
void reportChoice() {
    const auto microseconds = [](auto action) {
        const auto start = std::chrono::steady_clock::now();
        action();
        return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
    };
    const double first = microseconds([] { processBlockKernel(); });
    std::vector<double> again;
    for (std::size_t turn = 0; turn < kTurns; ++turn)
        again.push_back(microseconds([] { chooseBlockKernel(blockKernels()); }));
    std::printf("Kernel: %s. Chosen and tested in %.0f us; again in %.0f us (median).\n",
                processBlockKernel().chosen.name, first, medianOf(again));
}

int run(bool checks) {
    reportChoice();
    std::printf("Medians of %zu turns of %zu frames, each measured in turn.\n", kTurns, kFramesPerTurn);
    bool isFine = true;
    for (const Scenario& scenario : kScenarios) {
        Table table = tableOf(scenario);
        measure(table);
        print(table);
        isFine &= judge(table);
    }
    return checks && !isFine ? 1 : 0;
}

} // namespace
} // namespace vello

int main(int argc, char** argv) {
    return vello::run(argc > 1 && std::string_view(argv[1]) == "--check");
}
