// SPDX-License-Identifier: Apache-2.0
#include "DesignedResponse.h"

#include <cmath>
#include <complex>
#include <numbers>

namespace vello::session {
namespace {

constexpr double kQuality = 1.41;

double bellResponse(double centre, double gain, double frequency, double sampleRate) {
    const double amplitude = std::pow(10.0, gain / 40);
    const double angle = 2 * std::numbers::pi * centre / sampleRate;
    const double alpha = std::sin(angle) / (2 * kQuality);
    const std::complex<double> delay = std::polar(1.0, -2 * std::numbers::pi * frequency / sampleRate);
    const auto polynomial = [&](double outer) {
        return (1 + outer) - 2 * std::cos(angle) * delay + (1 - outer) * delay * delay;
    };
    return 20 * std::log10(std::abs(polynomial(alpha * amplitude) / polynomial(alpha / amplitude)));
}

} // namespace

double designedResponse(const std::array<double, 8>& gains, double frequency, double sampleRate) {
    double sum = 0;
    for (std::size_t band = 0; band < gains.size(); ++band)
        sum += bellResponse(kBandFrequencies[band], gains[band], frequency, sampleRate);
    return sum;
}

} // namespace vello::session
