// SPDX-License-Identifier: Apache-2.0
//
// The block kernel, compiled once for each instruction set that the processor may have.
#include "AudioEngine/BlockKernel.h"

#include <algorithm>
#include <bit>

// Vectors whose size the compiler does not know cannot be members of a class; those processors take the fixed
// size. Of the x86 sets the others have nothing that the kernel would use.
#define HWY_DISABLED_TARGETS                                                                                 \
    (HWY_SSSE3 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "BlockKernelVectors.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#if HWY_TARGET != HWY_SCALAR
#include "BiquadCascadeVectors-inl.h"
#endif

HWY_BEFORE_NAMESPACE();
namespace vello {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

/// Lanes of one value gain nothing over plain code.
std::uint32_t vectorBlockKernel(const BlockJob& job) {
    return referenceBlockKernel(job);
}

#else

/// The last pass: takes the samples of the frames from `first` on from `source`, multiplies, writes and
/// measures them.
template <bool kMultiplies, std::size_t kChannels>
HWY_INLINE std::uint32_t deliver(const BlockJob& job, const float* source, std::size_t first,
                                 std::size_t frames) {
    constexpr std::uint32_t magnitude = 0x7FFFFFFFU;
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> integers;
    const std::size_t lanes = hn::Lanes(d);
    const std::size_t count = frames * kChannels;
    float* destination = job.destination + first * kChannels;

    HWY_ALIGN float frameOfLane[hn::MaxLanes(d)];
    for (std::size_t lane = 0; lane < lanes; ++lane)
        frameOfLane[lane] = static_cast<float>(first + lane / kChannels);
    auto frame = hn::Load(d, frameOfLane);
    const auto framesPerVector = hn::Set(d, static_cast<float>(lanes / kChannels));
    const auto start = hn::Set(d, job.gainStart);
    const auto step = hn::Set(d, job.gainStep);
    auto peaks = hn::Zero(integers);
    std::size_t i = 0;
    for (; lanes >= kChannels && i + lanes <= count; i += lanes) {
        auto samples = hn::LoadU(d, source + i);
        if constexpr (kMultiplies) {
            samples = hn::Mul(samples, hn::Add(start, hn::Mul(frame, step)));
            frame = hn::Add(frame, framesPerVector);
        }
        hn::StoreU(samples, d, destination + i);
        peaks = hn::Max(peaks, hn::BitCast(integers, hn::Abs(samples)));
    }
    std::uint32_t peak = static_cast<std::uint32_t>(hn::GetLane(hn::MaxOfLanes(integers, peaks)));
    for (; i < count; ++i) {
        float sample = source[i];
        if constexpr (kMultiplies)
            sample *= job.gainStart + static_cast<float>(first + i / kChannels) * job.gainStep;
        destination[i] = sample;
        peak = std::max(peak, std::bit_cast<std::uint32_t>(sample) & magnitude);
    }
    return peak;
}

template <std::size_t kChannels>
HWY_INLINE std::uint32_t deliver(const BlockJob& job, const float* source, std::size_t first,
                                 std::size_t frames) {
    return job.appliesGain ? deliver<true, kChannels>(job, source, first, frames)
                           : deliver<false, kChannels>(job, source, first, frames);
}

template <std::size_t kChannels>
std::uint32_t filterStretch(const BlockJob& job, std::size_t first, std::size_t frames) {
    float* filtered = job.destination + first * kChannels;
    filter<kChannels>(*job.setup, job.states, job.source + first * kChannels, filtered, job.scratch, frames);
    return deliver<kChannels>(job, filtered, first, frames);
}

template <std::size_t kChannels> std::uint32_t runJob(const BlockJob& job) {
    if (job.setup == nullptr)
        return deliver<kChannels>(job, job.source, 0, job.frames);
    std::uint32_t peak = 0;
    for (std::size_t first = 0; first < job.frames; first += kScratchFrames)
        peak = std::max(peak,
                        filterStretch<kChannels>(job, first, std::min(kScratchFrames, job.frames - first)));
    return peak;
}

std::uint32_t vectorBlockKernel(const BlockJob& job) {
    switch (job.channelCount) {
    case 1:
        return runJob<1>(job);
    case 2:
        return runJob<2>(job);
    default:
        return referenceBlockKernel(job);
    }
}

#endif

} // namespace HWY_NAMESPACE
} // namespace vello
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vello {

HWY_EXPORT(vectorBlockKernel);

BlockKernel selectBlockKernel() noexcept {
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    return &HWY_DYNAMIC_DISPATCH(vectorBlockKernel);
}

} // namespace vello
#endif
