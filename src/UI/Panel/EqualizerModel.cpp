// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/EqualizerModel.h"

#include "Foundation/DisplayText.h"
#include "UI/Geometry/EQPanelTexts.h"

#include <QLocale>
#include <QScopedValueRollback>

#include <algorithm>
#include <cmath>
#include <utility>

namespace vello {
namespace {

/// Settings from other sources may hold any number of gains.
double gainOf(const EQSettings& settings, std::size_t band) {
    return band < settings.bandGains.size() ? settings.bandGains[band] : 0.0;
}

} // namespace

EqualizerModel::EqualizerModel(AudioController& controller, std::string sourceID, QObject* parent)
    : QObject(parent), controller_(controller), sourceID_(std::move(sourceID)),
      settings_(controller.settings(sourceID_)) {
    makeBands();
    connect(&presets_, &MenuModel::chosen, this, &EqualizerModel::applyPreset);
    connect(&presets_, &MenuModel::deletionRequested, this, &EqualizerModel::deletePreset);
    connect(&presets_, &MenuModel::restorationRequested, this, &EqualizerModel::restorePreset);
    connect(&presets_, &MenuModel::renamingRequested, this, [this](int row) {
        if (const UserEQPreset* const preset = userPreset(row))
            emit renamingRequested(QString::fromStdString(preset->name));
    });
    connect(&routes_, &MenuModel::chosen, this, &EqualizerModel::chooseRoute);
    showGains();
    refreshInForce(false);
    refreshPresets();
    refreshRoutes();
    refreshTempo();
}

void EqualizerModel::makeBands() {
    for (std::size_t band = 0; band < EQSettings::bandCount; ++band) {
        auto* const model = new BandModel(band, this);
        connect(model, &BandModel::edited, this, [this, band](double decibels) { setGain(band, decibels); });
        bands_.append(model);
    }
}

QList<float> EqualizerModel::spectrum() const {
    if (controller_.activeSourceID().value() != sourceID_)
        return {};
    const auto& levels = controller_.spectrum().value();
    return QList<float>(levels.begin(), levels.end());
}

QString EqualizerModel::volumeText() const {
    return QString::fromStdString(percentage(settings_.volume, QLocale().name().toStdString()));
}

QString EqualizerModel::nameOf(std::span<const double> gains) const {
    const auto name = matchingPresetName(gains, controller_.userPresets().value());
    // TRANSLATORS: The name of a curve that is no preset.
    return name ? QString::fromStdString(*name) : tr("Custom");
}

QString EqualizerModel::currentPresetName() const {
    return nameOf(settings_.bandGains);
}

QString EqualizerModel::systemPresetName() const {
    return nameOf(controller_.settings(kSystemSourceID).bandGains);
}

bool EqualizerModel::isUnsavedCustomCurve() const {
    return !matchingPresetName(settings_.bandGains, controller_.userPresets().value());
}

QString EqualizerModel::currentOutputRouteName() const {
    return QString::fromStdString(controller_.outputRouteName(settings_.outputDeviceUID));
}

void EqualizerModel::edit(const std::function<void(EQSettings&)>& change) {
    EQSettings settings = controller_.settings(sourceID_);
    settings.bandGains.resize(EQSettings::bandCount);
    change(settings);
    controller_.updateSettings(std::move(settings), sourceID_);
}

void EqualizerModel::setGains(std::span<const double> gains) {
    edit([gains](EQSettings& settings) {
        settings.bandGains.assign(gains.begin(), gains.end());
        settings.bandGains.resize(EQSettings::bandCount);
    });
}

void EqualizerModel::setVolume(double volume) {
    if (!std::isnan(volume))
        edit([volume](EQSettings& settings) { settings.volume = std::clamp(volume, 0.0, 1.0); });
}

void EqualizerModel::setGain(std::size_t band, double decibels) {
    edit([&](EQSettings& settings) { settings.bandGains[band] = decibels; });
}

void EqualizerModel::reset() {
    edit([](EQSettings& settings) { settings.reset(); });
}

/// The user's preset in this row of the menu; null when the row holds something else.
const UserEQPreset* EqualizerModel::userPreset(int row) const {
    const auto& own = controller_.userPresets().value();
    const auto builtInCount = static_cast<int>(EQPreset::allCases().size());
    if (row < builtInCount)
        return nullptr;
    auto place = static_cast<std::size_t>(row - builtInCount);
    if (deleted_) {
        const std::size_t gap = std::min(deleted_->position, own.size());
        if (place == gap)
            return nullptr;
        place -= place > gap ? 1 : 0;
    }
    return place < own.size() ? &own[place] : nullptr;
}

void EqualizerModel::applyPreset(int row) {
    const auto builtIn = EQPreset::allCases();
    const QScopedValueRollback glide(isApplyingPreset_, true);
    if (row >= 0 && static_cast<std::size_t>(row) < builtIn.size())
        setGains(builtIn[static_cast<std::size_t>(row)].bandGains());
    else if (const UserEQPreset* const own = userPreset(row))
        setGains(std::vector(own->bandGains));
    else if (row >= 0 && row + 1 == presets_.rowCount())
        emit importRequested();
}

void EqualizerModel::deletePreset(int row) {
    const UserEQPreset* const found = userPreset(row);
    if (!found)
        return;
    const UserEQPreset preset = *found;
    const auto position = found - controller_.userPresets().value().data();
    deleted_ = {preset, static_cast<std::size_t>(position)};
    controller_.deleteUserPreset(preset.name);
    emit presetDeleted();
}

void EqualizerModel::restorePreset() {
    if (const auto deleted = std::exchange(deleted_, std::nullopt))
        controller_.restoreUserPreset(deleted->preset, deleted->position);
}

void EqualizerModel::forgetDeletedPreset() {
    if (std::exchange(deleted_, std::nullopt))
        refreshPresets();
}

void EqualizerModel::chooseRoute(int row) {
    const auto& routes = controller_.outputRoutes().value();
    if (row < 0 || static_cast<std::size_t>(row) > routes.size())
        return;
    std::optional<std::string> uid;
    if (row > 0)
        uid = routes[static_cast<std::size_t>(row - 1)].id;
    edit([&uid](EQSettings& settings) { settings.outputDeviceUID = uid; });
}

bool EqualizerModel::isBlank(const QString& name) {
    return trimmedWhiteSpace(name.toStdString()).empty();
}

bool EqualizerModel::savePreset(const QString& name) {
    if (isBlank(name))
        return false;
    controller_.saveUserPreset(name.toStdString(), settings_.bandGains);
    return true;
}

bool EqualizerModel::canRenamePreset(const QString& name, const QString& newName) const {
    const std::string current = name.toStdString();
    const std::string wanted = newName.toStdString();
    const std::string_view trimmed = trimmedWhiteSpace(wanted);
    const auto& own = controller_.userPresets().value();
    const auto exists = [&own](std::string_view preset) {
        return std::ranges::find(own, preset, &UserEQPreset::name) != own.end();
    };
    return !trimmed.empty() && exists(current) && (trimmed == current || !exists(trimmed));
}

bool EqualizerModel::renamePreset(const QString& name, const QString& newName) {
    return canRenamePreset(name, newName) &&
           controller_.renameUserPreset(name.toStdString(), newName.toStdString());
}

void EqualizerModel::refreshSettings() {
    const EQSettings before = std::exchange(settings_, controller_.settings(sourceID_));
    refreshInForce(before.followsSystem(sourceID_) != isFollowingSystem());
    if (settings_ == before)
        return;
    showGains();
    emit settingsChanged();
    if (settings_.bandGains != before.bandGains)
        refreshPresets();
    if (settings_.outputDeviceUID != before.outputDeviceUID)
        refreshRoutes();
}

void EqualizerModel::showGains() {
    for (qsizetype band = 0; band < bands_.size(); ++band)
        bands_[band]->show(gainOf(settings_, static_cast<std::size_t>(band)), isApplyingPreset_);
}

/// `hasOtherSource`: the settings in force are no longer the source's own, or are so again.
void EqualizerModel::refreshInForce(bool hasOtherSource) {
    const EQSettings before = std::exchange(inForce_, controller_.settingsInForce(sourceID_));
    if (inForce_ == before && !hasOtherSource)
        return;
    const bool glides = isApplyingPreset_ || hasOtherSource || inForce_.isBypassed != before.isBypassed;
    for (qsizetype band = 0; band < bands_.size(); ++band)
        bands_[band]->showInForce(
            inForce_.isBypassed ? 0.0 : gainOf(inForce_, static_cast<std::size_t>(band)), glides);
    emit presetChanged();
}

std::vector<MenuEntry> EqualizerModel::presetEntries() const {
    using Kind = MenuEntry::Kind;
    std::vector<MenuEntry> entries;
    const auto add = [&](const std::string& name, std::span<const double> gains, Kind kind) {
        entries.push_back(
            {QString::fromStdString(name), std::ranges::equal(gains, settings_.bandGains), false, kind});
    };
    for (const EQPreset preset : EQPreset::allCases())
        add(preset.displayName(), preset.bandGains(), Kind::choice);
    const std::size_t builtInCount = entries.size();
    for (const UserEQPreset& preset : controller_.userPresets().value())
        add(preset.name, preset.bandGains, Kind::editable);
    if (deleted_) {
        const std::size_t place = std::min(builtInCount + deleted_->position, entries.size());
        entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(place),
                       {QString::fromStdString(deleted_->preset.name), false, false, Kind::deleted});
    }
    if (entries.size() > builtInCount)
        entries[builtInCount].startsGroup = true;
    // TRANSLATORS: Reads presets from a file.
    entries.push_back({tr("Import…"), false, true, Kind::action});
    return entries;
}

