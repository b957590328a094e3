// SPDX-License-Identifier: Apache-2.0
#include "SavedPresets.h"

#include "Foundation/Environment.h"
#include "Foundation/Files.h"
#include "Foundation/Product.h"
#include "Models/SettingsCoding.h"
#include "Platform/Linux/System/UserFolders.h"

#include <nlohmann/json.hpp>

namespace vello {
namespace {

constexpr std::size_t kLargestFile = std::size_t{64} << 20;

void addPreset(std::vector<UserEQPreset>& presets, const nlohmann::json& value) {
    try {
        UserEQPreset preset = decodeUserPreset(value);
        if (!preset.name.empty() && preset.bandGains.size() == EQSettings::bandCount)
            presets.push_back(std::move(preset));
    } catch (const CodingError&) { // the others count
    }
}

} // namespace

std::vector<UserEQPreset> savedPresets() try {
    const auto file = userDataFolder(processEnvironment()) / kApplicationFolder / "settings.json";
    const auto text = readFile(file, kLargestFile);
    const nlohmann::json settings = text ? parseJSON(*text) : nlohmann::json::object();
    std::vector<UserEQPreset> presets;
    for (const nlohmann::json& value : settings.value("userPresets", nlohmann::json::array()))
        addPreset(presets, value);
    return presets;
} catch (const CodingError&) {
    return {};
} catch (const nlohmann::json::exception&) {
    return {};
}

} // namespace vello
