// SPDX-License-Identifier: Apache-2.0
//
// The sections of the cascade in vector lanes. Included once per instruction set.
#if defined(VELLO_SECTION_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VELLO_SECTION_VECTORS_INL_H
#undef VELLO_SECTION_VECTORS_INL_H
#else
#define VELLO_SECTION_VECTORS_INL_H
#endif

#include "AudioEngine/Realtime/BiquadCascade.h"

#include <hwy/highway.h>

#include <array>
#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace vello {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Sections that run at the same time: each lane is one section of one channel.
template <class D> struct Sections {
    using Vector = hn::Vec<D>;

    HWY_INLINE Sections() {} // an implicit constructor would not be compiled for this instruction set

    HWY_INLINE Vector process(Vector x) {
        const Vector w = hn::NegMulAdd(a1, w1, older(x));
        x2 = x1;
        x1 = x;
        w2 = w1;
        w1 = w;
        return hn::Add(x, w);
    }

    HWY_INLINE void takeState(hn::Mask<D> lanes, const Sections& from) {
        w1 = hn::IfThenElse(lanes, from.w1, w1);
        w2 = hn::IfThenElse(lanes, from.w2, w2);
        x1 = hn::IfThenElse(lanes, from.x1, x1);
        x2 = hn::IfThenElse(lanes, from.x2, x2);
    }

    Vector excess, a1, a2; ///< as in BiquadSetup
    Vector w1, w2, x1, x2; ///< as in CascadeState

private:
    /// All of w but its part of w1, in the same order for every length of block, so that all round alike.
    /// Which order is faster was measured with vello_dsp_benchmark: some processors multiply a vector of 512
    /// bits in two halves and subtract meanwhile; smaller vectors would wait for the subtraction.
    HWY_INLINE Vector older(Vector x) const {
        if constexpr (hn::MaxLanes(hn::ScalableTag<double>()) == 8)
            return hn::MulSub(excess, hn::Sub(x, x2), hn::Mul(a2, w2));
        else
            return hn::NegMulAdd(a2, w2, hn::MulSub(excess, x, hn::Mul(excess, x2)));
    }
};

/// How a pass over kChannels channels maps its sections to kVectors vectors of type D.
template <class D, std::size_t kChannels, std::size_t kVectors> struct Layout {
    static constexpr std::size_t lanes = hn::MaxLanes(D());
    static constexpr std::size_t places = lanes / kChannels;
    static constexpr std::size_t sections = places * kVectors;
    static_assert(places * kChannels == lanes && kSectionCount % sections == 0);

    using Vector = hn::Vec<D>;
    using Mask = hn::Mask<D>;
    using Values = std::array<double*, kChannels>; ///< per channel, indexed by section
    using ConstantValues = std::array<const double*, kChannels>;

    static HWY_INLINE Mask onlyPlace(std::size_t place) {
        const D d;
        HWY_ALIGN double placeOfLane[lanes];
        for (std::size_t lane = 0; lane < lanes; ++lane)
            placeOfLane[lane] = static_cast<double>(places - 1 - lane / kChannels);
        return hn::Eq(hn::Load(d, placeOfLane), hn::Set(d, static_cast<double>(place)));
    }

    /// Moves the outputs of every place to the next place, as its inputs; place 0 gets `frame`, which must
    /// come from loadFrame(). Reads only those lanes of `frame` that loadFrame() guarantees.
    static HWY_INLINE Vector moveOn(Vector outputs, Vector frame) {
        if constexpr (places == 1) {
            return frame;
        } else if constexpr (places == 2) {
            return hn::ConcatLowerUpper(D(), frame, outputs);
        } else if constexpr (lanes == 4) { // across the halves first, then within them
            return hn::CombineShiftRightBytes<8>(D(), hn::ConcatLowerUpper(D(), frame, outputs), outputs);
        } else {
            static_assert(lanes == 8);
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3 // all AVX-512 targets: newer targets have lower numbers
            return Vector{_mm512_castsi512_pd(_mm512_alignr_epi64(
                _mm512_castpd_si512(frame.raw), _mm512_castpd_si512(outputs.raw), kChannels))};
#endif
        }
    }

    /// One value per channel, at least in the lowest lanes. With a single channel, the value is in every
    /// lane.
    static HWY_INLINE Vector loadFrame(const double* samples) {
        if constexpr (kChannels == 1)
            return hn::Set(D(), *samples);
        else
            return hn::LoadDup128(D(), samples);
    }
    /// Stores the frame in the last place.
    static HWY_INLINE void storeFrame(Vector vector, double* samples) {
        if constexpr (kChannels == 1)
            *samples = hn::GetLane(vector);
        else
            hn::StoreU(lowestPair(vector), hn::CappedTag<double, 2>(), samples);
    }

    /// Loads the values of sections sections starting at `first`. Leaves `odd` unchanged if kVectors is 1.
    static HWY_INLINE void load(const ConstantValues& values, std::size_t first, Vector& even, Vector& odd) {
        const D d;
        if constexpr (kChannels == 1 && kVectors == 1) {
            even = hn::LoadU(d, values[0] + first);
        } else if constexpr (kChannels == 1) {
            hn::LoadInterleaved2(d, values[0] + first, even, odd);
        } else if constexpr (kVectors == 2) {
            const Vector left = hn::LoadU(d, values[0] + first);
            const Vector right = hn::LoadU(d, values[1] + first);
            even = hn::InterleaveLower(d, left, right);
            odd = hn::InterleaveUpper(d, left, right);
        } else {
            even = hn::InterleaveLower(d, hn::Set(d, values[0][first]), hn::Set(d, values[1][first]));
        }
        even = reversed(even);
        if constexpr (kVectors == 2)
            odd = reversed(odd);
    }
    static HWY_INLINE void store(Vector even, Vector odd, const Values& values, std::size_t first) {
        const D d;
        even = reversed(even);
        if constexpr (kVectors == 2)
            odd = reversed(odd);
        if constexpr (kChannels == 1 && kVectors == 1) {
            hn::StoreU(even, d, values[0] + first);
        } else if constexpr (kChannels == 1) {
            hn::StoreInterleaved2(even, odd, d, values[0] + first);
        } else if constexpr (kVectors == 2) { // interleaving again reverses the interleaving
            hn::StoreU(hn::InterleaveLower(d, even, odd), d, values[0] + first);
            hn::StoreU(hn::InterleaveUpper(d, even, odd), d, values[1] + first);
        } else {
            values[0][first] = hn::GetLane(even);
            values[1][first] = hn::ExtractLane(even, 1);
        }
    }

private:
    template <class V> static HWY_INLINE auto lowestPair(V vector) {
        if constexpr (hn::MaxLanes(hn::DFromV<V>()) == 2)
            return vector;
        else
            return lowestPair(hn::LowerHalf(vector));
    }

    /// Reverses the order of the places.
    static HWY_INLINE Vector reversed(Vector vector) {
        if constexpr (places == 1)
            return vector;
        else if constexpr (kChannels == 1)
            return hn::Reverse(D(), vector);
        else
            return hn::ReverseBlocks(D(), vector);
    }
};

} // namespace HWY_NAMESPACE
} // namespace vello
HWY_AFTER_NAMESPACE();

#endif
