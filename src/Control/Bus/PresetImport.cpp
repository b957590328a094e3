// SPDX-License-Identifier: Apache-2.0
#include "PresetImport.h"

#include "Control/State/OutsideValues.h"

#include <algorithm>

#include <QList>
#include <QStringList>

namespace vello {
namespace {

[[noreturn]] void refuseImport(const std::string& sentence) {
    throw OutsideValueError(OutsideValueError::Kind::invalidValue, sentence);
}

std::vector<ImportedPreset> presetsIn(std::string_view content) {
    try {
        return readPresetFile(content);
    } catch (const PresetFileError& error) {
        refuseImport(error.what());
    }
}

ImportedPreset chosen(std::vector<ImportedPreset> presets, const std::string& name) {
    if (presets.size() == 1)
        return std::move(presets[0]);
    const auto named = std::ranges::find(presets, name, &ImportedPreset::name);
    if (named == presets.end())
        refuseImport("the file has several presets; give the name of one of them");
    return std::move(*named);
}

} // namespace

ImportedPreset importedPreset(const std::string& name, std::string_view content) {
    ImportedPreset preset = chosen(presetsIn(content), name);
    if (!name.empty())
        preset.name = name;
    checkNewPresetName(preset.name);
    return preset;
}

QVariantMap encodeImport(const ImportedPreset& preset) {
    QStringList notes;
    for (const PresetRemark& remark : preset.remarks)
        notes.append(QString::fromStdString(remark.text()));
    const QList<double> gains(preset.bandGains.begin(), preset.bandGains.end());
    return {{"name", QString::fromStdString(preset.name)},
            {"band_gains", QVariant::fromValue(gains)},
            {"rms_error", preset.error.rms},
            {"largest_error", preset.error.largest},
            {"at_frequency", preset.error.atFrequency},
            {"notes", notes}};
}

} // namespace vello
