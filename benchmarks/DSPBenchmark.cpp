// SPDX-License-Identifier: Apache-2.0
//
// What a frame costs in the cascade alone and in the whole callback, beside the plain scalar float cascade
// and the kernels for older processors. All are measured in turns within one run, so that the ratios hold
// whatever else the machine does.
//
// vello_dsp_benchmark [--check]: with --check it fails when a ratio at 480 stereo frames misses its target.
#include "AudioEngine/Realtime/BlockKernelChoice.h"
#include "AudioEngine/Realtime/EQDSP.h"
#include "AudioEngine/Realtime/TapRealtimeContext.h"
#include "PlainCascade.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string_view>
#include <vector>

namespace vello {
namespace {

constexpr std::size_t kTurns = 400;
constexpr std::size_t kFramesPerTurn = 9600;
constexpr double kCascadeTarget = 9.0;
constexpr double kCallbackTarget = 8.0;

struct Scenario {
    const char* name;
    std::size_t frames;
    std::size_t channels;
    bool isSilentAfterSignal;
};

constexpr Scenario kScenarios[] = {
    {"480 frames, stereo", 480, 2, false}, {"64 frames, stereo", 64, 2, false},
    {"144 frames, stereo", 144, 2, false}, {"1024 frames, stereo", 1024, 2, false},
    {"480 frames, mono", 480, 1, false},   {"480 frames, stereo, silence after signal", 480, 2, true},
};

EQSettings benchmarkSettings() {
    EQSettings settings;
    settings.bandGains = {-6, -2, 1, 3, 4, 3, 2, 5};
    return settings;
}

std::vector<float> whiteNoise(std::size_t count) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> distribution(-0.27F, 0.27F);
    std::vector<float> samples(count);
    std::ranges::generate(samples, [&] { return distribution(random); });
    return samples;
}

/// One thing to be measured: takes a buffer of source samples, and has its output somewhere of its own.
class Subject {
public:
    virtual ~Subject() = default;
    virtual void process(std::vector<float>& source) = 0;
};

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
    explicit CallbackSubject(const Scenario& scenario)
        : context_(true, static_cast<int>(scenario.channels), 0.5F),
          channels_(static_cast<std::uint32_t>(scenario.channels)),
          samples_(scenario.frames * scenario.channels) {
        context_.snapshotPointer.store(&snapshot_, std::memory_order_release);
    }

    void process(std::vector<float>& source) override {
        const auto bytes = static_cast<std::uint32_t>(source.size() * sizeof(float));
        AudioBufferListStorage<1> input{{1}, {{channels_, bytes, source.data()}}};
        AudioBufferListStorage<1> output{{1}, {{channels_, bytes, samples_.data()}}};
        volume_ = 1.25F - volume_; // every buffer ramps
        context_.setVolumeTarget(volume_);
        eqByQUORVINProcessIOProc(1, &input.list, &output.list, &context_);
    }

private:
    EQChainSnapshot snapshot_{benchmarkSettings(), 48000};
    TapRealtimeContext context_;
    std::uint32_t channels_;
    std::vector<float> samples_;
    float volume_ = 0.5F;
};

struct Measurement {
    const char* name;
    std::unique_ptr<Subject> subject;
    std::vector<double> nanosecondsPerFrame;

    double minimum() const { return *std::ranges::min_element(nanosecondsPerFrame); }
    double median() const {
        std::vector<double> sorted = nanosecondsPerFrame;
        std::ranges::sort(sorted);
        return sorted[sorted.size() / 2];
    }
};

double timePerFrame(Subject& subject, std::vector<float>& source, std::size_t frames) {
    const std::size_t buffers = std::max<std::size_t>(1, kFramesPerTurn / frames);
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < buffers; ++i)
        subject.process(source);
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count() / static_cast<double>(buffers * frames);
}

std::vector<Measurement> subjectsOf(const Scenario& scenario) {
    std::vector<Measurement> subjects;
    subjects.push_back({"plain float cascade", std::make_unique<PlainSubject>(plainCascade, scenario), {}});
    subjects.push_back({"  by section", std::make_unique<PlainSubject>(plainCascadeBySection, scenario), {}});
    subjects.push_back(
        {"cascade", std::make_unique<CascadeSubject>(processBlockKernel().chosen.kernel, scenario), {}});
    subjects.push_back({"whole callback", std::make_unique<CallbackSubject>(scenario), {}});
    for (const BlockKernelVariant& variant : blockKernels())
        if (variant.kernel != processBlockKernel().chosen.kernel)
            subjects.push_back(
                {variant.name, std::make_unique<CascadeSubject>(variant.kernel, scenario), {}});
    return subjects;
}

/// With silence the signal comes first, and the measured turns go from its end into the decay and beyond.
void measure(const Scenario& scenario, std::vector<Measurement>& subjects) {
    std::vector<float> signal = whiteNoise(scenario.frames * scenario.channels);
    std::vector<float> silence(signal.size(), 0.0F);
    for (Measurement& m : subjects)
        timePerFrame(*m.subject, signal, scenario.frames);
    for (std::size_t turn = 0; turn < kTurns; ++turn)
        for (Measurement& m : subjects)
            m.nanosecondsPerFrame.push_back(
                timePerFrame(*m.subject, scenario.isSilentAfterSignal ? silence : signal, scenario.frames));
}

bool report(const Scenario& scenario, const std::vector<Measurement>& subjects) {
    std::printf("%s\n", scenario.name);
    const Measurement& plain = subjects[0];
    for (const Measurement& m : subjects)
        std::printf("  %-22s min %7.2f ns  median %7.2f ns a frame   1/%-5.1f 1/%-5.1f of plain\n", m.name,
                    m.minimum(), m.median(), plain.minimum() / m.minimum(), plain.median() / m.median());
    const bool isCascadeMet = plain.median() >= kCascadeTarget * subjects[2].median();
    const bool isCallbackMet = plain.median() >= kCallbackTarget * subjects[3].median();
    std::printf("  medians: cascade at most 1/%.0f of plain %s, whole callback at most 1/%.0f %s\n",
                kCascadeTarget, isCascadeMet ? "met" : "MISSED", kCallbackTarget,
                isCallbackMet ? "met" : "MISSED");
    return isCascadeMet && isCallbackMet;
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
    std::ranges::sort(again);
    std::printf("Kernel: %s. Chosen and tested in %.0f us; again in %.0f us (median).\n",
                processBlockKernel().chosen.name, first, again[again.size() / 2]);
}

int run(bool checks) {
    reportChoice();
    std::printf("Times of %zu turns of %zu frames, each measured in turn.\n", kTurns, kFramesPerTurn);
    bool meetsTargets = true;
    for (const Scenario& scenario : kScenarios) {
        auto subjects = subjectsOf(scenario);
        measure(scenario, subjects);
        const bool meets = report(scenario, subjects);
        if (&scenario == &kScenarios[0])
            meetsTargets = meets;
    }
    return checks && !meetsTargets ? 1 : 0;
}

} // namespace
} // namespace vello

int main(int argc, char** argv) {
    return vello::run(argc > 1 && std::string_view(argv[1]) == "--check");
}
