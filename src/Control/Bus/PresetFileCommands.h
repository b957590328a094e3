// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Bus/Client.h"
#include "Control/Bus/RunningInstance.h"

namespace vello {

/// Prints what the file's presets become, then saves them in the running instance, all or none of those with
/// an unusable name. Throws std::runtime_error.
void importPresets(const ClientRequest& request, const ClientOutput& output);
/// Writes saved presets of the running instance to a file. Throws std::runtime_error.
void exportPresets(const RunningInstance& instance, const PresetFileRequest& request,
                   const ClientOutput& output);

} // namespace vello
