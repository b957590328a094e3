// SPDX-License-Identifier: Apache-2.0
//
// The block kernel, compiled once for each supported instruction set.
#include "AudioEngine/Realtime/BlockKernel.h"
#include "AudioEngine/Realtime/BlockKernelTargets.h"

#include <algorithm>
#include <bit>
#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "BlockKernelVectors.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef VELLO_BLOCK_KERNEL_FOR
#define VELLO_BLOCK_KERNEL_FOR
namespace vello {
/// The kernel of one instruction set; null if it has no kernel.
template <std::int64_t kTarget> constexpr BlockKernel kBlockKernelFor = nullptr;
} // namespace vello
#endif

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128 // the reference is the scalar version

#include "BiquadCascadeVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vello {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using HalfFloats = hn::Half<Floats>;
using Doubles = hn::Rebind<double, HalfFloats>; ///< as many lanes as HalfFloats

/// Samples of a job without filters.
struct UnfilteredSamples {
    HWY_INLINE hn::Vec<Floats> vector(std::size_t i) const { return hn::LoadU(Floats(), samples + i); }
    HWY_INLINE float sample(std::size_t i) const { return samples[i]; }

    const float* samples;
};

/// What the filters leave in the scratch memory, to be rounded.
struct FilteredSamples {
    HWY_INLINE hn::Vec<Floats> vector(std::size_t i) const {
        return hn::Combine(Floats(), half(i + hn::Lanes(Doubles())), half(i));
    }
    HWY_INLINE hn::Vec<HalfFloats> half(std::size_t i) const {
        return hn::DemoteTo(HalfFloats(), hn::Load(Doubles(), samples + i));
    }
    HWY_INLINE float sample(std::size_t i) const { return static_cast<float>(samples[i]); }

    const double* samples;
};

/// Converts the samples for the filters. The filters themselves see one frame at a time, where conversions
/// would compete with their arithmetic; here a conversion is of a whole vector.
HWY_INLINE void promote(const float* source, double* destination, std::size_t count) {
    const auto convert = [=](std::size_t i) HWY_ATTR {
        hn::Store(hn::PromoteTo(Doubles(), hn::LoadU(HalfFloats(), source + i)), Doubles(), destination + i);
    };
    const std::size_t lanes = hn::Lanes(Doubles());
    std::size_t i = 0;
    for (; i + 2 * lanes <= count; i += 2 * lanes) {
        convert(i);
        convert(i + lanes);
    }
    for (; i < count; ++i)
        destination[i] = double{source[i]};
}

/// The samples that do not fill a vector: `samples` from `i` to `count`.
template <bool kMultiplies, std::size_t kChannels, class Samples>
HWY_INLINE std::uint32_t deliverRest(const BlockJob& job, Samples samples, std::size_t first, std::size_t i,
                                     std::size_t count) {
    constexpr std::uint32_t magnitude = 0x7FFFFFFFU;
    float* destination = job.destination + first * kChannels;
    std::uint32_t peak = 0;
    for (; i < count; ++i) {
        float sample = samples.sample(i);
        if constexpr (kMultiplies)
            sample *= job.gainStart + static_cast<float>(first + i / kChannels) * job.gainStep;
        destination[i] = sample;
        peak = std::max(peak, std::bit_cast<std::uint32_t>(sample) & magnitude);
    }
    return peak;
}

