// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/FilterResponse.h"

#include <cmath>
#include <numbers>

namespace vello {

SampleDelay::SampleDelay(double frequency, double sampleRate) {
    const double angle = 2.0 * std::numbers::pi * frequency / sampleRate;
    cosine1 = std::cos(angle);
    sine1 = std::sin(angle);
    cosine2 = std::cos(2 * angle);
    sine2 = std::sin(2 * angle);
}

double sectionGain(const BiquadCoefficients& section, const SampleDelay& delay) {
    const auto power = [&](double now, double first, double second) {
        const double real = now + first * delay.cosine1 + second * delay.cosine2;
        const double imaginary = first * delay.sine1 + second * delay.sine2;
        return real * real + imaginary * imaginary;
    };
    // A notch that is deeper than the numbers are exact is not infinitely deep.
    constexpr double smallest = 1e-30;
    return 10 * std::log10((power(section.b0, section.b1, section.b2) + smallest) /
                           (power(1, section.a1, section.a2) + smallest));
}

} // namespace vello
