// SPDX-License-Identifier: Apache-2.0
#include "OwnPresets.h"

#include "Foundation/Localization.h"
#include "Models/SettingsCoding.h"
#include "TargetCurve.h"

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

namespace vello {
namespace {

constexpr char kFormat[] = "vello-presets";
constexpr int kFormatVersion = 1;

[[noreturn]] void refusePreset(std::string_view english, std::size_t number) {
    throw PresetFileError({english, std::to_string(number)});
}

/// Gains beyond what a band can do are fitted like a curve of another equalizer.
ImportedPreset limited(const std::vector<double>& gains) {
    TargetCurve target;
    for (std::size_t band = 0; band < gains.size(); ++band)
        target.left.filters.push_back(
            {.frequency = EQSettings::bandFrequencies[band], .gain = gains[band], .quality = 1.41});
    target.right = target.left;
    return fittedPreset(std::move(target));
}

ImportedPreset presetOf(const UserEQPreset& preset, std::size_t number) {
    const auto isWithin = [&](double limit) {
        return std::ranges::all_of(preset.bandGains, [=](double gain) { return std::abs(gain) <= limit; });
    };
    if (preset.bandGains.size() != EQSettings::bandCount || !isWithin(kLargestTargetGain))
        refusePreset(
            wordingKey("Preset %1 of the file does not have eight gains in decibels. Correct or remove it."),
            number);
    ImportedPreset imported;
    if (isWithin(kLargestFittedGain))
        std::ranges::copy(preset.bandGains, imported.bandGains.begin());
    else
        imported = limited(preset.bandGains);
    imported.name = preset.name;
    return imported;
}

ImportedPreset decoded(const nlohmann::json& value, std::size_t number) {
    try {
        return presetOf(decodeUserPreset(value), number);
    } catch (const CodingError&) {
        refusePreset(wordingKey("Preset %1 of the file has no name or no gains. Correct or remove it."),
                     number);
    }
}

void checkVersion(const nlohmann::json& root) {
    const auto version = root.find("version");
    if (version != root.end() && (!version->is_number_integer() || *version != kFormatVersion))
        throw PresetFileError(
            {wordingKey("The file is of a newer version of VELLO. Import it there, or update this one.")});
}

const nlohmann::json& listIn(const nlohmann::json& root) {
    if (root.is_array())
        return root;
    checkVersion(root);
    if (const nlohmann::json& list = root.at("presets"); list.is_array())
        return list;
    throw PresetFileError({wordingKey("“presets” in the file is not a list. Export the presets again.")});
}

} // namespace

bool isOwnPresets(const nlohmann::json& root) {
    return root.is_array() || (root.is_object() && (root.contains("presets") || root.contains("bandGains")));
}

std::vector<ImportedPreset> readOwnPresets(const nlohmann::json& root) {
    if (root.is_object() && !root.contains("presets"))
        return {decoded(root, 1)};
    const nlohmann::json& list = listIn(root);
    if (list.empty())
        throw PresetFileError({wordingKey("The file has no presets. Choose another.")});
    if (list.size() > kMostPresetsInFile)
        throw PresetFileError({wordingKey("The file has more than 1000 presets. Remove some.")});
    std::vector<ImportedPreset> presets;
    for (const nlohmann::json& value : list)
        presets.push_back(decoded(value, presets.size() + 1));
    return presets;
}

std::string writePresetFile(std::span<const UserEQPreset> presets) {
    auto list = nlohmann::ordered_json::array();
    for (const UserEQPreset& preset : presets)
        if (preset.bandGains.size() == EQSettings::bandCount)
            list.push_back(encode(preset));
    return writeJSON({{"format", kFormat}, {"version", kFormatVersion}, {"presets", list}},
                     JSONLayout::prettySorted) +
           "\n";
}

} // namespace vello
