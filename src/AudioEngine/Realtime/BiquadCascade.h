// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"

#include <array>
#include <cstddef>

namespace vello {

/// Number of second-order sections in series: one a band.
inline constexpr std::size_t kSectionCount = 8;

/// y[n] = b0 x[n] + b1 x[n-1] + b2 x[n-2] - a1 y[n-1] - a2 y[n-2]
struct BiquadCoefficients {
    double b0, b1, b2, a1, a2;
};

/// Coefficients of eight peaking sections, immutable.
///
/// A peaking section designed by the bilinear transform has b1 = a1 and b0 + b2 = 1 + a2 (both sides of the
/// latter are 2 / a0). So its direct form I is also, with c = b0 - 1 and w = y - x, the difference that the
/// section makes:
///
///     w[n] = c (x[n] - x[n-2]) - a2 w[n-2] - a1 w[n-1]        y[n] = x[n] + w[n]
///
/// Three products a section instead of five, and a flat band is exact.
class BiquadSetup {
public:
    using Sections = std::array<BiquadCoefficients, kSectionCount>;

    explicit BiquadSetup(const Sections& sections) noexcept;

    const Sections& sections() const noexcept { return sections_; }

    // The same by coefficient, index = section, as the kernels load them.
    alignas(64) std::array<double, kSectionCount> excess; ///< b0 - 1
    alignas(64) std::array<double, kSectionCount> a1;
    alignas(64) std::array<double, kSectionCount> a2;

private:
    Sections sections_;
};

/// What the cascade of one channel remembers between samples; first index: 0 is [n-1], 1 is [n-2].
///
/// Histories are those of direct form I, shared by neighbours: number k is the input of section k and the
/// output of section k - 1. Differences are w above. They follow from the histories, but exactly only as long
/// as they are kept, so they are kept; a change of coefficients touches neither.
struct CascadeState {
    alignas(64) double differences[2][kSectionCount] = {};
    double histories[2][kSectionCount + 1] = {};

    /// Computes the histories of the last section's output from those of its input and the differences,
    /// rounded as in processing.
    void deriveLastOutputs() noexcept VELLO_REALTIME {
        for (std::size_t age = 0; age < 2; ++age)
            histories[age][kSectionCount] =
                histories[age][kSectionCount - 1] + differences[age][kSectionCount - 1];
    }
};

/// One sample of one channel through all sections in double precision: the definition of the result. Faster
/// variants differ from it by nothing but fused multiply-adds.
double processSample(const BiquadSetup& setup, CascadeState& state, double sample) noexcept VELLO_REALTIME;

} // namespace vello
