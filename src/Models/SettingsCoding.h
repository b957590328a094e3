// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/JSONText.h"
#include "Models/EQPreset.h"
#include "Models/EQSettings.h"

namespace vello {

/// Object with "bandGains", "isBypassed", "volume" in this order, then "outputDeviceUID" if it is set and
/// "downmixesSurround" if it is true. Numbers that are not finite and strings that are not valid UTF-8 cause
/// an error only when the value is written as text.
nlohmann::ordered_json encode(const EQSettings& settings);
/// Object with "name" and "bandGains".
nlohmann::ordered_json encode(const UserEQPreset& preset);

/// A missing or null key gets its default. Accepts any number of gains. Throws CodingError for a value of the
/// wrong type, including a boolean instead of a number and vice versa. Ignores unknown keys.
EQSettings decodeSettings(const nlohmann::json& value);
/// Both keys are required. Throws CodingError.
UserEQPreset decodeUserPreset(const nlohmann::json& value);

} // namespace vello
