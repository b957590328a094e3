// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQPreset.h"
#include "Models/EQSettings.h"

#include <map>
#include <string>
#include <vector>

namespace vello {

/// Settings by source id.
using SettingsBySourceID = std::map<std::string, EQSettings, std::less<>>;

/// The content of the settings file.
struct StoredSettings {
    SettingsBySourceID sources;
    std::vector<UserEQPreset> userPresets; ///< in the order of the list

    friend bool operator==(const StoredSettings&, const StoredSettings&) = default;
};

} // namespace vello
