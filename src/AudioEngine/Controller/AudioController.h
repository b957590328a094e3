// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/AudioProcessMonitor.h"
#include "AudioEngine/Capture/ExemptStreams.h"
#include "AudioEngine/Capture/TapCoordinator.h"
#include "AudioEngine/Capture/TapTeardownQueue.h"
#include "AudioEngine/Controller/AudioCapturePermission.h"
#include "AudioEngine/Controller/OutputRoutes.h"
#include "AudioEngine/Controller/SourceMeters.h"
#include "Foundation/Published.h"
#include "Models/AppAudioSource.h"
#include "Models/AudioOutputRoute.h"
#include "Models/EQPreset.h"
#include "Models/EQSettings.h"
#include "Persistence/PresetCloudStore.h"
#include "Persistence/SettingsStore.h"
#include "Ports/ApplicationEvents.h"
#include "Ports/AudioHardware.h"
#include "Ports/CaptureAuthorization.h"
#include "Ports/KeyValueStore.h"
#include "Ports/MainThread.h"
#include "Ports/RunningApplications.h"
#include "Ports/SystemLog.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// What the controller is made on: one adapter for each port. All of them outlive it.
struct AudioControllerPorts {
    AudioHardware& audioHardware;
    MainThread& mainThread;
    RunningApplications& runningApplications;
    ApplicationEvents& applicationEvents;
    CaptureAuthorization& captureAuthorization;
    KeyValueStore& keyValueStore;
    SystemLog& systemLog;
};

/// The application's one observable model: the sources with their settings, levels and tempo, the user's
/// presets, the outputs, the master switch. The panel and the command line work on nothing else. Main thread
/// only; an observer may call any member.
class AudioController {
public:
    using Levels = SourceMeters::Levels;
    using TempoEstimates = SourceMeters::TempoEstimates;

    /// Loads what is stored and begins to equalize whatever plays, as far as the user allows it. When the
    /// application ends it takes everything down and saves. `applicationSupportFolder` is the user's folder
    /// for the data of all applications.
    AudioController(const AudioControllerPorts& ports, const std::filesystem::path& applicationSupportFolder);
    ~AudioController();
    AudioController(const AudioController&) = delete;
    AudioController& operator=(const AudioController&) = delete;

    /// The system-wide source first, then one for each application that plays.
    const Published<std::vector<AppAudioSource>>& sources() const { return sources_; }
    /// 0 to 1, of the sources that are heard; a source without an entry is silent.
    const Published<Levels>& levels() const { return meters_.levels(); }
    /// Of the active source.
    const Published<SpectrumAnalyzer::Levels>& spectrum() const { return meters_.spectrum(); }
    const Published<TempoEstimates>& tempoEstimates() const { return meters_.tempoEstimates(); }
    /// What the user can choose as an output, the default one first.
    const Published<std::vector<AudioOutputRoute>>& outputRoutes() const { return outputRoutes_.routes(); }
    /// Of every source ever configured, also of absent ones.
    const Published<SettingsBySourceID>& settingsBySourceID() const { return settingsBySourceID_; }
    /// In the order of menus.
    const Published<std::vector<UserEQPreset>>& userPresets() const { return userPresets_; }
    /// The source that the user has open.
    const Published<std::optional<std::string>>& activeSourceID() const { return activeSourceID_; }
    /// The master switch; on at first.
    const Published<bool>& isProcessingEnabled() const { return isProcessingEnabled_; }
    AudioCapturePermission& capturePermission() { return capturePermission_; }

    void setProcessingEnabled(bool isEnabled);
    /// The stored settings, or neutral ones.
    EQSettings settings(std::string_view sourceID) const;
    std::optional<float> level(std::string_view sourceID) const;
    std::optional<TempoEstimate> tempo(std::string_view sourceID) const;
    /// Puts `settings` in force and has them saved. The caller has checked the values: eight gains, all
    /// numbers finite.
    void updateSettings(EQSettings settings, std::string sourceID);
    /// Saves a curve under `name` without the white space around it, in place of any other of that name, as
    /// the last of the list. A blank name, or another number of gains than bands, does nothing. The caller
    /// has checked that the name is UTF-8 and the gains are finite.
    void saveUserPreset(std::string_view name, std::span<const double> gains);
    void setActiveSource(std::optional<std::string> sourceID);
    /// The streams that are left as they are, as of this moment: nobody is told when they change.
    std::vector<ExemptStream> exemptStreams() const { return exemptStreams_.read(); }
    /// For the user, in the user's language; without a UID the output is chosen automatically.
    std::string outputRouteName(const std::optional<std::string>& uid) const;

    /// Levels, spectrum and tempo are read every 33 ms between these two. Whoever is not the only one that
    /// looks joins a MeterAudience instead.
    void startMeterUpdates();
    void stopMeterUpdates();
    /// Brings the taps in line with the permission's status. The controller watches the status itself; more
    /// calls are harmless.
    void permissionStatusChanged();

    /// The taps that there are, by source id: for whoever shows their state.
    const TapCoordinator::Taps& taps() const { return tapCoordinator_.taps(); }
    const Published<TapCoordinator::TapStates>& tapStates() const { return tapCoordinator_.tapStates(); }

private:
    void loadStored();
    void observeOtherMachines();
    void observeProcesses();
    void willTerminate();

    void syncCoordinatorEnabled();
    void syncDownmixedSources();
    void applyProcessGroups(const AudioProcessMonitor::Groups& groups);
    void scheduleMeterTick();
    StoredSettings persistable() const;

    MainThread& mainThread_;
    ApplicationEvents& applicationEvents_;

    Published<std::vector<AppAudioSource>> sources_;
    Published<SettingsBySourceID> settingsBySourceID_;
    Published<std::vector<UserEQPreset>> userPresets_;
    Published<std::optional<std::string>> activeSourceID_;
    Published<bool> isProcessingEnabled_{true};
    AudioCapturePermission capturePermission_;

    AudioProcessMonitor processMonitor_;
    ExemptStreams exemptStreams_;
    OutputRoutes outputRoutes_;
    SettingsStore settingsStore_;
    PresetCloudStore presetCloudStore_;
    SourceMeters meters_;
    TapTeardownQueue teardownQueue_; ///< outlives the coordinator
    TapCoordinator tapCoordinator_;
    TaskHandle meterUpdateTask_;
    Observation permissionObservation_;
    bool isTerminating_ = false;
};

} // namespace vello
