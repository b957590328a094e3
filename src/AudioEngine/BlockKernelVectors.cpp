// SPDX-License-Identifier: Apache-2.0
//
// The block kernel, compiled once for each instruction set that the processor may have.
#include "AudioEngine/BlockKernel.h"

#include <algorithm>
#include <array>
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

HWY_INLINE void widen(const float* source, std::size_t count, double* destination) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<float, decltype(d)> floats;
    const std::size_t lanes = hn::Lanes(d);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes)
        hn::StoreU(hn::PromoteTo(d, hn::LoadU(floats, source + i)), d, destination + i);
    for (; i < count; ++i)
        destination[i] = double{source[i]};
}

/// Where the last pass over the samples takes them from.
struct FromScratch {
    const double* samples;

    template <class D> HWY_INLINE hn::Vec<D> load(D d, std::size_t index) const {
        const hn::Rebind<double, D> doubles;
        return hn::DemoteTo(d, hn::LoadU(doubles, samples + index));
    }
    HWY_INLINE float sample(std::size_t index) const { return static_cast<float>(samples[index]); }
};

struct FromSource {
    const float* samples;

    template <class D> HWY_INLINE hn::Vec<D> load(D d, std::size_t index) const {
        return hn::LoadU(d, samples + index);
    }
    HWY_INLINE float sample(std::size_t index) const { return samples[index]; }
};

/// The last pass: takes the samples of `frames` frames from `source`, multiplies, writes and measures them.
/// The first is frame `first` of the job.
template <bool kMultiplies, std::size_t kChannels, class D, class Source>
HWY_INLINE std::uint32_t deliver(D d, const BlockJob& job, const Source& source, std::size_t first,
                                 std::size_t frames) {
    constexpr std::uint32_t magnitude = 0x7FFFFFFFU;
    const hn::RebindToSigned<D> integers;
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
        auto samples = source.load(d, i);
        if constexpr (kMultiplies) {
            samples = hn::Mul(samples, hn::Add(start, hn::Mul(frame, step)));
            frame = hn::Add(frame, framesPerVector);
        }
        hn::StoreU(samples, d, destination + i);
        peaks = hn::Max(peaks, hn::BitCast(integers, hn::Abs(samples)));
    }
    std::uint32_t peak = static_cast<std::uint32_t>(hn::GetLane(hn::MaxOfLanes(integers, peaks)));
    for (; i < count; ++i) {
        float sample = source.sample(i);
        if constexpr (kMultiplies)
            sample *= job.gainStart + static_cast<float>(first + i / kChannels) * job.gainStep;
        destination[i] = sample;
        peak = std::max(peak, std::bit_cast<std::uint32_t>(sample) & magnitude);
    }
    return peak;
}

template <std::size_t kChannels, class D, class Source>
HWY_INLINE std::uint32_t deliverWithGain(D d, const BlockJob& job, const Source& source, std::size_t first,
                                         std::size_t frames) {
    return job.appliesGain ? deliver<true, kChannels>(d, job, source, first, frames)
                           : deliver<false, kChannels>(d, job, source, first, frames);
}

template <std::size_t kChannels>
std::uint32_t filterStretch(const BlockJob& job, std::size_t first, std::size_t frames) {
    const hn::Rebind<float, hn::ScalableTag<double>> floats;
    widen(job.source + first * kChannels, frames * kChannels, job.scratch);
    filter<kChannels>(*job.setup, job.states, job.scratch, frames);
    return deliverWithGain<kChannels>(floats, job, FromScratch{job.scratch}, first, frames);
}

template <std::size_t kChannels> std::uint32_t runJob(const BlockJob& job) {
    if (job.setup == nullptr)
        return deliverWithGain<kChannels>(hn::ScalableTag<float>(), job, FromSource{job.source}, 0,
                                          job.frames);
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
