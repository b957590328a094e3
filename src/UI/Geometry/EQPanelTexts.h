// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQPreset.h"

#include <span>
#include <string>

namespace vello {

/// Name of the first built-in curve, else of the first of the user's, that has exactly these gains; absent
/// when none has. No tolerance.
std::optional<std::string> matchingPresetName(std::span<const double> gains,
                                              std::span<const UserEQPreset> userPresets);

/// A linear volume as a percentage without decimals, written as `locale` (as in "de_DE") writes it.
std::string percentage(double volume, const std::string& locale);

} // namespace vello
