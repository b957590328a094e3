// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Realtime/EQChainSnapshot.h"

#include "Foundation/Precondition.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace vello {

static_assert(EQSettings::bandCount == kSectionCount);

namespace {

std::uint64_t nextSerialNumber() noexcept {
    static std::atomic<std::uint64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

} // namespace

BiquadCoefficients peakingSection(double gain, double frequency, double sampleRate) noexcept {
    constexpr double twoPi = 6.283185307179586;
    constexpr double twoQ = 2.82;
    const double amplitude = std::pow(10.0, gain / 40.0);
    const double omega = twoPi * frequency / sampleRate;
    const double alpha = std::sin(omega) / twoQ;
    const double a0 = 1.0 + alpha / amplitude;
    const double a1 = -2.0 * std::cos(omega) / a0;
    return {.b0 = (1.0 + alpha * amplitude) / a0,
            .b1 = a1,
            .b2 = (1.0 - alpha * amplitude) / a0,
            .a1 = a1,
            .a2 = (1.0 - alpha / amplitude) / a0};
}

EQChainSnapshot::EQChainSnapshot(const EQSettings& settings, double sampleRate)
    : serialNumber_(nextSerialNumber()),
      framesPerStep_(std::max<std::size_t>(1, static_cast<std::size_t>(std::max(0.0, sampleRate) * 0.0005))) {
    if (settings.isBypassed || settings.isFlat() || !(sampleRate > 0.0))
        return;
    precondition(settings.bandGains.size() >= kSectionCount, "settings hold a gain for every band");
    BiquadSetup::Sections sections{};
    for (std::size_t band = 0; band < kSectionCount; ++band)
        sections[band] =
            peakingSection(settings.bandGains[band], EQSettings::bandFrequencies[band], sampleRate);
    setup_.emplace(sections);
}

} // namespace vello
