// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TargetCurve.h"

#include <nlohmann/json_fwd.hpp>

namespace vello {

/// Reads the equalizers of a preset of EasyEffects. Throws PresetFileError.
TargetCurve readEqualizerJSON(const nlohmann::json& root);

} // namespace vello
