// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/OutputFormat.h"

#include <filesystem>
#include <iosfwd>

namespace vello {

struct AnalyzeOptions {
    std::filesystem::path input;              ///< "-": standard input
    OutputFormat format = OutputFormat::text; ///< of errors
};

/// Writes the spectrum and the tempo at the end of a sound file with 1 or 2 channels to `out` as one JSON
/// object. They are the values that would show if an application had played it unequalized. Returns the exit
/// code of the program; a failure is one line on `error`. Blocks until done.
int runAnalyze(const AnalyzeOptions& options, std::ostream& out, std::ostream& error);

} // namespace vello
