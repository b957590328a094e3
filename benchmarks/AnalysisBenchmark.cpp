// SPDX-License-Identifier: Apache-2.0
//
// What the analysis of what plays costs: a tempo estimate for each audible source twice a second, over all
// its samples and, as the meters do it, with sums that were made as the samples arrived; and a spectrum for
// one source at every tick of the meters. The counter says how much of one core that is for the estimates of
// as many sources as there are rings, or for the spectrum 30 times a second.
#include "AudioEngine/Analysis/SpectrumAnalyzer.h"
#include "AudioEngine/Analysis/TempoAnalyzer.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

namespace vello {
namespace {

constexpr std::size_t kRingCapacity = std::size_t{1} << 20; // as a tap's
constexpr double kSampleRate = 48000;
constexpr int kChannels = 2;

using Ring = std::unique_ptr<AudioSampleRingBuffer>;

/// A ring full of noise that is louder every half second.
Ring fullRing(unsigned seed) {
    auto ring = std::make_unique<AudioSampleRingBuffer>(kRingCapacity);
    std::minstd_rand random(seed);
    std::uniform_real_distribution<float> distribution(-1, 1);
    std::vector<float> block(960);
    for (std::size_t hop = 0; hop * block.size() < kRingCapacity + 100 * block.size(); ++hop) {
        for (float& sample : block)
            sample = distribution(random) * (hop % 50 == 0 ? 0.5F : 0.05F);
        ring->write(block.data(), block.size());
    }
    return ring;
}

std::vector<Ring> fullRings(std::size_t count) {
    std::vector<Ring> rings;
    for (unsigned i = 0; i < count; ++i)
        rings.push_back(fullRing(i + 1));
    return rings;
}

/// The time of one core that `perSecond` iterations take: 10 ms are 1 %.
benchmark::Counter coreTime(double perSecond) {
    return {1 / perSecond, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert};
}

void tempoOfSources(benchmark::State& state) {
    const auto rings = fullRings(static_cast<std::size_t>(state.range(0)));
    const TempoAnalyzer analyzer;
    std::size_t next = 0;
    for (auto _ : state) {
        auto tempo = analyzer.estimate(*rings[next++ % rings.size()], kSampleRate, kChannels);
        if (!tempo)
            state.SkipWithError("the beat was not found");
        benchmark::DoNotOptimize(tempo);
    }
    state.counters["each_second"] = coreTime(2 * static_cast<double>(rings.size()));
}
BENCHMARK(tempoOfSources)->Arg(1)->Arg(64)->Unit(benchmark::kMicrosecond);

constexpr std::size_t kSamplesPerTick = 2 * 1584;
constexpr std::size_t kTicksPerEstimate = 16;

/// The sound between two estimates: noise that is loud at its beginning.
std::vector<float> soundOfOneBeat() {
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> distribution(-1, 1);
    std::vector<float> sound(kTicksPerEstimate * kSamplesPerTick);
    for (std::size_t i = 0; i < sound.size(); ++i)
        sound[i] = distribution(random) * (i < 960 ? 0.5F : 0.05F);
    return sound;
}

/// One estimate and the ticks before it. Writing the sound is not counted.
void runningTempoOfSources(benchmark::State& state) {
    const auto rings = fullRings(static_cast<std::size_t>(state.range(0)));
    const std::vector<float> sound = soundOfOneBeat();
    const TempoAnalyzer analyzer;
    const std::size_t reach = TempoAnalyzer::longestSound(*rings.front(), kSampleRate, kChannels);
    std::vector<RunningEnergy> energies(rings.size(), RunningEnergy(reach, kChannels));
    std::size_t next = 0;
    for (auto _ : state) {
        AudioSampleRingBuffer& ring = *rings[next % rings.size()];
        RunningEnergy& energy = energies[next++ % rings.size()];
        for (std::size_t tick = 0; tick < kTicksPerEstimate; ++tick) {
            state.PauseTiming();
            ring.write(&sound[tick * kSamplesPerTick], kSamplesPerTick);
            state.ResumeTiming();
            energy.update(ring);
        }
        auto tempo = analyzer.estimate(ring, energy, kSampleRate, kChannels);
        if (!tempo)
            state.SkipWithError("the beat was not found");
        benchmark::DoNotOptimize(tempo);
    }
    state.counters["each_second"] = coreTime(2 * static_cast<double>(rings.size()));
}
BENCHMARK(runningTempoOfSources)->Arg(1)->Arg(64)->Unit(benchmark::kMicrosecond);

void spectrum(benchmark::State& state) {
    const Ring ring = fullRing(1);
    SpectrumAnalyzer analyzer;
    for (auto _ : state)
        benchmark::DoNotOptimize(analyzer.bandMagnitudes(*ring, kSampleRate, kChannels));
    state.counters["each_second"] = coreTime(30);
}
BENCHMARK(spectrum)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace vello

BENCHMARK_MAIN();
