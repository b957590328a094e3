// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>
#include <vector>

/// The definitions of the spectrum and the tempo once more, as plainly as they can be written, in double
/// precision and without a line of the product: what the product is compared with.
namespace model {

/// What the end of some sound shows.
struct Spectrum {
    std::array<double, 8> levels{};
};

struct Tempo {
    int beatsPerMinute = 0;
    double confidence = 0;
};

/// An estimate, and how far the nearest of its decisions was from falling the other way, as a share of what
/// was compared. A test with a margin near 0 shows nothing: rounding alone decides it.
struct TempoAndMargin {
    std::optional<Tempo> tempo;
    double margin = 1;
};

/// `samples` interleaved, `sampleRate` in Hz.
std::optional<Spectrum> spectrumOf(const std::vector<float>& samples, int sampleRate, int channels);
TempoAndMargin tempoOf(const std::vector<float>& samples, int sampleRate, int channels);

} // namespace model
