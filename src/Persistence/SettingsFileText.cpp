// SPDX-License-Identifier: Apache-2.0
#include "Persistence/SettingsFileText.h"

#include "Models/SettingsCoding.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <utility>
#include <vector>

namespace vello {
namespace {

using nlohmann::json;

constexpr int kFormatVersion = 1;

bool hasEveryBand(const std::vector<double>& gains) {
    return gains.size() == EQSettings::bandCount;
}

bool isInteger(const json& value) {
    return value.is_number_integer() ||
           (value.is_number_float() && std::trunc(value.get<double>()) == value.get<double>());
}

const json& requireMember(const json& payload, const char* key) {
    const auto member = payload.find(key);
    if (member == payload.end() || member->is_null())
        throw CodingError("\"" + std::string(key) + "\" is missing");
    return *member;
}

void requireType(bool isRight, const char* key, const char* wanted) {
    if (!isRight)
        throw CodingError("\"" + std::string(key) + "\" is not " + wanted);
}

SettingsBySourceID decodeSources(const json& sources) {
    requireType(sources.is_object(), "sources", "an object");
    SettingsBySourceID result;
    for (const auto& [sourceID, value] : sources.items()) {
        EQSettings settings = decodeSettings(value);
        if (hasEveryBand(settings.bandGains))
            result.emplace(sourceID, std::move(settings));
    }
    return result;
}

std::vector<UserEQPreset> decodeUserPresets(const json& presets) {
    requireType(presets.is_array(), "userPresets", "an array");
    std::vector<UserEQPreset> result;
    for (const json& value : presets) {
        UserEQPreset preset = decodeUserPreset(value);
        if (hasEveryBand(preset.bandGains) && !preset.name.empty())
            result.push_back(std::move(preset));
    }
    return result;
}

} // namespace

StoredSettings decodeStoredSettings(std::string_view text) {
    if (text.size() > kLargestSettingsFile)
        throw CodingError("the file is too large");
    const json payload = parseJSON(text);
    requireType(payload.is_object(), "settings", "an object");
    requireType(isInteger(requireMember(payload, "version")), "version", "an integer");
    StoredSettings settings;
    settings.sources = decodeSources(requireMember(payload, "sources"));
    const auto presets = payload.find("userPresets");
    if (presets != payload.end() && !presets->is_null())
        settings.userPresets = decodeUserPresets(*presets);
    return settings;
}

std::string encodeStoredSettings(const StoredSettings& settings) {
    using Encoded = nlohmann::ordered_json;
    // Filled as a list of members, because inserting by key into an ordered object takes quadratic time.
    Encoded::object_t sources;
    sources.reserve(settings.sources.size());
    for (const auto& [sourceID, value] : settings.sources)
        sources.emplace_back(sourceID, encode(value));
    Encoded presets = Encoded::array();
    for (const UserEQPreset& preset : settings.userPresets)
        presets.push_back(encode(preset));
    const Encoded payload{
        {"version", kFormatVersion}, {"sources", std::move(sources)}, {"userPresets", presets}};
    return writeJSON(payload, JSONLayout::prettySorted) + "\n";
}

} // namespace vello
