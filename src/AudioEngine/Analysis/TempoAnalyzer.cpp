// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Analysis/TempoAnalyzer.h"

#include "Foundation/Precondition.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <vector>

namespace vello {

namespace {

constexpr double kLongestSound = 6.0;         // s
constexpr double kShortestSound = 2.0;        // s
constexpr double kHopsPerSecond = 100.0;      // nominal: at 22050 Hz a hop is 220 frames and counts as 10 ms
constexpr double kQuietestMeanLevel = 0.0002; // full scale is 1
constexpr double kLeastOnsetEnergy = 1e-8;
constexpr std::size_t kFewestHops = 64;
constexpr std::size_t kShortestLag = 31; // hops; 194 BPM
constexpr std::size_t kLongestLag = 100; // hops; 60 BPM
constexpr std::size_t kLagsAtOnce = 8;   // one per vector lane
constexpr double kLeastCorrelation = 0.16;
constexpr double kLeastProminence = 0.05;

/// Integer part of a number of frames.
std::size_t frameCount(double frames) {
    constexpr double limit = 0x1p63;
    precondition(frames >= 0 && frames < limit, "frames of this sample rate cannot be counted");
    return static_cast<std::size_t>(frames);
}

/// Rounds to 40 of the 53 bits of the significand. Hops of equal energy differ only in the remaining bits,
/// through the order of the additions; hops of different energy are never that close.
double withoutLastDigits(double energy) {
    constexpr std::uint64_t half = std::uint64_t{1} << 12;
    return std::bit_cast<double>((std::bit_cast<std::uint64_t>(energy) + half) & ~(2 * half - 1));
}

/// The newest whole hops of a tap, in samples counted from the first one ever written.
struct Window {
    std::size_t first;
    std::size_t hops;
    std::size_t samplesPerHop;
};

/// The hops of the newest 2 to 6 s of `written` samples; nullopt if there are too few of them.
std::optional<Window> newestWindow(std::size_t written, std::size_t capacity, double sampleRate,
                                   int channelCount) {
    if (sampleRate <= 0 || channelCount < 1)
        return std::nullopt;
    const auto channels = static_cast<std::size_t>(channelCount);
    const std::size_t frames =
        std::min({capacity / channels, written / channels, frameCount(kLongestSound * sampleRate)});
    const std::size_t hop = std::max<std::size_t>(frameCount(sampleRate / kHopsPerSecond), 1);
    if (frames < frameCount(kShortestSound * sampleRate) || frames / hop < kFewestHops)
        return std::nullopt;
    return Window{written - frames * channels, frames / hop, hop * channels};
}

/// The RMS of each hop; exactly equal for hops of equal energy, so that a regular beat stays regular.
/// `energyOf(first, count)` is the sum of the squares of these samples.
template <class EnergyOf> std::vector<double> envelopeOf(const Window& window, const EnergyOf& energyOf) {
    std::vector<double> envelope(window.hops);
    for (std::size_t i = 0; i < window.hops; ++i) {
        const double energy = energyOf(window.first + i * window.samplesPerHop, window.samplesPerHop);
        envelope[i] = std::sqrt(withoutLastDigits(energy) / static_cast<double>(window.samplesPerHop));
    }
    return envelope;
}

/// How much louder each hop is than the previous one, and the square of that. Padded with zeros after the
/// last hop, so that several lags can be computed at once.
struct Onsets {
    explicit Onsets(std::span<const double> envelope)
        : hops(envelope.size()), values(hops + kLagsAtOnce), squares(values.size()) {
        for (std::size_t i = 1; i < hops; ++i) {
            const double rise = envelope[i] - envelope[i - 1];
            values[i] = rise > 0 ? rise : 0;
            squares[i] = values[i] * values[i];
        }
    }

