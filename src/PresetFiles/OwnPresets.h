// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PresetFiles/PresetFile.h"

#include <nlohmann/json_fwd.hpp>

namespace vello {

/// Whether the JSON is meant to be presets of this system: a file of writePresetFile(), a list of presets, or
/// one alone.
bool isOwnPresets(const nlohmann::json& root);
/// Throws PresetFileError.
std::vector<ImportedPreset> readOwnPresets(const nlohmann::json& root);

} // namespace vello