/// The last pass over the frames starting at `first`: takes their samples, applies the gain, writes them and
/// computes the peak.
template <bool kMultiplies, std::size_t kChannels, class Samples>
HWY_INLINE std::uint32_t deliver(const BlockJob& job, Samples samples, std::size_t first,
                                 std::size_t frames) {
    const Floats d;
    const hn::RebindToSigned<Floats> integers;
    const std::size_t lanes = hn::Lanes(d);
    const std::size_t count = frames * kChannels;
    float* destination = job.destination + first * kChannels;

    const auto frameOfLane = hn::Floor(hn::Mul(hn::Iota(d, 0), hn::Set(d, 1.0F / kChannels)));
    auto frame = hn::Add(hn::Set(d, static_cast<float>(first)), frameOfLane);
    const auto framesPerVector = hn::Set(d, static_cast<float>(lanes / kChannels));
    const auto start = hn::Set(d, job.gainStart);
    const auto step = hn::Set(d, job.gainStep);
    auto peaks = hn::Zero(integers);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        auto vector = samples.vector(i);
        if constexpr (kMultiplies) {
            vector = hn::Mul(vector, hn::Add(start, hn::Mul(frame, step)));
            frame = hn::Add(frame, framesPerVector);
        }
        hn::StoreU(vector, d, destination + i);
        peaks = hn::Max(peaks, hn::BitCast(integers, hn::Abs(vector)));
    }
    const auto peak = static_cast<std::uint32_t>(hn::GetLane(hn::MaxOfLanes(integers, peaks)));
    return std::max(peak, deliverRest<kMultiplies, kChannels>(job, samples, first, i, count));
}

template <std::size_t kChannels, class Samples>
HWY_INLINE std::uint32_t deliver(const BlockJob& job, Samples samples, std::size_t first,
                                 std::size_t frames) {
    return job.appliesGain ? deliver<true, kChannels>(job, samples, first, frames)
                           : deliver<false, kChannels>(job, samples, first, frames);
}

template <std::size_t kChannels>
std::uint32_t filterStretch(const BlockJob& job, std::size_t first, std::size_t frames) {
    promote(job.source + first * kChannels, job.scratch, frames * kChannels);
    filter<kChannels>(*job.setup, job.states, job.scratch, frames);
    return deliver<kChannels>(job, FilteredSamples{job.scratch}, first, frames);
}

template <std::size_t kChannels> std::uint32_t runJob(const BlockJob& job) {
    if (job.setup == nullptr)
        return deliver<kChannels>(job, UnfilteredSamples{job.source}, 0, job.frames);
    std::uint32_t peak = 0;
    for (std::size_t first = 0; first < job.frames; first += kScratchFrames)
        peak = std::max(peak,
                        filterStretch<kChannels>(job, first, std::min(kScratchFrames, job.frames - first)));
    return peak;
}

std::uint32_t vectorBlockKernel(const BlockJob& job) noexcept VELLO_REALTIME {
    switch (job.channelCount) {
    case 1:
        return runJob<1>(job);
    case 2:
        return runJob<2>(job);
    default:
        return referenceBlockKernel(job);
    }
}

} // namespace HWY_NAMESPACE
} // namespace vello
HWY_AFTER_NAMESPACE();

namespace vello {
template <> constexpr BlockKernel kBlockKernelFor<HWY_TARGET> = &HWY_NAMESPACE::vectorBlockKernel;
} // namespace vello

#endif

#if HWY_ONCE
namespace vello {

namespace {

/// Ordered by Highway's target bits: better instruction sets have lower ones.
template <std::size_t... bit>
std::vector<BlockKernelVariant> vectorKernelsFor(std::int64_t targets, std::index_sequence<bit...>) {
    std::vector<BlockKernelVariant> kernels;
    const auto add = [&](std::int64_t target, BlockKernel kernel) {
        if (kernel != nullptr && (targets & target) != 0)
            kernels.push_back({hwy::TargetName(target), kernel});
    };
    (add(std::int64_t{1} << bit, kBlockKernelFor<std::int64_t{1} << bit>), ...);
    return kernels;
}

} // namespace

std::vector<BlockKernelVariant> blockKernels() {
    auto kernels = vectorKernelsFor(HWY_SUPPORTED_TARGETS, std::make_index_sequence<63>());
    kernels.push_back({"reference", &referenceBlockKernel});
    return kernels;
}

} // namespace vello
#endif
