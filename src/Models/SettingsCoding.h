// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/JSONText.h"
#include "Models/EQPreset.h"
#include "Models/EQSettings.h"

namespace vello {

/// Object with "bandGains", "isBypassed", "volume" in this order, "outputDeviceUID" when there is one and
/// "downmixesSurround" when it is true.
/// Numbers that are not finite and strings that are not UTF-8 fail when the value is written as text.
nlohmann::ordered_json encode(const EQSettings& settings);
/// Object with "name" and "bandGains".
nlohmann::ordered_json encode(const UserEQPreset& preset);

/// Every key may be missing or null and then has the default. Gains are taken whatever their number. A value
/// of the wrong type (also a boolean for a number and the other way round) throws CodingError. Unknown keys
/// are ignored.
EQSettings decodeSettings(const nlohmann::json& value);
/// Both keys are required. Throws CodingError.
UserEQPreset decodeUserPreset(const nlohmann::json& value);

} // namespace vello
