// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Persistence/StoredSettings.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace vello {

inline constexpr std::size_t kLargestSettingsFile = std::size_t{64} << 20U; ///< bytes

/// The content of the settings file: JSON in UTF-8 with sorted keys, in several lines. Throws CodingError for
/// gains that are not finite and names that are not valid UTF-8.
std::string encodeStoredSettings(const StoredSettings& settings);
/// Leaves out settings and presets that do not have every band, and presets without a name. The version is
/// required, but any integer is accepted. Throws CodingError, with a sentence, for any other text.
StoredSettings decodeStoredSettings(std::string_view text);

} // namespace vello
