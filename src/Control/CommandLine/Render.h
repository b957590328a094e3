// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/OutputFormat.h"
#include "Models/EQPreset.h"
#include "Models/EQSettings.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace vello {

struct RenderOptions {
    /// Longest buffer that the callback can process at once.
    static constexpr std::size_t maximumBufferFrames = 8192;

    std::filesystem::path input;  ///< "-": standard input
    std::filesystem::path output; ///< "-": standard output
    EQSettings settings;
    std::string preset; ///< id or name of the curve to be used instead of that of `settings`; may be empty
    std::optional<double> initialVolume;      ///< linear; start of the first ramp; default: settings.volume
    std::size_t bufferFrames = 480;           ///< 1 ... maximumBufferFrames; the last buffer may be shorter
    OutputFormat format = OutputFormat::text; ///< of errors
};

/// Reads the presets that the user has saved; none if they cannot be read.
using SavedPresets = std::function<std::vector<UserEQPreset>()>;

/// Runs a sound file with 1 or 2 channels through the I/O callback, and writes a WAV file of 32-bit floats
/// with the same length, rate and channels. The output file appears only when it is complete. Returns the
/// exit code of the program; a failure is one line on `error`. Blocks until done.
int runRender(const RenderOptions& options, const SavedPresets& savedPresets, std::ostream& error);

} // namespace vello
