// SPDX-License-Identifier: Apache-2.0
#include "PresetFiles/PresetFile.h"

#include "EqualizerJSON.h"
#include "EqualizerText.h"
#include "FileText.h"
#include "Foundation/DisplayText.h"
#include "Foundation/JSONText.h"
#include "Foundation/Localization.h"
#include "OwnPresets.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace vello {
namespace {

/// The number behind "line " in the parser's message; 1 if it names none.
std::string lineIn(std::string_view message) {
    constexpr std::string_view name = "line ";
    const auto at = message.find(name);
    const auto digits = at == message.npos ? std::string_view() : message.substr(at + name.size());
    const auto end = std::ranges::find_if_not(digits, [](char c) { return c >= '0' && c <= '9'; });
    return digits.begin() == end ? "1" : std::string(digits.begin(), end);
}

nlohmann::json jsonOf(std::string_view text) {
    try {
        return parseJSON(text);
    } catch (const CodingError& error) {
        throw PresetFileError({wordingKey("The JSON of the file is damaged in line %1. Export it again."),
                               lineIn(error.what())});
    }
}

std::vector<ImportedPreset> readJSON(std::string_view text) {
    const nlohmann::json root = jsonOf(text);
    return isOwnPresets(root) ? readOwnPresets(root) : std::vector{fittedPreset(readEqualizerJSON(root))};
}

} // namespace

std::string PresetRemark::text() const {
    constexpr std::string_view mark = "%1";
    std::string result(english);
    if (const auto at = result.find(mark); at != std::string::npos)
        result.replace(at, mark.size(), argument);
    return result;
}

std::vector<ImportedPreset> readPresetFile(std::string_view content) {
    const std::string text = fileText(content);
    const char first = trimmedWhiteSpace(text).front();
    return first == '{' || first == '[' ? readJSON(text) : std::vector{fittedPreset(readEqualizerText(text))};
}

std::string presetNameOfFile(std::string_view fileName) {
    std::string_view name = fileName.substr(fileName.rfind('/') + 1);
    if (const auto dot = name.rfind('.'); dot != name.npos && dot > 0)
        name = name.substr(0, dot);
    for (const std::string_view kind : {" ParametricEQ", " GraphicEQ", " FixedBandEQ"})
        if (name.size() > kind.size() && name.ends_with(kind))
            name.remove_suffix(kind.size());
    return boundedName(trimmedWhiteSpace(name));
}

} // namespace vello