    std::size_t hops;
    std::vector<double> values;
    std::vector<double> squares;
};

/// Normalized autocorrelation of the onsets at one lag: product / norm, 0 to 1.
struct Correlation {
    double product = 0;
    double norm = 0; // 0: one side has no onsets
};

/// The correlations at the lags `firstLag`, `firstLag` + 1 ... `energies` holds the prefix sums of the
/// squares. Every sum runs from the oldest hop to the newest, so that equal beats give exactly equal
/// correlations at every matching lag, and the smallest of those lags wins.
std::array<Correlation, kLagsAtOnce> correlations(const Onsets& onsets, std::span<const double> energies,
                                                  std::size_t firstLag) {
    std::array<double, kLagsAtOnce> products{};
    std::array<double, kLagsAtOnce> later{};
    const double* laterOnsets = onsets.values.data() + firstLag;
    const double* laterSquares = onsets.squares.data() + firstLag;
    for (std::size_t i = 0; i + firstLag < onsets.hops; ++i)
        for (std::size_t lane = 0; lane < kLagsAtOnce; ++lane) {
            products[lane] += onsets.values[i] * laterOnsets[i + lane];
            later[lane] += laterSquares[i + lane];
        }
    std::array<Correlation, kLagsAtOnce> result;
    for (std::size_t lane = 0; lane < kLagsAtOnce && firstLag + lane < onsets.hops; ++lane) {
        const double earlier = energies[onsets.hops - firstLag - lane];
        result[lane] = {products[lane], std::sqrt(earlier * later[lane])};
    }
    return result;
}

/// Finds the strongest correlation, the first one if several are equal.
class Peak {
public:
    void consider(std::size_t lag, const Correlation& candidate) {
        if (!(candidate.norm > 0))
            return;
        const double value = candidate.product / candidate.norm;
        total_ += value;
        ++count_;
        if (value > value_) {
            value_ = value;
            lag_ = lag;
        }
    }

    /// In hops; 0 when no correlation was above zero.
    std::size_t lag() const { return lag_; }
    double value() const { return value_; }
    /// Distance of the peak from the mean of all correlations.
    double prominence() const { return count_ > 0 ? value_ - total_ / count_ : 0; }

private:
    std::size_t lag_ = 0;
    double value_ = 0;
    double total_ = 0;
    int count_ = 0;
};

Peak strongestCorrelation(const Onsets& onsets, std::span<const double> energies) {
    const std::size_t longest = onsets.hops < 2 * kLongestLag ? onsets.hops / 2 : kLongestLag;
    Peak peak;
    for (std::size_t first = kShortestLag; first <= longest; first += kLagsAtOnce) {
        const auto several = correlations(onsets, energies, first);
        for (std::size_t lag = first; lag <= longest && lag < first + kLagsAtOnce; ++lag)
            peak.consider(lag, several[lag - first]);
    }
    return peak;
}

std::optional<TempoEstimate> tempoOfOnsets(const Onsets& onsets) {
    std::vector<double> energies(onsets.hops + 1);
    std::partial_sum(onsets.squares.begin(),
                     onsets.squares.begin() + static_cast<std::ptrdiff_t>(onsets.hops), energies.begin() + 1);
    if (energies.back() <= kLeastOnsetEnergy)
        return std::nullopt;
    const Peak peak = strongestCorrelation(onsets, energies);
    if (peak.lag() < 1 || peak.value() < kLeastCorrelation || peak.prominence() < kLeastProminence)
        return std::nullopt;
    const double beatsPerMinute = 60.0 * kHopsPerSecond / static_cast<double>(peak.lag());
    return TempoEstimate{
        .beatsPerMinute = static_cast<int>(std::round(beatsPerMinute)),
        .confidence = std::clamp(0.65 * peak.value() + 1.35 * peak.prominence(), 0.0, 1.0),
    };
}

std::optional<TempoEstimate> tempoOf(std::span<const double> envelope) {
    const double total = std::accumulate(envelope.begin(), envelope.end(), 0.0);
    if (total / static_cast<double>(envelope.size()) < kQuietestMeanLevel)
        return std::nullopt;
    return tempoOfOnsets(Onsets(envelope));
}

} // namespace

std::optional<TempoEstimate> TempoAnalyzer::estimate(const AudioSampleRingBuffer& ring, double sampleRate,
                                                     int channelCount) const {
    const auto window = newestWindow(ring.writeCursor(), ring.capacity(), sampleRate, channelCount);
    if (!window)
        return std::nullopt;
    return tempoOf(envelopeOf(*window, [&ring](std::size_t first, std::size_t count) {
        const auto samples = ring.range(first, count);
        return samples ? sumOfSquares(*samples) : 0.0;
    }));
}

std::optional<TempoEstimate> TempoAnalyzer::estimate(const AudioSampleRingBuffer& ring,
                                                     const RunningEnergy& energy, double sampleRate,
                                                     int channelCount) const {
    const auto window = newestWindow(energy.writeCursor(), energy.reach(), sampleRate, channelCount);
    if (!window)
        return std::nullopt;
    return tempoOf(envelopeOf(
        *window, [&](std::size_t first, std::size_t count) { return energy.sum(ring, first, count); }));
}

std::size_t TempoAnalyzer::longestSound(const AudioSampleRingBuffer& ring, double sampleRate,
                                        int channelCount) {
    if (sampleRate <= 0 || channelCount < 1)
        return 0;
    const auto channels = static_cast<std::size_t>(channelCount);
    return std::min(ring.capacity() / channels, frameCount(kLongestSound * sampleRate)) * channels;
}

} // namespace vello
