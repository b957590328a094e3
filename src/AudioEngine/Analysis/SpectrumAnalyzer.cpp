// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Analysis/SpectrumAnalyzer.h"

#include "Foundation/Precondition.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>

#include <kissfft.hh>

namespace vello {

namespace {

constexpr std::size_t kFrames = SpectrumAnalyzer::frames;
constexpr std::size_t kBins =
    kFrames / 2; // bin 0 holds the values at 0 Hz and at the Nyquist frequency, and is not used
constexpr double kTransformScale = 2.0; // levels refer to a real transform scaled by 2
constexpr double kFloor = -50.0;        // dB; level 0
constexpr double kNeverZero = std::numeric_limits<float>::min();

/// Integer part of a frequency counted in bins.
std::int64_t binNumber(double bins) {
    constexpr double limit = 0x1p63;
    precondition(bins >= 0 && bins < limit, "a band of the spectrum has no bin at this sample rate");
    return static_cast<std::int64_t>(bins);
}

struct BinRange {
    std::size_t first, last;
};

/// The bins of the octave around `centre` (Hz). At least one bin, even above the Nyquist frequency.
BinRange binsOfBand(double centre, double binWidth) {
    constexpr std::int64_t highest = kBins - 1;
    const std::int64_t low = binNumber(centre / std::numbers::sqrt2 / binWidth);
    const std::int64_t high = binNumber(centre * std::numbers::sqrt2 / binWidth);
    const std::int64_t first = std::clamp<std::int64_t>(low, 1, highest);
    const std::int64_t last = std::clamp(high, first, highest);
    return {static_cast<std::size_t>(first), static_cast<std::size_t>(last)};
}

float levelOfPower(double power) {
    const double decibels = 10.0 * std::log10(power + kNeverZero);
    const double level = (decibels - kFloor) / -kFloor;
    return level > 0 ? static_cast<float>(std::min(level, 1.0)) : 0.0F; // 0 also for NaN
}

} // namespace

/// Double precision: in single precision the transform's own rounding noise at full scale would reach the
/// lowest levels.
struct SpectrumAnalyzer::Workspace {
    Workspace() {
        // Periodic Hann window with a mean square of 1.
        const double scale = std::sqrt(2.0 / 3.0);
        for (std::size_t n = 0; n < kFrames; ++n)
            window[n] = scale * (1.0 - std::cos(2.0 * std::numbers::pi * static_cast<double>(n) / kFrames));
    }

    double meanPower(BinRange bins) const {
        double sum = 0;
        for (std::size_t bin = bins.first; bin <= bins.last; ++bin)
            sum += std::norm(kTransformScale * spectrum[bin]);
        return sum / static_cast<double>(bins.last - bins.first + 1);
    }

    kissfft<double> transform{kBins, false}; // complex; each number holds two real samples
    std::array<double, kFrames> window;
    std::array<double, kFrames> windowed{};
    std::array<std::complex<double>, kBins> spectrum{};
};

SpectrumAnalyzer::SpectrumAnalyzer() : workspace_(std::make_unique<Workspace>()) {}
SpectrumAnalyzer::~SpectrumAnalyzer() = default;

std::optional<SpectrumAnalyzer::Levels>
SpectrumAnalyzer::bandMagnitudes(const AudioSampleRingBuffer& ring, double sampleRate, int channelCount) {
    if (sampleRate <= 0 || channelCount < 1)
        return std::nullopt;
    const auto channels = static_cast<std::size_t>(channelCount);
    const auto samples = ring.latest(kFrames * channels);
    if (!samples)
        return std::nullopt;
    for (std::size_t n = 0; n < kFrames; ++n)
        workspace_->windowed[n] = workspace_->window[n] * static_cast<double>((*samples)[n * channels]);
    workspace_->transform.transform_real(workspace_->windowed.data(), workspace_->spectrum.data());
    const double binWidth = sampleRate / kFrames;
    Levels levels{};
    std::ranges::transform(EQSettings::bandFrequencies, levels.begin(), [&](double centre) {
        return levelOfPower(workspace_->meanPower(binsOfBand(centre, binWidth)));
    });
    return levels;
}

} // namespace vello
