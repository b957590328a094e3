// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQPreset.h"

#include <span>
#include <string>

namespace vello {

/// Name of the first preset with exactly these gains; built-in presets come before the user's. Absent when no
/// preset matches. No tolerance.
std::optional<std::string> matchingPresetName(std::span<const double> gains,
                                              std::span<const UserEQPreset> userPresets);

// Numbers are formatted for a locale (as in "de_DE"), but have the digits 0 to 9 in every language, as the
// scale at the bands does.

/// A number with this many decimals.
std::string decimalText(double number, int decimals, const std::string& locale);

/// A gain in dB as the user reads it, with one decimal: "+3.5 dB".
std::string decibelText(double gain, const std::string& locale);

/// "63 Hz", "1 kHz".
std::string frequencyText(double hertz);

/// A linear volume as a percentage without decimals.
std::string percentage(double volume, const std::string& locale);

} // namespace vello
