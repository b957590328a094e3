// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/PresetImport.h"

#include "Foundation/DisplayText.h"
#include "Foundation/Files.h"
#include "Foundation/Localization.h"
#include "Foundation/Text.h"
#include "UI/Geometry/EQPanelTexts.h"

#include <QLocale>

#include <algorithm>

namespace vello {
namespace {

QString number(double value, int decimals) {
    return QString::fromStdString(decimalText(value, decimals, QLocale().name().toStdString()));
}

/// A remark's number as the user's language writes it; another argument as it is.
std::string shownArgument(const std::string& argument) {
    bool isNumber = false;
    const double value = QLocale::c().toDouble(QString::fromStdString(argument), &isNumber);
    return isNumber && argument.find('.') != argument.npos ? number(value, 1).toStdString() : argument;
}

QString shownRemark(const PresetRemark& remark) {
    return QString::fromStdString(localized(remark.english, shownArgument(remark.argument)));
}

/// Whether a preset can be saved under this name: it can be read, and it hides no built-in preset.
bool isUsableName(std::string_view name) {
    const auto trimmed = trimmedWhiteSpace(name);
    return hasVisibleText(trimmed) && trimmed.size() <= kLongestName && isPlainText(trimmed) &&
           !EQPreset::fromRawValue(trimmed);
}

} // namespace

QString PresetImport::suggestedName() const {
    return hasOnePreset() ? QString::fromStdString(presets_.front().name) : QString();
}

QString PresetImport::summary() const {
    if (presets_.empty())
        return failure_;
    if (presets_.size() > 1)
        return canSave({})
                   ? QString::fromStdString(localizedPlural("The file holds %1 preset.",
                                                            "The file holds %1 presets.", presets_.size()))
                   : tr("A preset in the file has a name that cannot be used. Correct it in the file.");
    const FitError& error = presets_.front().error;
    if (error.largest < 0.05)
        return tr("The bands follow the file’s curve exactly.");
    return tr("The bands differ from the file’s curve by %1 dB RMS, at most by %2 dB at %3 Hz.")
        .arg(number(error.rms, 1), number(error.largest, 1), number(error.atFrequency, 0));
}

QStringList PresetImport::notes() const {
    QStringList notes;
    for (const ImportedPreset& preset : presets_)
        for (const PresetRemark& remark : preset.remarks)
            if (const QString note = shownRemark(remark); !notes.contains(note))
                notes.append(note);
    return notes;
}

void PresetImport::openFile(const QUrl& file) {
    const auto content = file.isLocalFile()
                             ? readFile(file.toLocalFile().toStdString(), kLargestPresetFile + 1)
                             : std::nullopt;
    if (content)
        offer(file.fileName(), *content);
    else
        fail({wordingKey("The file cannot be read. Choose another.")});
}

void PresetImport::offer(const QString& fileName, std::string_view content) {
    try {
        presets_ = readPresetFile(content);
        if (presets_.front().name.empty())
            presets_.front().name = presetNameOfFile(fileName.toStdString());
        failure_.clear();
        emit changed();
    } catch (const PresetFileError& error) {
        fail(error.remark());
    }
}

void PresetImport::fail(const PresetRemark& remark) {
    presets_.clear();
    failure_ = shownRemark(remark);
    emit changed();
}

bool PresetImport::canSave(const QString& name) const {
    if (hasOnePreset())
        return isUsableName(name.toStdString());
    return !presets_.empty() && std::ranges::all_of(presets_, isUsableName, &ImportedPreset::name);
}

void PresetImport::save(const QString& name) {
    if (!canSave(name))
        return;
    if (hasOnePreset())
        presets_.front().name = name.toStdString();
    for (const ImportedPreset& preset : presets_)
        controller_.saveUserPreset(preset.name, preset.bandGains);
    close();
}

void PresetImport::close() {
    presets_.clear();
    failure_.clear();
    emit changed();
}

} // namespace vello
