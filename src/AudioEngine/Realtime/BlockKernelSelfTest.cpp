// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/BlockKernelSelfTest.h"

#include "AudioEngine/Realtime/EQChainSnapshot.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>

namespace vello {

namespace {

/// Long enough for every kernel to run all its sections at the same time.
constexpr std::size_t kLongestBlock = 90;

struct Block {
    std::size_t frames;
    bool isFiltered = true;
    float gainStart = 1.0F;
    float gainStep = 0.0F;
};

/// Blocks of lengths that kernels treat differently, with and without filters and gain. Each continues from
/// the state left by the previous one.
constexpr Block kBlocks[] = {
    {.frames = 1},
    {.frames = 67, .gainStart = 0.5F, .gainStep = 0.01F},
    {.frames = 7},
    {.frames = 33, .isFiltered = false, .gainStart = 0.75F, .gainStep = -0.01F},
    {.frames = kLongestBlock},
    {.frames = 23},
    {.frames = 1, .gainStart = 0.25F},
    {.frames = 7, .gainStart = 2.0F, .gainStep = -0.1F},
    {.frames = 64},
};

/// Runs the test signal through one kernel, block by block.
class Channels {
public:
    Channels(BlockKernel kernel, std::size_t count, const BiquadSetup& setup)
        : kernel_(kernel), count_(count), setup_(&setup) {}

    void run(const Block& block, const float* source) {
        peak_ = kernel_({.source = source,
                         .destination = samples_.data(),
                         .frames = block.frames,
                         .channelCount = count_,
                         .setup = block.isFiltered ? setup_ : nullptr,
                         .states = states_.data(),
                         .scratch = scratch_,
                         .appliesGain = block.gainStart != 1.0F || block.gainStep != 0.0F,
                         .gainStart = block.gainStart,
                         .gainStep = block.gainStep});
    }

    bool agreesWith(const Channels& reference, const Block& block) const {
        const auto end = samples_.begin() + static_cast<std::ptrdiff_t>(block.frames * count_);
        return samplesAgree(std::bit_cast<float>(peak_), std::bit_cast<float>(reference.peak_)) &&
               std::equal(samples_.begin(), end, reference.samples_.begin(), samplesAgree) &&
               std::ranges::equal(states_, reference.states_, statesAgree);
    }

private:
    alignas(64) double scratch_[kScratchSamples];
    std::array<CascadeState, 2> states_;
    std::array<float, 2 * kLongestBlock> samples_ = {};
    BlockKernel kernel_;
    std::size_t count_;
    const BiquadSetup* setup_;
    std::uint32_t peak_ = 0;
};

EQSettings curve() {
    EQSettings settings;
    settings.bandGains = {-6, 5, 3.5, -1.5, 12, -9, -12, 7};
    return settings;
}

/// White noise.
std::array<float, 2 * kLongestBlock> testSignal() {
    std::array<float, 2 * kLongestBlock> signal;
    std::uint32_t random = 1;
    for (float& sample : signal) {
        random = random * 1664525U + 1013904223U;
        sample = static_cast<float>(static_cast<std::int32_t>(random)) * 0x1p-32F;
    }
    return signal;
}

bool agrees(BlockKernel kernel, std::size_t channelCount) {
    const EQChainSnapshot snapshot(curve(), 48000);
    const auto signal = testSignal();
    const auto tested = std::make_unique<Channels>(kernel, channelCount, *snapshot.biquadSetup());
    const auto reference =
        std::make_unique<Channels>(&referenceBlockKernel, channelCount, *snapshot.biquadSetup());
    return std::ranges::all_of(kBlocks, [&](const Block& block) {
        tested->run(block, signal.data());
        reference->run(block, signal.data());
        return tested->agreesWith(*reference, block);
    });
}

std::int64_t unitsBetween(float a, float b) noexcept {
    const auto place = [](float value) -> std::int64_t {
        const auto bits = std::bit_cast<std::int32_t>(value);
        return bits >= 0 ? bits : std::int64_t{std::numeric_limits<std::int32_t>::min()} - bits;
    };
    return std::abs(place(a) - place(b));
}

template <std::size_t kCount>
bool valuesAgree(const double (&got)[kCount], const double (&expected)[kCount]) noexcept {
    return std::ranges::equal(got, expected, [](double a, double b) { return std::abs(a - b) <= 1e-12; });
}

} // namespace

bool samplesAgree(float got, float expected) noexcept {
    return unitsBetween(got, expected) <= 1 || std::abs(got - expected) < 1e-13F;
}

bool statesAgree(const CascadeState& got, const CascadeState& expected) noexcept {
    for (std::size_t age = 0; age < 2; ++age)
        if (!valuesAgree(got.differences[age], expected.differences[age]) ||
            !valuesAgree(got.histories[age], expected.histories[age]))
            return false;
    return true;
}

bool passesSelfTest(BlockKernel kernel) {
    return agrees(kernel, 1) && agrees(kernel, 2);
}

} // namespace vello
