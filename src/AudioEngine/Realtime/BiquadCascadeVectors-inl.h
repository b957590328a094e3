// SPDX-License-Identifier: Apache-2.0
//
// Runs the cascade of eight sections over a block with the vectors of one instruction set. Included once per
// instruction set.
//
// Sections in series form a dependency chain: each needs the output of the one before it. If section k works
// on an older sample than section k - 1, however, they can run at the same time in the lanes of a vector.
//
// A pass runs the samples through as many sections as two vectors hold; more vectors would not fit in the
// registers. The channels of a frame are adjacent lanes, and section k is place k / 2 of vector k % 2. The
// outputs of the even vector are the inputs of the odd vector without a shuffle; the outputs of the odd
// vector move by one place to become inputs of the even one. Place 0 is in the highest lanes, so that a
// finished frame is in the lowest lanes, where it can be stored without a shuffle. Each section runs some
// frames, the skew, behind the one before it, to hide the latency of the arithmetic.
//
// A block must be processed completely, so the sections start one after the other at its beginning, each with
// the state left by the previous block, and stop one after the other at its end. That costs depth extra
// steps per block.
#if defined(VELLO_BIQUAD_CASCADE_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VELLO_BIQUAD_CASCADE_VECTORS_INL_H
#undef VELLO_BIQUAD_CASCADE_VECTORS_INL_H
#else
#define VELLO_BIQUAD_CASCADE_VECTORS_INL_H
#endif

#include "AudioEngine/Realtime/BiquadCascade.h"
#include "SectionVectors-inl.h"

#include <hwy/highway.h>

#include <array>
#include <cstddef>
#include <utility>

