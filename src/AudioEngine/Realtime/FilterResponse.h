// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Realtime/BiquadCascade.h"

namespace vello {

/// The delay by one sample and by two, at one frequency: cosine and sine of the angles.
struct SampleDelay {
    /// Both in Hz; `frequency` is below half of `sampleRate`.
    SampleDelay(double frequency, double sampleRate);

    double cosine1, sine1, cosine2, sine2;
};

/// The gain of one section in dB.
double sectionGain(const BiquadCoefficients& section, const SampleDelay& delay);

} // namespace vello
