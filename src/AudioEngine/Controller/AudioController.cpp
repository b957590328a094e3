// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/AudioController.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "Foundation/Localization.h"
#include "Foundation/LocalizedOrder.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr auto kMeterPeriod = 33ms;

/// Sources identified only by a process number are never saved, because the number will be reused.
constexpr std::string_view kProcessSourcePrefix = "pid.";

AppAudioSource systemSource() {
    // TRANSLATORS: The entry of the list whose settings all applications without their own follow.
    return {std::string(kSystemSourceID), std::nullopt, localized("System"), std::nullopt};
}

AppAudioSource sourceOf(const AudioProcessGroup& group) {
    const auto pid = group.representativePID > 0 ? std::optional(group.representativePID) : std::nullopt;
    return {group.id, pid, group.displayName, group.bundleID};
}

template <class Map> auto valueIn(const Map& map, std::string_view key) {
    const auto found = map.find(key);
    return found == map.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

AudioController::AudioController(const AudioControllerPorts& ports,
                                 const std::filesystem::path& applicationSupportFolder)
    : audioHardware_(ports.audioHardware), mainThread_(ports.mainThread),
      applicationEvents_(ports.applicationEvents),
      capturePermission_(ports.captureAuthorization, ports.applicationEvents, ports.mainThread),
      processMonitor_(ports.audioHardware, ports.mainThread, ports.runningApplications, ports.systemLog),
      exemptStreams_(ports.audioHardware, ports.runningApplications),
      outputRoutes_(ports.audioHardware, ports.systemLog),
      settingsStore_(applicationSupportFolder, ports.mainThread, ports.systemLog),
      presetCloudStore_(ports.keyValueStore, ports.mainThread, ports.systemLog),
      userPresets_(presetCloudStore_, [this] { settingsStore_.scheduleSave(persistable()); }),
      tapCoordinator_(ports.audioHardware, ports.mainThread, ports.systemLog, teardownQueue_,
                      [this](const std::string& sourceID) { return settings(sourceID); }) {
    loadStored();
    userPresets_.startObserving();
    tapCoordinator_.start();
    syncCoordinatorEnabled();
    outputRoutes_.start();
    observeProcesses();
    applicationEvents_.onWillTerminate([this] { willTerminate(); });
    // Without a panel, nothing else would react when the user allows the capture.
    permissionObservation_ = capturePermission_.status().observe([this](auto) { permissionStatusChanged(); });
}

AudioController::~AudioController() {
    applicationEvents_.onWillTerminate(nullptr);
}

// Startup and shutdown

void AudioController::loadStored() {
    saveObservation_ = settingsStore_.problem().observe([this](const auto&) { syncSaveProblem(); });
    shareObservation_ = presetCloudStore_.problem().observe([this](const auto&) { syncSaveProblem(); });
    StoredSettings stored = settingsStore_.load();
    settingsBySourceID_.set(std::move(stored.sources));
    userPresets_.load(std::move(stored.userPresets));
}

void AudioController::observeProcesses() {
    processMonitor_.setOnChange(
        [this](const AudioProcessMonitor::Groups& groups) { applyProcessGroups(groups); });
    processMonitor_.setUrgency(
        [this](const std::string& sourceID) { return !settingsInForce(sourceID).isNeutral(); });
    processMonitor_.setOnProcess(
        [this](AudioProcessGroup group) { tapCoordinator_.processAppeared(std::move(group)); });
    syncDownmixedSources();
    syncExpectedApplications();
    processMonitor_.start();
    applyProcessGroups(processMonitor_.groups());
}

void AudioController::willTerminate() {
    isTerminating_ = true;
    // Saved before the teardown, which may be cut short from outside, and after it.
    settingsStore_.flush(persistable());
    audioHardware_.prepareToTerminate();
    tapCoordinator_.teardownAll();
    outputRoutes_.stop();
    settingsStore_.flush(persistable());
}

// Taps

/// While the application terminates, no event may create a tap again.
void AudioController::syncCoordinatorEnabled() {
    const bool isEnabled = isProcessingEnabled_.value() && !isTerminating_ &&
                           capturePermission_.status().value() == AudioCapturePermission::Status::authorized;
    if (isEnabled == tapCoordinator_.isEnabled())
        return;
    tapCoordinator_.setEnabled(isEnabled);
    tapCoordinator_.reconcile(); // does not rely on setEnabled() doing so
}

void AudioController::setProcessingEnabled(bool isEnabled) {
    if (isEnabled == isProcessingEnabled_.value())
        return;
    isProcessingEnabled_.set(isEnabled);
    syncCoordinatorEnabled();
}

void AudioController::permissionStatusChanged() {
    syncCoordinatorEnabled();
}

void AudioController::applyProcessGroups(const AudioProcessMonitor::Groups& groups) {
    std::vector<AppAudioSource> sources{systemSource()};
    std::ranges::transform(groups, std::back_inserter(sources), sourceOf);
    std::set<std::string, std::less<>> ids;
    for (const AppAudioSource& source : sources)
        ids.insert(source.id);
    sources_.set(std::move(sources));
    meters_.keepOnly([&](const std::string& sourceID) { return ids.contains(sourceID); });
    tapCoordinator_.updateGroups(groups);
}

void AudioController::syncDownmixedSources() {
    AudioProcessMonitor::SourceIDs sourceIDs;
    for (const auto& [sourceID, settings] : settingsBySourceID_.value())
        if (settings.downmixesSurround)
            sourceIDs.insert(sourceID);
    processMonitor_.setDownmixedSources(std::move(sourceIDs));
}

void AudioController::syncExpectedApplications() {
    const auto isInForce = [](const auto& entry) { return !entry.second.isNeutral(); };
    tapCoordinator_.setExpectsApplications(std::ranges::any_of(settingsBySourceID_.value(), isInForce));
}

void AudioController::setActiveSource(std::optional<std::string> sourceID) {
    if (sourceID == activeSourceID_.value())
        return;
    activeSourceID_.set(sourceID);
    tapCoordinator_.setFocusedSource(std::move(sourceID));
}

std::vector<ReadyApplication> AudioController::readyApplications() const {
    std::vector<ReadyApplication> applications;
    for (const ReadyTaps::Entry* entry : tapCoordinator_.readyTaps().entries())
        applications.push_back({.sourceID = entry->group.id,
                                .name = entry->group.displayName,
                                .deviceUID = entry->tap->resolvedOutputDeviceUID()});
    const LocalizedOrder order;
    std::ranges::stable_sort(applications,
                             [&](const ReadyApplication& first, const ReadyApplication& second) {
                                 return order.isBefore(first.name, second.name);
                             });
    return applications;
}

// Settings and presets

EQSettings AudioController::settings(std::string_view sourceID) const {
    return valueIn(settingsBySourceID_.value(), sourceID).value_or(EQSettings{});
}

EQSettings AudioController::settingsInForce(std::string_view sourceID) const {
    return EQSettings::effective(settings(sourceID), settings(kSystemSourceID), sourceID == kSystemSourceID);
}

void AudioController::updateSettings(EQSettings settings, std::string sourceID) {
    settingsHistory_.willChange(sourceID, valueIn(settingsBySourceID_.value(), sourceID), mainThread_.now());
    SettingsBySourceID changed = settingsBySourceID_.value();
    changed.insert_or_assign(sourceID, std::move(settings));
    publishSettings(std::move(changed), sourceID);
}

bool AudioController::undoSettings(std::string_view sourceID) {
    const auto before = settingsHistory_.exchange(sourceID, valueIn(settingsBySourceID_.value(), sourceID));
    if (!before)
        return false;
    SettingsBySourceID changed = settingsBySourceID_.value();
    std::string id(sourceID);
    if (*before)
        changed.insert_or_assign(id, **before);
    else
        changed.erase(id);
    publishSettings(std::move(changed), id);
    return true;
}

bool AudioController::forgetSource(std::string_view sourceID) {
    SettingsBySourceID changed = settingsBySourceID_.value();
    const auto known = changed.find(sourceID);
    if (known == changed.end())
        return false;
    const std::string id = known->first;
    settingsHistory_.willChange(id, known->second, mainThread_.now());
    changed.erase(known);
    publishSettings(std::move(changed), id);
    return true;
}

void AudioController::publishSettings(SettingsBySourceID changed, const std::string& sourceID) {
    settingsBySourceID_.set(std::move(changed));
    tapCoordinator_.settingsDidChange(sourceID);
    syncDownmixedSources();
    syncExpectedApplications();
    settingsStore_.scheduleSave(persistable());
}

void AudioController::saveUserPreset(std::string_view name, std::span<const double> gains) {
    userPresets_.save(name, gains);
}

bool AudioController::deleteUserPreset(std::string_view name) {
    return userPresets_.remove(name);
}

bool AudioController::renameUserPreset(std::string_view name, std::string_view newName) {
    return userPresets_.rename(name, newName);
}

void AudioController::restoreUserPreset(UserEQPreset preset, std::size_t position) {
    userPresets_.put(std::move(preset), position);
}

std::optional<SaveProblem> AudioController::save() {
    settingsStore_.flush(persistable());
    return saveProblem_.value();
}

/// The one place where the problems of all that is saved become the one that the user sees.
void AudioController::syncSaveProblem() {
    std::optional<SaveProblem> problem = settingsStore_.problem().value();
    if (const auto& notShared = presetCloudStore_.problem().value(); !problem && notShared)
        problem = SaveProblem{SaveProblem::Kind::notShared, *notShared};
    saveProblem_.set(std::move(problem));
}

StoredSettings AudioController::persistable() const {
    StoredSettings stored{settingsBySourceID_.value(), userPresets_.presets().value()};
    std::erase_if(stored.sources,
                  [](const auto& entry) { return entry.first.starts_with(kProcessSourcePrefix); });
    return stored;
}

// Output routes

std::string AudioController::outputRouteName(const std::optional<std::string>& uid) const {
    if (!uid)
        // TRANSLATORS: The output that the system chooses.
        return localized("Automatic");
    const auto& routes = outputRoutes().value();
    const auto route = std::ranges::find(routes, *uid, &AudioOutputRoute::id);
    return route == routes.end() ? localized("Unavailable Output") : route->name;
}

std::optional<std::string> AudioController::outputDeviceUID(std::string_view sourceID) const {
    const auto& taps = tapStates().value();
    const auto tap = taps.find(std::string(sourceID));
    if (tap != taps.end() && tap->second.stage == TapCoordinator::TapStage::running)
        return tap->second.outputDeviceUID;
    const auto& groups = processMonitor_.groups();
    const auto group = std::ranges::find(groups, sourceID, &AudioProcessGroup::id);
    if (group == groups.end())
        return std::nullopt;
    const auto device = readProcessOutputDevice(audioHardware_, group->objectIDs);
    if (!device)
        return std::nullopt;
    return attempt([&] { return readString(audioHardware_, *device, kAudioDevicePropertyDeviceUID); });
}

// Meters

std::optional<float> AudioController::level(std::string_view sourceID) const {
    return valueIn(levels().value(), sourceID);
}

double AudioController::sampleRate(std::string_view sourceID) const {
    const auto tap = taps().find(std::string(sourceID));
    return tap != taps().end() && tap->second->sampleRate() > 0 ? tap->second->sampleRate()
                                                                : kUsualSampleRate;
}

std::optional<TempoEstimate> AudioController::tempo(std::string_view sourceID) const {
    return valueIn(tempoEstimates().value(), sourceID);
}

void AudioController::startMeterUpdates() {
    if (!meterUpdateTask_)
        scheduleMeterTick();
}

void AudioController::stopMeterUpdates() {
    meterUpdateTask_.reset();
}

/// Schedules each tick from the end of the previous one, so that a slow machine has time for other work.
void AudioController::scheduleMeterTick() {
    meterUpdateTask_ = mainThread_.after(kMeterPeriod, [this] {
        meters_.update(tapCoordinator_.taps(), activeSourceID_.value(), mainThread_.now());
        // An observer may have stopped the updates.
        if (meterUpdateTask_)
            scheduleMeterTick();
    });
}

} // namespace vello