HWY_BEFORE_NAMESPACE();
namespace vello {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// One pass over `samples` in place, through the sections starting at `first`. Needs more than depth frames.
template <class D, std::size_t kChannels, std::size_t kVectors, std::size_t kSkew> class Pass {
    using L = Layout<D, kChannels, kVectors>;

public:
    static constexpr std::size_t depth = (L::sections - 1) * kSkew;

    HWY_INLINE Pass(const BiquadSetup& setup, CascadeState* states, std::size_t first, double* samples,
                    std::size_t frames)
        : states_(states), first_(first), samples_(samples), frames_(frames) {
        L::load(same(setup.excess), first, even_.excess, odd_.excess);
        L::load(same(setup.a1), first, even_.a1, odd_.a1);
        L::load(same(setup.a2), first, even_.a2, odd_.a2);
        L::load(each<const double>(&CascadeState::differences, 0), first, even_.w1, odd_.w1);
        L::load(each<const double>(&CascadeState::differences, 1), first, even_.w2, odd_.w2);
        L::load(each<const double>(&CascadeState::histories, 0), first, even_.x1, odd_.x1);
        L::load(each<const double>(&CascadeState::histories, 1), first, even_.x2, odd_.x2);
        clear(Steps());
    }

    HWY_INLINE void run() {
        joinAll();
        advance();
        leaveAll();
    }

private:
    using Vector = typename L::Vector;
    using Steps = std::make_index_sequence<kSkew>;
    // Compilers keep an array in registers only if every index is a constant, so loops over steps are
    // unrolled by hand.
    using Line = Vector[kSkew];

    static HWY_INLINE auto same(const std::array<double, kSectionCount>& values) {
        typename L::ConstantValues all;
        all.fill(values.data());
        return all;
    }
    template <class Value, std::size_t kCount>
    HWY_INLINE std::array<Value*, kChannels> each(double (CascadeState::*values)[2][kCount],
                                                  std::size_t age) const {
        std::array<Value*, kChannels> pointers;
        for (std::size_t c = 0; c < kChannels; ++c)
            pointers[c] = (states_[c].*values)[age];
        return pointers;
    }
    HWY_INLINE Vector load(std::size_t frame) const { return L::loadFrame(samples_ + frame * kChannels); }
    HWY_INLINE void store(Vector outputs, std::size_t frame) const {
        L::storeFrame(outputs, samples_ + frame * kChannels);
    }

    /// Starts the sections one after the other, with the state left by the previous block.
    HWY_INLINE void joinAll() {
        const Sections<D> even = even_;
        const Sections<D> odd = odd_;
        std::size_t frame = 0;
        if constexpr (kVectors == 2) {
            enterEven(frame, Steps());
            frame += kSkew;
        }
#pragma GCC unroll 8 // makes every mask a constant
        for (std::size_t place = 1; place < L::places; ++place) {
            enter(frame, Steps());
            frame += kSkew;
            even_.takeState(L::onlyPlace(place), even);
            if constexpr (kVectors == 2) {
                enter(frame, Steps());
                frame += kSkew;
                odd_.takeState(L::onlyPlace(place), odd);
            }
        }
    }

    HWY_INLINE void advance() {
        std::size_t frame = depth;
        for (; frame + kSkew <= frames_; frame += kSkew)
            pass(frame, Steps());
        passRest<0>(frame);
    }

    /// Stops the sections one after the other and saves their state.
    HWY_INLINE void leaveAll() {
        Sections<D> even = even_;
        Sections<D> odd = odd_;
        std::size_t frame = frames_ - depth;
#pragma GCC unroll 8
        for (std::size_t place = 1; place < L::places; ++place) {
            if constexpr (kVectors == 2) {
                drain(frame, Steps());
                frame += kSkew;
                odd.takeState(L::onlyPlace(place - 1), odd_);
            }
            drain(frame, Steps());
            frame += kSkew;
            even.takeState(L::onlyPlace(place), even_);
        }
        if constexpr (kVectors == 2) {
            drainOdd(frame, Steps());
            odd.takeState(L::onlyPlace(L::places - 1), odd_);
        }
        L::store(even.w1, odd.w1, each<double>(&CascadeState::differences, 0), first_);
        L::store(even.w2, odd.w2, each<double>(&CascadeState::differences, 1), first_);
        L::store(even.x1, odd.x1, each<double>(&CascadeState::histories, 0), first_);
        L::store(even.x2, odd.x2, each<double>(&CascadeState::histories, 1), first_);
    }

    /// Runs one step of every section and returns the outputs; the last place is a finished frame. Inputs are
    /// the outputs from kSkew steps ago, which is the last step with the same i.
    template <std::size_t i> HWY_INLINE Vector step(Vector input) {
        if constexpr (kVectors == 1) {
            fromEven_[i] = even_.process(L::moveOn(fromEven_[i], input));
            return fromEven_[i];
        } else {
            const Vector moved = L::moveOn(fromOdd_[i], input);
            fromOdd_[i] = odd_.process(fromEven_[i]);
            fromEven_[i] = even_.process(moved);
            return fromOdd_[i];
        }
    }

    template <std::size_t... i> HWY_INLINE void enter(std::size_t frame, std::index_sequence<i...>) {
        (step<i>(load(frame + i)), ...);
    }
    template <std::size_t... i> HWY_INLINE void drain(std::size_t frame, std::index_sequence<i...>) {
        (store(step<i>(hn::Zero(D())), frame + i), ...);
    }
    /// The same for the very first and last steps, in which only the even or only the odd vector runs.
    template <std::size_t... i> HWY_INLINE void enterEven(std::size_t frame, std::index_sequence<i...>) {
        ((fromEven_[i] = even_.process(L::moveOn(hn::Zero(D()), load(frame + i)))), ...);
    }
    template <std::size_t... i> HWY_INLINE void drainOdd(std::size_t frame, std::index_sequence<i...>) {
        (store(odd_.process(fromEven_[i]), frame + i), ...);
    }

    template <std::size_t i> HWY_INLINE void passOne(std::size_t frame) {
        store(step<i>(load(frame)), frame - depth);
    }
    template <std::size_t... i> HWY_INLINE void pass(std::size_t frame, std::index_sequence<i...>) {
        (passOne<i>(frame + i), ...);
    }
    /// The remaining frames, fewer than kSkew.
    template <std::size_t i> HWY_INLINE void passRest(std::size_t frame) {
        if constexpr (i + 1 < kSkew) {
            if (frame < frames_) {
                passOne<i>(frame);
                return passRest<i + 1>(frame + 1);
            }
        }
        rotate<i>(fromEven_, Steps());
        if constexpr (kVectors == 2)
            rotate<i>(fromOdd_, Steps());
    }
    template <std::size_t kBy, std::size_t... i>
    static HWY_INLINE void rotate(Line& line, std::index_sequence<i...>) {
        const Line old = {line[i]...};
        ((line[i] = old[(i + kBy) % kSkew]), ...);
    }

    template <std::size_t... i> HWY_INLINE void clear(std::index_sequence<i...>) {
        ((fromEven_[i] = hn::Zero(D())), ...);
        ((fromOdd_[i] = hn::Zero(D())), ...);
    }

    CascadeState* states_;
    std::size_t first_;
    double* samples_;
    std::size_t frames_;
    Sections<D> even_, odd_;  ///< odd_ is unused if kVectors is 1
    Line fromEven_, fromOdd_; ///< the outputs of the last kSkew steps
};

/// The skews of the passes over a block. A skew is roughly the latency of a section divided by the duration
/// of a step: with too small a value the sections wait for each other, and too large a value adds steps to
/// the block, which counts if the block is short. Measured with vello_dsp_benchmark.
/// The self-test has a block of either kind for every entry.
struct Skews {
    std::size_t ofLongBlocks;
    std::size_t ofShortBlocks;
    std::size_t longBlock; ///< frames of the shortest long block
};

constexpr Skews skewsFor(std::size_t lanes, std::size_t channels) {
    if (lanes == 8)
        return {.ofLongBlocks = 5, .ofShortBlocks = 3, .longBlock = 100};
    if (lanes == 4 && channels == 1)
        return {.ofLongBlocks = 6, .ofShortBlocks = 3, .longBlock = 60};
    if (lanes == 4)
        return {.ofLongBlocks = 7, .ofShortBlocks = 4, .longBlock = 24};
    return {.ofLongBlocks = 5, .ofShortBlocks = 2, .longBlock = 24};
}

template <class D, std::size_t kChannels, std::size_t kVectors, std::size_t kSkew>
HWY_INLINE void filterInPasses(const BiquadSetup& setup, CascadeState* states, double* samples,
                               std::size_t frames) {
    constexpr std::size_t sections = Layout<D, kChannels, kVectors>::sections;
    for (std::size_t first = 0; first < kSectionCount; first += sections)
        Pass<D, kChannels, kVectors, kSkew>(setup, states, first, samples, frames).run();
}

/// Filters interleaved samples in place. A block that is too short for the smaller skew runs through one
/// section after the other.
template <std::size_t kChannels>
HWY_INLINE void filter(const BiquadSetup& setup, CascadeState* states, double* samples, std::size_t frames) {
    using D = hn::CappedTag<double, kSectionCount>;
    using OneSection = hn::CappedTag<double, kChannels>;
    constexpr std::size_t lanes = hn::MaxLanes(D());
    constexpr std::size_t kVectors = lanes == kSectionCount * kChannels ? 1 : 2;
    constexpr Skews skews = skewsFor(lanes, kChannels);
    static_assert(skews.longBlock > Pass<D, kChannels, kVectors, skews.ofLongBlocks>::depth);
    if (frames >= skews.longBlock)
        filterInPasses<D, kChannels, kVectors, skews.ofLongBlocks>(setup, states, samples, frames);
    else if (frames > Pass<D, kChannels, kVectors, skews.ofShortBlocks>::depth)
        filterInPasses<D, kChannels, kVectors, skews.ofShortBlocks>(setup, states, samples, frames);
    else
        filterInPasses<OneSection, kChannels, 1, 6>(setup, states, samples, frames);
    for (std::size_t c = 0; c < kChannels; ++c)
        states[c].deriveLastOutputs();
}

} // namespace HWY_NAMESPACE
} // namespace vello
HWY_AFTER_NAMESPACE();

#endif
