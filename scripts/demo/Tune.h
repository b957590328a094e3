// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>

namespace vello::demo {

/// A short piece of music with drums, bass and chords. It is the same every time.
struct Tune {
    double beatsPerMinute = 120;
    double key = 55;       ///< Hz, of the lowest note
    double loudness = 0.3; ///< peak, linear
};

/// Writes the tune as a stereo WAV file. Throws std::runtime_error when it cannot be written.
void writeTune(const Tune& tune, int sampleRate, std::size_t seconds, const std::filesystem::path& file);

} // namespace vello::demo
