// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/FilterResponse.h"

#include <span>
#include <vector>

namespace vello {

/// The frequency response of the filters that a tap makes for the gains of a curve, for display.
class ResponseCurve {
public:
    /// All in Hz; the frequencies are below half of `sampleRate`.
    ResponseCurve(std::span<const double> frequencies, double sampleRate);

    double sampleRate() const { return sampleRate_; }
    /// The gain at each frequency, in dB. `bandGains` holds one gain in dB for each band. Computed from the
    /// coefficients of an EQChainSnapshot.
    std::vector<double> gains(std::span<const double> bandGains) const;

private:
    double sampleRate_;
    std::vector<SampleDelay> delays_;
};

} // namespace vello
