// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>
#include <vector>

/// An independent model of the spectrum and the tempo, written as simply as possible, in double precision and
/// without any code of the product. The product is compared with it.
namespace model {

/// The spectrum at the end of a sound.
struct Spectrum {
    std::array<double, 8> levels{};
};

struct Tempo {
    int beatsPerMinute = 0;
    double confidence = 0;
};

/// An estimate, and the smallest relative distance of any comparison from the opposite result. With a margin
/// near 0 only rounding decides, so such a case is not a valid test.
struct TempoAndMargin {
    std::optional<Tempo> tempo;
    double margin = 1;
};

/// `samples` interleaved, `sampleRate` in Hz.
std::optional<Spectrum> spectrumOf(const std::vector<float>& samples, int sampleRate, int channels);
TempoAndMargin tempoOf(const std::vector<float>& samples, int sampleRate, int channels);

} // namespace model
