// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/ResponseCurve.h"

#include "AudioEngine/Realtime/EQChainSnapshot.h"

namespace vello {

ResponseCurve::ResponseCurve(std::span<const double> frequencies, double sampleRate)
    : sampleRate_(sampleRate) {
    for (const double frequency : frequencies)
        delays_.emplace_back(frequency, sampleRate);
}

std::vector<double> ResponseCurve::gains(std::span<const double> bandGains) const {
    std::vector<double> gains(delays_.size(), 0.0);
    const EQChainSnapshot filters({.bandGains = {bandGains.begin(), bandGains.end()}}, sampleRate_);
    const BiquadSetup* const setup = filters.biquadSetup();
    if (setup == nullptr)
        return gains;
    for (std::size_t point = 0; point < gains.size(); ++point)
        for (const BiquadCoefficients& section : setup->sections())
            gains[point] += sectionGain(section, delays_[point]);
    return gains;
}

} // namespace vello