void EqualizerModel::refreshPresets() {
    presets_.setEntries(presetEntries());
    emit presetChanged();
}

void EqualizerModel::refreshRoutes() {
    const auto& chosen = settings_.outputDeviceUID;
    std::vector<MenuEntry> entries{{tr("Automatic"), !chosen, false}};
    for (const AudioOutputRoute& route : controller_.outputRoutes().value()) {
        const QString name = QString::fromStdString(route.name);
        // TRANSLATORS: The output %1 is the default output of the system.
        entries.push_back({route.isDefault ? tr("%1 (Default)").arg(name) : name, chosen == route.id, false});
    }
    routes_.setEntries(std::move(entries));
    emit routeChanged();
}

void EqualizerModel::refreshSpectrum() {
    emit spectrumChanged();
    if (std::exchange(sampleRate_, controller_.sampleRate(sourceID_)) != sampleRate_)
        emit sampleRateChanged();
}

void EqualizerModel::refreshTempo() {
    const auto estimate = controller_.tempo(sourceID_);
    const int beatsPerMinute = estimate ? estimate->beatsPerMinute : beatsPerMinute_;
    if (estimate.has_value() == hasTempo_ && beatsPerMinute == beatsPerMinute_)
        return;
    hasTempo_ = estimate.has_value();
    beatsPerMinute_ = beatsPerMinute;
    emit tempoChanged();
}

} // namespace vello
