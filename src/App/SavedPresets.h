// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQPreset.h"

#include <vector>

namespace vello {

/// Reads the user's presets from the settings file, without a running instance and without touching the file.
/// Leaves out what cannot be read.
std::vector<UserEQPreset> savedPresets();

} // namespace vello
