// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQPreset.h"

#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// The shared list of presets: a compact JSON array in UTF-8, in its order. Throws CodingError for gains that
/// are not finite and names that are not valid UTF-8.
std::string encodePresets(const std::vector<UserEQPreset>& presets);
bool canBeEncoded(const UserEQPreset& preset);
/// Keeps presets with any number of bands. Throws CodingError.
std::vector<UserEQPreset> decodePresets(std::string_view text);

} // namespace vello
