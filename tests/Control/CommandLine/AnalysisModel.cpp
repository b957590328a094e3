// SPDX-License-Identifier: Apache-2.0
#include "AnalysisModel.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace model {

namespace {

constexpr std::size_t kRemembered = 1048576; // samples of all channels in the ring
constexpr std::size_t kFrames = 2048;        // per spectrum
constexpr double kPi = 3.14159265358979323846;

std::size_t remembered(const std::vector<float>& samples) {
    return std::min(samples.size(), kRemembered);
}

/// Squared magnitude of one bin of the unnormalized real transform.
double plainPower(const std::array<double, kFrames>& values, std::size_t bin) {
    static const auto circle = [] {
        std::array<std::array<double, 2>, kFrames> points{};
        for (std::size_t i = 0; i < kFrames; ++i) {
            const double angle = 2 * kPi * static_cast<double>(i) / kFrames;
            points[i] = {std::cos(angle), std::sin(angle)};
        }
        return points;
    }();
    double real = 0;
    double imaginary = 0;
    for (std::size_t n = 0; n < kFrames; ++n) {
        const auto& point = circle[bin * n % kFrames];
        real += values[n] * point[0];
        imaginary -= values[n] * point[1];
    }
    return real * real + imaginary * imaginary;
}

double bandLevel(const std::array<double, kFrames>& values, double centre, double sampleRate) {
    const double width = sampleRate / kFrames;
    const double low = std::trunc(centre / std::sqrt(2.0) / width);
    const double high = std::trunc(centre * std::sqrt(2.0) / width);
    double start = low;
    double end = high;
    if (low < 2) {
        start = 1;
        end = high < 2 ? 1 : high;
    } else if (low >= 1024) {
        start = 1023;
        end = 1023;
    }
    end = std::min(end, 1023.0);
    double sum = 0;
    for (double bin = start; bin <= end; ++bin)
        sum += 4 * plainPower(values, static_cast<std::size_t>(bin)); // the transform is scaled by 2
    const double decibels = 10 * std::log10(sum / (end - start + 1) + 1.1754944e-38);
    return std::min(1.0, std::max(0.0, (decibels + 50) / 50));
}

/// Updates the smallest relative distance of a `value` from its `limit`.
void narrow(double& margin, double value, double limit) {
    margin = std::min(margin, std::abs(value - limit) / limit);
}

std::vector<double> envelopeOf(const std::vector<float>& samples, std::size_t first, std::size_t frames,
                               std::size_t hop, std::size_t channels) {
    std::vector<double> envelope;
    for (std::size_t i = 0; (i + 1) * hop <= frames; ++i) {
        double energy = 0;
        for (std::size_t k = i * hop * channels; k < (i + 1) * hop * channels; ++k)
            energy += static_cast<double>(samples[first + k]) * static_cast<double>(samples[first + k]);
        envelope.push_back(std::sqrt(energy / static_cast<double>(hop * channels)));
    }
    return envelope;
}

std::vector<double> onsetsOf(const std::vector<double>& envelope) {
    std::vector<double> onsets(envelope.size());
    for (std::size_t i = 1; i < envelope.size(); ++i)
        onsets[i] = std::max(0.0, envelope[i] - envelope[i - 1]);
    return onsets;
}

struct Candidate {
    std::size_t lag = 0;
    double r = 0;
};

std::vector<Candidate> candidatesOf(const std::vector<double>& onsets) {
    const std::size_t n = onsets.size();
    const std::size_t longest = n < 200 ? n / 2 : 100;
    std::vector<Candidate> candidates;
    for (std::size_t lag = 31; lag <= longest; ++lag) {
        double corr = 0;
        double e1 = 0;
        double e2 = 0;
        for (std::size_t j = lag; j < n; ++j) {
            corr += onsets[j - lag] * onsets[j];
            e1 += onsets[j - lag] * onsets[j - lag];
            e2 += onsets[j] * onsets[j];
        }
        if (const double norm = std::sqrt(e1 * e2); norm > 0)
            candidates.push_back({lag, corr / norm});
    }
    return candidates;
}

TempoAndMargin judge(const std::vector<Candidate>& candidates, double margin) {
    Candidate best;
    double sum = 0;
    for (const Candidate& candidate : candidates) {
        sum += candidate.r;
        if (candidate.r > best.r)
            best = candidate;
    }
    if (best.lag == 0)
        return {std::nullopt, margin};
    for (const Candidate& candidate : candidates) // skip equal values: the first of them wins for certain
        if (candidate.r < best.r)
            narrow(margin, candidate.r, best.r);
    const double prominence = best.r - sum / static_cast<double>(candidates.size());
    if (best.r < 0.16 || prominence < 0.05) {
        // Two conditions can reject the tempo; use the one with the larger distance.
        const double clearest = std::max((0.16 - best.r) / 0.16, (0.05 - prominence) / 0.05);
        return {std::nullopt, std::min(1.0, clearest)};
    }
    narrow(margin, best.r, 0.16);
    narrow(margin, prominence, 0.05);
    const double confidence = std::max(0.0, std::min(1.0, 0.65 * best.r + 1.35 * prominence));
    const auto beats = static_cast<int>(std::floor(6000.0 / static_cast<double>(best.lag) + 0.5));
    return {Tempo{beats, confidence}, margin};
}

} // namespace

std::optional<Spectrum> spectrumOf(const std::vector<float>& samples, int sampleRate, int channels) {
    const auto step = static_cast<std::size_t>(channels);
    if (remembered(samples) < kFrames * step)
        return std::nullopt;
    const std::size_t first = samples.size() - kFrames * step;
    std::array<double, kFrames> values{};
    for (std::size_t n = 0; n < kFrames; ++n)
        values[n] = static_cast<double>(samples[first + n * step]) * std::sqrt(2.0 / 3.0) *
                    (1 - std::cos(2 * kPi * static_cast<double>(n) / kFrames));
    constexpr std::array<double, 8> centres{63, 125, 250, 500, 1000, 2000, 4000, 8000};
    Spectrum spectrum;
    for (std::size_t band = 0; band < centres.size(); ++band)
        spectrum.levels[band] = bandLevel(values, centres[band], sampleRate);
    return spectrum;
}

TempoAndMargin tempoOf(const std::vector<float>& samples, int sampleRate, int channels) {
    const auto step = static_cast<std::size_t>(channels);
    const auto rate = static_cast<std::size_t>(sampleRate);
    const std::size_t frames = std::min({kRemembered / step, samples.size() / step, 6 * rate});
    const std::size_t hop = std::max<std::size_t>(rate / 100, 1);
    if (frames < 2 * rate || frames < 1 || frames / hop < 64)
        return {};
    const auto envelope = envelopeOf(samples, samples.size() - frames * step, frames, hop, step);
    double mean = 0;
    for (const double value : envelope)
        mean += value / static_cast<double>(envelope.size());
    TempoAndMargin result;
    narrow(result.margin, mean, 0.0002);
    if (mean < 0.0002)
        return result;
    const auto onsets = onsetsOf(envelope);
    double energy = 0;
    for (const double onset : onsets)
        energy += onset * onset;
    narrow(result.margin, energy, 1e-8);
    if (energy <= 1e-8)
        return {std::nullopt, std::abs(energy - 1e-8) / 1e-8};
    return judge(candidatesOf(onsets), result.margin);
}

} // namespace model
