// SPDX-License-Identifier: Apache-2.0
//
// Compares kernels with the reference, for the unit tests and for the program that runs on emulated
// processors. Needs only the C++ standard library.
#pragma once

#include "AudioEngine/Realtime/BlockKernel.h"
#include "AudioEngine/Realtime/BlockKernelSelfTest.h"
#include "support/SignalSupport.h"

#include <array>
#include <bit>
#include <cmath>
#include <string>
#include <vector>

namespace vello::test {

/// A kernel with its state and scratch memory.
class KernelRunner {
public:
    KernelRunner(BlockKernel kernel, std::size_t channels) : states(channels), kernel_(kernel) {
        job.channelCount = channels;
    }

    /// Runs the next `frames` frames of `samples` in place.
    std::uint32_t run(float* samples, std::size_t frames) { return run(samples, samples, frames); }
    std::uint32_t run(const float* source, float* destination, std::size_t frames) {
        job.source = source;
        job.destination = destination;
        job.frames = frames;
        job.states = states.data();
        job.scratch = scratch_.data();
        return kernel_(job);
    }

    BlockJob job;
    std::vector<CascadeState> states;

private:
    struct alignas(64) Scratch : std::array<double, kScratchSamples> {};
    BlockKernel kernel_;
    Scratch scratch_;
};

/// A signal split into consecutive blocks. Each continues from the state left by the previous one.
struct KernelCase {
    std::size_t channels = 2;
    std::vector<std::size_t> blocks; ///< frames per block
    std::vector<double> gains = {-6, 5, 3.5, -1.5, 12, 0, -12, 7};
    bool isFiltered = true;
    bool appliesGain = false;
    float gainStart = 0.25F;
    float gainStep = 0.01F;
    std::uint32_t seed = 1; ///< of the signal
};

inline void prepare(KernelRunner& runner, const KernelCase& kernelCase, const BiquadSetup* setup) {
    runner.job.setup = kernelCase.isFiltered ? setup : nullptr;
    runner.job.appliesGain = kernelCase.appliesGain;
    runner.job.gainStart = kernelCase.gainStart;
    runner.job.gainStep = kernelCase.gainStep;
}

/// Whether samples agree after a gain. If a sample is one unit in the last place off, its product with the
/// gain can be two units off, because the units of the product may be half as large beside it.
inline bool scaledSamplesAgree(float got, float expected) {
    return samplesAgree(got, expected) || samplesAgree(got, std::nextafter(expected, got));
}

/// Describes the first difference between the results for one block; empty if they agree.
inline std::string blockDisagreement(KernelRunner& tested, KernelRunner& reference,
                                     std::vector<float> samples, std::size_t frames) {
    std::vector<float> expected = samples;
    const auto peak = std::bit_cast<float>(tested.run(samples.data(), frames));
    const auto expectedPeak = std::bit_cast<float>(reference.run(expected.data(), frames));
    const auto agree = tested.job.appliesGain ? scaledSamplesAgree : samplesAgree;
    for (std::size_t i = 0; i < samples.size(); ++i)
        if (!agree(samples[i], expected[i]))
            return "sample " + std::to_string(i) + " is " + std::to_string(samples[i]) + " instead of " +
                   std::to_string(expected[i]);
    if (!agree(peak, expectedPeak))
        return "the peak is " + std::to_string(peak) + " instead of " + std::to_string(expectedPeak);
    for (std::size_t c = 0; c < tested.states.size(); ++c)
        if (!statesAgree(tested.states[c], reference.states[c]))
            return "the memory of channel " + std::to_string(c) + " differs";
    return "";
}

/// Describes the first difference between the kernel and the reference; empty if they agree.
inline std::string disagreement(BlockKernel kernel, const KernelCase& kernelCase) {
    const EQChainSnapshot snapshot(settingsWithGains(kernelCase.gains), 48000);
    KernelRunner tested(kernel, kernelCase.channels);
    KernelRunner reference(referenceBlockKernel, kernelCase.channels);
    prepare(tested, kernelCase, snapshot.biquadSetup());
    prepare(reference, kernelCase, snapshot.biquadSetup());
    std::uint32_t seed = kernelCase.seed;
    for (const std::size_t frames : kernelCase.blocks) {
        const auto fault =
            blockDisagreement(tested, reference, noise(frames * kernelCase.channels, seed++), frames);
        if (!fault.empty())
            return "a block of " + std::to_string(frames) + " frames, " +
                   std::to_string(kernelCase.channels) + " channels: " + fault;
    }
    return "";
}

/// Every short block length, and long ones with every remainder.
inline std::vector<KernelCase> kernelCases() {
    std::vector<KernelCase> cases;
    for (const std::size_t channels : {1U, 2U, 3U}) {
        for (std::size_t frames = 1; frames <= 100; ++frames)
            cases.push_back({.channels = channels,
                             .blocks = std::vector<std::size_t>(5, frames),
                             .appliesGain = frames % 2 == 0,
                             .seed = static_cast<std::uint32_t>(frames)});
        for (const bool isFiltered : {true, false})
            cases.push_back({.channels = channels,
                             .blocks = {480, 1, 1024, 1025, 7, 2048, 2100, 64, 993, 128},
                             .isFiltered = isFiltered,
                             .appliesGain = true,
                             .gainStep = -1e-4F});
    }
    return cases;
}

} // namespace vello::test
