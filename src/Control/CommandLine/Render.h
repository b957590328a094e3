// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQSettings.h"

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <optional>

namespace vello {

struct RenderOptions {
    /// Longest buffer that the callback can process at once.
    static constexpr std::size_t maximumBufferFrames = 8192;

    std::filesystem::path input;
    std::filesystem::path output;
    EQSettings settings;
    std::optional<double> initialVolume; ///< linear; start of the first ramp; default: settings.volume
    std::size_t bufferFrames = 480;      ///< 1 ... maximumBufferFrames; the last buffer may be shorter
};

/// Runs a sound file with 1 or 2 channels through the I/O callback, and writes a WAV file of 32-bit floats
/// with the same length, rate and channels. The output file appears only when it is complete. Returns the
/// exit code of the program; a failure is one line on `error`. Blocks until done.
int runRender(const RenderOptions& options, std::ostream& error);

} // namespace vello
