// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <span>
#include <vector>

#include <kissfft.hh>

namespace vello {

/// Energy farther than 400 Hz from a tone of `frequency` Hz, in dB relative to the rest: a click or a thump
/// beside the tone. -300 for silence.
inline double toneSpread(std::span<const float> samples, double frequency, double sampleRate) {
    std::vector<std::complex<double>> windowed(samples.size());
    const double size = static_cast<double>(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double x = 2 * std::numbers::pi * static_cast<double>(i) / size;
        windowed[i] = double{samples[i]} * (0.42 - 0.5 * std::cos(x) + 0.08 * std::cos(2 * x)); // Blackman
    }
    std::vector<std::complex<double>> bins(samples.size());
    kissfft<double>(samples.size(), false).transform(windowed.data(), bins.data());
    double beside = 0;
    double around = 0;
    for (std::size_t bin = 0; bin < bins.size() / 2; ++bin) {
        const double distance = std::abs(static_cast<double>(bin) * sampleRate / size - frequency);
        (distance > 400 ? beside : around) += std::norm(bins[bin]);
    }
    return around > 0 ? 10 * std::log10(beside / around) : -300;
}

} // namespace vello
