// SPDX-License-Identifier: Apache-2.0
#include "Persistence/PresetListText.h"

#include "Models/SettingsCoding.h"

#include <nlohmann/json.hpp>

namespace vello {

std::vector<UserEQPreset> decodePresets(std::string_view text) {
    const nlohmann::json list = parseJSON(text);
    if (!list.is_array())
        throw CodingError(std::string("the list of presets is ").append(list.type_name()));
    std::vector<UserEQPreset> presets;
    for (const nlohmann::json& value : list)
        presets.push_back(decodeUserPreset(value));
    return presets;
}

std::string encodePresets(const std::vector<UserEQPreset>& presets) {
    auto list = nlohmann::ordered_json::array();
    for (const UserEQPreset& preset : presets)
        list.push_back(encode(preset));
    return writeJSON(list, JSONLayout::compact);
}

bool canBeEncoded(const UserEQPreset& preset) {
    try {
        encodePresets({preset});
        return true;
    } catch (const CodingError&) {
        return false;
    }
}

} // namespace vello
