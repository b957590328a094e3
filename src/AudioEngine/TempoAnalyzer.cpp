// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/TempoAnalyzer.h"

#include "Models/Precondition.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
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
constexpr std::size_t kShortestLag = 31; // hops; 194 beats a minute
constexpr std::size_t kLongestLag = 100; // hops; 60 beats a minute
constexpr double kLeastCorrelation = 0.16;
constexpr double kLeastProminence = 0.05;

/// Integer part of a number of frames.
std::size_t frameCount(double frames) {
    constexpr double limit = 0x1p63;
    precondition(frames >= 0 && frames < limit, "frames of this sample rate cannot be counted");
    return static_cast<std::size_t>(frames);
}

double sumOfSquares(std::span<const float> samples) {
    double sum = 0;
    for (const float sample : samples)
        sum += static_cast<double>(sample) * static_cast<double>(sample);
    return sum;
}

/// Part of some samples, across the end of the ring if need be.
AudioSampleRingBuffer::Samples part(const AudioSampleRingBuffer::Samples& samples, std::size_t first,
                                    std::size_t count) {
    const std::size_t older = samples.older.size();
    const std::size_t inOlder = first < older ? std::min(count, older - first) : 0;
    return {samples.older.subspan(std::min(first, older), inOlder),
            samples.newer.subspan(std::max(first, older) - older, count - inOlder)};
}

/// The effective value of each hop. As 32-bit floats: hops of equal energy then are equal, in whatever order
/// it was added up, and so are the correlations of a regular beat.
std::vector<float> envelopeOf(const AudioSampleRingBuffer::Samples& samples, std::size_t hops,
                              std::size_t samplesPerHop) {
    std::vector<float> envelope(hops);
    for (std::size_t i = 0; i < hops; ++i) {
        const auto hop = part(samples, i * samplesPerHop, samplesPerHop);
        const double energy = sumOfSquares(hop.older) + sumOfSquares(hop.newer);
        envelope[i] = static_cast<float>(std::sqrt(energy / static_cast<double>(samplesPerHop)));
    }
    return envelope;
}

double sum(std::span<const float> values) {
    double total = 0;
    for (const float value : values)
        total += static_cast<double>(value);
    return total;
}

/// How much each hop is louder than the one before.
std::vector<double> onsetsOf(std::span<const float> envelope) {
    std::vector<double> onsets(envelope.size());
    for (std::size_t i = 1; i < envelope.size(); ++i) {
        const double rise = static_cast<double>(envelope[i]) - static_cast<double>(envelope[i - 1]);
        onsets[i] = rise > 0 ? rise : 0;
    }
    return onsets;
}

/// How alike the onsets are to themselves `lag` hops later, 0 to 1; nothing when one side has none.
std::optional<double> correlation(std::span<const double> onsets, std::size_t lag) {
    double product = 0;
    double earlier = 0;
    double later = 0;
    for (std::size_t j = lag; j < onsets.size(); ++j) {
        product += onsets[j - lag] * onsets[j];
        earlier += onsets[j - lag] * onsets[j - lag];
        later += onsets[j] * onsets[j];
    }
    const double norm = std::sqrt(earlier * later);
    return norm > 0 ? std::optional(product / norm) : std::nullopt;
}

struct Peak {
    std::size_t lag = 0; // hops; 0: none
    double correlation = 0;
    double prominence = 0; // over the mean of all lags
};

Peak strongestCorrelation(std::span<const double> onsets) {
    const std::size_t longest = onsets.size() < 2 * kLongestLag ? onsets.size() / 2 : kLongestLag;
    Peak peak;
    double total = 0;
    std::size_t count = 0;
    for (std::size_t lag = kShortestLag; lag <= longest; ++lag) {
        const auto value = correlation(onsets, lag);
        if (!value)
            continue;
        total += *value;
        ++count;
        if (*value > peak.correlation) {
            peak.correlation = *value;
            peak.lag = lag;
        }
    }
    if (count > 0)
        peak.prominence = peak.correlation - total / static_cast<double>(count);
    return peak;
}

std::optional<TempoEstimate> tempoOf(std::span<const double> onsets) {
    double energy = 0;
    for (const double onset : onsets)
        energy += onset * onset;
    if (energy <= kLeastOnsetEnergy)
        return std::nullopt;
    const Peak peak = strongestCorrelation(onsets);
    if (peak.lag < 1 || peak.correlation < kLeastCorrelation || peak.prominence < kLeastProminence)
        return std::nullopt;
    const double beatsPerMinute = 60.0 * kHopsPerSecond / static_cast<double>(peak.lag);
    return TempoEstimate{
        .beatsPerMinute = static_cast<int>(std::round(beatsPerMinute)),
        .confidence = std::clamp(0.65 * peak.correlation + 1.35 * peak.prominence, 0.0, 1.0),
    };
}

} // namespace

std::optional<TempoEstimate> TempoAnalyzer::estimate(const AudioSampleRingBuffer& ring, double sampleRate,
                                                     int channelCount) const {
    if (sampleRate <= 0 || channelCount < 1)
        return std::nullopt;
    const auto channels = static_cast<std::size_t>(channelCount);
    const std::size_t frames = std::min(
        {ring.capacity() / channels, ring.writeCursor() / channels, frameCount(kLongestSound * sampleRate)});
    if (frames < frameCount(kShortestSound * sampleRate))
        return std::nullopt;
    const auto samples = ring.latest(frames * channels);
    if (!samples)
        return std::nullopt;
    const std::size_t hop = std::max<std::size_t>(frameCount(sampleRate / kHopsPerSecond), 1);
    const std::size_t hops = frames / hop;
    if (hops < kFewestHops)
        return std::nullopt;
    const auto envelope = envelopeOf(*samples, hops, hop * channels);
    if (sum(envelope) / static_cast<double>(hops) < kQuietestMeanLevel)
        return std::nullopt;
    return tempoOf(onsetsOf(envelope));
}

} // namespace vello
