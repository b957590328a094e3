// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQSettings.h"

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <optional>

namespace vello {

struct RenderOptions {
    /// Longest buffer: what the callback can carry from its input to its output in one go.
    static constexpr std::size_t maximumBufferFrames = 8192;

    std::filesystem::path input;
    std::filesystem::path output;
    EQSettings settings;
    std::optional<double>
        initialVolume;              ///< linear; what the first buffer ramps from; absent: settings.volume
    std::size_t bufferFrames = 480; ///< 1 ... maximumBufferFrames; the last buffer may be shorter
};

/// Runs a sound file of 1 or 2 channels through the I/O callback, and writes a WAV file of 32-bit floats with
/// the same length, rate and channels. The output appears when it is complete, or not at all. Returns the
/// exit code of the program; a failure is one line on `error`. Blocks for as long as it takes.
int runRender(const RenderOptions& options, std::ostream& error);

} // namespace vello
