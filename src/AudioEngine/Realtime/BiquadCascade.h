// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/Realtime.h"

#include <array>
#include <cstddef>

namespace vello {

/// Number of second-order sections in series, one per band.
inline constexpr std::size_t kSectionCount = 8;

/// y[n] = b0 x[n] + b1 x[n-1] + b2 x[n-2] - a1 y[n-1] - a2 y[n-2]
struct BiquadCoefficients {
    double b0, b1, b2, a1, a2;
};

/// Immutable coefficients of eight peaking sections.
///
/// A peaking section designed by the bilinear transform has b1 = a1 and b0 + b2 = 1 + a2 (both sums are 2 /
/// a0). With c = b0 - 1 and w = y - x, the difference that the section adds, its direct form I becomes:
///
///     w[n] = c x[n] - c x[n-2] - a2 w[n-2] - a1 w[n-1]        y[n] = x[n] + w[n]
///
/// Two of the five multiplications are by the same coefficient, and a flat band is bit-exact. c x[n-2] is
/// known before x[n] is, so the section's output waits for one operation less than with c (x[n] - x[n-2]),
/// which has one multiplication less.
class BiquadSetup {
public:
    using Sections = std::array<BiquadCoefficients, kSectionCount>;

    explicit BiquadSetup(const Sections& sections) noexcept;

    const Sections& sections() const noexcept { return sections_; }

    // The same coefficients as arrays indexed by section, for the kernels.
    alignas(64) std::array<double, kSectionCount> excess; ///< b0 - 1
    alignas(64) std::array<double, kSectionCount> a1;
    alignas(64) std::array<double, kSectionCount> a2;

private:
    Sections sections_;
};

/// State of one channel's cascade between samples. First index: 0 is [n-1], 1 is [n-2].
///
/// `histories` are those of direct form I, shared by neighbouring sections: index k is the input of section k
/// and the output of section k - 1. `differences` are w above. They are stored, because recomputing them from
/// the histories would round differently. A change of coefficients changes neither.
struct CascadeState {
    alignas(64) double differences[2][kSectionCount] = {};
    double histories[2][kSectionCount + 1] = {};

    bool operator==(const CascadeState&) const = default;

    /// Computes the last section's output history from its input history and the differences, with the same
    /// rounding as in processing.
    void deriveLastOutputs() noexcept VELLO_REALTIME {
        for (std::size_t age = 0; age < 2; ++age)
            histories[age][kSectionCount] =
                histories[age][kSectionCount - 1] + differences[age][kSectionCount - 1];
    }
};

/// Reference implementation: runs one sample of one channel through all sections in double precision. The
/// faster variants differ only by fused multiply-adds and the order of the first two terms.
double processSample(const BiquadSetup& setup, CascadeState& state, double sample) noexcept VELLO_REALTIME;

} // namespace vello
