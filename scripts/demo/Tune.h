// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>

namespace vello::demo {

/// A little piece of music of drums, bass and chords. It is the same at every start.
struct Tune {
    double beatsPerMinute = 120;
    double key = 55;       ///< Hz, of the lowest note
    double loudness = 0.3; ///< peak, linear
};

/// Writes it as a WAV file of two channels. Throws std::runtime_error when it cannot be written.
void writeTune(const Tune& tune, int sampleRate, std::size_t seconds, const std::filesystem::path& file);

} // namespace vello::demo
