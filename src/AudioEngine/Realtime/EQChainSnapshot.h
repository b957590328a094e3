// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BiquadCascade.h"
#include "Models/EQSettings.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vello {

/// The filters for one set of settings at one sample rate. Immutable; created and freed on the control thread
/// and borrowed by the data thread. Does not contain the filters' state, so replacing a snapshot does not
/// reset it.
class EQChainSnapshot {
public:
    /// `sampleRate` in Hz. Creates no filters when the settings are bypassed or flat, or the rate is not
    /// above 0. Otherwise aborts the process if there are fewer gains than bands; ignores additional gains.
    EQChainSnapshot(const EQSettings& settings, double sampleRate);

    /// The filters; null if nothing is filtered.
    const BiquadSetup* biquadSetup() const noexcept { return setup_ ? &*setup_ : nullptr; }
    /// The length of a step on the way to these filters, 0.5 ms; at least one frame.
    std::size_t framesPerStep() const noexcept { return framesPerStep_; }
    /// Above 0; differs from that of every snapshot before, also of one that had the same address.
    std::uint64_t serialNumber() const noexcept { return serialNumber_; }

private:
    std::uint64_t serialNumber_;
    std::optional<BiquadSetup> setup_;
    std::size_t framesPerStep_;
};

/// Peaking section from the "Cookbook formulae for audio EQ biquad filter coefficients" (R. Bristow-Johnson),
/// Q = 1.41. `gain` in dB, `frequency` and `sampleRate` in Hz. Frequencies at or above the Nyquist frequency
/// are not treated specially.
BiquadCoefficients peakingSection(double gain, double frequency, double sampleRate) noexcept;

} // namespace vello
