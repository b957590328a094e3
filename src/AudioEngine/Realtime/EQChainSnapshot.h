// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BiquadCascade.h"
#include "Models/EQSettings.h"

#include <optional>

namespace vello {

/// One set of settings at one sample rate, ready to run. Immutable, made and freed on the control thread; the
/// data thread borrows it. The filters' memory is not in here, so replacing a snapshot does not reset it.
class EQChainSnapshot {
public:
    /// `sampleRate` in Hz. No set-up when the settings are bypassed or flat, or the rate is not above 0.
    /// Otherwise the settings hold at least one gain a band, else the process ends; further ones are ignored.
    EQChainSnapshot(const EQSettings& settings, double sampleRate);

    /// The filters; null: nothing is filtered.
    const BiquadSetup* biquadSetup() const noexcept { return setup_ ? &*setup_ : nullptr; }

private:
    std::optional<BiquadSetup> setup_;
};

/// Peaking section after the "Cookbook formulae for audio EQ biquad filter coefficients" (R.
/// Bristow-Johnson), Q = 1.41. `gain` in dB, `frequency` and `sampleRate` in Hz; there is no special case at
/// or above half the sample rate.
BiquadCoefficients peakingSection(double gain, double frequency, double sampleRate) noexcept;

} // namespace vello
