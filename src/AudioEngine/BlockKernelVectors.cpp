// SPDX-License-Identifier: Apache-2.0
//
// The block kernel for every vector size, compiled once for each instruction set that the processor may have.
//
// Eight sections in series are a chain: each waits for the one before it. But section k may work on an older
// sample than section k - 1 does, and then they can work at the same time, as the lanes of vectors.
//
// The channels of a frame sit side by side, so a vector of N lanes has N / channels sections, and there are
// as many vectors as eight sections take. Section k is place k / vectors of vector k % vectors: the output of
// one vector is the input of the next as it stands, and only the last vector's outputs move up by one place
// to become the inputs of the first. Each place runs kSkew frames behind the place below it, so that nobody
// waits for the move.
//
// A block has to leave no sample behind, so at its start the places join one after the other, each with the
// state that the block before left, and at its end they leave one after the other. That costs (places - 1)
// kSkew steps a block.
#include "AudioEngine/BlockKernel.h"

#include <algorithm>
#include <array>
#include <bit>

// Vectors whose size the compiler does not know cannot be members of a class; those processors take the fixed
// size. The x86 sets between SSE2, AVX2 and AVX-512 have nothing that the kernel would use, and every set
// costs the sanitizers' build half a minute.
#define HWY_DISABLED_TARGETS                                                                                 \
    (HWY_SSSE3 | HWY_SSE4 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "BlockKernelVectors.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace vello {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// The lowest kCount lanes.
template <std::size_t kCount, class V> HWY_INLINE auto lowest(V vector) {
    if constexpr (hn::MaxLanes(hn::DFromV<V>()) == kCount)
        return vector;
    else
        return lowest<kCount>(hn::LowerHalf(vector));
}

/// A pair of values side by side for each of eight sections.
template <class V> struct Interleaved { V even, odd; };
template <class V> HWY_INLINE Interleaved<V> interleave(V left, V right) {
#if HWY_TARGET == HWY_SCALAR
    return {left, right}; // no two channels fit one lane; never called
#else
    const hn::DFromV<V> d;
    return {hn::InterleaveLower(d, left, right), hn::InterleaveUpper(d, left, right)};
#endif
}

/// How the sections of kChannels channels lie in vectors of type D.
template <class D, std::size_t kChannels> struct Layout {
    static constexpr std::size_t lanes = hn::MaxLanes(D());
    static constexpr std::size_t places = lanes / kChannels;
    static constexpr std::size_t vectors = kSectionCount / places;
    static_assert(places * kChannels == lanes && places * vectors == kSectionCount);

    /// About the time from a frame's entry into the first vector until it is back there, over the time of a
    /// step. Even, because the loop is unrolled by it and the histories are two deep.
    static constexpr std::size_t skew = vectors == 1 ? 6 : vectors == 2 ? 8 : 10;
    static constexpr std::size_t depth = (places - 1) * skew;

    using Vector = hn::Vec<D>;
    using Vectors = std::array<Vector, vectors>;
    using Mask = hn::Mask<D>;

    static HWY_INLINE Mask onlyPlace(std::size_t place) {
        const D d;
        const auto lane = hn::Iota(d, 0.0);
        const auto first = hn::Set(d, static_cast<double>(place * kChannels));
        const auto behind = hn::Set(d, static_cast<double>((place + 1) * kChannels));
        return hn::And(hn::Ge(lane, first), hn::Lt(lane, behind));
    }

    /// Every place's values go up by one place, the last one's to the first.
    static HWY_INLINE Vector moveUp(Vector vector) {
#if HWY_TARGET == HWY_AVX3
        if constexpr (lanes == 8) {
            const __m512i bits = _mm512_castpd_si512(vector.raw);
            return Vector{_mm512_castsi512_pd(_mm512_alignr_epi64(bits, bits, 8 - kChannels))};
        }
#endif
        if constexpr (places == 1)
            return vector;
        const D d;
        HWY_ALIGN std::int64_t from[lanes];
        for (std::size_t lane = 0; lane < lanes; ++lane)
            from[lane] = static_cast<std::int64_t>((lane + lanes - kChannels) % lanes);
        return hn::TableLookupLanes(vector, hn::SetTableIndices(d, from));
    }

    /// The frame at `samples` in every place.
    static HWY_INLINE Vector loadFrame(const double* samples) {
        if constexpr (kChannels == 1)
            return hn::Set(D(), *samples);
        else
            return hn::LoadDup128(D(), samples);
    }
    /// The first place's frame.
    static HWY_INLINE void storeFrame(Vector vector, double* samples) {
        if constexpr (kChannels == 1)
            *samples = hn::GetLane(vector);
        else
            hn::Store(lowest<kChannels>(vector), hn::CappedTag<double, kChannels>(), samples);
    }

    /// A value of each section; `values[c]` are those of channel c.
    template <class Value>
    static HWY_INLINE Vectors loadSections(const std::array<Value*, kChannels>& values) {
        const D d;
        Vectors result;
        if constexpr (lanes == kSectionCount && kChannels == 1) {
            result[0] = hn::LoadU(d, values[0]);
        } else if constexpr (lanes == kSectionCount && kChannels == 2) {
            const auto pair = interleave(hn::LoadU(d, values[0]), hn::LoadU(d, values[1]));
            result = {pair.even, pair.odd};
        } else {
            HWY_ALIGN double sorted[lanes];
            for (std::size_t v = 0; v < vectors; ++v) {
                for (std::size_t lane = 0; lane < lanes; ++lane)
                    sorted[lane] = values[lane % kChannels][v + vectors * (lane / kChannels)];
                result[v] = hn::Load(d, sorted);
            }
        }
        return result;
    }
    static HWY_INLINE Vectors loadSections(const double* valuesOfEveryChannel) {
        std::array<const double*, kChannels> values;
        values.fill(valuesOfEveryChannel);
        return loadSections(values);
    }

    static HWY_INLINE void storeSections(const Vectors& vectors_,
                                         const std::array<double*, kChannels>& values) {
        const D d;
        if constexpr (lanes == kSectionCount && kChannels == 1) {
            hn::StoreU(vectors_[0], d, values[0]);
        } else if constexpr (lanes == kSectionCount && kChannels == 2) {
            const auto pair = interleave(vectors_[0], vectors_[1]); // the way back is the same
            hn::StoreU(pair.even, d, values[0]);
            hn::StoreU(pair.odd, d, values[1]);
        } else {
            HWY_ALIGN double sorted[lanes];
            for (std::size_t v = 0; v < vectors; ++v) {
                hn::Store(vectors_[v], d, sorted);
                for (std::size_t lane = 0; lane < lanes; ++lane)
                    values[lane % kChannels][v + vectors * (lane / kChannels)] = sorted[lane];
            }
        }
    }
};

/// The cascade of kChannels channels over samples in place; more than depth frames.
template <class D, std::size_t kChannels> class Cascade {
    using L = Layout<D, kChannels>;
    using Vector = typename L::Vector;
    using Vectors = typename L::Vectors;

public:
    static constexpr std::size_t depth = L::depth;

    /// `stride` doubles from frame to frame.
    HWY_INLINE Cascade(const BiquadSetup& setup, CascadeState* states, double* samples, std::size_t stride,
                       std::size_t frames)
        : states_(states), samples_(samples), stride_(stride), frames_(frames),
          excess_(L::loadSections(setup.excess.data())), a1_(L::loadSections(setup.a1.data())),
          a2_(L::loadSections(setup.a2.data())) {
        initial_.w1 = L::loadSections(each(&CascadeState::differences, 0));
        initial_.w2 = L::loadSections(each(&CascadeState::differences, 1));
        initial_.x1 = L::loadSections(each(&CascadeState::histories, 0));
        initial_.x2 = L::loadSections(each(&CascadeState::histories, 1));
        now_ = initial_;
        moved_.fill(hn::Zero(D()));
    }

    HWY_INLINE void run() {
        keepInputHistories();
        joinAll();
        advance();
        leaveAll();
        L::storeSections(final_.w1, each(&CascadeState::differences, 0));
        L::storeSections(final_.w2, each(&CascadeState::differences, 1));
        for (std::size_t c = 0; c < kChannels; ++c)
            states_[c].deriveOutputHistories();
    }

private:
    struct State {
        Vectors w1, w2, x1, x2;
    };

    template <std::size_t kCount>
    HWY_INLINE std::array<double*, kChannels> each(double (CascadeState::*values)[2][kCount],
                                                   std::size_t age) {
        std::array<double*, kChannels> pointers;
        for (std::size_t c = 0; c < kChannels; ++c)
            pointers[c] = (states_[c].*values)[age];
        return pointers;
    }

    HWY_INLINE double* frameAt(std::size_t index) const { return samples_ + index * stride_; }

    HWY_INLINE void keepInputHistories() {
        for (std::size_t c = 0; c < kChannels; ++c) {
            double& newest = states_[c].histories[0][0];
            double& older = states_[c].histories[1][0];
            older = frames_ > 1 ? frameAt(frames_ - 2)[c] : newest;
            newest = frameAt(frames_ - 1)[c];
        }
    }

    /// Each place in turn takes up the state that the last block left.
    HWY_INLINE void joinAll() {
        for (std::size_t place = 1; place < L::places; ++place) {
#pragma GCC unroll 16
            for (std::size_t i = 0; i < L::skew; ++i)
                step(moved_[i], L::loadFrame(frameAt((place - 1) * L::skew + i)));
            replacePlace(place, initial_, now_);
        }
    }

    HWY_INLINE void advance() {
        std::size_t frame = L::depth;
        for (; frame + L::skew <= frames_; frame += L::skew) {
#pragma GCC unroll 16
            for (std::size_t i = 0; i < L::skew; ++i)
                pass(moved_[i], frame + i);
        }
        for (; frame < frames_; ++frame) {
            Vector moved = moved_[0];
            pass(moved, frame);
#pragma GCC unroll 16
            for (std::size_t i = 1; i < L::skew; ++i)
                moved_[i - 1] = moved_[i];
            moved_[L::skew - 1] = moved;
        }
    }

    /// Each place in turn is done; its state is final.
    HWY_INLINE void leaveAll() {
        final_ = now_;
        for (std::size_t place = 1; place < L::places; ++place) {
#pragma GCC unroll 16
            for (std::size_t i = 0; i < L::skew; ++i) {
                step(moved_[i], hn::Zero(D()));
                L::storeFrame(moved_[i], frameAt(frames_ - L::depth + (place - 1) * L::skew + i));
            }
            replacePlace(place, now_, final_);
        }
    }

    HWY_INLINE void pass(Vector& moved, std::size_t frame) {
        step(moved, L::loadFrame(frameAt(frame)));
        L::storeFrame(moved, frameAt(frame - L::depth));
    }

    /// One step of every section. The first place takes `input`, the others what `moved` holds, which is then
    /// replaced by this step's outputs: the finished frame in the first place, the inputs of a later step in
    /// the others.
    HWY_INLINE void step(Vector& moved, Vector input) {
        Vector x = hn::IfThenElse(firstPlace_, input, moved);
        for (std::size_t v = 0; v < L::vectors; ++v) {
            const Vector feedForward = hn::Mul(excess_[v], hn::Sub(x, now_.x2[v]));
            const Vector older = hn::NegMulAdd(a2_[v], now_.w2[v], feedForward);
            const Vector w = hn::NegMulAdd(a1_[v], now_.w1[v], older);
            now_.x2[v] = now_.x1[v];
            now_.x1[v] = x;
            now_.w2[v] = now_.w1[v];
            now_.w1[v] = w;
            x = hn::Add(x, w);
        }
        moved = L::moveUp(x);
    }

    static HWY_INLINE void replacePlace(std::size_t place, const State& from, State& into) {
        const auto only = L::onlyPlace(place);
        for (std::size_t v = 0; v < L::vectors; ++v) {
            into.w1[v] = hn::IfThenElse(only, from.w1[v], into.w1[v]);
            into.w2[v] = hn::IfThenElse(only, from.w2[v], into.w2[v]);
            into.x1[v] = hn::IfThenElse(only, from.x1[v], into.x1[v]);
            into.x2[v] = hn::IfThenElse(only, from.x2[v], into.x2[v]);
        }
    }

    CascadeState* states_;
    double* samples_;
    std::size_t stride_;
    std::size_t frames_;
    typename L::Mask firstPlace_ = L::onlyPlace(0);
    Vectors excess_, a1_, a2_;
    State now_, initial_, final_;
    std::array<Vector, L::skew> moved_; ///< the outputs of the last steps, moved up
};

/// Filters interleaved samples in place. A block that is too short for places to join and leave in turn goes
/// one section after the other, with the channels side by side.
template <std::size_t kChannels>
HWY_INLINE void filter(const BiquadSetup& setup, CascadeState* states, double* samples, std::size_t frames) {
    constexpr std::size_t together = HWY_MIN(kChannels, hn::MaxLanes(hn::ScalableTag<double>()));
    using Long = Cascade<hn::CappedTag<double, kSectionCount>, together>;
    using Short = Cascade<hn::CappedTag<double, together>, together>;
    for (std::size_t c = 0; c < kChannels; c += together)
        if (frames > Long::depth)
            Long(setup, states + c, samples + c, kChannels, frames).run();
        else
            Short(setup, states + c, samples + c, kChannels, frames).run();
}

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
